// Ethernet ports as such, and the management host.
#include <cstdio>

#include "omci/message/TableText.h"
#include "omci/services/Numbers.h"
#include "omci/services/Plan.h"

namespace omci::services {

namespace {

constexpr std::uint8_t kLocked = 1;
constexpr std::uint16_t kUsualFrameSize = 1518;

// Codes of the auto detection configuration.
struct PortModeCode {
    std::uint8_t code;
    std::uint16_t speed;
    std::uint8_t duplex;
};
constexpr std::uint8_t kAuto = 0, kHalf = 1, kFull = 2;
constexpr PortModeCode kModes[] = {
    {0x01, 10, kFull},    {0x02, 100, kFull},  {0x03, 1000, kFull}, {0x04, 0, kFull},
    {0x05, 10000, kFull}, {0x06, 2500, kFull}, {0x07, 5000, kFull}, {0x08, 25000, kFull},
    {0x09, 40000, kFull}, {0x10, 10, kAuto},   {0x11, 10, kHalf},   {0x12, 100, kHalf},
    {0x13, 1000, kHalf},  {0x14, 0, kHalf},    {0x20, 1000, kAuto}, {0x30, 100, kAuto},
};

// IP options of a host.
constexpr std::uint8_t kDhcp = 0x01, kStackOn = 0x08;

std::string addressText(std::uint64_t address) {
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", static_cast<unsigned>(address >> 24 & 0xFFU),
                  static_cast<unsigned>(address >> 16 & 0xFFU), static_cast<unsigned>(address >> 8 & 0xFFU),
                  static_cast<unsigned>(address & 0xFFU));
    return text;
}

// The ONU's own is used where the OLT gave none.
std::string givenMac(ByteView mac) {
    return mac.size() != 6 || allAre(mac, 0) ? "" : macText(mac);
}

}  // namespace

// A port that is up and negotiates its speed is how it starts: nothing is asked for.
void Planner::planPort(const Entity& uni, std::uint16_t port) {
    const Entity* onu = reader_.look(class_id::kOnuG, 0);
    const bool locked = uni.number8(attr::ethernet_uni::kAdministrativeState) == kLocked ||
                        (onu != nullptr && onu->number8(attr::onu_g::kAdministrativeState) == kLocked);
    const std::uint8_t code = uni.number8(attr::ethernet_uni::kAutoDetectionConfiguration);
    const bool switched = port >= 1 && port <= context_.settings.switchedPorts;
    if (!switched && (locked || code != 0))
        problem(uni.key(), "the port is not switched: the HAL has no operation for a port with this number");
    if (switched && locked) {
        Piece made;
        made.key = {PieceKind::kPort, 2U * port};
        made.make = {{Operation::kSetPortStatus, PortStatus{port, false}}};
        made.undo = {{Operation::kSetPortStatus, PortStatus{port, true}}};
        want(std::move(made));
    }
    for (const PortModeCode& mode : kModes) {
        if (!switched || mode.code != code) continue;
        Piece made;
        made.key = {PieceKind::kPort, 2U * port + 1};
        made.make = {{Operation::kSetPortMode, PortMode{port, mode.speed, mode.duplex}}};
        made.undo = {{Operation::kSetPortMode, PortMode{port, 0, kAuto}}};
        want(std::move(made));
    }
    if (uni.number8(attr::ethernet_uni::kEthernetLoopbackConfiguration) != 0)
        problem(uni.key(), "there is no loopback: the HAL has no operation for it");
    const std::uint16_t frameSize = uni.number16(attr::ethernet_uni::kMaxFrameSize);
    if (frameSize != 0 && frameSize != kUsualFrameSize)
        problem(uni.key(), "the largest frame stays as it is: the HAL has no operation for a single port");
    if (uni.number8(attr::ethernet_uni::kPPPoEFilter) != 0)
        problem(uni.key(), "frames that are no PPPoE are not filtered");
}

void Planner::planIpHost(InstanceId instance) {
    const Entity* host = reader_.find(class_id::kIpHost, instance);
    if (host == nullptr) return;
    const auto bridgePort = bridgePortOf(host->key());
    if (!bridgePort) return;
    refuseTagging(host->key(), "frames of the management host are not tagged: the HAL has no operation for it");
    const std::uint8_t options = host->number8(attr::ip_host::kIpOptions);
    const bool dhcp = (options & kDhcp) != 0;
    const auto address = host->number(attr::ip_host::kIpAddress);
    if ((options & kStackOn) == 0 || (!dhcp && address == 0)) return;
    if (bridgePort->number == kVeipBridge)
        return problem(bridgePort->port->key(), "left out: the HAL's bridge with the VEIP has no other port");
    IpHostProvision record{};
    record.bridgeId = bridgePort->number;
    record.uniPort = static_cast<std::uint16_t>(context_.settings.firstIpHostPort + instance);
    record.macAddress = givenMac(host->bytes(attr::ip_host::kMacAddress));
    if (record.macAddress.empty()) record.macAddress = context_.hostMac;
    record.ipOptions = options;
    record.dhcpEnabled = dhcp ? 1 : 0;
    if (!dhcp) {
        record.ipAddress = addressText(address);
        record.subnetMask = addressText(host->number(attr::ip_host::kMask));
        record.gateway = addressText(host->number(attr::ip_host::kGateway));
    }
    Piece made;
    made.key = {PieceKind::kIpHost, instance};
    made.bridge = bridgePort->number;
    made.takesBridgeAlong = true;
    made.make = {{Operation::kProvisionIpHost, record}};
    made.undo = {{Operation::kDeprovisionIpHost, record}};
    want(std::move(made));
}

}  // namespace omci::services
