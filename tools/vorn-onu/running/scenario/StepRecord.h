// A step that has run, whether a scenario's or one that came alone.
#ifndef VORN_ONU_STEP_RECORD_H
#define VORN_ONU_STEP_RECORD_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "running/io/HeldJson.h"
#include "running/scenario/Scenario.h"

namespace vorn_onu {

struct StepRecord {
    const Step* step = nullptr;
    std::vector<Failure> failures;
    std::string answer;                     // of a call
    Held<nlohmann::json> returned;          // of a call: "result" and "output"; otherwise null
    std::string effects;                    // what it has changed on the device
    std::vector<std::string> warnings;      // where the HAL did what its caller may not expect, a line each
    std::vector<std::string> trace;         // the calls that it made, when they are wanted
    std::shared_ptr<const SentFrame> sent;  // of a frame
    std::uint64_t lastTraceEntry = 0;       // number of the last entry of the trace when the step was over
    bool passed() const { return failures.empty(); }
};

// The step in this process. What it throws is a failure.
StepResult runHere(const Step& step, RunContext& context);
// Runs the step, which must live as long as the record. What goes wrong is among the failures: nothing is thrown.
StepRecord performStep(const Step& step, RunContext& context);

// What devices and files have said becomes words for people: one line each.
void putOnLines(StepRecord& record);

// Number, kind, words, answer, effects, failures; of a frame the walk. docs/scenario-format.md has the fields.
nlohmann::json stepJson(const StepRecord& record);

}  // namespace vorn_onu

#endif
