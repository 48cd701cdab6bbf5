// The operations that a scenario can call, each with its named fields, what it answers and how it is called. Scenario
// parsing, error messages and the JSON schema all come from them.
#ifndef VORN_ONU_OPERATIONS_H
#define VORN_ONU_OPERATIONS_H

#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "running/scenario/fields/Field.h"
#include "running/scenario/fields/Problem.h"

class VornHal;

namespace vorn_onu {

// What an operation answered.
struct Outcome {
    Json result = nullptr;         // return value: a number or a text; null where there is none
    Json output = Json::object();  // what it wrote through its out arguments, by name
};

// An operation with its arguments, ready to be called any number of times.
using PreparedCall = std::function<Outcome(VornHal& hal)>;

struct Operation {
    std::string name;
    std::string doc;
    std::vector<Field> fields;
    std::vector<std::string> outputs;  // names in Outcome::output
    bool changes;                      // provisioning, as opposed to a query
    std::function<PreparedCall(const std::vector<Field>& fields, const Json& given)> prepareWith;
    PreparedCall onNull = nullptr;  // the call with a null pointer in its record's place

    PreparedCall prepare(const Json& given) const { return prepareWith(fields, given); }  // throws a Problem
};

// Every virtual operation of VornHal and the exported functions that a daemon calls beside it.
const std::vector<Operation>& operations();
// By the full name, or by the short one.
const Operation* findOperation(const std::string& name);
// Without what many names begin with: "configureBridge" of "vorn_omci_hal_configureBridge".
std::string shortOperationName(const std::string& name);
std::vector<std::string> operationNames();

// What operations() is made of.
std::vector<Operation> halOperations();     // HalOperations.cpp, of Operations.def
std::vector<Operation> deviceOperations();  // DeviceOperations.cpp: functions beside the HAL object

// One row: Record holds the arguments, call(hal, record) makes the call. The record is copied for every call: some
// operations write into it.
template <typename Record, typename Call>
Operation operation(const char* name, const char* doc, bool changes, std::vector<Field> fields,
                    std::vector<std::string> outputs, Call call) {
    const auto prepare = [call](const std::vector<Field>& known, const Json& given) -> PreparedCall {
        Record record{};
        fillForCall(&record, known, given);
        return [record, call](VornHal& hal) {
            Record own = record;
            return call(hal, own);
        };
    };
    return {name, doc, std::move(fields), std::move(outputs), changes, prepare, nullptr};
}

struct NoArguments {};

}  // namespace vorn_onu

#endif
