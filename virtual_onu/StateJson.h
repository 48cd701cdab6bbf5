// The board's records as the members of the state (docs/state-format.md), and read back from there.
#ifndef VIRTUAL_ONU_STATE_JSON_H
#define VIRTUAL_ONU_STATE_JSON_H

#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "Fields.h"

namespace virtual_onu {

// Whether a list of fields describes it.
template <typename Value, typename = void>
struct IsRecord : std::false_type {};
template <typename Value>
struct IsRecord<Value, std::void_t<decltype(fieldsOf(static_cast<const Value*>(nullptr)))>> : std::true_type {};

template <typename Value>
struct IsListOfRecords : std::false_type {};
template <typename One>
struct IsListOfRecords<std::vector<One>> : IsRecord<One> {};

template <typename Json = nlohmann::json, typename Record>
Json stateJson(const Record& record) {
    Json state = Json::object();
    forEachField<Record>(kInState, [&](const auto& field) {
        const auto& value = record.*field.member;
        using Value = std::decay_t<decltype(value)>;
        Json& place = state[field.name];
        if constexpr (IsListOfRecords<Value>::value) {
            place = Json::array();
            for (const auto& one : value) place.push_back(stateJson<Json>(one));
        } else {
            place = value;
            if (field.unset && place == Json(*field.unset)) place = nullptr;
        }
    });
    return state;
}

// What newer boards count beside, an older one does not report.
template <typename Field>
constexpr bool mayMissInState(const Field& field) {
    return field.isIn(kMayMiss) || !field.isIn(kInDiff);
}

// What is missing and may be stays as it is. Throws nlohmann::json::exception.
template <typename Json, typename Record>
void readStateJson(const Json& state, Record& record) {
    forEachField<Record>(kInState, [&](const auto& field) {
        if (mayMissInState(field) && !state.contains(field.name)) return;
        auto& value = record.*field.member;
        using Value = std::decay_t<decltype(value)>;
        const Json& found = state.at(field.name);
        if constexpr (IsListOfRecords<Value>::value) {
            for (const Json& one : found) readStateJson(one, value.emplace_back());
        } else if (!field.unset || !found.is_null()) {
            found.get_to(value);
        }
    });
}

}  // namespace virtual_onu

#endif
