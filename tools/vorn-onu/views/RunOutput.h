// How a run looks: its heading, one line a step, failures, the closing lines; and the same as JSON.
#ifndef VORN_ONU_RUN_OUTPUT_H
#define VORN_ONU_RUN_OUTPUT_H

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "running/scenario/Runner.h"
#include "running/state/FailedCalls.h"
#include "views/Terminal.h"

namespace vorn_onu {

class RunOutput {
public:
    RunOutput(const Scenario& scenario, Terminal terminal);
    // forwarding: what holds, in words.
    std::string heading(const std::string& forwarding) const;
    std::string rule(const std::string& title) const;      // a line across the window, above tables
    std::string step(const StepRecord& record) const;      // ends with a line end
    std::string failures(const StepRecord& record) const;  // "" for a step that passed
    std::string trace(const StepRecord& record) const;
    std::string halOutput(const std::string& text) const;  // what the HAL printed during a step
    std::string closing(const std::vector<StepRecord>& records, std::size_t deviceCalls) const;

private:
    std::string below(const std::string& what) const;
    std::string sideOf(const std::string& label, const std::vector<std::string>& all) const;
    std::size_t wordsAt() const;  // the column in which the words of the steps begin
    const Scenario& scenario_;
    Terminal terminal_;
    std::size_t nameWidth_ = 0, wordsWidth_ = 0;
};

// The steps as far as a failed call can come from them, by their short names.
std::vector<RunStep> runSteps(const std::vector<StepRecord>& records);
bool allPassed(const std::vector<StepRecord>& records);
nlohmann::json runJson(const Scenario& scenario, const std::vector<StepRecord>& records);

}  // namespace vorn_onu

#endif
