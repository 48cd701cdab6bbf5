// The ONU's own management IP host: an interface on a bridge with a static address and a routing table of its own, or
// with a DHCP client, or merely a port of the shared bridge.
#include <algorithm>
#include <cstdio>
#include <string>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostParts.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"

int EtherSwitchBcm380::numServices = 0;

namespace {

constexpr const char* kFirstMacFile = "/proc/driver/i2c/first_mac";
constexpr const char* kDhcpInterfaceFile = "/tmp/dhclient_interface";
constexpr std::size_t kMacTextLength = 17;

struct IpHostNames {
    explicit IpHostNames(const IpHostProvision& rec)
        : bridge(kit::bridgeName(rec.bridgeId)), interface(kit::ipHostName(rec.bridgeId, rec.uniPort)) {}
    DeviceName bridge;
    DeviceName interface;
};

// The board's first MAC address: one line of at most 17 characters; empty when the file is missing or blank.
std::string readFirstMac() {
    char line[kMacTextLength + 1] = {};
    if (std::FILE* file = std::fopen(kFirstMacFile, "r")) {
        if (std::fgets(line, sizeof line, file) == nullptr) line[0] = '\0';
        std::fclose(file);
    }
    std::string text(line);
    text.erase(std::find_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }), text.end());
    return text.find_first_not_of(" \t") == std::string::npos ? std::string() : text;
}

// What may be in a shell command: addresses are made of hexadecimal digits, dots and colons, or are empty.
bool isAddressText(const std::string& text) {
    return text.find_first_not_of("0123456789abcdefABCDEF.:") == std::string::npos;
}

// Lengths of the texts; an address with a colon is one of IPv6.
constexpr std::size_t kMaxIpv4 = 15;
constexpr std::size_t kMaxIpv6 = 45;

struct CheckedText {
    enum class Kind { Ip, Mac };
    const char* field;
    const std::string& text;
    Kind kind;

    // Longer texts would be cut on their way into a command, which then would mean something else.
    bool fits() const {
        if (kind == Kind::Mac) return text.size() <= kMacTextLength;
        return text.size() <= (text.find(':') == std::string::npos ? kMaxIpv4 : kMaxIpv6);
    }
};

// Refuses a text that must not reach a shell, with one log line that names the field.
template <std::size_t Count>
bool areAddressTexts(const char* operation, const CheckedText (&texts)[Count]) {
    for (const CheckedText& checked : texts) {
        if (isAddressText(checked.text) && checked.fits()) continue;
        ENGINE_LOG(operation, kDataProvSource, kLogError, "IP host refused: %s is no address\n", checked.field);
        return false;
    }
    return true;
}

bool isSafeFirstMac(const char* operation, const std::string& firstMac) {
    return areAddressTexts(operation, {{"first MAC of the board", firstMac, CheckedText::Kind::Mac}});
}

// Removes the IP host's S-tag from downstream frames and hands them to the bridge's ANI VLAN device.
void insertStagPopRule(EtherSwitchBcm380& engine, const char* operation, const IpHostProvision& rec,
                       const IpHostNames& names) {
    ENGINE_LOG(operation, kDataProvSource, kLogTrace, "IPHOST vlanInterface:%s for bridgeId:%u iPhost_Stag:%u",
               names.interface.get(), rec.bridgeId, engine.iPhost_Stag);
    if (engine.iPhost_Stag >= kNoStag) return;

    DeviceName aniName;
    DeviceName aniVirtualName;
    engine.getInterfaceName(PHY_GPON, rec.bridgeId, aniName.get());
    engine.getVirtualInterfaceName(PHY_GPON, rec.bridgeId, rec.bridgeId, aniVirtualName.get());
    std::uint32_t tagRuleId = VLANCTL_DONT_CARE;
    {
        const kit::VlanCtlSession session;
        kit::TagRule rule;
        rule.bind(VLANCTL_DIRECTION_RX, aniVirtualName.get()).filterVid(engine.iPhost_Stag, 0).pop();
        ENGINE_LOG(operation, kDataProvSource, kLogTrace,
                   "IPHOST inserting PoP rule aniInterfaceName:%s aniVirtualName: %s for bridgeId:%u iPhost_Stag: %u",
                   aniName.get(), aniVirtualName.get(), rec.bridgeId, engine.iPhost_Stag);
        tagRuleId = kit::insertLooseRule({aniName.get(), VLANCTL_DIRECTION_RX, 1}, rule, {VLANCTL_POSITION_FRONT});
    }
    // Kept: recorded under the bridge and the UNI port, not under the ANI device; nothing takes the rule out again.
    engine.insertVlanRuleMapEntry(names.bridge.get(), rec.uniPort, VLANCTL_DIRECTION_RX, 1, tagRuleId);
}

