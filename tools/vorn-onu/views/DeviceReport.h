// What is on the device, in tables for people. Sections with nothing in them are left out.
#ifndef VORN_ONU_DEVICE_REPORT_H
#define VORN_ONU_DEVICE_REPORT_H

#include <string>
#include <vector>

#include "running/state/DeviceState.h"
#include "running/state/FailedCalls.h"
#include "views/Terminal.h"

namespace vorn_onu {

// newBoard is the state of a board that nothing has been done to: what it has as well is left out.
std::string deviceReport(const DeviceState& state, const DeviceState& newBoard, const Terminal& terminal);
// The ports that are TAPs of the host, a part of the above: what passed, what the board dropped, what was lost.
std::string realPackets(const DeviceState& state, const Terminal& terminal);
// Shell commands that were not understood and calls that failed; "" when there are none. steps: of the run, where there
// was one.
std::string warnings(const DeviceState& state, const Terminal& terminal, const std::vector<RunStep>& steps = {});

}  // namespace vorn_onu

#endif
