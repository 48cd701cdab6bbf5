// Takes what the state file knows off the device, all of it or what nobody has asked for, services first, as they are
// removed: VEIP, UNIs, rules, IP hosts, devices and bridges, GEM ports, T-CONTs. Results are looked at here, unlike in
// the operations.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/RuleMap.h"
#include "BRCM/BCM968580/DATA/forwarding/IpHost.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/iphost/IpHostCommands.h"
#include "BRCM/BCM968580/DATA/restart/Compare.h"
#include "BRCM/BCM968580/DATA/restart/DeviceEntries.h"
#include "BRCM/BCM968580/DATA/restart/Forwarding.h"
#include "BRCM/BCM968580/DATA/restart/Operations.h"
#include "BRCM/BCM968580/DATA/restart/Restart.h"
#include "BRCM/BCM968580/DATA/restart/RestartLog.h"
#include "BRCM/BCM968580/DATA/restart/RuleTables.h"
#include "kit/Asked.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"
#include "kit/Runner.h"
#include "kit/StateEntries.h"
#include "xpon/CleanPon.h"

namespace restart {

namespace {

// What goes and what the device does not give up.
class Removal {
public:
    Removal(const char* name, bool takesAll) : name_(name), takesAll_(takesAll) {}

    template <typename... Parts>
    bool stays(kit::Entry kind, const Parts&... parts) const {
        return staysBy(kit::keyOf(kind, parts...));
    }
    bool staysBy(const std::string& effect) const { return !takesAll_ && kit::isClaimed(effect); }
    bool takesAll() const { return takesAll_; }

