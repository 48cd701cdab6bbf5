// GEM ports and T-CONTs in place, without copies. The caller holds the device lock for as long as it looks at them; it
// may change counters and nothing else.
#ifndef VIRTUAL_ONU_PON_TABLES_H
#define VIRTUAL_ONU_PON_TABLES_H

#include <cstddef>
#include <map>
#include <optional>

#include "Fields.h"

namespace virtual_onu::pon {

// The places of a GEM port's counters that the data path moves. Which counter the driver keeps where is not known but
// for the discarded frames, which the HAL reads.
enum GemCounter : unsigned {
    kFramesSent = 0,
    kOctetsSent = 1,
    kFramesReceived = 2,
    kOctetsReceived = 3,
    kFramesDiscarded = 6,
};

std::map<unsigned, GemPort>& gemPortsInPlace();  // by port id
std::map<unsigned, Tcont>& tcontsInPlace();      // by index
std::optional<unsigned>& adminStateInPlace();

}  // namespace virtual_onu::pon

#endif
