#include "Records.h"

#include <algorithm>
#include <array>

#include "DeviceTexts.h"

namespace virtual_onu::persistence {

std::string jsonText(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xc0 | code >> 6);
            text += static_cast<char>(0x80 | (code & 0x3f));
        }
    }
    return text;
}

// JSON's texts are valid UTF-8: the parser has seen to that.
std::string bytesOf(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        if (code < 0x80) {
            bytes += text[i];
        } else if (code > 0xc3 || i + 1 == text.size()) {
            throw BadBoard("texts are bytes, each a character up to U+00FF; not " + shownValue(Json(text)));
        } else {
            bytes += static_cast<char>((code & 0x03) << 6 | (static_cast<unsigned char>(text[++i]) & 0x3f));
        }
    }
    return bytes;
}

std::string shownValue(const Json& value) {
    constexpr std::size_t kMaxShown = 60;
    std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    if (text.size() > kMaxShown) text = text.substr(0, kMaxShown) + "...";
    return text;
}

std::uint64_t numberKey(const std::string& key, std::uint64_t highest) {
    constexpr std::size_t kMaxDigits = 20;
    const bool digits = !key.empty() && key.size() <= kMaxDigits && (key[0] != '0' || key.size() == 1) &&
                        std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; });
    std::uint64_t number = 0;
    bool fits = digits;
    for (std::size_t i = 0; fits && i < key.size(); ++i) {
        const auto digit = static_cast<std::uint64_t>(key[i] - '0');
        fits = digit <= highest && number <= (highest - digit) / 10;
        number = number * 10 + digit;
    }
    if (!fits) throw BadBoard("the key must be a number from 0 to " + std::to_string(highest));
    return number;
}

namespace {

bool isBootId(const std::string& text) {
    return text.size() == 36 && text.find_first_not_of("0123456789abcdef-") == std::string::npos;
}

struct Form {
    GoodText good;
    const char* noun;
};
const Form& formOf(TextForm form) {
    static const std::array<Form, 4> forms{{{nullptr, "a text"},
                                            {network::isDeviceName, "a device name"},
                                            {network::isMac, "a MAC address"},
                                            {isBootId, "a boot id"}}};
    return forms[static_cast<std::size_t>(form)];
}

}  // namespace

GoodText checkOf(TextForm form) {
    return formOf(form).good;
}
const char* nounOf(TextForm form) {
    return formOf(form).noun;
}

RecordReader::RecordReader(const Json& json) : json_(json) {
    if (!json.is_object()) throw BadBoard("must be an object, not " + shownValue(json));
}

void RecordReader::end() const {
    for (const auto& member : json_.items())
        if (asked_.count(member.key()) == 0) throw BadBoard("there is no field " + shownValue(Json(member.key())));
}

void RecordReader::fail(const char* name, const std::string& what, const Json& found) {
    throw BadBoard(std::string("field '") + name + "': " + what + ", not " + shownValue(found));
}

const Json& RecordReader::field(const char* name) {
    const auto found = json_.find(name);
    if (found == json_.end()) throw BadBoard(std::string("field '") + name + "' is missing");
    asked_.insert(name);
    return *found;
}

const Json& RecordReader::listIn(const char* name, std::size_t most) {
    const Json& found = field(name);
    if (!found.is_array()) fail(name, "must be a list", found);
    if (found.size() > most) fail(name, "must have at most " + std::to_string(most) + " entries", found);
    return found;
}

const Json& RecordReader::objectIn(const char* name) {
    const Json& found = field(name);
    if (!found.is_object()) fail(name, "must be an object", found);
    return found;
}

void RecordReader::flag(const char* name, bool& value) {
    const Json& found = field(name);
    if (!found.is_boolean()) fail(name, "must be true or false", found);
    value = found.get<bool>();
}

void RecordReader::text(const char* name, std::string& value, GoodText good, const char* what) {
    const Json& found = field(name);
    if (!found.is_string()) fail(name, "must be a text", found);
    value = bytesOf(found.get_ref<const std::string&>());
    if (good != nullptr && !good(value)) fail(name, std::string("must be ") + what, found);
}

void RecordReader::texts(const char* name, std::vector<std::string>& values) {
    for (const Json& one : listIn(name, std::numeric_limits<std::size_t>::max())) {
        if (!one.is_string()) fail(name, "must be a list of texts", one);
        values.push_back(bytesOf(one.get_ref<const std::string&>()));
    }
}

void RecordReader::bytes(const char* name, std::vector<std::uint8_t>& value, std::size_t most) {
    const Json& found = field(name);
    const std::string text = found.is_string() ? found.get<std::string>() : "?";
    if (text.size() % 2 != 0 || text.find_first_not_of(kHexDigits) != std::string::npos)
        fail(name, "must be bytes as hexadecimal text", found);
    if (text.size() / 2 > most) fail(name, "must be at most " + std::to_string(most) + " bytes", found);
    for (std::size_t i = 0; i < text.size(); i += 2)
        value.push_back(static_cast<std::uint8_t>(hexValue(text[i]) << 4 | hexValue(text[i + 1])));
}

std::size_t RecordReader::placeIn(const char* name, const std::vector<const char*>& names) {
    const Json& found = field(name);
    std::string known;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (found == names[i]) return i;
        known += (i == 0 ? "" : ", ") + std::string(names[i]);
    }
    fail(name, "must be one of " + known, found);
}

void RecordReader::textsByName(const char* name, std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : objectIn(name).items()) {
        if (!value.is_string()) fail(name, "must hold texts", value);
        values[bytesOf(key)] = bytesOf(value.get_ref<const std::string&>());
    }
}

std::string RecordReader::keyAs(const char* /*name*/, const std::string& key, const std::string& /*kind*/) {
    return bytesOf(key);
}

int RecordReader::keyAs(const char* /*name*/, const std::string& key, int /*kind*/) {
    return static_cast<int>(numberKey(key, static_cast<std::uint64_t>(std::numeric_limits<int>::max())));
}

}  // namespace virtual_onu::persistence
