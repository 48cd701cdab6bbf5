// The data path: carries a frame through tag-rule tables and bridges as the SoC and the kernel do. What is below takes
// the device lock, or is called with it.
#ifndef VIRTUAL_ONU_DATA_PATH_H
#define VIRTUAL_ONU_DATA_PATH_H

#include <string>

#include "Frames.h"
#include "frames/WalkRecord.h"

namespace virtual_onu::datapath {

Walk fromPort(const std::string& device, const Frame& frame,
              Learning learning);  // a frame that arrives at a device from outside
Walk fromPon(unsigned gemPortId, const Frame& frame, Learning learning);  // a frame that arrives in a GEM port

// Where a frame enters.
struct Entrance {
    std::string device;  // "" for a GEM port
    unsigned gemPortId = 0;
};
// Likewise for a frame that nobody needs in words: with the device lock held. The traversal is new, and good until the
// lock is given back. Answers the plan that it belongs to.
const Plan& carry(const Entrance& entrance, const Packet& packet, Traversal& traversal);

}  // namespace virtual_onu::datapath

#endif
