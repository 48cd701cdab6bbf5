// GEM ports of GPON control.
#ifndef KIT_GEM_PORTS_H
#define KIT_GEM_PORTS_H

#include <cstdint>

#include "platform/gponctl.h"
#include "platform/kit_numbers.h"

namespace kit {

constexpr std::uint16_t kNoGemIndex = 65535;
constexpr std::uint16_t kMaxGemIndex = 255;

struct GemPortAnswer {
    int result;           // 0, or GPON control's error
    GponCtlGemPort port;  // what GPON control has left in the query, whatever the result
    bool known() const { return result == 0; }
    bool enabled() const { return port.output[GPONCTL_GEM_PORT_OUTPUT_ENABLED] != 0; }
};
GemPortAnswer gemPortById(std::uint16_t gemPortId);
GemPortAnswer gemPortByIndex(std::uint16_t gemIndex);

struct GemPortCounters {
    int result;  // 0, or GPON control's error
    GponCtlGemPortCounters port;
};
GemPortCounters countersOfGemPort(std::uint16_t gemPortId);
GemPortCounters countersOfAllGemPorts();

// GPON control's result. A port that it has already is not noted as one that is being created.
int createGemPort(GponCtlGemPortConfig& config);
// Disables the port and removes it. The id is the caller's; the port is as GPON control knows it. True when it is
// removed.
bool removeGemPort(const GponCtlGemPort& port, std::uint16_t gemPortId);
// GPON control's result, and in *gemIndex what it leaves in the request.
int enableGemPort(std::uint16_t gemPortId, std::uint16_t* gemIndex, bool enable);

void forgetGemPort(std::uint16_t gemPortId);  // GPON control no longer has it

}  // namespace kit

#endif
