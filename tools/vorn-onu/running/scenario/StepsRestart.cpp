// Steps that let the HAL's process end. Whoever runs the scenario does it: Runner.cpp.
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "running/scenario/Scenario.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

void parseRestart(Step& step, const Json& whole, ParseContext&) {
    const std::string how = inField("restart", [&] { return textOf(whole["restart"]); });
    if (how != "kill" && how != "exit")
        throw Problem("restart", "must be \"kill\" or \"exit\", not " + shown(whole["restart"]));
    step.restart = how == "kill" ? Restart::Kill : Restart::Exit;
    step.words = how == "kill" ? "the HAL's process is killed; a new one on the same board"
                               : "the HAL's process ends; a new one on the same board";
    step.run = [](RunContext&) -> StepResult {
        throw std::runtime_error("the HAL lives in this very process, which cannot be restarted");
    };
}

}  // namespace

std::vector<StepKind> restartSteps() {
    return {{"restart",
             "ends the HAL's process, by SIGKILL or by itself; what follows runs in a new one on the same board",
             {},
             Json{{"enum", {"kill", "exit"}}},
             parseRestart}};
}

}  // namespace vorn_onu
