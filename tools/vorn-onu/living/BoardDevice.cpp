#include "living/BoardDevice.h"

#include <algorithm>
#include <string>

#include "VirtualOnu.h"
#include "device/Counters.h"
#include "omci/message/Numbers.h"

namespace vorn_onu {

namespace {

// The ports whose link the board knows, by the number of the port in its instance.
struct Link {
    unsigned port;
    int phy;
    const char* administered;  // device that the port is set up and down at
};
constexpr Link kLinks[] = {{1, 4, "eth1"}, {2, 0, "eth0"}};

constexpr int kFullDuplex = 1;

unsigned portOf(omci::InstanceId instance) {
    return instance & 0xFFU;
}

std::string deviceOf(omci::EntityKey port) {
    if (port.classId == omci::class_id::kVeip) return "veip0";
    if (port.classId != omci::class_id::kEthernetUni) return "";
    // The board numbers its first two ports the other way round.
    const unsigned number = portOf(port.instance);
    return "sid" + std::to_string(number == 1 || number == 2 ? 2 - number : number - 1);
}

// "Configuration ind" of G.988 9.5.1.
std::uint8_t configurationOf(int speed, int duplex) {
    const std::uint8_t half = duplex == kFullDuplex ? 0 : 0x10;
    switch (speed) {
        case 10:
            return 0x01 | half;
        case 100:
            return 0x02 | half;
        case 1000:
            return 0x03 | half;
        default:
            return 0;
    }
}

}  // namespace

std::optional<IntfStats> BoardDevice::portCounters(omci::EntityKey port) {
    const std::string device = deviceOf(port);
    IntfStats stats{};
    if (device.empty() || getIntfStats(device.c_str(), &stats) != 0) return {};
    return stats;
}

std::optional<omci::GemPortCounters> BoardDevice::gemPortCounters(std::uint16_t gemPortId) {
    const auto port = virtual_onu::VirtualOnu::instance().gemPort(gemPortId);
    if (!port) return {};
    auto& counted = gemPorts_[gemPortId];
    const std::size_t known = std::min(counted.size(), port->counters.size());
    for (std::size_t at = 0; at < known; ++at) {
        counted[at].sum += static_cast<std::uint32_t>(port->counters[at] - counted[at].last);
        counted[at].last = port->counters[at];
    }
    omci::GemPortCounters counters;
    counters.transmittedFrames = counted[0].sum;
    counters.transmittedBytes = counted[1].sum;
    counters.receivedFrames = counted[2].sum;
    counters.receivedBytes = counted[3].sum;
    counters.discardedFrames = counted[6].sum;
    return counters;
}

std::optional<omci::PortState> BoardDevice::portState(omci::InstanceId ethernetPort) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    const auto* link = std::find_if(std::begin(kLinks), std::end(kLinks),
                                    [&](const Link& one) { return one.port == portOf(ethernetPort); });
    if (link == std::end(kLinks)) return {};
    const auto administered = onu.device(link->administered);
    const auto [speed, duplex] = onu.phyMode(link->phy);
    const bool up = onu.phyHasLink(link->phy) && !(administered && administered->takenDown);
    return omci::PortState{up, up ? configurationOf(speed, duplex) : std::uint8_t{0}};
}

}  // namespace vorn_onu
