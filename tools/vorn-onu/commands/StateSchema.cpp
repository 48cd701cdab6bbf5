// vorn-onu schema --state: the records of the device state as a JSON schema, made from their lists of fields.
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "StateJson.h"
#include "commands/Commands.h"
#include "running/io/Output.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

namespace {

using namespace virtual_onu;

constexpr const char* nameOf(const NetworkDevice*) {
    return "NetworkDevice";
}
constexpr const char* nameOf(const BridgePort*) {
    return "BridgePort";
}
constexpr const char* nameOf(const Bridge*) {
    return "Bridge";
}
constexpr const char* nameOf(const LearnedAddress*) {
    return "LearnedAddress";
}
constexpr const char* nameOf(const Queue*) {
    return "Queue";
}
constexpr const char* nameOf(const Tcont*) {
    return "TCont";
}
constexpr const char* nameOf(const GemPort*) {
    return "GemPort";
}
constexpr const char* nameOf(const board::Identity*) {
    return "Board";
}
constexpr const char* nameOf(const board::Image*) {
    return "Image";
}
constexpr const char* nameOf(const board::Phy*) {
    return "Phy";
}

template <typename Record>
Json referenceTo() {
    return {{"$ref", std::string("#/$defs/") + nameOf(static_cast<const Record*>(nullptr))}};
}

template <typename Value>
struct TypeOf {
    static Json schema() { return {{"type", std::is_same_v<Value, bool> ? "boolean" : "integer"}}; }
};
template <>
struct TypeOf<std::string> {
    static Json schema() { return {{"type", "string"}}; }
};
template <typename One>
struct TypeOf<std::vector<One>> {
    static Json schema() {
        if constexpr (IsRecord<One>::value)
            return {{"type", "array"}, {"items", referenceTo<One>()}};
        else
            return {{"type", "array"}, {"items", TypeOf<One>::schema()}};
    }
};
template <typename One>
struct TypeOf<std::map<std::string, One>> {
    static Json schema() { return {{"type", "object"}, {"additionalProperties", TypeOf<One>::schema()}}; }
};

void add(Json& schema, const char* name, const Json& type) {
    schema["properties"][name] = type;
    schema["required"].push_back(name);
}

template <typename Record>
Json& addRecord(Json& records) {
    Json& schema = records[nameOf(static_cast<const Record*>(nullptr))];
    schema = {{"type", "object"}, {"properties", Json::object()}, {"required", Json::array()}};
    forEachField<Record>(kInState, [&](const auto& field) {
        Json type = TypeOf<std::decay_t<decltype(std::declval<Record>().*field.member)>>::schema();
        if (field.unset) type["type"] = {type["type"], "null"};
        schema["properties"][field.name] = type;
        if (!mayMissInState(field)) schema["required"].push_back(field.name);
    });
    return schema;
}

}  // namespace

int printStateSchema() {
    Json records = Json::object();
    for (const auto addIt : {addRecord<NetworkDevice>, addRecord<LearnedAddress>, addRecord<Queue>, addRecord<Tcont>,
                             addRecord<GemPort>, addRecord<board::Image>, addRecord<board::Phy>})
        addIt(records);
    // What the state says of the moment beside the records' own fields.
    add(addRecord<BridgePort>(records), "state", TypeOf<std::string>::schema());
    add(addRecord<Bridge>(records), "learned", TypeOf<std::vector<LearnedAddress>>::schema());
    Json& board = addRecord<board::Identity>(records);
    add(board, "images", TypeOf<std::vector<board::Image>>::schema());
    add(board, "phys", TypeOf<std::vector<board::Phy>>::schema());
    print(Json{{"$schema", "https://json-schema.org/draft/2020-12/schema"},
               {"title", "records of the state of vorn-onu's device"},
               {"$defs", records}}
              .dump(2) +
          "\n");
    return kHeld;
}

}  // namespace vorn_onu
