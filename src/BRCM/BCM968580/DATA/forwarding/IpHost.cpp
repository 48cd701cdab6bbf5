#include "BRCM/BCM968580/DATA/forwarding/IpHost.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/forwarding/Devices.h"
#include "BRCM/BCM968580/DATA/forwarding/PassRules.h"
#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostParts.h"
#include "device/MacText.h"
#include "device/NetworkInterface.h"
#include "kit/Asked.h"
#include "kit/Devices.h"
#include "kit/Rules.h"

namespace forwarding {

namespace {

constexpr std::uint32_t kHostTables = 3;  // for untagged, single-tagged and double-tagged frames

constexpr const char* kRouteOfAnother = "the default route of another host";
constexpr const char* kNotSaid = "the kernel does not say whether there is such a host";

// The hosts, the last one to be provisioned at the end: the default route, the routed MAC address and that of a bridge
// are of the last one that has them. Never destroyed.
struct KnownHost : IpHostProvision {
    bool isRestored;  // from the state file, which does not tell the order
};
using Hosts = std::vector<KnownHost>;
Hosts& hosts() {
    static auto& all = *new Hosts;
    return all;
}

bool isSame(const IpHostProvision& one, const IpHostProvision& other) {
    return one.bridgeId == other.bridgeId && one.uniPort == other.uniPort;
}

bool isStatic(const IpHostProvision& host) {
    return host.dhcpEnabled == 0 && host.useSharedBridge == 0;
}

bool hasRoute(const IpHostProvision& host) {
    return isStatic(host) && !host.gateway.empty() && host.gateway != "0.0.0.0";
}

// nullptr: there is none.
template <typename Is>
const KnownHost* latestHost(Is is) {
    const auto host = std::find_if(hosts().rbegin(), hosts().rend(), is);
    return host == hosts().rend() ? nullptr : &*host;
}

bool isAny(const IpHostProvision& /*host*/) {
    return true;
}

auto isOnBridge(std::uint16_t bridgeId) {
    return [=](const IpHostProvision& host) { return host.useSharedBridge == 0 && host.bridgeId == bridgeId; };
}

DeviceName deviceOf(const IpHostProvision& host) {
    return kit::ipHostName(host.bridgeId, host.uniPort);
}

void forgetRecord(const IpHostProvision& record) {
    hosts().erase(std::remove_if(hosts().begin(), hosts().end(), [&](const auto& one) { return isSame(one, record); }),
                  hosts().end());
}

// One that went with its bridge is not.
bool isThere(const IpHostProvision& host) {
    return host.useSharedBridge != 0 || !isGone(deviceOf(host));
}

bool setRouteOf(const IpHostProvision& host) {
    return IpHostCommands().replaceDefaultRoute(host.gateway.c_str(), deviceOf(host).get());
}

// "" where the kernel does not tell.
std::string macOf(const DeviceName& device) {
    unsigned char mac[6] = {};
    char text[18] = {};
    return interfaceMac(device.get(), mac) && macToText(mac, text) == 0 ? text : "";
}

class Host {
public:
    Host(EtherSwitchBcm380& engine, const IpHostProvision& record, std::string mac)
        : engine_(engine),
          record_(record),
          mac_(std::move(mac)),
          bridge_(kit::bridgeName(record.bridgeId)),
          device_(kit::ipHostName(record.bridgeId, record.uniPort)),
          ani_(kit::aniName(record.bridgeId)),
          aniVlan_(kit::aniVlanName(record.bridgeId, record.bridgeId)) {}

