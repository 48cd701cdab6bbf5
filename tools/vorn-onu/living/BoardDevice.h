// What an OMCI agent asks of its ONU beside the HAL, reported by the process's virtual ONU: links and counters.
#ifndef VORN_ONU_BOARD_DEVICE_H
#define VORN_ONU_BOARD_DEVICE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "omci/agent/Device.h"

namespace vorn_onu {

class BoardDevice : public omci::Device {
public:
    // ethernetPorts: the instances of the ports in the order of their numbers on the board, from 1.
    explicit BoardDevice(std::vector<omci::InstanceId> ethernetPorts) : ethernetPorts_(std::move(ethernetPorts)) {}

    std::optional<IntfStats> portCounters(omci::EntityKey port) override;
    std::optional<omci::GemPortCounters> gemPortCounters(std::uint16_t gemPortId) override;
    std::optional<omci::PortState> portState(omci::InstanceId ethernetPort) override;
    std::optional<std::vector<omci::LearnedStation>> learnedStations(omci::InstanceId bridge,
                                                                     omci::EntityKey port) override;
    std::optional<omci::JoinedGroups> joinedGroups(omci::InstanceId bridge, omci::EntityKey port) override;
    std::optional<omci::HostAddresses> hostAddresses(omci::InstanceId ipHost) override;
    std::optional<bool> veipConnected(omci::InstanceId veip) override;
    std::optional<double> bitErrorRatio() override;
    // Of the HAL's numbers: "br3", and the VLAN device of a port from 1 on it, "sid1.3".
    static std::string bridgeName(unsigned bridge);
    static std::string memberName(unsigned bridge, unsigned port);

    // The printable text that the image begins with; of one that begins otherwise its CRC-32 in hexadecimal digits.
    std::string imageVersion(omci::ByteView image) override;

private:
    unsigned portOf(omci::InstanceId ethernetPort) const;  // from 1; 0 for none of the board's
    std::string deviceOf(omci::EntityKey port) const;

    // A 32-bit counter of the driver, counted on where it comes round; it is read once a second.
    struct Counted {
        std::uint32_t last = 0;
        std::uint64_t sum = 0;
    };
    std::vector<omci::InstanceId> ethernetPorts_;
    std::map<unsigned, std::array<Counted, 10>> gemPorts_;
};

}  // namespace vorn_onu

#endif
