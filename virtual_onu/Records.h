// Records of a board file: how a thing of the device is written as a JSON object, and read with every value checked.
// Things whose fields are listed in Fields.h are written and read by that list. Each other kind has one function that
// tells its fields to either of the two:
//
//   template <typename Record>
//   void describe(Record& record, Refusal& refusal) {
//       record.number("times", refusal.times, 0);
//       record.number("code", refusal.code);
//   }
#ifndef VIRTUAL_ONU_RECORDS_H
#define VIRTUAL_ONU_RECORDS_H

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "BadBoard.h"
#include "HexDigits.h"
#include "StateJson.h"

namespace virtual_onu::persistence {

using Json = nlohmann::json;

// Texts of the device are bytes, those of JSON are characters: byte N is the character N, so that every text comes back
// as it was.
std::string jsonText(const std::string& bytes);
std::string bytesOf(const std::string& text);  // throws BadBoard

std::string shownValue(const Json& value);  // for messages, shortened

using GoodText = bool (*)(const std::string&);

GoodText checkOf(TextForm form);  // null for any text
const char* nounOf(TextForm form);

template <typename Record, typename Thing, typename = std::enable_if_t<IsRecord<Thing>::value>>
void describe(Record& record, Thing& thing);

class RecordWriter {
public:
    Json take() { return std::move(json_); }
    static bool has(const char* /*name*/) { return true; }

    void flag(const char* name, bool& value) { json_[name] = value; }
    template <typename Number>
    void number(const char* name, Number& value, Number /*lowest*/ = 0, Number /*highest*/ = 0) {
        json_[name] = value;
    }
    template <typename Number>
    void number(const char* name, std::optional<Number>& value) {
        json_[name] = value ? Json(*value) : Json();
    }
    void text(const char* name, std::string& value, GoodText /*good*/ = nullptr, const char* /*what*/ = "") {
        json_[name] = jsonText(value);
    }
    void texts(const char* name, std::vector<std::string>& values) {
        Json& list = json_[name] = Json::array();
        for (const std::string& value : values) list.push_back(jsonText(value));
    }
    void bytes(const char* name, std::vector<std::uint8_t>& value, std::size_t /*most*/) {
        json_[name] = hexText(value);
    }
    template <typename Enum>
    void choice(const char* name, Enum& value, const std::vector<const char*>& names) {
        json_[name] = names.at(static_cast<std::size_t>(value));
    }
    template <typename Thing>
    void list(const char* name, std::vector<Thing>& things, std::size_t /*most*/ = 0) {
        Json& list = json_[name] = Json::array();
        for (Thing& thing : things) {
            RecordWriter one;
            describe(one, thing);
            list.push_back(one.take());
        }
    }
    template <typename Number>
    void numbers(const char* name, std::vector<Number>& values, std::size_t /*count*/ = 0) {
        json_[name] = values;
    }
    void textsByName(const char* name, std::map<std::string, std::string>& values) {
        Json& object = json_[name] = Json::object();
        for (const auto& [key, value] : values) object[jsonText(key)] = jsonText(value);
    }
    template <typename Key>
    void numbersByName(const char* name, std::map<Key, std::uint64_t>& values) {
        Json& object = json_[name] = Json::object();
        for (const auto& [key, value] : values) object[keyOf(key)] = value;
    }

private:
    static std::string keyOf(const std::string& key) { return jsonText(key); }
    template <typename Number>
    static std::string keyOf(Number key) {
        return std::to_string(key);
    }
    Json json_ = Json::object();
};

// Throws BadBoard for a field that is missing, of another kind or out of its range. What it fills is new: lists are
// empty.
class RecordReader {
public:
    explicit RecordReader(const Json& json);
    void end() const;  // BadBoard for a field that nobody has asked for
    bool has(const char* name) const { return json_.contains(name); }

