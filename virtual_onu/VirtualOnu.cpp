// The facade: one board, its reset, its whole state.
#include "VirtualOnu.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "CoreState.h"
#include "Facilities.h"

namespace virtual_onu {

namespace {

void describeNetwork(const VirtualOnu& onu, std::ostream& text) {
    const auto devices = onu.devices();
    for (const auto& device : devices) {
        if (device.isBridge) continue;
        text << "device " << device.name << (device.up ? " up" : " down") << " mtu " << device.mtu;
        if (!device.realDevice.empty()) text << " on " << device.realDevice;
        if (!device.master.empty()) text << " in " << device.master;
        if (device.routed) text << " routed";
        if (device.multicast) text << " multicast";
        if (device.ipv6Disabled) text << " no-ipv6";
        text << '\n';
    }
    for (const auto& bridge : onu.bridges()) {
        const auto device = onu.device(bridge.name);
        text << "bridge " << bridge.name << (device && device->up ? " up" : " down") << " stp "
             << (bridge.stp ? "on" : "off") << " forward-delay " << bridge.forwardDelay << " ports";
        for (const auto& name : bridge.members()) text << ' ' << name;
        text << '\n';
    }
    for (const auto& device : devices) {
        for (const auto& address : device.addresses) text << "address " << device.name << ' ' << address << '\n';
    }
    for (const auto& rule : onu.ipRules()) text << "ip rule " << rule << '\n';
    for (const auto& route : onu.ipRoutes()) text << "ip route " << route << '\n';
}

void describeRules(const VirtualOnu& onu, std::ostream& text) {
    for (const auto& table : onu.ruleTables()) {
        const char* direction = table.direction == kReceive ? " rx " : " tx ";
        const auto name = table.device + direction + std::to_string(table.tags);
        for (const auto& rule : table.rules) text << "rule " << name << ": " << rule.text() << '\n';
        if (!table.defaultAction) continue;
        text << "default " << name << ": " << (table.defaultAction->action == 0 ? "pass " : "drop ")
             << table.defaultAction->device << '\n';
    }
    for (const auto& [from, to] : onu.flows()) text << "flow " << from << " -> " << to << '\n';
}

void describePon(const VirtualOnu& onu, std::ostream& text) {
    for (const auto& tcont : onu.tconts()) {
        text << "tcont " << tcont.index << " alloc " << tcont.allocId << (tcont.trafficManaged ? " managed" : "")
             << '\n';
        for (const auto& queue : tcont.queues) {
            text << "queue " << tcont.index << '.' << queue.id << " priority " << queue.priority << " size "
                 << queue.size << " weight " << queue.weight << " mode " << queue.schedMode << " rate "
                 << queue.shapingRate << " burst " << queue.shapingBurst << '\n';
        }
    }
    for (const auto& port : onu.gemPorts()) {
        text << "gem " << port.portId << " index " << port.index << " alloc " << port.allocId
             << (port.downstreamOnly ? " downstream-only" : "") << (port.enabled ? " enabled" : " disabled") << '\n';
    }
    if (const auto state = onu.adminState()) text << "pon admin-state " << *state << '\n';
}

}  // namespace

nlohmann::json traceJson(const std::vector<TraceEntry>& entries) {
    auto list = nlohmann::json::array();
    for (const auto& entry : entries) {
        list.push_back({{"number", entry.number},
                        {"kind", callKindNames().at(static_cast<std::size_t>(entry.kind))},
                        {"name", escaped(entry.name)},
                        {"arguments", entry.arguments},
                        {"result", entry.result}});
        if (entry.injected) list.back()["injected"] = true;
    }
    return list;
}

VirtualOnu::VirtualOnu() = default;

VirtualOnu& VirtualOnu::instance() {
    static VirtualOnu& onu = *new VirtualOnu;
    return onu;
}

void VirtualOnu::openBoard(const std::string& file, BoardUse use) {
    persistence::openFile(file, use != BoardUse::Shared, use == BoardUse::Run);
}

void VirtualOnu::closeBoard() {
    persistence::closeFile();
}

void VirtualOnu::reset() {
    persistence::closeFile();
    network::reset();
    vlan::reset();
    pon::reset();
    bus::reset();
    board::reset();
    runner::reset();
    shell::reset();
    files::reset();
    datapath::reset();
    resetCore();
    taps::reset();
}

nlohmann::json VirtualOnu::toJson() const {
    nlohmann::json all = toJsonWithoutTrace();
    all["trace"] = traceJson(trace());
    return all;
}

// Of one moment: no thread is in the middle of a call. A host's kernel is not asked with the lock held.
nlohmann::json VirtualOnu::toJsonWithoutTrace() const {
    std::optional<DeviceAccess> between;
    if (!network::hostKernel()) between.emplace(deviceMutex());
    nlohmann::json all = {{"network", network::toJson()},
                          {"vlan", vlan::toJson()},
                          {"pon", pon::toJson()},
                          {"runner", runner::toJson()},
                          {"bus", bus::toJson()},
                          {"board", board::toJson()},
                          {"shell", shell::toJson()},
                          {"files", files::toJson()},
                          {"clock", {{"sleptMs", slept()}}},
                          {"calls", callCount()},
                          {"trace", nlohmann::json::array()}};
    if (nlohmann::json taps = tapsToJson(); !taps.empty()) all["taps"] = std::move(taps);
    if (nlohmann::json faults = faultsToJson(); !faults.empty()) all["faults"] = std::move(faults);
    return all;
}

nlohmann::json VirtualOnu::tapsToJson() const {
    return taps::toJson();
}

nlohmann::json VirtualOnu::faultsToJson() const {
    const DeviceAccess lock(deviceMutex());
    auto list = nlohmann::json::array();
    for (const PendingFault& fault : core().pendingFaults)
        list.push_back({{"function", fault.name}, {"nth", fault.callsToGo}, {"code", fault.code}});
    for (const auto& [call, code] : core().numberedFaults)
        if (call > core().calls) list.push_back({{"call", call}, {"code", code}});
    return list;
}

std::string VirtualOnu::stateText() const {
    std::ostringstream text;
    describeNetwork(*this, text);
    describeRules(*this, text);
    describePon(*this, text);
    for (const auto& object : runnerObjects()) text << "runner " << object << '\n';
    for (const auto& key : ingressQueueKeys()) text << "ingress-queue " << key << '\n';
    return text.str();
}

}  // namespace virtual_onu
