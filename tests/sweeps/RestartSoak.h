// A daemon that is killed and started again, many times on one board.
#ifndef FAULT_SWEEP_RESTART_SOAK_H
#define FAULT_SWEEP_RESTART_SOAK_H

#include <string>

namespace fault_sweep {

// Prints what a process has first and last; true when that is the same.
bool restartSoak(const std::string& scenarioFile, unsigned restarts);

}  // namespace fault_sweep

#endif
