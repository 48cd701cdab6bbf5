// GEM ports with forwarding by G.988: in the driver with queue and state, or not at all. The records are the PON
// adapter's.
//
// Each answers whether it was done. If not, all is as it was, and one line of the log says what was refused.
#ifndef BRCM_BCM968580_DATA_FORWARDING_GEM_PORTS_H
#define BRCM_BCM968580_DATA_FORWARDING_GEM_PORTS_H

#include <cstdint>

#include "hal/PonRecords.h"

namespace forwarding {

// gemflow_add. A port that is there already gets its queue and state, and counts once; so does one that only the driver
// knows, from a process before this one.
bool addGemPort(const XGEMConfig& record);
// gemflow_del. Done when this process has not added the port.
bool removeGemPort(std::uint16_t gemPortId);
// set_gemPortStatus. Refused for a port that this process has not added.
bool enableGemPort(std::uint16_t gemPortId, bool enable);

}  // namespace forwarding

#endif