    void flag(const char* name, bool& value);
    // From lowest to highest; left out, what the type holds.
    template <typename Number>
    void number(const char* name, Number& value, Number lowest = std::numeric_limits<Number>::min(),
                Number highest = std::numeric_limits<Number>::max()) {
        value = numberIn(name, field(name), lowest, highest);
    }
    template <typename Number>
    void number(const char* name, std::optional<Number>& value) {
        const Json& found = field(name);
        value = found.is_null() ? std::nullopt
                                : std::optional<Number>(numberIn(name, found, std::numeric_limits<Number>::min(),
                                                                 std::numeric_limits<Number>::max()));
    }
    // A text that good() accepts; what says what it must be: "a MAC address".
    void text(const char* name, std::string& value, GoodText good = nullptr, const char* what = "");
    void texts(const char* name, std::vector<std::string>& values);
    void bytes(const char* name, std::vector<std::uint8_t>& value, std::size_t most);
    template <typename Enum>
    void choice(const char* name, Enum& value, const std::vector<const char*>& names) {
        value = static_cast<Enum>(placeIn(name, names));
    }
    template <typename Thing>
    void list(const char* name, std::vector<Thing>& things,
              std::size_t most = std::numeric_limits<std::size_t>::max()) {
        const Json& found = listIn(name, most);
        for (const Json& one : found) {
            RecordReader reader(one);
            things.emplace_back();
            describe(reader, things.back());
            reader.end();
        }
    }
    // So many numbers; any number of them for 0.
    template <typename Number>
    void numbers(const char* name, std::vector<Number>& values, std::size_t count = 0) {
        const Json& found = listIn(name, std::numeric_limits<std::size_t>::max());
        if (count != 0 && found.size() != count) fail(name, "must have " + std::to_string(count) + " numbers", found);
        for (const Json& one : found)
            values.push_back(
                numberIn(name, one, std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
    }
    void textsByName(const char* name, std::map<std::string, std::string>& values);
    template <typename Key>
    void numbersByName(const char* name, std::map<Key, std::uint64_t>& values) {
        for (const auto& [key, value] : objectIn(name).items())
            values[keyAs(name, key, Key{})] =
                numberIn(name, value, std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max());
    }

private:
    [[noreturn]] static void fail(const char* name, const std::string& what, const Json& found);
    const Json& field(const char* name);
    const Json& listIn(const char* name, std::size_t most);
    const Json& objectIn(const char* name);
    std::size_t placeIn(const char* name, const std::vector<const char*>& names);
    static std::string keyAs(const char* name, const std::string& key, const std::string& /*kind*/);
    static int keyAs(const char* name, const std::string& key, int /*kind*/);

    template <typename Number>
    static Number numberIn(const char* name, const Json& found, Number lowest, Number highest) {
        const std::string range = "must be a number from " + std::to_string(lowest) + " to " + std::to_string(highest);
        if (!found.is_number_integer()) fail(name, range, found);
        const bool negative = found.is_number_integer() && !found.is_number_unsigned() && found.get<std::int64_t>() < 0;
        if (negative) {
            const auto value = found.get<std::int64_t>();
            if (static_cast<std::int64_t>(lowest) >= 0 || value < static_cast<std::int64_t>(lowest))
                fail(name, range, found);
            return static_cast<Number>(value);
        }
        const auto value = found.get<std::uint64_t>();
        if (value > static_cast<std::uint64_t>(highest)) fail(name, range, found);
        if (lowest > 0 && value < static_cast<std::uint64_t>(lowest)) fail(name, range, found);
        return static_cast<Number>(value);
    }

    const Json& json_;
    std::set<std::string> asked_;
};

// A number as the key of a record. BadBoard for anything else.
std::uint64_t numberKey(const std::string& key, std::uint64_t highest);

// ---- things whose fields are listed ----

template <typename Record, typename Field, typename Value>
void describeField(Record& record, const Field& field, Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        record.flag(field.name, value);
    } else if constexpr (std::is_arithmetic_v<Value>) {
        if (field.range)
            record.number(field.name, value, static_cast<Value>(field.range->lowest),
                          static_cast<Value>(field.range->highest));
        else
            record.number(field.name, value);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        record.text(field.name, value, checkOf(field.form), nounOf(field.form));
    } else if constexpr (std::is_same_v<Value, std::vector<std::string>>) {
        record.texts(field.name, value);
    } else if constexpr (IsListOfRecords<Value>::value) {
        record.list(field.name, value, field.count != 0 ? field.count : std::numeric_limits<std::size_t>::max());
    } else if constexpr (std::is_same_v<Value, std::vector<std::uint32_t>>) {
        record.numbers(field.name, value, field.count);
    } else {
        record.numbersByName(field.name, value);
    }
}

template <typename Record, typename Thing, typename>
void describe(Record& record, Thing& thing) {
    forEachField<Thing>(kInFile, [&](const auto& field) {
        if (!field.isIn(kMayMiss) || record.has(field.name)) describeField(record, field, thing.*field.member);
    });
}

}  // namespace virtual_onu::persistence

#endif
