#include "frames/PlanBuilder.h"

#include <algorithm>

#include "frames/FilterKey.h"
#include "frames/Links.h"
#include "kernel/Network.h"
#include "kit/PonTables.h"
#include "shell/Runner.h"

namespace virtual_onu::datapath {

namespace {

// The engine's devices have tables for up to 2 tags; a device that somebody gave a table for 3 tags uses it too.
constexpr unsigned kOrdinaryTables = 2;
constexpr unsigned kVeipTable = 3;
constexpr std::uint64_t kMsPerHundredth = 10;

}  // namespace

void PlanBuilder::build() {
    plan_.outOfRange_ = VirtualOnu::instance().outOfRangeFilters();
    addDevices();
    addTables();
    addFlows();
    addBridges();
    addRunnerClasses();
    addGemPorts();
    plan_.ponDevice_ = plan_.idOf(kPonDevice);
}

DeviceId PlanBuilder::named(const std::string& name) {
    const auto [entry, isNew] = plan_.ids_.emplace(name, static_cast<DeviceId>(plan_.devices_.size()));
    if (isNew) {
        plan_.devices_.emplace_back();
        plan_.devices_.back().name = name;
        plan_.devices_.back().blocked = "there is no device " + name;
    }
    return entry->second;
}

void PlanBuilder::addDevices() {
    std::map<std::string, NetworkDevice> all;
    network::forEachDevice([&](const NetworkDevice& device, network::DeviceCounters* counters) {
        PlanDevice& made = plan_.devices_[named(device.name)];
        made.index = device.index;
        made.blocked = blockedBy(device);
        made.noEntry = noEntryAt(device.name);
        made.noExit = noExitAt(device.name);
        made.isBridge = device.isBridge;
        made.routed = device.routed;
        made.mtu = static_cast<std::size_t>(device.mtu);
        made.counters = counting_ ? counters : nullptr;
        macs_[device.name] = macOf(device.mac);
        all.emplace(device.name, device);
    });
    for (const auto& [name, device] : all) {
        const DeviceId master = device.master.empty() ? kNoDevice : named(device.master);
        const DeviceId real = device.realDevice.empty() ? kNoDevice : named(device.realDevice);
        PlanDevice& made = plan_.devices_[named(name)];
        made.master = master;
        made.realDevice = real;
        made.endpoint = real != kNoDevice && (device.routed || plan_.devices_[real].isBridge);
    }
}

const CompiledTable* PlanBuilder::compiled(const vlan::TableKey& key, const vlan::Table& table) {
    std::vector<CompiledRule> rules;
    for (const TagRule& rule : table.rules) {
        CompiledRule made;
        made.rule = rule;
        for (const RuleTerm& term : rule.terms) {
            if (term.kind == RuleTerm::Kind::RxDevice) made.receiver = named(term.device);
            if (term.isCommand())
                made.commands.push_back(term);
            else
                addTerm(made.filter, term, term.device.empty() ? kNoDevice : named(term.device), plan_.outOfRange_);
        }
        rules.push_back(std::move(made));
    }
    std::optional<CompiledTable::Default> defaultAction;
    if (table.defaultAction) {
        const std::string& device = table.defaultAction->device;
        defaultAction = {table.defaultAction->action != 0, device.empty() ? kNoDevice : named(device)};
    }
    plan_.tables_.push_back(std::make_unique<const CompiledTable>(key.tags, std::move(rules), defaultAction));
    return plan_.tables_.back().get();
}

void PlanBuilder::addTables() {
    std::map<std::pair<std::string, unsigned>, std::array<const CompiledTable*, kMaxTags + 1>> byDevice;
    vlan::forEachTable([&](const vlan::TableKey& key, const vlan::Table& table) {
        if (key.tags <= kMaxTags) byDevice[{key.device, key.direction}][key.tags] = compiled(key, table);
    });
    for (const auto& [place, own] : byDevice) {
        auto& tables = plan_.devices_[named(place.first)].tables[place.second];
        const unsigned highest = own[kVeipTable] != nullptr ? kVeipTable : kOrdinaryTables;
        for (unsigned tags = 0; tags <= kMaxTags; ++tags) tables[tags] = own[std::min(tags, highest)];
    }
}

void PlanBuilder::addFlows() {
    for (const auto& [from, to] : vlan::flowList()) {
        const DeviceId target = named(to);
        plan_.devices_[named(from)].flows.push_back(target);
    }
}

void PlanBuilder::addBridges() {
    for (const Bridge& bridge : network::bridges()) {
        const DeviceId id = named(bridge.name);
        auto made = std::make_unique<PlanBridge>();
        made->ownAddresses.push_back(macs_[bridge.name]);
        for (const BridgePort& port : bridge.ports) {
            const DeviceId device = named(port.name);
            made->ports.push_back({device, port.learningFromMs, port.forwardingFromMs, port.isolated});
            made->ownAddresses.push_back(macs_[port.name]);
        }
        for (const PlanDevice& device : plan_.devices_) {
            if (device.realDevice != id) continue;
            made->carriesDevice = true;
            made->ownAddresses.push_back(macs_[device.name]);
        }
        made->stp = bridge.stp;
        made->snooping = bridge.multicastSnooping;
        made->ageingMs = static_cast<std::uint64_t>(bridge.ageingTime) * kMsPerHundredth;
        plan_.devices_[id].bridge = std::move(made);
    }
}

void PlanBuilder::addRunnerClasses() {
    for (const runner::UpstreamClass& one : runner::upstreamClasses()) {
        const std::string prefix = "lan";
        if (one.port.compare(0, prefix.size(), prefix) != 0) continue;
        const DeviceId port = plan_.idOf("sid" + one.port.substr(prefix.size()));
        if (port == kNoDevice) continue;
        plan_.devices_[port].runner.push_back(
            {one.name, one.egress, one.tags, static_cast<std::uint16_t>(one.etherType), one.pushed});
    }
}

void PlanBuilder::addGemPorts() {
    for (auto& [portId, port] : pon::gemPortsInPlace()) {
        PlanGemPort made;
        made.index = port.index;
        made.portId = portId;
        made.enabled = port.enabled;
        made.downstreamOnly = port.downstreamOnly;
        made.allocId = port.allocId;
        made.live = counting_ ? &port : nullptr;
        for (auto& [index, tcont] : pon::tcontsInPlace()) {
            if (tcont.allocId != port.allocId) continue;
            made.tcont = index;
            for (Queue& queue : tcont.queues) made.queues.push_back({queue.id, counting_ ? &queue : nullptr});
            break;
        }
        plan_.byPortId_[portId] = plan_.byIndex_[port.index] = plan_.gemPorts_.size();
        plan_.gemPorts_.push_back(std::move(made));
    }
}

}  // namespace virtual_onu::datapath
