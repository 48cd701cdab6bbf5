#include "running/scenario/fields/Field.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

std::optional<std::int64_t> hexNumber(const std::string& text) {
    if (text.size() < 3 || text.size() > 10 || text.compare(0, 2, "0x") != 0) return std::nullopt;
    if (!std::all_of(text.begin() + 2, text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; }))
        return std::nullopt;
    return std::stoll(text, nullptr, 16);
}

const Numbers kPbit{0, 7};
const Numbers kVid{0, 4095};
constexpr std::int64_t kOtherPbits = -1;  // every p-bit that a list does not name
constexpr std::uint16_t kNoGemPort = 65535;
constexpr std::int64_t kUntaggedFrames = 8;  // with forwarding by G.988
const Numbers kMappedPbit{0, kMaxPbit, {{"others", kOtherPbits}, {"untagged", kUntaggedFrames}}};
const Numbers kMappedGemPort{0, 65535, {{"none", kNoGemPort}}};
const Numbers kDei{0, 1, {}, true};

// The longest list text that a bridge service record holds, without its zero.
constexpr std::size_t kMaxTciText = 255;

}  // namespace

std::int64_t Numbers::read(const Json& value) const {
    if (truth && value.is_boolean()) return value.get<bool>() ? 1 : 0;
    std::optional<std::int64_t> number;
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        const auto word = std::find_if(words.begin(), words.end(), [&](const auto& w) { return w.first == text; });
        if (word != words.end()) return word->second;
        if (hexText) number = hexNumber(text);
    } else if (value.is_number_unsigned()) {
        const auto big = value.get<std::uint64_t>();
        number = big > 0x7fffffffffffffff ? std::numeric_limits<std::int64_t>::max() : static_cast<std::int64_t>(big);
    } else if (value.is_number_integer()) {
        number = value.get<std::int64_t>();
    }
    if (!number || *number < lowest || *number > highest)
        throw Problem("must be " + allowed() + ", not " + shown(value));
    return *number;
}

Json Numbers::write(std::int64_t number) const {
    const auto word = std::find_if(words.begin(), words.end(), [&](const auto& w) { return w.second == number; });
    if (word != words.end()) return word->first;
    if (truth && (number == 0 || number == 1)) return number == 1;
    if (!hexText || number < 0 || number > 0xFFFFFFFF) return number;
    std::array<char, 16> digits{};
    std::snprintf(digits.data(), digits.size(), "0x%04llx", static_cast<unsigned long long>(number));
    return digits.data();
}

std::string Numbers::allowed() const {
    std::string text = "a number " + std::to_string(lowest) + ".." + std::to_string(highest);
    if (hexText) text = "a number or a hexadecimal text like \"0x8100\", up to " + std::to_string(highest);
    if (truth) text = "true, false or " + text;
    for (const auto& [word, number] : words)
        text += ", \"" + word + "\"" + (number < lowest || number > highest ? "" : " (" + std::to_string(number) + ")");
    return text;
}

Json Numbers::schema() const {
    Json ways = Json::array({{{"type", "integer"}, {"minimum", lowest}, {"maximum", highest}}});
    if (truth) ways.push_back({{"type", "boolean"}});
    if (hexText) ways.push_back({{"type", "string"}, {"pattern", "^0x[0-9a-fA-F]{1,8}$"}});
    if (!words.empty()) {
        Json list = Json::array();
        for (const auto& word : words) list.push_back(word.first);
        ways.push_back({{"enum", list}});
    }
    return ways.size() == 1 ? ways[0] : Json{{"anyOf", ways}};
}

Presence otherwise(Json fallback) {
    return {false, std::move(fallback)};
}

Field::Field(std::string fieldName, Presence fieldPresence, std::string fieldDoc, Json fieldSchema, Store fieldStore,
             Load fieldLoad, Store fieldStoreUnchecked)
    : name(std::move(fieldName)),
      presence(std::move(fieldPresence)),
      doc(std::move(fieldDoc)),
      schema(std::move(fieldSchema)),
      store(std::move(fieldStore)),
      load(std::move(fieldLoad)),
      storeUnchecked(std::move(fieldStoreUnchecked)) {}

Field numberField(const char* name, const NumberMember& member, Numbers numbers, Presence presence, const char* doc) {
    numbers.highest = std::min(numbers.highest, member.highest);
    const auto store = [member, numbers](void* record, const Json& value) { member.set(record, numbers.read(value)); };
    const auto load = [member, numbers](const void* record) { return numbers.write(member.get(record)); };
    const auto storeUnchecked = [member](void* record, const Json& value) {
        const Numbers all{member.lowest, member.highest};
        member.set(record, all.read(value));
    };
    Field field(name, std::move(presence), doc, numbers.schema(), store, load, storeUnchecked);
    field.lowest = member.lowest;
    field.highest = member.highest;
    return field;
}

