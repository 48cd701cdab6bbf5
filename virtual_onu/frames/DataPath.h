// The data path: carries a frame through tag-rule tables and bridges as the SoC and the kernel do. What is below takes
// the device lock, or is called with it.
#ifndef VIRTUAL_ONU_DATA_PATH_H
#define VIRTUAL_ONU_DATA_PATH_H

#include <string>

#include "Frames.h"

namespace virtual_onu::datapath {

Walk fromPort(const std::string& device, const Frame& frame,
              Learning learning);  // a frame that arrives at a device from outside
Walk fromPon(unsigned gemPortId, const Frame& frame, Learning learning);  // a frame that arrives in a GEM port

}  // namespace virtual_onu::datapath

#endif
