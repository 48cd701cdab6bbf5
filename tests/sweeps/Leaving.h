// Joins and leaves of bridges, read from a trace. The kernel forgives a leave that was left out when the device goes; a
// device whose deletion fails then stays in the bridge.
#ifndef FAULT_SWEEP_LEAVING_H
#define FAULT_SWEEP_LEAVING_H

#include <string>
#include <vector>

namespace fault_sweep {

// VLAN devices that were deleted, or asked to be, while they were in a bridge that nobody had asked to let them go:
// "leave br3 sid0.3", sorted, each once.
std::vector<std::string> leavesLeftOut(const std::vector<std::string>& trace);

}  // namespace fault_sweep

#endif
