// vorn-onu schema: the JSON schema of scenarios, made from the tables that read them.
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "running/io/Output.h"
#include "running/scenario/Scenario.h"
#include "running/scenario/operations/Operations.h"

namespace vorn_onu {

namespace {

// A step that calls one operation. Its fields may also come from a named record, so that none can be required then.
Json callSchema(const Operation& operation) {
    Json properties = propertiesOf(operation.fields);
    properties["call"] = {{"enum", Json::array({operation.name})}};
    if (const std::string brief = shortOperationName(operation.name); brief != operation.name)
        properties["call"]["enum"].push_back(brief);
    properties["record"] = {{"type", "string"}, {"description", "name of a record that gives the other fields"}};
    if (operation.onNull != nullptr) properties["record"]["type"] = {"string", "null"};
    if (!operation.fields.empty())
        properties["unchecked"] = {{"type", "object"},
                                   {"description", "fields with values out of their range, stored as far as they fit"}};
    properties["result"] = {{"type", {"integer", "string"}}, {"description", "the result that is expected"}};
    Json outputs = Json::object();
    for (const auto& name : operation.outputs) outputs[name] = Json::object();
    if (!outputs.empty()) properties["output"] = objectSchema(outputs);
    properties["note"] = {{"type", "string"}};
    Json schema = objectSchema(properties, Json::array({"call"}));
    schema["description"] = operation.doc;
    const Json needed = requiredOf(operation.fields);
    if (!needed.empty())
        schema["anyOf"] = Json::array(
            {Json{{"required", {"record"}}}, Json{{"required", {"unchecked"}}}, Json{{"required", needed}}});
    return schema;
}

Json stepSchema(const StepKind& kind) {
    Json properties = Json::object();
    properties[kind.key] = *kind.schema;
    properties[kind.key]["description"] = kind.doc;
    if (kind.key != "note") properties["note"] = {{"type", "string"}};
    for (const auto& companion : kind.companions) {
        const auto own = kind.companionSchemas.find(companion);
        properties[companion] =
            own != kind.companionSchemas.end() ? *own->second : Json{{"type", "integer"}, {"minimum", 0}};
    }
    return objectSchema(properties, Json::array({kind.key}));
}

Json stepsSchema() {
    Json ways = Json::array();
    for (const StepKind& kind : stepKinds())
        if (kind.key != "call") ways.push_back(stepSchema(kind));
    for (const Operation& operation : operations()) ways.push_back(callSchema(operation));
    return {{"type", "array"}, {"items", {{"anyOf", ways}}}};
}

}  // namespace

int printSchema() {
    const Json schema = {
        {"$schema", "https://json-schema.org/draft/2020-12/schema"},
        {"title", "vorn-onu scenario"},
        {"type", "object"},
        {"additionalProperties", false},
        {"required", {"title", "steps"}},
        {"properties",
         {{"$schema", {{"type", "string"}}},
          {"version", {{"const", kFormatVersion}, {"description", "of the format; left out: this one"}}},
          {"title", {{"type", "string"}, {"description", "the scenario in a few words"}}},
          {"state",
           {{"type", "boolean"},
            {"description", "the HAL keeps a state file: each part of the scenario opens it at its begin"}}},
          {"description", {{"type", "string"}, {"description", "what it is about, in a sentence or two"}}},
          {"forwarding",
           {{"enum", {kByContract, kByG988}},
            {"description",
             "what frames of services go by: the HAL's contract or G.988; left out: what the command or the "
             "environment says, or the contract"}}},
          {"records",
           {{"type", "object"},
            {"additionalProperties", {{"type", "object"}}},
            {"description", "records by name, for steps that share one"}}},
          {"steps", stepsSchema()}}}};
    print(schema.dump(2) + "\n");
    return kHeld;
}

}  // namespace vorn_onu
