// A scenario's removal: for every provisioning call the removal that a daemon makes with the same record.
#ifndef FAULT_SWEEP_TAKE_DOWN_H
#define FAULT_SWEEP_TAKE_DOWN_H

#include <string>

#include "running/scenario/Scenario.h"

namespace fault_sweep {

// The removals of the scenario in this file, in reverse order. Throws vorn_onu::BadScenario.
vorn_onu::Scenario takeDownOf(const std::string& scenarioFile, const std::string& workDirectory);

// Services to the gateway and management hosts are counted without a floor: a removal too many would be felt by the
// next provisioning. A daemon removes what it has, and so does the sweep.
bool isDue(const vorn_onu::Step& removal);

// What a daemon does once in its life, however often it provisions.
bool startsThread(const vorn_onu::Step& step);

}  // namespace fault_sweep

#endif