    bool done(bool removed) {
        if (removed) ++removed_;
        return removed;
    }
    void refused(const LogText& text) {
        ++refused_;
        logLine(name_, kLogError, text);
    }
    int removedCount() const { return removed_; }
    int refusedCount() const { return refused_; }

private:
    const char* name_;
    bool takesAll_;
    int removed_ = 0;
    int refused_ = 0;
};

// ---- rules ----

// Whether the rule is off the device: one that does not exist any more was removed by somebody else. Noted before: of a
// table that has lost some of its rules nobody knows which when the process ends on the way.
bool removeFromDevice(const kit::RuleTable& table, std::uint32_t id) {
    {
        const kit::VlanCtlSession session;
        if (kit::removePlannedRule(table, id) == 0) return true;
    }
    return rulesOnDevice(table).value_or(0) == 0;
}

void removeRules(Removal& removal) {
    eraseRulesIf("", [&](const auto& entry, const auto& rule) {
        const kit::RuleTable table = tableOf(entry, rule);
        return !removal.staysBy(kit::ruleKey(table, rule.tagRuleId)) &&
               removal.done(removeFromDevice(table, rule.tagRuleId));
    });
    for (const LooseRule& rule : knownLooseRules())
        if (!removal.staysBy(kit::ruleKey(rule.table, rule.id)) && removal.done(removeFromDevice(rule.table, rule.id)))
            kit::forgetRule(rule.table, rule.id);
    if (removal.takesAll()) {
        removePlannedRules(
            [&](const kit::RuleTable& table, std::uint32_t id) { return removal.done(removeFromDevice(table, id)); });
        return;
    }
    const auto refused = [&](const std::string& line) { removal.refused(LogText("%s", line.c_str())); };
    for (int rules = settlePlannedRules(refused); rules > 0; --rules) removal.done(true);
}

// The rules of a device that was removed have gone with it.
void nameRulesThatStay(Removal& removal) {
    std::set<std::string> devices;
    for (const auto& entry : m_VLAN_RULE_MAP_ENTRY) devices.insert(entry.first.ifName);
    for (const std::string& device : devices)
        if (!engine().isInterfaceExisted(device.c_str())) forgetRulesOf(device);
    for (const CountedTable& counted : knownTables()) {
        const kit::RuleTable& table = counted.table;
        const std::set<std::uint32_t> ids = knownRuleIds(table), planned = plannedRuleIds(table);
        for (const std::uint32_t id : ids)
            if (removal.takesAll() || (!removal.staysBy(kit::ruleKey(table, id)) && planned.count(id) == 0))
                removal.refused(LogText("rule %u of %s stays: vlanctl refuses", id, table.device.c_str()));
        if (ids.empty()) kit::forgetTable(table);
    }
}

// ---- devices and bridges ----

// True when the device is gone.
bool removeIfExisting(const std::string& device) {
    if (!engine().isInterfaceExisted(device.c_str())) {
        kit::forgetDevice(device.c_str());
        return true;
    }
    if (kit::isBridge(device)) return kit::deleteBridge(device.c_str()) == InterfaceResult::Done;
    const kit::VlanCtlSession session;
    return kit::removeDevice(device.c_str()) == 0;
}

// VLAN devices go before the devices under them, and bridges at the end.
int orderOf(const std::string& device) {
    if (kit::isBridge(device)) return 3;
    if (device == kVeipDevice) return 0;
    return device.find('.') != std::string::npos ? 1 : 2;
}

// Whatever makes a bridge makes the default bridge first.
bool needsDefaultBridge() {
    for (const kit::Ask ask : {kit::Ask::Bridge, kit::Ask::UniRow, kit::Ask::IpHost, kit::Ask::PonRules})
        if (kit::isClaimed(ask)) return true;
    return false;
}

bool deviceStays(const Removal& removal, const std::string& device) {
    if (removal.takesAll()) return false;
    if (isPlannedDevice(device)) return true;
    if (device == kDefaultBridge) return needsDefaultBridge();
    return removal.stays(kit::Entry::Devices, device) || removal.stays(kit::Entry::Members, device);
}

void removeDevices(Removal& removal) {
    std::vector<std::string> devices = knownDevices();
    std::stable_sort(devices.begin(), devices.end(),
                     [](const auto& one, const auto& other) { return orderOf(one) < orderOf(other); });
    for (const std::string& device : devices) {
        if (deviceStays(removal, device)) continue;
        forgetUniOf(device);
        if (!removal.done(removeIfExisting(device)))
            removal.refused(LogText("%s stays: its removal is refused", device.c_str()));
    }
}

// ---- services, hosts and the runner ----

// Each by its own TCI, and with the last one the VEIP. On no bridge: nothing of the PON side goes with it.
void removeServices(Removal& removal) {
    constexpr std::uint16_t kNoBridge = 65535;
    constexpr unsigned kPbitShift = 13;
    std::vector<OMCI_SERVICE_MAP_ENTRY> services;
    for (const auto& [key, service] : m_SERVICE_MAP_ENTRY)
        if (!removal.stays(kit::Entry::Services, key.ifName, key.vlanId, key.pbits)) services.push_back(*service);
    for (const OMCI_SERVICE_MAP_ENTRY& service : services) {
        const auto tci = static_cast<unsigned>(service.pbits) << kPbitShift | static_cast<unsigned>(service.vlanId);
        const FixedText<8> list("%04x", tci & 0xFFFFU);
        engine().gpon_deleteRules(static_cast<std::uint16_t>(service.gemPortId), kNoBridge, 0, 1,
                                  reinterpret_cast<const unsigned char*>(list.get()), 0);
        removal.done(true);
    }
}

// The removal of something by several commands, which may be tried again. What an earlier try has taken away is not
// asked for once more: the runner refuses what it does not have.
class Tries {
public:
    explicit Tries(std::string what) : what_(std::move(what)) {}
    template <typename Command>
    void carryOut(const char* name, const Command& command) {
        std::set<std::string>& done = carriedOut()[what_];
        if (done.count(name) != 0) return;
        if (command())
            done.insert(name);
        else
            refused_ = true;
    }
    bool allDone() {
        if (!refused_) carriedOut().erase(what_);
        return !refused_;
    }

private:
    static std::map<std::string, std::set<std::string>>& carriedOut() {
        static auto& all = *new std::map<std::string, std::set<std::string>>;
        return all;
    }
    std::string what_;
    bool refused_ = false;
};

// carryOut(name, command) for each command; the class and the key mask are those of all hosts.
template <typename CarryOut>
void removeFromRunner(const IpHost& host, bool isLast, const CarryOut& carryOut) {
    IpHostCommands commands;
    carryOut("key", [&] { return commands.removeKey(host.mac.c_str()); });
    if (host.dhcp)
        commands.killDhcpClient(kit::ipHostName(host.bridgeId, host.uniPort).get());
    else
        carryOut("routing rule", [&] { return commands.deleteRoutingRule(host.address.c_str()); });
    if (isLast) {
        carryOut("class", [&] { return commands.deleteHostFlowClass(); });
        carryOut("key mask", [&] { return commands.removeKeyMask(); });
    }
}

// Whether all that it asked of the device went.
bool removeHost(const IpHost& host, bool isLast) {
    Tries tries(kit::ipHostName(host.bridgeId, host.uniPort).get());
    removeFromRunner(host, isLast, [&](const char* name, const auto& command) { tries.carryOut(name, command); });
    return tries.allDone();
}

void removeHosts(Removal& removal) {
    const std::vector<IpHost> hosts = knownIpHosts();
    for (const IpHost& host : hosts) {
        if (removal.stays(kit::Entry::IpHosts, host.bridgeId, host.uniPort)) continue;
        const kit::BegunStep step(kit::Step::RemoveHost, host.bridgeId, host.uniPort);
        const bool isLast = removal.takesAll() ? &host == &hosts.back() : EtherSwitchBcm380::numServices < 2;
        if (!removal.done(removeHost(host, isLast))) {
            removal.refused(LogText("IP host on bridge %u, UNI port %u stays: one of its commands is refused",
                                    host.bridgeId, host.uniPort));
            continue;
        }
        if (!removal.takesAll()) {
            forwarding::handOverFrom(engine(), host.bridgeId, host.uniPort);
            engine_maps::countIpHosts(-1);
        }
        kit::noteMark(false, kit::Entry::IpHosts, host.bridgeId, host.uniPort);
    }
}

void removeRunnerObjects(Removal& removal) {
    for (const std::uint16_t uniPort : knownDscpShortcuts()) {
        if (removal.stays(kit::Entry::DscpShortcuts, uniPort)) continue;
        engine().unsetDscpToPbitsTable(kit::uniName(uniPort - 1U).get());
        Tries tries("DSCP of UNI port " + std::to_string(uniPort));
        tries.carryOut("class", [&] { return kit::deleteDscpClass(uniPort); });
        tries.carryOut("push", [&] { return kit::deleteDscpPush(uniPort); });
        if (knownDscpShortcuts().size() < 2) tries.carryOut("pop", [] { return kit::removeDscpAction(); });
        if (removal.done(tries.allDone()))
            kit::forgetDscpShortcut(uniPort);
        else
            removal.refused(LogText("the runner's class or an action of UNI port %u stays: it refuses", uniPort));
    }
}

// A UNI without a row of its own follows no model.
void clearMarks() {
    std::set<std::uint32_t> uniPorts;
    for (const auto* marks : {&m_dscpConfigInfo, &m_cTagConfigInfo})
        for (const auto& mark : *marks) uniPorts.insert(mark.first);
    for (const std::uint32_t uniPort : uniPorts)
        if (m_VLAN_RULE_MAP_ENTRY.count({kit::uniName(uniPort - 1).get(), static_cast<std::uint16_t>(uniPort)}) == 0)
            engine_maps::clearModelMarks(uniPort);
}

void removeFromDevice(Removal& removal) {
    removeRunnerObjects(removal);
    removeRules(removal);
    removeHosts(removal);
    removeDevices(removal);
    nameRulesThatStay(removal);
    const int removed = cleanPon([&](std::uint16_t gemPortId) { return removal.stays(kit::Entry::PonGem, gemPortId); },
                                 [&](std::uint16_t allocId) { return removal.stays(kit::Entry::AllocIds, allocId); },
                                 [&](const char* line) { removal.refused(LogText("%s", line)); });
    for (int i = 0; i < removed; ++i) removal.done(true);
}

}  // namespace

void finishHostRemoval(std::uint16_t bridgeId, std::uint16_t uniPort) {
    for (const IpHost& host : knownIpHosts()) {
        if (host.bridgeId != bridgeId || host.uniPort != uniPort) continue;
        removeFromRunner(host, EtherSwitchBcm380::numServices < 2, [](const char*, const auto& command) { command(); });
        engine_maps::countIpHosts(-1);
        kit::noteMark(false, kit::Entry::IpHosts, bridgeId, uniPort);
    }
}

int cleanDevice() {
    if (state::journal() == nullptr) {
        logLine(kCleanDevice, kLogError, LogText("no state is open"));
        return -1;
    }
    const state::Operation operation;
    Removal removal(kCleanDevice, true);
    removeFromDevice(removal);
    forgetServices();
    engine_maps::clear();
    forwarding::forgetHosts();
    kit::forgetAsked();
    return removal.refusedCount();
}

int settleState() {
    if (state::journal() == nullptr) {
        logLine(kStateSettle, kLogError, LogText("no state is open"));
        return -1;
    }
    Removal removal(kStateSettle, false);
    std::vector<std::string> again;
    {
        const state::Operation operation;
        const int multicastServices = multicastServicesAsked();
        forgetRulesAhead();
        again = kit::endClaims();
        if (const int gone = multicastServices - multicastServicesAsked(); gone > 0)
            engine_maps::countMulticastServices(-gone);
        // A multicast service has rules on the device of a VEIP: without the VEIP it is asked for all the same.
        const kit::Replacement replacement;
        removeServices(removal);
        removeFromDevice(removal);
        clearMarks();
        dropLeftQueues();
    }
    for (const std::string& operation : again) runOperation(operation);
    if (removal.removedCount() > 0)
        logLine(kStateSettle, kLogInfo,
                LogText("%d things that nobody has asked for are taken away", removal.removedCount()));
    return removal.removedCount();
}

}  // namespace restart
