// Named, typed fields: what a scenario may write for a member of a HAL record or argument list. One description serves
// parsing, error messages and the JSON schema.
#ifndef VORN_ONU_FIELD_H
#define VORN_ONU_FIELD_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "scenario/fields/Problem.h"

namespace vorn_onu {

constexpr int kFormatVersion = 1;  // of scenario files: what their fields mean

// The ranges of two arguments that are in no record.
constexpr std::int64_t kMaxBuffer = 65535;  // that a query is given
constexpr std::int64_t kMaxAction = 255;    // OMCI action

// A number that may also be written as a word, as true and false, or as hexadecimal text.
struct Numbers {
    std::int64_t lowest = 0;
    std::int64_t highest = 65535;
    std::vector<std::pair<std::string, std::int64_t>> words = {};
    bool truth = false;    // true is 1, false is 0
    bool hexText = false;  // "0x8100"

    std::int64_t read(const Json& value) const;
    Json write(std::int64_t number) const;  // as a scenario would write it: the word where there is one
    std::string allowed() const;
    Json schema() const;
};

// Whether a field must be given; if not, what it holds when it is left out.
struct Presence {
    bool required = false;
    Json fallback = nullptr;  // written as in a scenario; null: the record's own zero
};
inline Presence required() {
    return {true, nullptr};
}
inline Presence otherwise(Json fallback) {
    return {false, std::move(fallback)};
}
inline Presence optional() {
    return {};
}

struct Field {
    std::string name;
    Presence presence;
    std::string doc;
    Json schema;
    std::function<void(void* record, const Json& value)> store;  // throws a Problem
    // What the record holds, as a scenario would write it. A field without it is no member of a record.
    std::function<Json(const void* record)> load = nullptr;
    // Stores what the member can hold although it is out of the field's range: programs hand over such values too.
    std::function<void(void* record, const Json& value)> storeUnchecked = nullptr;
    // Of a number: what the member can hold.
    std::int64_t lowest = 0, highest = -1;
};

// A number of a record. The range is cut to what the member holds.
template <typename Record, typename Member>
Field field(const char* name, Member Record::*member, Numbers numbers, Presence presence, const char* doc) {
    static_assert(std::is_integral_v<Member> && (std::is_signed_v<Member> || sizeof(Member) < sizeof(std::int64_t)));
    constexpr std::int64_t kMin = std::numeric_limits<Member>::min(), kMax = std::numeric_limits<Member>::max();
    numbers.highest = std::min(numbers.highest, kMax);
    const auto store = [member, numbers](void* record, const Json& value) {
        static_cast<Record*>(record)->*member = static_cast<Member>(numbers.read(value));
    };
    const auto load = [member, numbers](const void* record) {
        return numbers.write(static_cast<std::int64_t>(static_cast<const Record*>(record)->*member));
    };
    const auto storeUnchecked = [member](void* record, const Json& value) {
        static_cast<Record*>(record)->*member = static_cast<Member>(Numbers{kMin, kMax}.read(value));
    };
    return {name, std::move(presence), doc, numbers.schema(), store, load, storeUnchecked, kMin, kMax};
}

// A text as it is, or as {"bytes": "c3 28"} where it is not UTF-8, which JSON cannot hold.
Json textJson(const std::string& text);
std::string textOrBytesOf(const Json& value);
Json textSchema();

// A text of a record.
template <typename Record>
Field field(const char* name, std::string Record::*member, Presence presence, const char* doc) {
    const auto store = [member](void* record, const Json& value) {
        static_cast<Record*>(record)->*member = textOrBytesOf(value);
    };
    const auto load = [member](const void* record) { return textJson(static_cast<const Record*>(record)->*member); };
    return {name, std::move(presence), doc, textSchema(), store, load};
}

// A VLAN tagging filter TCI list as the hex text that the records carry. Written as a list of {"pbits", "dei", "vid"}
// or as hex text, or in bytes. The second argument receives the number of entries of a list.
std::string tciListText(const Json& value, std::size_t* entries);
Json tciListJson(const std::string& text);  // as text, or in bytes where it is too long or not UTF-8
Json tciListSchema();

// p-bit to (GEM port, queue), written as [{"pbit": 0, "gemPort": 1001, "queue": 0}, ...].
using PbitMap = std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>>;
constexpr std::int64_t kMaxPbit = 7;
PbitMap pbitMapOf(const Json& value, std::int64_t highestPbit = kMaxPbit);
Json pbitMapJson(const PbitMap& map);
Json pbitMapSchema();

// Bytes written as hex text, blanks and colons allowed between them.
std::vector<std::uint8_t> bytesOf(const Json& value);
std::string hexText(const std::string& bytes);

// Fills a record from the fields that a step gives: fallbacks first, then the given values. Throws for unknown, missing
// and wrong fields.
void fill(void* record, const std::vector<Field>& fields, const Json& given);
// The same for a call: fields below "unchecked" are out of their range on purpose.
constexpr const char* kUnchecked = "unchecked";
void fillForCall(void* record, const std::vector<Field>& fields, const Json& given);
// The other way round: all fields of a record that a program gave, so that fillForCall makes the same record of them.
template <typename Record>
Json fieldsOf(const Record& record, const std::vector<Field>& fields) {
    Json given = Json::object(), unchecked = Json::object();
    Record scratch{};
    for (const Field& one : fields) {
        const Json value = one.load(&record);
        try {
            one.store(&scratch, value);
            given[one.name] = value;
        } catch (const Problem&) {
            unchecked[one.name] = value;
        }
    }
    if (!unchecked.empty()) given[kUnchecked] = unchecked;
    return given;
}

std::vector<std::string> namesOf(const std::vector<Field>& fields);
// The JSON schema's "properties" of these fields, and the names of the required ones.
Json propertiesOf(const std::vector<Field>& fields);
Json requiredOf(const std::vector<Field>& fields);

}  // namespace vorn_onu

#endif
