// Steps that look at the device: expectations, marks, and words between.
#include <chrono>

#include <nlohmann/json.hpp>

#include "running/io/Pause.h"
#include "running/scenario/Scenario.h"
#include "running/scenario/expect/Expect.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks{10};

// What happens on another thread is looked at again until it is as expected or the time is over.
StepResult checkWithin(const Check& check, std::chrono::milliseconds limit, const RunContext& context) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        StepResult done;
        check(context, done.failures);
        if (done.failures.empty() || std::chrono::steady_clock::now() >= end) return done;
        pause(kBetweenLooks);
    }
}

std::string wordsOf(const Json& expectations) {
    std::string words;
    for (const auto& [key, value] : expectations.items()) {
        words += (words.empty() ? "" : ", ") + key;
        if (value.is_object() && value.size() > 1) words += " (" + std::to_string(value.size()) + ")";
        if (value.is_number()) words += " " + value.dump();
        if (value.is_string()) words += " " + value.get<std::string>();
    }
    return words;
}

void parseExpect(Step& step, const Json& whole, ParseContext& context) {
    const Check check = inField("expect", [&] { return parseExpectations(whole["expect"], context); });
    std::int64_t within = 0;
    if (whole.contains("within")) within = inField("within", [&] { return Numbers{0, 60000}.read(whole["within"]); });
    step.words = wordsOf(whole["expect"]);
    step.run = [check, within](RunContext& run) { return checkWithin(check, std::chrono::milliseconds(within), run); };
}

void parseMark(Step& step, const Json& whole, ParseContext& context) {
    const std::string name = inField("mark", [&] { return textOf(whole["mark"]); });
    if (!context.marks.insert(name).second) throw Problem("mark", "the mark '" + name + "' is there already");
    step.words = name;
    step.run = [name](RunContext& run) {
        run.marks[name] = {run.onu.stateText(), run.onu.sentMessages().size(), run.onu.shellCommands().size()};
        return StepResult{};
    };
}

void parseNote(Step& step, const Json&, ParseContext&) {
    step.run = [](RunContext&) { return StepResult{}; };
}

// The tables come after the step's line, from whoever runs the scenario.
void parseShow(Step& step, const Json& whole, ParseContext&) {
    step.words = inField("show", [&] { return textOf(whole["show"]); });
    step.run = [](RunContext&) { return StepResult{}; };
}

Json expectSchema() {
    Json properties = Json::object();
    for (const ExpectRow& row : expectRows()) {
        properties[row.key] = *row.schema;
        properties[row.key]["description"] = row.doc;
    }
    Json schema = objectSchema(properties);
    schema["minProperties"] = 1;
    return schema;
}

}  // namespace

std::vector<StepKind> checkSteps() {
    return {
        {"expect",
         "states what must be so on the device; with \"within\", at the latest after so many milliseconds",
         {"within"},
         expectSchema(),
         parseExpect},
        {"show", "shows what is on the device at this moment, under a title", {}, Json{{"type", "string"}}, parseShow},
        {"mark", "names this moment, for nothingLeftSince and since", {}, Json{{"type", "string"}}, parseMark},
        {"note", "a heading between steps, or words beside a step", {}, Json{{"type", "string"}}, parseNote},
    };
}

}  // namespace vorn_onu
