#include "running/state/FieldWords.h"

#include <algorithm>
#include <vector>

#include <nlohmann/json.hpp>

#include "running/io/Words.h"

namespace vorn_onu {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kFewestCounters = 4;   // smaller objects of numbers are reported whole
constexpr std::size_t kMaxTextLength = 120;  // bytes of a text that are shown

// The start of a text that is longer than anybody reads: a block of bytes, a whole file.
std::string shortened(const std::string& text) {
    const auto lineEnd = text.find('\n');
    if (lineEnd < kMaxTextLength) return text.substr(0, lineEnd) + "… (" + std::to_string(text.size()) + " bytes)";
    if (text.size() <= kMaxTextLength) return text;
    std::size_t end = kMaxTextLength;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;  // no half characters
    return text.substr(0, end) + "… (" + std::to_string(text.size()) + " bytes)";
}

std::string plainWords(const Json& value) {
    if (!value.is_string()) return value.dump(-1, ' ', false, Json::error_handler_t::replace);
    const auto& text = value.get_ref<const std::string&>();
    return text.empty() ? "\"\"" : shortened(text);
}

// ---- VLAN lists ----

std::string tagWords(unsigned vid, unsigned pbits, unsigned dei) {
    return "VID " + std::to_string(vid) + (pbits != 0 ? " p" + std::to_string(pbits) : "") + (dei != 0 ? " DEI" : "");
}

// A list in the form in which OMCI carries it: four hexadecimal digits a tag.
bool isTciText(const Json& value) {
    if (!value.is_string()) return false;
    const auto& text = value.get_ref<const std::string&>();
    return !text.empty() && text.size() % 4 == 0 &&
           text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

std::vector<std::string> tciTextWords(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < text.size(); at += 4) {
        const auto tci = static_cast<unsigned>(std::stoul(text.substr(at, 4), nullptr, 16));
        words.push_back(tagWords(tci & 0xFFFU, tci >> 13, tci >> 12 & 1U));
    }
    return words;
}

bool isListOf(const Json& value, const char* member) {
    return value.is_array() && !value.empty() && std::all_of(value.begin(), value.end(), [&](const Json& one) {
               return one.is_object() && one.contains(member);
           });
}

// Only what is in the entry: p-bits that are left out are not 0 to a reader.
std::string tagEntryWords(const Json& entry) {
    std::string text = "VID " + plainWords(entry.at("vid"));
    if (entry.contains("pbits")) text += " p" + plainWords(entry.at("pbits"));
    if (entry.contains("dei") && entry.at("dei") != 0 && entry.at("dei") != false) text += " DEI";
    return text;
}

// ---- p-bit maps ----

std::string targetWords(const Json& entry) {
    const std::string port = entry.contains("gemPort") ? plainWords(entry.at("gemPort")) : "none";
    std::string text = port == "none" ? port : "GEM port " + port;
    if (entry.contains("queue")) text += " queue " + plainWords(entry.at("queue"));
    return text;
}

// Neighbours with the same target are reported together: "0-3 → GEM port 1001 queue 0".
std::vector<std::string> pbitMapWords(const Json& map) {
    std::vector<std::string> words;
    for (std::size_t first = 0; first < map.size();) {
        const auto numberAt = [&map](std::size_t at) {
            const Json& pbit = map[at].at("pbit");
            return pbit.is_number_integer() ? pbit.get<long>() : -1;
        };
        std::size_t last = first;
        while (numberAt(last) >= 0 && last + 1 < map.size() && numberAt(last + 1) == numberAt(last) + 1 &&
               targetWords(map[last + 1]) == targetWords(map[first]))
            ++last;
        const std::string to = last > first ? "-" + plainWords(map[last].at("pbit")) : "";
        words.push_back(plainWords(map[first].at("pbit")) + to + " → " + targetWords(map[first]));
        first = last + 1;
    }
    return words;
}

// ---- objects and lists ----

bool isCounters(const Json& value) {
    return value.is_object() && value.size() >= kFewestCounters &&
           std::all_of(value.begin(), value.end(), [](const Json& one) { return one.is_number_integer(); });
}

std::string counterWords(const Json& counters) {
    std::vector<std::string> words;
    for (const auto& [name, value] : counters.items())
        if (value != 0) words.push_back(name + " " + value.dump());
    if (words.empty()) return "all 0";
    if (words.size() < counters.size()) words.emplace_back("the rest 0");
    return joined(words);
}

std::string listWords(const std::string& name, const Json& list) {
    std::vector<std::string> words;
    if (isListOf(list, "pbit")) return joined(pbitMapWords(list));
    const bool areTags = isListOf(list, "vid");
    for (const Json& one : list) words.push_back(areTags ? tagEntryWords(one) : valueWords(name, one));
    return words.empty() ? "none" : joined(words);
}

// "4: link true, speed 1000; 5: link false" for objects by name, else like the fields of a record.
std::string objectWords(const Json& object) {
    const bool byName = std::any_of(object.begin(), object.end(), [](const Json& one) { return one.is_object(); });
    if (!byName) return fieldWords(object);
    std::vector<std::string> words;
    for (const auto& [name, value] : object.items())
        words.push_back(value.is_object() ? name + ": " + (isCounters(value) ? counterWords(value) : fieldWords(value))
                                          : name + " " + valueWords(name, value));
    return joined(words, "; ");
}

}  // namespace

std::string valueWords(const std::string& name, const Json& value) {
    const bool isTagList = name == "vlanTciFilterList" || name == "filterList";
    if (isTagList && isTciText(value)) return "(" + joined(tciTextWords(value.get<std::string>())) + ")";
    if (value.is_array()) return "(" + listWords(name, value) + ")";
    if (value.is_object()) return "(" + (isCounters(value) ? counterWords(value) : objectWords(value)) + ")";
    return plainWords(value);
}

std::string fieldWords(const Json& fields) {
    std::vector<std::string> words;
    for (const auto& [name, value] : fields.items()) words.push_back(name + " " + valueWords(name, value));
    return joined(words);
}

}  // namespace vorn_onu
