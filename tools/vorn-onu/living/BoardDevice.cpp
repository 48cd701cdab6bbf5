#include "living/BoardDevice.h"

#include <arpa/inet.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>

#include "VirtualOnu.h"
#include "device/Counters.h"
#include "omci/message/Integrity.h"
#include "omci/message/Numbers.h"
#include "omci/message/ValueText.h"
#include "omci/services/Plan.h"
#include "running/scenario/fields/Field.h"

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
constexpr unsigned kBridgeOfInstance0 = 65535;  // the HAL's 0 is the one with the VEIP

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

// Of a port from 1; the board numbers its first two the other way round.
std::string portName(unsigned port) {
    return "sid" + std::to_string(port <= 2 ? 2 - port : port - 1);
}

// "02:00:5e:00:00:01"
std::vector<std::uint8_t> bytesOfText(const std::string& mac) {
    std::string digits;
    std::copy_if(mac.begin(), mac.end(), std::back_inserter(digits), [](char c) { return c != ':'; });
    return bytesOfDigits(digits);
}

// 0 for what is no IPv4 address.
std::uint32_t numberOfIp(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? ntohl(address.s_addr) : 0;
}

// The word behind another one in a line of words.
std::string wordAfter(const std::string& line, const std::string& word) {
    std::istringstream words(line);
    for (std::string one; words >> one;)
        if (one == word && words >> one) return one;
    return "";
}

// A cable is in unless the board says otherwise. A device that is not set up is down without that.
bool hasCarrier(const std::string& device) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    const auto shown = onu.device(device);
    if (!shown || (!shown->up && onu.givenOperState(device).empty())) return true;
    return shown->operState == "up" || shown->operState == "unknown";
}

}  // namespace

unsigned BoardDevice::portOf(omci::InstanceId ethernetPort) const {
    const auto found = std::find(ethernetPorts_.begin(), ethernetPorts_.end(), ethernetPort);
    return found == ethernetPorts_.end() ? 0 : static_cast<unsigned>(found - ethernetPorts_.begin()) + 1;
}

std::string BoardDevice::bridgeName(unsigned bridge) {
    return "br" + std::to_string(bridge);
}

std::string BoardDevice::memberName(unsigned bridge, unsigned port) {
    return portName(port) + "." + std::to_string(bridge);
}

std::string BoardDevice::deviceOf(omci::EntityKey port) const {
    if (port.classId == omci::class_id::kVeip) return "veip0";
    const unsigned number = port.classId == omci::class_id::kEthernetUni ? portOf(port.instance) : 0;
    return number == 0 ? "" : portName(number);
}

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
    const unsigned number = portOf(ethernetPort);
    if (number == 0) return {};
    bool up = hasCarrier(deviceOf({omci::class_id::kEthernetUni, ethernetPort}));
    const auto* link =
        std::find_if(std::begin(kLinks), std::end(kLinks), [&](const Link& one) { return one.port == number; });
    if (link == std::end(kLinks)) return omci::PortState{up, 0};
    const auto administered = onu.device(link->administered);
    const auto [speed, duplex] = onu.phyMode(link->phy);
    up =
        up && hasCarrier(link->administered) && onu.phyHasLink(link->phy) && !(administered && administered->takenDown);
    return omci::PortState{up, up ? configurationOf(speed, duplex) : std::uint8_t{0}};
}

// On the board a UNI is member of its bridge by a VLAN device of its own, "sid1.3", and the PON side is "gpon3.3".
std::optional<std::vector<omci::LearnedStation>> BoardDevice::learnedStations(omci::InstanceId bridge,
                                                                              omci::EntityKey port) {
    constexpr std::uint64_t kMsInSecond = 1000, kMaxAge = 4095;
    const std::string number = std::to_string(bridge == 0 ? kBridgeOfInstance0 : bridge);
    const bool isVeip = port.classId == omci::class_id::kVeip;
    const std::string user = deviceOf(port);
    const std::string member = user.empty() ? "gpon" + number + "." + number : user + "." + number;
    std::vector<omci::LearnedStation> stations;
    for (const auto& learned : virtual_onu::VirtualOnu::instance().learnedAddresses()) {
        if (isVeip ? learned.port.compare(0, user.size(), user) != 0 : learned.port != member) continue;
        omci::LearnedStation station;
        const auto bytes = bytesOfText(learned.mac);
        if (bytes.size() != station.address.size()) continue;
        std::copy(bytes.begin(), bytes.end(), station.address.begin());
        station.ageSeconds = static_cast<std::uint16_t>(std::min(learned.ageMs / kMsInSecond, kMaxAge));
        stations.push_back(station);
    }
    return stations;
}