void deliverToCpu(IpHostCommands& commands, const char* routedMac) {
    commands.setRoutedMac(routedMac);
    commands.createHostFlowClass();
    commands.addHostFlow(routedMac);
    commands.addKey(routedMac);
}

void addToSharedBridge(EtherSwitchBcm380& engine, IpHostCommands& commands, const char* bridgeName,
                       const IpHostProvision& rec) {
    commands.downForSharedBridge(bridgeName);
    commands.deleteForSharedBridge(bridgeName);
    DeviceName aniVirtualName;
    engine.getVirtualInterfaceName(PHY_GPON, rec.bridgeId, rec.bridgeId, aniVirtualName.get());
    commands.addToSharedBridge(aniVirtualName.get());
    kit::noteIfGone(bridgeName);  // the shell deletes it, and does not say whether it did
}

}  // namespace

bool isSafeIpHost(const char* operation, const IpHostProvision& host) {
    return areAddressTexts(operation, {{"ipAddress", host.ipAddress, CheckedText::Kind::Ip},
                                       {"subnetMask", host.subnetMask, CheckedText::Kind::Ip},
                                       {"gateway", host.gateway, CheckedText::Kind::Ip},
                                       {"macAddress", host.macAddress, CheckedText::Kind::Mac}});
}

bool getRoutedMac(const char* operation, const IpHostProvision& rec, std::string* mac) {
    *mac = readFirstMac();
    if (!isSafeFirstMac(operation, *mac)) return false;
    if (mac->empty()) *mac = rec.macAddress;
    return true;
}

void noteHost(const IpHostProvision& rec, bool dhcp) {
    if (state::Journal* const journal = state::journal())
        journal->put(kit::keyOf(kit::Entry::IpHosts, rec.bridgeId, rec.uniPort),
                     state::ByteWriter().add(rec.macAddress).add(rec.ipAddress).add(dhcp).take());
    kit::noteNeed(kit::Entry::IpHosts, rec.bridgeId, rec.uniPort);
}

void forgetHost(const IpHostProvision& rec) {
    kit::noteMark(false, kit::Entry::IpHosts, rec.bridgeId, rec.uniPort);
    kit::noteLoss(kit::Entry::IpHosts, rec.bridgeId, rec.uniPort);
}

bool startDhcp(const IpHostProvision& rec, const char* device) {
    IpHostCommands commands;
    // A client that an operation before the daemon's restart had begun to start.
    if (kit::eraseMark(kit::Entry::DhcpClients, rec.bridgeId, rec.uniPort)) commands.killDhcpClient(device);
    const kit::BegunStep step(kit::Step::StartDhcp, rec.bridgeId, rec.uniPort);
    return commands.startDhcpClient(device);
}

void announceHost(EtherSwitchBcm380& engine, const char* ifName, const IpHostProvision& rec, const char* routedMac) {
    unsigned char mac[6] = {};
    // What does not parse stays zero.
    // NOLINTBEGIN(cert-err34-c)
    [[maybe_unused]] const int parsed =
        std::sscanf(routedMac, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]);
    // NOLINTEND(cert-err34-c)
    engine.sendArp(ifName, rec.ipAddress.c_str(), rec.gateway.c_str(), mac);
}

void emptyDhcpInterfaceFile() {
    std::FILE* const file = std::fopen(kDhcpInterfaceFile, "w");
    if (file == nullptr) return;
    std::fputc('\n', file);
    std::fclose(file);
}

bool EtherSwitchBcm380::provisionIpHostStatic(const IpHostProvision* rec) {
    if (rec == nullptr || !isSafeIpHost(__func__, *rec) || !isSafeFirstMac(__func__, readFirstMac())) return false;
    const state::Operation operation;
    engine_maps::countIpHosts(1);
    noteHost(*rec, false);
    ENGINE_LOG(__func__, kDataProvSource, kLogError, "PROVISION IP HOST STATIC \n");
    IpHostNames names(*rec);
    if (rec->useSharedBridge == 0) {
        if (!configureBridge(rec->bridgeId, rec->uniPort, true)) {
            ENGINE_LOG(__func__, kDataProvSource, kLogError, "Failed to configure UNI Vlan and update to Bridge!!!");
        }
        insertUniAllowAllTxRxRules(names.bridge.get(), names.interface.get(), rec->uniPort);
    }
    insertStagPopRule(*this, __func__, *rec, names);
    if (numServices == 1) addIngressQueueKeyMask();
    activateIpv4InterfaceStatic(names.interface.get(), names.bridge.get(), rec);
    return true;
}

