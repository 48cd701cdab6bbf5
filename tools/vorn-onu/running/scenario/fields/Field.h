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

#include "running/io/HeldJson.h"
#include "running/scenario/fields/Problem.h"

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
    Held<Json> fallback = {};  // written as in a scenario; null: the record's own zero
};
inline Presence required() {
    return {true};
}
Presence otherwise(Json fallback);
inline Presence optional() {
    return {};
}

struct Field {
    using Store = std::function<void(void* record, const Json& value)>;  // throws a Problem
    using Load = std::function<Json(const void* record)>;
    Field(std::string name, Presence presence, std::string doc, Json schema, Store store, Load load = nullptr,
          Store storeUnchecked = nullptr);

    std::string name;
    Presence presence;
    std::string doc;
    Held<Json> schema;
    Store store;
    // What the record holds, as a scenario would write it. A field without it is no member of a record.
    Load load;
    // Stores what the member can hold although it is out of the field's range: programs hand over such values too.
    Store storeUnchecked;
    // Of a number: what the member can hold.
    std::int64_t lowest = 0, highest = -1;
};

// A number of a record, by what reads and writes its member, which holds values from lowest to highest.
struct NumberMember {
    std::function<std::int64_t(const void* record)> get;
    std::function<void(void* record, std::int64_t number)> set;
    std::int64_t lowest, highest;
};
Field numberField(const char* name, const NumberMember& member, Numbers numbers, Presence presence, const char* doc);
struct TextMember {
    std::function<std::string(const void* record)> get;
    std::function<void(void* record, const std::string& text)> set;
};
Field textField(const char* name, const TextMember& member, Presence presence, const char* doc);

// A number of a record. The range is cut to what the member holds.
template <typename Record, typename Member>
Field field(const char* name, Member Record::*member, Numbers numbers, Presence presence, const char* doc) {
    static_assert(std::is_integral_v<Member> && (std::is_signed_v<Member> || sizeof(Member) < sizeof(std::int64_t)));
    using Limits = std::numeric_limits<Member>;
    const NumberMember access{
        [member](const void* record) { return static_cast<std::int64_t>(static_cast<const Record*>(record)->*member); },
        [member](void* record, std::int64_t number) {
            static_cast<Record*>(record)->*member = static_cast<Member>(number);
        },
        static_cast<std::int64_t>(Limits::min()), static_cast<std::int64_t>(Limits::max())};
    return numberField(name, access, std::move(numbers), std::move(presence), doc);
}

// A text as it is, or as {"bytes": "c3 28"} where it is not UTF-8, which JSON cannot hold.
Json textJson(const std::string& text);
std::string textOrBytesOf(const Json& value);
Json textSchema();

// A text of a record.
template <typename Record>
Field field(const char* name, std::string Record::*member, Presence presence, const char* doc) {
    const TextMember access{
        [member](const void* record) { return static_cast<const Record*>(record)->*member; },
        [member](void* record, const std::string& text) { static_cast<Record*>(record)->*member = text; }};
    return textField(name, access, std::move(presence), doc);
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

// Fills a record from the fields that a step gives: fallbacks first, then the given values. Throws for unknown, missing
// and wrong fields.
void readFields(void* record, const std::vector<Field>& fields, const Json& given);
// The same for a call: fields below "unchecked" are out of their range on purpose.
constexpr const char* kUnchecked = "unchecked";
void fillForCall(void* record, const std::vector<Field>& fields, const Json& given);
// The other way round: all fields of a record that a program gave, so that fillForCall makes the same record of them.
// scratch: another record of the kind.
Held<Json> fieldsOf(const void* record, void* scratch, const std::vector<Field>& fields);
template <typename Record>
Held<Json> fieldsOf(const Record& record, const std::vector<Field>& fields) {
    Record scratch{};
    return fieldsOf(&record, &scratch, fields);
}

std::vector<std::string> namesOf(const std::vector<Field>& fields);
// The JSON schema's "properties" of these fields, and the names of the required ones.
Json propertiesOf(const std::vector<Field>& fields);
Json requiredOf(const std::vector<Field>& fields);
// The schema of an object with these properties and no others; required: a list of names.
Json objectSchema(const Json& properties);
Json objectSchema(const Json& properties, const Json& required);

}  // namespace vorn_onu

#endif
