// Several scenarios in one call.
#ifndef VORN_ONU_RUN_SEVERAL_H
#define VORN_ONU_RUN_SEVERAL_H

#include <string>

#include "commands/Commands.h"
#include "views/Junit.h"
#include "views/Terminal.h"

namespace vorn_onu {

// Runs a scenario in this process without a word; the failing steps look as on this terminal.
ScenarioResult runUnseen(const RunCommand& command, const std::string& file, const Terminal& terminal);  // Run.cpp

// Runs each scenario in a process of its own, since the HAL's maps live as long as its process: one that crashes fails
// alone. A line a scenario in the order in which they were named, the failing steps below it; on a terminal a last line
// that tells what runs. Answers the exit code.
int runSeveral(const RunCommand& command);

}  // namespace vorn_onu

#endif