Field textField(const char* name, const TextMember& member, Presence presence, const char* doc) {
    const auto store = [member](void* record, const Json& value) { member.set(record, textOrBytesOf(value)); };
    const auto load = [member](const void* record) { return textJson(member.get(record)); };
    return {name, std::move(presence), doc, textSchema(), store, load};
}

Json textJson(const std::string& text) {
    try {
        static_cast<void>(Json(text).dump());  // the JSON library's own judgement
        return text;
    } catch (const Json::type_error&) {
        return {{"bytes", hexText(text)}};
    }
}

std::string textOrBytesOf(const Json& value) {
    if (!value.is_object()) return textOf(value);
    checkKeys(value, {"bytes"});
    if (!value.contains("bytes")) throw Problem("bytes", "is missing; it is the text in hexadecimal");
    const auto bytes = inField("bytes", [&] { return bytesOf(value["bytes"]); });
    return {bytes.begin(), bytes.end()};
}

Json textSchema() {
    const Json bytes = objectSchema({{"bytes", {{"type", "string"}}}}, Json::array({"bytes"}));
    return {{"anyOf", Json::array({Json{{"type", "string"}}, bytes})}};
}

std::string tciListText(const Json& value, std::size_t* entries) {
    if (value.is_object()) {
        const std::string text = textOrBytesOf(value);
        *entries = text.size() / 4;
        return text;
    }
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        if (text.size() > kMaxTciText) throw Problem("must be at most 255 characters of hex text");
        *entries = text.size() / 4;
        return text;
    }
    if (!value.is_array())
        throw Problem("must be a list of {\"pbits\", \"dei\", \"vid\"} or hex text, not " + shown(value));
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        inField("[" + std::to_string(i) + "]", [&] {
            const Json& entry = value[i];
            checkKeys(entry, {"pbits", "dei", "vid"});
            if (!entry.contains("vid")) throw Problem("vid", "is missing; it must be " + kVid.allowed());
            const auto part = [&entry](const char* name, const Numbers& numbers) {
                return inField(name, [&] { return entry.contains(name) ? numbers.read(entry[name]) : 0; });
            };
            const auto tci = part("pbits", kPbit) << 13 | part("dei", kDei) << 12 | part("vid", kVid);
            std::array<char, 8> digits{};
            std::snprintf(digits.data(), digits.size(), "%04x", static_cast<unsigned>(tci));
            text += digits.data();
        });
    }
    if (text.size() > kMaxTciText) throw Problem("must have at most 63 entries");
    *entries = value.size();
    return text;
}

Json tciListJson(const std::string& text) {
    if (text.size() > kMaxTciText) return {{"bytes", hexText(text)}};
    return textJson(text);
}

Json tciListSchema() {
    const Json entry =
        objectSchema({{"pbits", kPbit.schema()}, {"dei", kDei.schema()}, {"vid", kVid.schema()}}, Json::array({"vid"}));
    return {{"anyOf", Json::array({Json{{"type", "array"}, {"items", entry}, {"maxItems", 63}},
                                   Json{{"type", "string"}, {"maxLength", kMaxTciText}}, textSchema()})}};
}

PbitMap pbitMapOf(const Json& value, std::int64_t highestPbit) {
    if (!value.is_array()) throw Problem("must be a list of {\"pbit\", \"gemPort\", \"queue\"}, not " + shown(value));
    PbitMap result;
    std::optional<PbitMap::mapped_type> others;
    for (std::size_t i = 0; i < value.size(); ++i) {
        inField("[" + std::to_string(i) + "]", [&] {
            const Json& entry = value[i];
            checkKeys(entry, {"pbit", "gemPort", "queue"});
            const auto part = [&entry](const char* name, const Numbers& numbers) {
                if (!entry.contains(name)) throw Problem(name, "is missing; it must be " + numbers.allowed());
                return inField(name, [&] { return numbers.read(entry[name]); });
            };
            const auto pbit = part("pbit", Numbers{0, highestPbit, kMappedPbit.words});
            const auto gemPort = static_cast<std::uint16_t>(part("gemPort", kMappedGemPort));
            const bool noQueue = gemPort == kNoGemPort && !entry.contains("queue");
            const auto queue = static_cast<std::uint16_t>(noQueue ? 0 : part("queue", Numbers{}));
            const bool isNew = pbit == kOtherPbits ? !others : result.count(static_cast<std::uint8_t>(pbit)) == 0;
            if (!isNew) throw Problem("pbit", "occurs twice in the list: " + shown(entry["pbit"]));
            if (pbit == kOtherPbits)
                others = {gemPort, queue};
            else
                result[static_cast<std::uint8_t>(pbit)] = {gemPort, queue};
        });
    }
    for (std::uint8_t pbit = 0; others && pbit <= kMaxPbit; ++pbit) result.emplace(pbit, *others);
    return result;
}

