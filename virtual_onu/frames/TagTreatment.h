// What one tag rule does to one frame: its filters and its commands. Pure: nothing here looks at the device.
#ifndef VIRTUAL_ONU_TAG_TREATMENT_H
#define VIRTUAL_ONU_TAG_TREATMENT_H

#include <optional>
#include <string>

#include "Frames.h"
#include "VirtualOnu.h"

namespace virtual_onu::datapath {

// What a frame carries beside its bytes while it is inside the device.
struct Marks {
    std::optional<unsigned> gemIndex;
    std::optional<unsigned> queue;
};

// Whether every filter of the rule holds for the frame; txDevice is the VLAN device that it leaves through ("" on
// receive).
bool matches(const TagRule& rule, const Frame& frame, const Marks& marks, const std::string& txDevice);

// The rule's commands. Pushes and pops act first, then the rest in the order that they were added. Answers why the
// frame ends here, or "".
std::string apply(const TagRule& rule, Frame& frame, Marks& marks);

}  // namespace virtual_onu::datapath

#endif
