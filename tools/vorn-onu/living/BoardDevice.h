// What an OMCI agent asks of its ONU beside the HAL, told by the process's virtual ONU: links and counters.
#ifndef VORN_ONU_BOARD_DEVICE_H
#define VORN_ONU_BOARD_DEVICE_H

#include <array>
#include <cstdint>
#include <map>

#include "omci/agent/Device.h"

namespace vorn_onu {

class BoardDevice : public omci::Device {
public:
    std::optional<IntfStats> portCounters(omci::EntityKey port) override;
    std::optional<omci::GemPortCounters> gemPortCounters(std::uint16_t gemPortId) override;
    std::optional<omci::PortState> portState(omci::InstanceId ethernetPort) override;

private:
    // A 32-bit counter of the driver, counted on where it comes round; it is read once a second.
    struct Counted {
        std::uint32_t last = 0;
        std::uint64_t sum = 0;
    };
    std::map<unsigned, std::array<Counted, 10>> gemPorts_;
};

}  // namespace vorn_onu

#endif