// The bridge hears joins without the VLANs that the port's rows add.
std::optional<omci::JoinedGroups> BoardDevice::joinedGroups(omci::InstanceId bridge, omci::EntityKey port) {
    constexpr std::uint64_t kMsInSecond = 1000;
    const auto& onu = virtual_onu::VirtualOnu::instance();
    const std::string device = deviceOf(port);
    if (device.empty() || port.classId != omci::class_id::kEthernetUni) return {};
    const std::string member = device + "." + std::to_string(bridge == 0 ? kBridgeOfInstance0 : bridge);
    omci::JoinedGroups joined;
    joined.joins = onu.joinMessages(member);
    for (const auto& one : onu.joinedGroups()) {
        if (one.port != member) continue;
        const auto fill = [&](auto& group) {
            group.secondsSinceJoin = static_cast<std::uint32_t>(one.ageMs / kMsInSecond);
            group.secondsSilent = static_cast<std::uint32_t>(one.silentMs / kMsInSecond);
        };
        if (one.ipv6) {
            joined.ipv6.emplace_back().group = one.group;
            fill(joined.ipv6.back());
        } else {
            joined.ipv4.emplace_back().group = omci::number32({one.group.data(), one.group.size()}, 0);
            fill(joined.ipv4.back());
        }
    }
    return joined;
}

// The device of a host is "br3.6" for the first one on bridge 3. What a DHCP client has set is there like the rest.
std::optional<omci::HostAddresses> BoardDevice::hostAddresses(omci::InstanceId ipHost) {
    const auto& onu = virtual_onu::VirtualOnu::instance();
    const std::string ending = "." + std::to_string(omci::services::Settings{}.firstIpHostPort + ipHost);
    for (const auto& device : onu.devices()) {
        if (device.name.compare(0, 2, "br") != 0 || device.name.find(ending) != device.name.size() - ending.size() ||
            device.addresses.empty())
            continue;
        omci::HostAddresses found;
        std::istringstream words(device.addresses.front());
        std::string address, keyword, mask;
        words >> address >> keyword >> mask;
        found.address = numberOfIp(address);
        if (keyword == "netmask") found.mask = numberOfIp(mask);
        for (const std::string& route : onu.ipRoutes())
            if (found.gateway == 0 && wordAfter(route, "dev") == device.name)
                found.gateway = numberOfIp(wordAfter(route, "via"));
        return found;
    }
    return {};
}

// Its device is there while a service uses it.
std::optional<bool> BoardDevice::veipConnected(omci::InstanceId veip) {
    const auto device = virtual_onu::VirtualOnu::instance().device(deviceOf({omci::class_id::kVeip, veip}));
    if (!device) return {};
    return device->up && device->operState != "down";
}

std::optional<double> BoardDevice::bitErrorRatio() {
    constexpr double kTerabit = 1e12;
    return static_cast<double>(virtual_onu::VirtualOnu::instance().bitErrors()) / kTerabit;
}

std::string BoardDevice::imageVersion(omci::ByteView image) {
    constexpr std::size_t kMaxLength = 14;
    std::string text;
    for (const std::uint8_t byte : image.part(0, kMaxLength)) {
        if (byte <= ' ' || byte > '~') break;
        text += static_cast<char>(byte);
    }
    return !text.empty() ? text : omci::hexNumber(omci::crc32(image), 8).substr(2);
}

}  // namespace vorn_onu
