// A scenario file, read and checked as a whole: nothing runs before every step has been understood.
#ifndef VORN_ONU_SCENARIO_H
#define VORN_ONU_SCENARIO_H

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "running/io/HeldJson.h"
#include "running/scenario/expect/Context.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu {

struct SentFrame;  // FrameFields.h

struct StepResult {
    std::vector<Failure> failures;
    std::string answer;                               // of a call: "0", "-1, level -5000"; of a frame: where it left
    std::shared_ptr<const SentFrame> sent = nullptr;  // of a frame
    Held<Json> returned = {};  // of a call: "result" and "output", as the answer has them in words
};

// How the HAL's process comes to its end.
enum class Restart { Kill, Exit };

struct Step {
    std::size_t number = 0;  // from 1, in the order of the file
    std::string kind;        // the key that makes the step what it is: "call", "expect", ...
    std::string name;        // of a call: the operation
    Held<Json> fields;       // of a call: what it is given
    std::string words;       // what the step does, for people
    std::string note;        // the author's own words, "" when there are none
    bool changes = false;    // provisions something
    bool needsHal = false;   // runs where the HAL is: everything else is between the runner and the device
    std::optional<Restart> restart = std::nullopt;
    std::function<StepResult(RunContext&)> run;
};

struct Scenario {
    std::string file;
    std::string title;
    std::string description;
    std::string forwarding;  // "contract" or "g988", by what it was made for; "" when it says nothing
    Held<Json> records;      // by name, for its steps; null where there are none
    std::vector<Step> steps;
    bool state = false;    // the HAL keeps a state file, which it opens at the begin of each part
    bool inParts = false;  // the HAL has a process of its own, which can end and start again
    Step end;              // is behind the last one in a run's records when something is missing then
};

// Words for what frames of services go by (hal/HalForwarding.h), in scenarios and options.
constexpr const char* kByContract = "contract";
constexpr const char* kByG988 = "g988";

// A kind of step: the key that it goes by and how it is read. Schema.cpp and parsing share these rows.
struct StepKind {
    using Parse = std::function<void(Step& step, const Json& whole, ParseContext& context)>;  // throws a Problem
    StepKind(std::string key, std::string doc, std::vector<std::string> companions, Json schema, Parse parse,
             std::map<std::string, Held<Json>> companionSchemas = {});

    std::string key;
    std::string doc;
    std::vector<std::string> companions;  // further keys that the step may have
    Held<Json> schema;                    // of the value of the key
    Parse parse;
    std::map<std::string, Held<Json>> companionSchemas;  // of companions that are more than a number
};
const std::vector<StepKind>& stepKinds();

std::vector<StepKind> callSteps();     // StepsCall.cpp
std::vector<StepKind> setupSteps();    // StepsSetup.cpp: gateway, board, advance
std::vector<StepKind> faultSteps();    // StepsFault.cpp
std::vector<StepKind> restartSteps();  // StepsRestart.cpp
std::vector<StepKind> frameSteps();    // StepsFrame.cpp
std::vector<StepKind> checkSteps();    // StepsCheck.cpp: expect, mark, note

// The one line that says what is wrong with a file; names in it may come from the file.
class BadScenario : public std::runtime_error {
public:
    explicit BadScenario(const std::string& text);
};

// A step by itself, with a number for messages. Throws a Problem.
Step parseStep(const Json& whole, std::size_t number, ParseContext& context);

// Throws BadScenario.
Scenario loadScenario(const std::string& path);

}  // namespace vorn_onu

#endif