    // Whether it is there, before anything is done. False: the kernel does not say.
    bool look();
    // Of one on a shared bridge nothing says it.
    bool mayBeThere() const { return isShared() || isThere_; }
    // What is refused; "": nothing was.
    std::string add();
    void undo(Rollback& rollback) const;
    // Likewise.
    std::string remove();
    // Gives default route, routed MAC address and those of the bridge to hosts that stay.
    std::string handOver();
    void restore(Rollback& rollback);

private:
    bool isShared() const { return record_.useSharedBridge != 0; }
    // Not the board's own, which all hosts have.
    bool hasOwnMac() const { return mac_ == record_.macAddress; }
    const std::string& macOfHost(const IpHostProvision& host) const { return hasOwnMac() ? host.macAddress : mac_; }
    bool isOfAnother(const IpHostProvision* host) const { return host != nullptr && !isSame(*host, record_); }
    std::string make();
    std::string takeAway();
    std::string makeDevice();
    bool insertStagRule();
    std::string deliverToCpu();
    std::string routeToCpu();
    std::string joinSharedBridge();
    std::string setAddresses();
    bool setMac(const DeviceName& device);
    // Who gets back what this host, as the latest one of which `is` says so, has taken over; nullptr: nobody.
    template <typename Is>
    const KnownHost* successor(Is is) const;
    bool mayHaveBeenLatest() const;
    bool setMacsOf(const IpHostProvision& host);
    bool giveMacsBack();
    bool isBridgeOfAnother() const;
    bool setDefaultRoute();