Json pbitMapJson(const PbitMap& map) {
    Json list = Json::array();
    for (const auto& [pbit, target] : map)
        list.push_back({{"pbit", kMappedPbit.write(pbit)}, {"gemPort", target.first}, {"queue", target.second}});
    return list;
}

Json pbitMapSchema() {
    const Json entry = objectSchema(
        {{"pbit", kMappedPbit.schema()}, {"gemPort", kMappedGemPort.schema()}, {"queue", Numbers{}.schema()}},
        Json::array({"pbit", "gemPort"}));
    return {{"type", "array"}, {"items", entry}, {"maxItems", 10}};
}

std::vector<std::uint8_t> bytesOf(const Json& value) {
    std::string digits;
    for (const char c : textOf(value))
        if (c != ' ' && c != ':') digits += c;
    const bool hex = std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (!hex || digits.size() % 2 != 0) throw Problem("must be bytes as hexadecimal text, not " + shown(value));
    return bytesOfDigits(digits);
}

void readFields(void* record, const std::vector<Field>& fields, const Json& given) {
    checkKeys(given, namesOf(fields));
    for (const Field& field : fields) {
        if (given.contains(field.name)) {
            inField(field.name, [&] { field.store(record, given[field.name]); });
        } else if (field.presence.required) {
            throw Problem(field.name, "is missing; it is " + field.doc);
        } else if (!field.presence.fallback->is_null()) {
            field.store(record, *field.presence.fallback);
        }
    }
}

void fillForCall(void* record, const std::vector<Field>& fields, const Json& given) {
    if (!given.is_object() || !given.contains(kUnchecked)) {
        readFields(record, fields, given);
        return;
    }
    const Json& unchecked = given[kUnchecked];
    inField(kUnchecked, [&] { checkKeys(unchecked, namesOf(fields)); });
    Json checked = given;
    checked.erase(kUnchecked);
    std::vector<Field> others;
    for (const Field& field : fields) {
        if (!unchecked.contains(field.name))
            others.push_back(field);
        else if (checked.contains(field.name))
            throw Problem(field.name, "is below 'unchecked' too");
    }
    readFields(record, others, checked);
    for (const Field& field : fields) {
        if (!unchecked.contains(field.name)) continue;
        inField(std::string(kUnchecked) + "." + field.name, [&] {
            if (field.storeUnchecked == nullptr) throw Problem("has no values out of its range");
            field.storeUnchecked(record, unchecked[field.name]);
        });
    }
}

Held<Json> fieldsOf(const void* record, void* scratch, const std::vector<Field>& fields) {
    Json given = Json::object(), unchecked = Json::object();
    for (const Field& one : fields) {
        const Json value = one.load(record);
        try {
            one.store(scratch, value);
            given[one.name] = value;
        } catch (const Problem&) {
            unchecked[one.name] = value;
        }
    }
    if (!unchecked.empty()) given[kUnchecked] = unchecked;
    return given;
}

std::vector<std::string> namesOf(const std::vector<Field>& fields) {
    std::vector<std::string> names;
    for (const Field& field : fields) names.push_back(field.name);
    return names;
}

Json propertiesOf(const std::vector<Field>& fields) {
    Json properties = Json::object();
    for (const Field& field : fields) {
        Json schema = *field.schema;
        schema["description"] = field.doc;
        if (!field.presence.fallback->is_null()) schema["default"] = *field.presence.fallback;
        properties[field.name] = schema;
    }
    return properties;
}

Json requiredOf(const std::vector<Field>& fields) {
    Json names = Json::array();
    for (const Field& field : fields)
        if (field.presence.required) names.push_back(field.name);
    return names;
}

Json objectSchema(const Json& properties) {
    return {{"type", "object"}, {"additionalProperties", false}, {"properties", properties}};
}

Json objectSchema(const Json& properties, const Json& required) {
    Json schema = objectSchema(properties);
    schema["required"] = required;
    return schema;
}

}  // namespace vorn_onu
