// The data path: carries a frame through tag-rule tables and bridges as the SoC and the kernel do. What is below takes
// the device lock, or is called with it.
#ifndef VIRTUAL_ONU_DATA_PATH_H
#define VIRTUAL_ONU_DATA_PATH_H

#include <string>

#include "Frames.h"
#include "frames/Segment.h"
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

// What has become of all frames of a segment. Its memory is used again from one to the next.
struct Passage {
    struct Exit {
        Traversal::Exit at;
        std::uint32_t first = 0, frames = 1;  // of the segment
    };
    std::vector<Exit> exits;
    std::uint32_t dropped = 0;  // frames that left nowhere
    std::string lastDrop;       // why, of the last one
    Traversal traversal;        // of the last one
};
// Likewise for a segment with this header, or a frame by itself. Exits that all frames have in common are one.
const Plan& carry(const Entrance& entrance, const WireHeader& header, const Segment& segment, Passage& passage);

}  // namespace virtual_onu::datapath

#endif