    EtherSwitchBcm380& engine_;
    const IpHostProvision& record_;
    const std::string mac_;
    const DeviceName bridge_, device_, ani_, aniVlan_;
    bool isNew_ = false;    // to the device
    bool isThere_ = false;  // by the device or the state file
    bool isOnly_ = false;   // no other host is there
    bool restores_ = false, endsClient_ = false;
    UndoSteps undo_;
};

bool Host::look() {
    if (isShared()) {
        isNew_ = true;
        return true;
    }
    const auto isOnDevice = doesExist(device_);
    if (!isOnDevice) return false;
    const state::Journal* const journal = state::journal();
    const std::string key = kit::keyOf(kit::Entry::IpHosts, record_.bridgeId, record_.uniPort);
    isNew_ = !*isOnDevice;
    isThere_ = *isOnDevice || (journal != nullptr && journal->find(key) != nullptr);
    return true;
}

std::string Host::add() {
    isOnly_ = EtherSwitchBcm380::numServices < (isThere_ ? 2 : 1);
    std::string problem = make();
    if (problem.empty()) problem = routeToCpu();
    if (!problem.empty()) return problem;
    if (!isThere_) engine_maps::countIpHosts(1);
    forgetRecord(record_);
    hosts().push_back({record_, false});
    if (isStatic(record_)) announceHost(engine_, device_.get(), record_, mac_.c_str());
    return "";
}

// What is there already is made again where that changes nothing.
std::string Host::make() {
    noteHost(record_, record_.dhcpEnabled != 0);
    undo_.add([this](Rollback&) { forgetHost(record_); });
    std::string problem;
    if (!isShared()) problem = makeDevice();
    if (problem.empty() && !insertStagRule()) problem = std::string("the rule for the S-tag of ") + device_.get();
    if (problem.empty()) problem = deliverToCpu();
    if (problem.empty() && !isShared()) problem = setAddresses();
    if (problem.empty() && isShared() && !restores_) problem = joinSharedBridge();
    return problem;
}

std::string Host::makeDevice() {
    if (isGone(bridge_)) return std::string(bridge_.get()) + ", which does not exist";
    const auto uniBefore = m_BridgeIdToUniId.count(record_.bridgeId);
    undo_.add([=](Rollback& rollback) {
        if (!removeRecordedRules(bridge_.get(), record_.uniPort)) rollback.stays("a rule of it");
        const kit::VlanCtlSession session;
        if (!isGone(device_) && kit::removeDevice(device_.get()) != 0) rollback.stays(device_.get());
        if (uniBefore == 0) dissociateUni(record_.uniPort, record_.bridgeId);
    });
    const bool made = engine_.configureBridge(record_.bridgeId, record_.uniPort, true);
    if (!made || (isNew_ && !isInForce(bridge_, device_))) return device_.get();
    const PassedDevice passed{bridge_.get(), device_.get(), record_.uniPort, kHostTables};
    return insertPassRules(engine_, passed) ? "" : std::string("a rule of ") + device_.get();
}

// Removes the host's S-tag from downstream frames and hands them to the bridge's PON side.
bool Host::insertStagRule() {
    undo_.add([this](Rollback& rollback) {
        if (!removeRecordedRules(ani_.get(), record_.uniPort)) rollback.stays("the rule for its S-tag");
    });
    if (engine_.iPhost_Stag >= kNoStag || m_VLAN_RULE_MAP_ENTRY.count({ani_.get(), record_.uniPort}) != 0) return true;
    const kit::VlanCtlSession session;
    kit::TagRule rule;
    rule.bind(VLANCTL_DIRECTION_RX, aniVlan_.get()).filterVid(engine_.iPhost_Stag, 0).pop();
    std::uint32_t id = VLANCTL_DONT_CARE;
    const kit::RuleTable table{ani_.get(), VLANCTL_DIRECTION_RX, 1};
    if (rule.result() != 0 || kit::insertRule(table, rule, {VLANCTL_POSITION_FRONT}, &id) != 0) return false;
    engine_.insertVlanRuleMapEntry(ani_.get(), record_.uniPort, VLANCTL_DIRECTION_RX, 1, id);
    return true;
}

// Neither can be taken back. The class of the first host takes its flow along, and after it there is a MAC address to
// go back to.
std::string Host::routeToCpu() {
    IpHostCommands commands;
    const auto addFlow = [&] { return commands.addHostFlow(mac_.c_str()); };
    if (isOnly_ && !addFlow()) return "the runner's flow to the CPU";
    if (!commands.setRoutedMac(mac_.c_str())) return "the routed MAC address";
    if (!isOnly_ && !addFlow()) {
        if (const auto* const before = latestHost(isAny)) commands.setRoutedMac(macOfHost(*before).c_str());
        return "the runner's flow to the CPU";
    }
    return "";
}

std::string Host::deliverToCpu() {
    IpHostCommands commands;
    if (isOnly_) {
        undo_.add([](Rollback& rollback) {
            IpHostCommands back;
            if (!back.removeKeyMask() || !back.enableQueue()) rollback.stays("the key mask of the ingress queue");
        });
        if (!commands.addWholeKeyMask()) return "the key mask of the ingress queue";
        undo_.add([](Rollback& rollback) {
            if (!IpHostCommands().deleteHostFlowClass()) rollback.stays("the runner's class of hosts");
        });
        if (!commands.createHostFlowClass()) return "the runner's class of hosts";
    }
    undo_.add([this](Rollback& rollback) {
        if ((isOnly_ || hasOwnMac()) && !IpHostCommands().removeKey(mac_.c_str()))
            rollback.stays("its key of the ingress queue");
    });
    return commands.addKey(mac_.c_str()) ? "" : "the key of the ingress queue";
}

std::string Host::joinSharedBridge() {
    if (!isGone(bridge_)) {
        undo_.add([this](Rollback& rollback) {
            if (!BridgeToMake(engine_, record_.bridgeId, 0).make() || !kit::bringUp(bridge_.get()))
                rollback.cannotRestore(bridge_.get());
        });
        if (kit::deleteServiceBridge(record_.bridgeId) != InterfaceResult::Done)
            return std::string(bridge_.get()) + ", which cannot be removed";
    }
    const int result = kit::addBridgePort(kSharedBridge, aniVlan_.get());
    if (result == 0) undo_.add([this](Rollback&) { kit::removeBridgePort(kSharedBridge, aniVlan_.get()); });
    return result == 0 || result == EBUSY ? "" : "the shared bridge";  // a member is refused as busy
}

bool Host::setMac(const DeviceName& device) {
    if (restores_ && isOfAnother(latestHost(isOnBridge(record_.bridgeId)))) return true;
    undo_.add([&device, before = macOf(device)](Rollback& rollback) {
        if (!before.empty() && !IpHostCommands().upWithMac(device.get(), before.c_str()))
            rollback.cannotRestore(std::string("the MAC address of ") + device.get());
    });
    return IpHostCommands().upWithMac(device.get(), mac_.c_str());
}

std::string Host::setAddresses() {
    IpHostCommands commands;
    const std::string address = std::string("the addresses of ") + device_.get();
    if (!setMac(bridge_)) return address;
    if (!isStatic(record_)) {
        if (!commands.upWithMtu(device_.get(), mac_.c_str())) return address;
        if (!isNew_ && !endsClient_) return "";
        undo_.add([this](Rollback& rollback) {
            if (!IpHostCommands().killDhcpClient(device_.get())) rollback.stays("the DHCP client");
        });
        return startDhcp(record_, device_.get()) ? "" : "the DHCP client";
    }
    const char* const ip = record_.ipAddress.c_str();
    if (!commands.upWithAddress(device_.get(), ip, record_.subnetMask.c_str(), mac_.c_str()) || !setMac(aniVlan_))
        return address;
    commands.deleteRoutingRule(ip);
    undo_.add([ip](Rollback& rollback) {
        IpHostCommands back;
        if (!back.deleteRoutingRule(ip) && back.hasRoutingRule(ip)) rollback.stays("the routing rule");
    });
    if (!commands.addRoutingRule(ip)) return "the routing rule";
    if (!hasRoute(record_) || (restores_ && isOfAnother(latestHost(hasRoute)))) return "";
    return setDefaultRoute() ? "" : "the default route";
}

bool Host::setDefaultRoute() {
    if (!setRouteOf(record_)) return false;
    undo_.add([this](Rollback& rollback) {
        const auto* const before = latestHost([](const auto& host) { return hasRoute(host) && isThere(host); });
        if (before == nullptr ? !isOnly_ : !setRouteOf(*before)) rollback.cannotRestore(kRouteOfAnother);
    });
    return true;
}

void Host::undo(Rollback& rollback) const {
    if (!isNew_) return rollback.cannotRestore(std::string("what ") + device_.get() + " was");
    undo_.run(rollback);
}

// ---- removal ----

std::string Host::remove() {
    isOnly_ = EtherSwitchBcm380::numServices < 2;
    std::string problem = handOver();
    if (problem.empty()) problem = takeAway();
    if (!problem.empty()) return problem;
    forgetRecord(record_);
    if (EtherSwitchBcm380::numServices > 0) engine_maps::countIpHosts(-1);
    dissociateUni(record_.uniPort, record_.bridgeId);
    forgetHost(record_);
    emptyDhcpInterfaceFile();
    return "";
}

bool Host::isBridgeOfAnother() const {
    const auto& rules = m_VLAN_RULE_MAP_ENTRY;
    return std::any_of(rules.begin(), rules.end(), [&](const auto& entry) {
        return entry.first.ifName == std::string(bridge_.get()) && entry.first.phyId != record_.uniPort;
    });
}

bool Host::mayHaveBeenLatest() const {
    const auto* const known = latestHost([this](const auto& host) { return isSame(host, record_); });
    return known != nullptr && known->isRestored && hosts().back().isRestored;
}

template <typename Is>
const KnownHost* Host::successor(Is is) const {
    const auto* const latest = latestHost(is);
    if (latest == nullptr || (!isSame(*latest, record_) && !mayHaveBeenLatest())) return nullptr;
    return latestHost([&](const auto& host) { return is(host) && !isSame(host, record_) && isThere(host); });
}

std::string Host::handOver() {
    if (const auto* const next = successor(hasRoute); next != nullptr && !setRouteOf(*next)) return kRouteOfAnother;
    if (!hasOwnMac()) return "";  // all have the board's
    const auto* const next = successor(isAny);
    if (next != nullptr && !IpHostCommands().setRoutedMac(next->macAddress.c_str())) return "the routed MAC address";
    const auto* const neighbour = successor(isOnBridge(record_.bridgeId));
    return neighbour == nullptr || setMacsOf(*neighbour) ? "" : "the MAC address of its bridge";
}

bool Host::setMacsOf(const IpHostProvision& host) {
    const auto set = [&](const DeviceName& device) {
        return IpHostCommands().upWithMac(device.get(), host.macAddress.c_str());
    };
    return set(bridge_) && (!isStatic(host) || set(aniVlan_));
}

// With the last host on it the bridge and its PON side get the MAC address of the device under them.
bool Host::giveMacsBack() {
    if (isGone(ani_) || isBridgeOfAnother()) return true;
    const std::string own = macOf(ani_);
    const auto give = [&](const DeviceName& device) {
        return isGone(device) || IpHostCommands().upWithMac(device.get(), own.c_str());
    };
    return !own.empty() && give(aniVlan_) && give(bridge_);
}

std::string Host::takeAway() {
    IpHostCommands commands;
    if (!removeRecordedRules(ani_.get(), record_.uniPort)) return "the rule for its S-tag";
    if (!commands.killDhcpClient(device_.get())) return "the DHCP client";
    endsClient_ = true;
    const char* const address = record_.ipAddress.c_str();
    const bool hasRule = isStatic(record_) && *address != '\0';
    if (hasRule && !commands.deleteRoutingRule(address) && commands.hasRoutingRule(address)) return "the routing rule";
    if ((isOnly_ || hasOwnMac()) && !commands.removeKey(mac_.c_str())) return "its key of the ingress queue";
    if (isOnly_) {
        if (!commands.deleteHostFlowClass()) return "the runner's class of hosts";
        if (!commands.removeKeyMask()) return "the key mask of the ingress queue";
    }
    if (!isShared()) {
        if (!removeRecordedRules(bridge_.get(), record_.uniPort)) return "a rule of it";
        const kit::VlanCtlSession session;
        if (!isGone(device_) && kit::removeDevice(device_.get()) != 0) return device_.get();
        isNew_ = true;
        if (!giveMacsBack()) return "its MAC address";
    }
    return "";
}

void Host::restore(Rollback& rollback) {
    restores_ = true;
    std::string lost = make();
    // The flow has gone with the class.
    if (lost.empty() && isOnly_ && !IpHostCommands().addHostFlow(mac_.c_str())) lost = "the runner's flow to the CPU";
    if (hasOwnMac() && successor(isAny) != nullptr && !IpHostCommands().setRoutedMac(mac_.c_str()))
        rollback.cannotRestore("the routed MAC address");
    rollback.cannotRestore(lost);
}

// The record's addresses, and the board's, may reach a shell.
bool isSafe(const char* operation, const IpHostProvision& record, std::string* mac) {
    return (isSafeIpHost(operation, record) && getRoutedMac(operation, record, mac)) ||
           isDone(operation, {false, "an address of the IP host is none"});
}

}  // namespace

bool addIpHost(EtherSwitchBcm380& engine, const IpHostProvision& record) {
    constexpr const char* kOperation = "provisionIpHost";
    std::string mac;
    if (!isSafe(kOperation, record, &mac)) return false;
    if (record.uniPort == 0 && record.useSharedBridge == 0)
        return isDone(kOperation, {false, "an IP host has no device of number 0"});
    const state::Operation operation;
    Host host(engine, record, mac);
    if (!host.look()) return isDone(kOperation, {false, kNotSaid});
    const std::string problem = host.add();
    if (problem.empty()) return true;
    Rollback rollback("refused is " + problem);
    host.undo(rollback);
    return rollback.report(kOperation);
}

bool removeIpHost(EtherSwitchBcm380& engine, const IpHostProvision& record) {
    constexpr const char* kOperation = "deprovisionIpHost";
    std::string mac;
    if (!isSafe(kOperation, record, &mac)) return false;
    const state::Operation operation;
    Host host(engine, record, mac);
    if (!host.look()) return isDone(kOperation, {false, kNotSaid});
    if (!host.mayBeThere()) return true;
    const std::string problem = host.remove();
    if (problem.empty()) return true;
    Rollback rollback(problem + " cannot be removed");
    host.restore(rollback);
    return rollback.report(kOperation);
}

void restoreHost(const IpHostProvision& record) {
    hosts().push_back({record, true});
}

void handOverFrom(EtherSwitchBcm380& engine, std::uint16_t bridgeId, std::uint16_t uniPort) {
    const auto* const known =
        latestHost([&](const auto& host) { return host.bridgeId == bridgeId && host.uniPort == uniPort; });
    if (known == nullptr) return;
    const IpHostProvision record = *known;
    std::string mac;
    if (isSafe("deprovisionIpHost", record, &mac)) Host(engine, record, mac).handOver();
    forgetRecord(record);
}

void forgetHosts() {
    hosts().clear();
}

bool isOnSharedBridge(std::uint16_t bridgeId) {
    return latestHost([=](const auto& host) { return host.useSharedBridge != 0 && host.bridgeId == bridgeId; }) !=
           nullptr;
}

}  // namespace forwarding