bool EtherSwitchBcm380::provisionIpHostDynamic(const IpHostProvision* rec) {
    if (rec == nullptr || !isSafeIpHost(__func__, *rec) || !isSafeFirstMac(__func__, readFirstMac())) return false;
    const state::Operation operation;
    engine_maps::countIpHosts(1);
    noteHost(*rec, true);
    ENGINE_LOG(__func__, kDataProvSource, kLogError,
               "DYNAMIC IPHOST PROVISIONING Received with allocId:%u, gemId:%u, ipOptions:%u, BridgeId(%u), "
               "UniPort(%u), NniPort(%u)",
               rec->allocId, rec->gemId, rec->ipOptions, rec->bridgeId, rec->uniPort, 0U);
    IpHostNames names(*rec);
    if (rec->useSharedBridge == 0) {
        if (!configureBridge(rec->bridgeId, rec->uniPort, true)) {
            std::printf("Failed to configure UNI Vlan and update to Bridge!!!");
        }
        insertUniAllowAllTxRxRules(names.bridge.get(), names.interface.get(), rec->uniPort);
    }
    insertStagPopRule(*this, __func__, *rec, names);
    if (numServices == 1) addIngressQueueKeyMask();
    activateIpv4InterfaceDynamic(names.interface.get(), names.bridge.get(), rec);
    return true;
}

int EtherSwitchBcm380::addIngressQueueKeyMask() {
    return IpHostCommands().addKeyMask();
}

bool EtherSwitchBcm380::activateIpv4InterfaceStatic(const char* ifName, const char* bridgeName,
                                                    const IpHostProvision* rec) {
    if (ifName == nullptr || bridgeName == nullptr || rec == nullptr || !isSafeIpHost(__func__, *rec)) return false;
    std::string routedMac;
    if (!getRoutedMac(__func__, *rec, &routedMac)) return false;
    const char* mac = routedMac.c_str();
    const char* address = rec->ipAddress.c_str();

    IpHostCommands commands;
    deliverToCpu(commands, mac);
    if (rec->useSharedBridge != 0) {
        addToSharedBridge(*this, commands, bridgeName, *rec);
        return true;
    }
    commands.upWithMac(bridgeName, mac);
    commands.upWithAddress(ifName, address, rec->subnetMask.c_str(), mac);
    DeviceName aniVirtualName;
    getVirtualInterfaceName(PHY_GPON, rec->bridgeId, rec->bridgeId, aniVirtualName.get());
    commands.upWithMac(aniVirtualName.get(), mac);

    commands.deleteRoutingRule(address);
    commands.addRoutingRule(address);
    commands.replaceDefaultRoute(rec->gateway.c_str(), ifName);
    announceHost(*this, ifName, *rec, mac);
    return true;
}

bool EtherSwitchBcm380::activateIpv4InterfaceDynamic(const char* ifName, const char* bridgeName,
                                                     const IpHostProvision* rec) {
    if (ifName == nullptr || bridgeName == nullptr || rec == nullptr || !isSafeIpHost(__func__, *rec)) return false;
    std::string routedMac;
    if (!getRoutedMac(__func__, *rec, &routedMac)) return false;
    const char* mac = routedMac.c_str();

    IpHostCommands commands;
    deliverToCpu(commands, mac);
    if (rec->useSharedBridge != 0) {
        addToSharedBridge(*this, commands, bridgeName, *rec);
        return true;
    }
    commands.upWithMac(bridgeName, mac);
    commands.upWithMtu(ifName, mac);
    startDhcp(*rec, ifName);
    return true;
}

bool EtherSwitchBcm380::deprovisionIpHost(const IpHostProvision* rec) {
    if (rec == nullptr || !isSafeIpHost(__func__, *rec)) return false;
    ENGINE_LOG(__func__, kDataProvSource, kLogError,
               "DEPROVISION IPHOST Recevied for allocId:%u, gemId:%u bridgeId:%u uniportid:%u", rec->allocId,
               rec->gemId, rec->bridgeId, rec->uniPort);
    const state::Operation operation;
    const IpHostNames names(*rec);
    IpHostCommands commands;
    commands.downForRemoval(names.bridge.get());
    commands.deleteForRemoval(names.bridge.get());
    // Kept: the record's MAC address, even when provisioning used the board's first one.
    commands.removeKey(rec->macAddress.c_str());
    if (numServices < 2) {
        commands.deleteHostFlowClass();
        commands.removeKeyMask();
    }
    engine_maps::countIpHosts(-1);
    forgetHost(*rec);
    kit::noteIfGone(names.bridge.get());
    commands.killDhcpClient(names.interface.get());
    emptyDhcpInterfaceFile();
    return true;
}
