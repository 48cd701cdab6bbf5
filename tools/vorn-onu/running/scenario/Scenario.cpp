#include "running/scenario/Scenario.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "running/io/Files.h"
#include "running/io/JsonCheck.h"
#include "running/io/Printed.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxScenarioSize = std::size_t{32} << 20U;  // bytes

// "step 2: field 'advance': " for the key at the end of this path, of a scenario.
std::string placeOfKey(const std::vector<std::string>& path) {
    std::size_t first = 0;
    std::string text;
    if (path.size() > 2 && path[0] == "steps" && path[1].front() == '[') {
        text = "step " + std::to_string(std::stoul(path[1].substr(1)) + 1) + ": ";
        first = 2;
    }
    std::string field;
    for (std::size_t i = first; i < path.size(); ++i)
        field += (field.empty() || path[i].front() == '[' ? "" : ".") + path[i];
    return text + "field '" + field + "': ";
}

Json parseJson(const std::string& path) {
    const std::string text = readFile(path, kMaxScenarioSize);
    if (const auto fault = checkJson(text))
        throw BadScenario(path + ": " + (fault->path.empty() ? "" : placeOfKey(fault->path)) + fault->what);
    return Json::parse(text);
}

bool isCompanion(const StepKind& kind, const std::string& key) {
    return std::find(kind.companions.begin(), kind.companions.end(), key) != kind.companions.end();
}

const StepKind& kindOf(const Json& step) {
    if (!step.is_object()) throw Problem("must be an object, not " + shown(step));
    const StepKind* found = nullptr;
    std::vector<std::string> keys;
    for (const StepKind& kind : stepKinds()) {
        keys.push_back(kind.key);
        if (!step.contains(kind.key)) continue;
        if (kind.key == "call") return kind;  // its fields may have any name: an IP host has a gateway
        const bool isRemark = kind.key == "note" || (found != nullptr && isCompanion(*found, kind.key));
        if (found != nullptr && !isRemark) throw Problem(kind.key, "does not go with '" + found->key + "' in one step");
        if (found == nullptr) found = &kind;
    }
    if (found == nullptr) throw Problem("must have one of the fields " + joined(keys));
    return *found;
}

// "step 4 (call vorn_omci_hal_configureBridge): "
std::string placeOfStep(const Json& step, std::size_t number) {
    std::string place = "step " + std::to_string(number);
    if (step.is_object() && step.contains("call") && step["call"].is_string())
        place += " (call " + step["call"].get<std::string>() + ")";
    return place + ": ";
}

}  // namespace

StepKind::StepKind(std::string kindKey, std::string kindDoc, std::vector<std::string> kindCompanions, Json kindSchema,
                   Parse kindParse, std::map<std::string, Held<Json>> kindCompanionSchemas)
    : key(std::move(kindKey)),
      doc(std::move(kindDoc)),
      companions(std::move(kindCompanions)),
      schema(std::move(kindSchema)),
      parse(std::move(kindParse)),
      companionSchemas(std::move(kindCompanionSchemas)) {}

BadScenario::BadScenario(const std::string& text) : std::runtime_error(oneLine(text)) {}

const std::vector<StepKind>& stepKinds() {
    static const std::vector<StepKind> kinds = [] {
        std::vector<StepKind> all;
        for (auto group : {callSteps, setupSteps, faultSteps, restartSteps, frameSteps, checkSteps})
            for (StepKind& kind : group()) all.push_back(std::move(kind));
        return all;
    }();
    return kinds;
}

Step parseStep(const Json& whole, std::size_t number, ParseContext& context) {
    const StepKind& kind = kindOf(whole);
    Step step;
    step.number = number;
    step.kind = kind.key;
    if (whole.contains("note")) step.note = inField("note", [&] { return textOf(whole["note"]); });
    if (kind.key != "call") {
        std::vector<std::string> known = {kind.key, "note"};
        known.insert(known.end(), kind.companions.begin(), kind.companions.end());
        checkKeys(whole, known);
    }
    kind.parse(step, whole, context);
    step.words = oneLine(step.words);
    step.note = oneLine(step.note);
    return step;
}

namespace {

Scenario scenarioOf(const std::string& path, const Json& root) {
    Scenario scenario;
    scenario.file = path;
    ParseContext context;
    try {
        checkKeys(root, {"$schema", "version", "title", "description", "forwarding", "state", "records", "steps"});
        if (root.contains("version") && root["version"] != kFormatVersion)
            throw Problem("version", "must be " + std::to_string(kFormatVersion) + ", the only format that there is");
        if (!root.contains("title")) throw Problem("title", "is missing; it names the scenario in a few words");
        if (!root.contains("steps")) throw Problem("steps", "is missing; it is the list of what happens");
        scenario.title = inField("title", [&] { return oneLine(textOf(root["title"])); });
        if (root.contains("description"))
            scenario.description = inField("description", [&] { return textOf(root["description"]); });
        if (root.contains("forwarding")) {
            const Json& word = root["forwarding"];
            if (word != kByContract && word != kByG988)
                throw Problem("forwarding",
                              std::string("must be ") + kByContract + " or " + kByG988 + ", not " + shown(word));
            scenario.forwarding = word;
        }
        if (root.contains("state")) {
            if (!root["state"].is_boolean())
                throw Problem("state", "must be true or false, not " + shown(root["state"]));
            scenario.state = scenario.inParts = root["state"].get<bool>();
        }
        if (root.contains("records")) {
            if (!root["records"].is_object()) throw Problem("records", "must be an object of records by name");
            scenario.records = context.records = root["records"];
        }
        if (!root["steps"].is_array()) throw Problem("steps", "must be a list, not " + shown(root["steps"]));
    } catch (const Problem& problem) {
        throw BadScenario(path + ": " + problem.text());
    }
    std::size_t number = 0;
    for (const Json& step : root["steps"]) {
        ++number;
        try {
            scenario.steps.push_back(parseStep(step, number, context));
            scenario.inParts = scenario.inParts || scenario.steps.back().restart;
        } catch (const Problem& problem) {
            throw BadScenario(path + ": " + placeOfStep(step, number) + problem.text());
        }
    }
    scenario.end.number = number + 1;
    scenario.end.kind = "end";
    scenario.end.words = "the end of the scenario";
    return scenario;
}

}  // namespace

Scenario loadScenario(const std::string& path) {
    try {
        return scenarioOf(path, parseJson(path));
    } catch (const FileProblem& problem) {
        throw BadScenario(problem.what());
    }
}

}  // namespace vorn_onu
