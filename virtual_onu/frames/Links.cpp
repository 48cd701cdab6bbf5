#include "frames/Links.h"

#include <algorithm>
#include <array>

#include "Facilities.h"
#include "kernel/Network.h"

namespace virtual_onu::datapath {

namespace {

constexpr std::array<EthernetPort, 4> kEthernetPorts = {
    {{"sid0", "eth0", 0}, {"sid1", "eth1", 4}, {"eth0", "eth0", 0}, {"eth1", "eth1", 4}}};

constexpr unsigned kPonStopped = 7;  // what a stored link state "stop" starts the link in

std::string ethernetFault(const EthernetPort& port) {
    const std::string name = port.port;
    if (!board::phyHasLink(port.phy)) return "PHY " + std::to_string(port.phy) + " of " + name + " has no link";
    const auto administered = network::device(port.administered);
    if (administered && administered->takenDown) return "port " + name + " is set down (" + port.administered + ")";
    return "";
}

std::string ponFault() {
    if (VirtualOnu::instance().adminState() == kPonStopped) return "the PON link is stopped (state 7)";
    return optics::receiveLevel() == 0 ? "the optics receive no light" : "";
}

std::string faultAt(const std::string& port) {
    if (port == kPonDevice) return ponFault();
    const EthernetPort* ethernet = ethernetPort(port);
    return ethernet == nullptr ? "" : ethernetFault(*ethernet);
}

}  // namespace

const EthernetPort* ethernetPort(const std::string& port) {
    const auto* found = std::find_if(kEthernetPorts.begin(), kEthernetPorts.end(),
                                     [&](const EthernetPort& one) { return port == one.port; });
    return found == kEthernetPorts.end() ? nullptr : found;
}

std::string blockedBy(const NetworkDevice& device) {
    if (!device.up) return device.name + " is down";
    return network::isRunning(device) ? "" : device.name + " has no carrier (" + device.operState + ")";
}

std::string noEntryAt(const std::string& port) {
    return faultAt(port);
}

std::string noExitAt(const std::string& port) {
    const std::string fault = faultAt(port);
    if (!fault.empty() || port != kPonDevice) return fault;
    return optics::transmitLevel() == 0 ? "the optics send no light" : "";
}

}  // namespace virtual_onu::datapath
