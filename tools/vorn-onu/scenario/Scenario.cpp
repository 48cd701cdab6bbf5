#include "scenario/Scenario.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "scenario/fields/Field.h"

namespace vorn_onu {

namespace {

std::string readWhole(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw BadScenario(path + ": cannot be opened");
    std::ostringstream text;
    text << file.rdbuf();
    if (file.bad()) throw BadScenario(path + ": cannot be read");
    return text.str();
}

// Where a byte stands, for people: "line 3, column 7".
std::string placeOf(const std::string& text, std::size_t byte) {
    const std::string before = text.substr(0, byte > 0 ? byte - 1 : 0);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const auto lineStart = before.rfind('\n');
    const auto column = before.size() - (lineStart == std::string::npos ? 0 : lineStart + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Finds keys that stand twice in one object: the JSON library would keep the last one without a word.
class RepeatedKeys {
public:
    bool operator()(int depth, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) {
            seen_.emplace_back();
            if (depth == kStepDepth) ++step_;
        } else if (event == Json::parse_event_t::object_end) {
            seen_.pop_back();
        } else if (event == Json::parse_event_t::key && !seen_.back().insert(parsed.get<std::string>()).second) {
            const std::string place = step_ > 0 && depth > kStepDepth ? "step " + std::to_string(step_) + ": " : "";
            if (found_.empty()) found_ = place + "field '" + parsed.get<std::string>() + "': stands twice";
        }
        if (event == Json::parse_event_t::key && depth == 1) inSteps_ = parsed == "steps";
        if (!inSteps_) step_ = 0;
        return true;
    }
    const std::string& found() const { return found_; }

private:
    static constexpr int kStepDepth = 2;
    std::vector<std::set<std::string>> seen_;
    bool inSteps_ = false;
    int step_ = 0;
    std::string found_;
};

Json parseJson(const std::string& path, const std::string& text) {
    RepeatedKeys repeated;
    Json root;
    try {
        root = Json::parse(text, std::ref(repeated));
    } catch (const Json::parse_error& error) {
        const bool ends = error.byte > text.size();
        throw BadScenario(path + ": " + placeOf(text, error.byte) + ": is not JSON: " +
                          (ends ? "the file ends too early" : "a character that does not belong here"));
    } catch (const Json::out_of_range&) {
        throw BadScenario(path + ": holds a number that is too large for any field");
    }
    if (!repeated.found().empty()) throw BadScenario(path + ": " + repeated.found());
    return root;
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
    return step;
}

// "step 4 (call vorn_omci_hal_configureBridge): "
std::string placeOfStep(const Json& step, std::size_t number) {
    std::string place = "step " + std::to_string(number);
    if (step.is_object() && step.contains("call") && step["call"].is_string())
        place += " (call " + step["call"].get<std::string>() + ")";
    return place + ": ";
}

std::string onOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

}  // namespace

BadScenario::BadScenario(const std::string& text) : std::runtime_error(onOneLine(text)) {}

const std::vector<StepKind>& stepKinds() {
    static const std::vector<StepKind> kinds = [] {
        std::vector<StepKind> all;
        for (auto group : {callSteps, setupSteps, frameSteps, checkSteps})
            for (StepKind& kind : group()) all.push_back(std::move(kind));
        return all;
    }();
    return kinds;
}

Scenario loadScenario(const std::string& path) {
    const Json root = parseJson(path, readWhole(path));
    Scenario scenario;
    scenario.file = path;
    ParseContext context;
    try {
        checkKeys(root, {"$schema", "version", "title", "description", "records", "steps"});
        if (root.contains("version") && root["version"] != kFormatVersion)
            throw Problem("version", "must be " + std::to_string(kFormatVersion) + ", the only format that there is");
        if (!root.contains("title")) throw Problem("title", "is missing; it names the scenario in a few words");
        if (!root.contains("steps")) throw Problem("steps", "is missing; it is the list of what happens");
        scenario.title = inField("title", [&] { return textOf(root["title"]); });
        if (root.contains("description"))
            scenario.description = inField("description", [&] { return textOf(root["description"]); });
        if (root.contains("records")) {
            if (!root["records"].is_object()) throw Problem("records", "must be an object of records by name");
            context.records = root["records"];
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
        } catch (const Problem& problem) {
            throw BadScenario(path + ": " + placeOfStep(step, number) + problem.text());
        }
    }
    return scenario;
}

}  // namespace vorn_onu
