#include <nlohmann/json.hpp>

#include "running/scenario/CallTally.h"
#include "running/scenario/ListenerStart.h"
#include "running/scenario/Scenario.h"
#include "running/scenario/operations/Operations.h"
#include "running/state/FieldWords.h"

namespace vorn_onu {

namespace {

// Keys of a call step that are no fields of the operation.
const std::vector<std::string> kCallKeys = {"call", "record", "result", "output", "note"};

bool isCallKey(const std::string& key) {
    for (const std::string& known : kCallKeys)
        if (known == key) return true;
    return false;
}

// The operation's fields: those of the named record, overridden by those of the step.
Json givenFields(const Json& whole, const ParseContext& context) {
    Json given = Json::object();
    if (whole.contains("record") && !whole["record"].is_null()) {
        inField("record", [&] {
            const std::string name = textOf(whole["record"]);
            std::vector<std::string> known;
            for (const auto& [key, ignored] : context.records->items()) known.push_back(key);
            if (!context.records->contains(name)) throw Problem("record '" + name + "' " + unknownName(name, known));
            if (!context.records->at(name).is_object()) throw Problem("record '" + name + "' must be an object");
            given = context.records->at(name);
        });
    }
    for (const auto& [key, value] : whole.items())
        if (!isCallKey(key)) given[key] = value;
    return given;
}

std::string answerText(const Outcome& outcome) {
    std::string text = outcome.result.is_null() ? "" : outcome.result.dump();
    if (!outcome.output.empty()) text += (text.empty() ? "" : ", ") + fieldWords(outcome.output);
    return text;
}

void compare(const std::string& what, const Json& expected, const Json& actual, std::vector<Failure>& failures) {
    if (expected == actual) return;
    failures.push_back({what, {expected.dump()}, {actual.dump()}});
}

// The part of the output that is expected: an expected object names only the members that matter.
Json partOf(const Json& actual, const Json& expected) {
    if (!actual.is_object() || !expected.is_object()) return actual;
    Json part = Json::object();
    for (const auto& [key, value] : expected.items())
        part[key] = actual.contains(key) ? partOf(actual[key], value) : Json(nullptr);
    return part;
}

PreparedCall callOnNull(const Operation& operation, const Json& given) {
    if (operation.onNull == nullptr) throw Problem("record", "cannot be null: this operation takes no record");
    if (!given.empty()) throw Problem(given.begin().key(), "does not go with a record that is null");
    return operation.onNull;
}

// Written as this one is: whole, or short.
std::vector<std::string> namesLike(const std::string& name) {
    std::vector<std::string> names = operationNames();
    if (shortOperationName(name) == name)
        for (std::string& one : names) one = shortOperationName(one);
    return names;
}

Outcome called(const PreparedCall& call, bool startsListener, RunContext& context) {
    if (!startsListener) return call(*context.hal);
    const ListenerStart listener(context.onu);
    Outcome outcome = call(*context.hal);
    if (outcome.result == 0) listener.wait();
    return outcome;
}

void parseCall(Step& step, const Json& whole, ParseContext& context) {
    const Operation* operation = inField("call", [&] {
        const std::string name = textOf(whole["call"]);
        const Operation* found = findOperation(name);
        if (found == nullptr) throw Problem("operation '" + name + "' " + unknownName(name, namesLike(name)));
        return found;
    });
    const Json given = givenFields(whole, context);
    const bool isNull = whole.contains("record") && whole["record"].is_null();
    const PreparedCall call = isNull ? callOnNull(*operation, given) : operation->prepare(given);
    const Json result = whole.contains("result") ? whole["result"] : Json(nullptr);
    if (!result.is_null() && !result.is_number_integer() && !result.is_string())
        throw Problem("result", "must be a number or a text, not " + shown(result));
    const Json output = whole.contains("output") ? whole["output"] : Json::object();
    inField("output", [&] { checkKeys(output, operation->outputs); });

    step.name = operation->name;
    step.fields = given;
    const bool isNamed = whole.contains("record") && !isNull;
    step.words = isNull ? "a null pointer" : (isNamed ? textOf(whole["record"]) + ": " : "") + fieldWords(given);
    step.changes = operation->changes;
    step.needsHal = true;
    step.run = [call, result, output, fullName = operation->name](RunContext& context_) {
        const Outcome outcome = called(call, fullName == "vorn_omci_hal_init", context_);
        const std::string name = shortOperationName(fullName);
        callTally().add(name, outcome.result.is_number_integer() && outcome.result != 0);
        StepResult done;
        done.answer = answerText(outcome);
        done.returned = Json{{"result", outcome.result}, {"output", outcome.output}};
        if (!result.is_null()) compare("result", result, outcome.result, done.failures);
        for (const auto& [key, value] : output.items())
            compare("output " + key, value, partOf(outcome.output[key], value), done.failures);
        return done;
    };
}

}  // namespace

std::vector<StepKind> callSteps() {
    // Each operation has a schema of its own, with its fields.
    return {{"call", "calls a HAL operation by its name, its fields beside it", kCallKeys, Json(), parseCall}};
}

}  // namespace vorn_onu
