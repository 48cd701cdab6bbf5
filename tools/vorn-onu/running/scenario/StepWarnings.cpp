#include "running/scenario/StepWarnings.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "running/io/Words.h"

namespace vorn_onu {

namespace {

constexpr const char* kDefaultBridge = "br0";
constexpr const char* kVeipDevice = "veip0";
constexpr const char* kLanPrefix = "sid";
constexpr std::uint32_t kMaxPbits = 7, kMaxVid = 4095;  // that a tag can have

bool isLanPort(const std::string& device) {
    const std::string prefix = kLanPrefix;
    return device.size() == prefix.size() + 1 && device.compare(0, prefix.size(), prefix) == 0;
}

// What a rule asks of a tag that no tag has, "p-bits 8"; "" for a rule that frames can fit.
std::string outOfRangeFilter(const virtual_onu::TagRule& rule) {
    using Kind = virtual_onu::RuleTerm::Kind;
    for (const auto& term : rule.terms) {
        if (term.kind == Kind::Pbits && term.value > kMaxPbits) return "p-bits " + std::to_string(term.value);
        if (term.kind == Kind::Vid && term.value > kMaxVid) return "VID " + std::to_string(term.value);
    }
    return "";
}

const char* outOfRangeAnswer(virtual_onu::OutOfRangeFilters behaviour) {
    switch (behaviour) {
        case virtual_onu::OutOfRangeFilters::MatchAnything:
            return "the board lets it match anything";
        case virtual_onu::OutOfRangeFilters::Masked:
            return "the board cuts its upper bits off";
        case virtual_onu::OutOfRangeFilters::NeverMatch:
            break;
    }
    return "it never matches";
}

}  // namespace

StepWarnings::DeviceContents StepWarnings::DeviceContents::of(const virtual_onu::VirtualOnu& onu) {
    DeviceContents contents;
    for (const auto& bridge : onu.bridges()) contents.bridges[bridge.name] = bridge.members();
    for (const auto& device : onu.devices()) {
        const std::string address = device.addresses.empty() ? "" : device.addresses.front();
        contents.devices[device.name] = {device.master, device.realDevice, address.substr(0, address.find(' '))};
    }
    for (const auto& table : onu.ruleTables()) {
        contents.rules[table.device].onDevice += table.rules.size();
        for (const auto& rule : table.rules) {
            const std::string filter = outOfRangeFilter(rule);
            if (filter.empty()) continue;
            const char* direction = table.direction == virtual_onu::kReceive ? " receives" : " sends";
            contents.outOfRange[rule.id] = table.device + direction + ": '" + rule.text() + "' asks for " + filter +
                                           ", which no frame has; " + outOfRangeAnswer(onu.outOfRangeFilters());
        }
    }
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY) {
        Rules& rules = contents.rules[entry->ifName];
        rules.recorded += entry->nbrOfNewRules;
        rules.full = rules.full || entry->nbrOfNewRules >= kMaxVlanRules;
    }
    contents.multicastCount = EtherSwitchBcm380::multicastEnable;
    return contents;
}

StepWarnings::StepWarnings(const virtual_onu::VirtualOnu& onu) : before_(DeviceContents::of(onu)) {}

std::vector<std::string> StepWarnings::after(const Step& step, const virtual_onu::VirtualOnu& onu) {
    if (!step.changes) {  // what a board step or another thread does is nobody's surprise
        before_ = DeviceContents::of(onu);
        return {};
    }
    Lines lines;
    DeviceContents now = DeviceContents::of(onu);
    lostBridges(now, lines);
    portsLeftOut(now, lines);
    rulesPastTheLimit(now, lines);
    lostVeip(step, now, lines);
    multicastCount(now, lines);
    outOfRange(now, lines);
    before_ = std::move(now);
    return lines;
}

void StepWarnings::lostBridges(const DeviceContents& now, Lines& lines) const {
    for (const auto& [bridge, members] : before_.bridges) {
        if (now.bridges.count(bridge) != 0) continue;
        const auto left = static_cast<std::size_t>(std::count_if(members.begin(), members.end(), [&](const auto& name) {
            const auto device = now.devices.find(name);
            return device != now.devices.end() && device->second.master.empty();
        }));
        if (left > 0)
            lines.push_back(bridge + " is gone: " +
                            (left == 1 ? "its member is on no bridge now"
                                       : "its " + counted(left, "member") + " are on no bridge now"));
        for (const auto& [name, device] : now.devices)
            if (device.real == bridge)
                lines.push_back(name + " stays without " + bridge + " under it" +
                                (device.address.empty() ? "" : ", and keeps its address " + device.address));
    }
}

// The engine lets the ports join when it makes the default bridge, and never again.
void StepWarnings::portsLeftOut(const DeviceContents& now, Lines& lines) const {
    if (before_.bridges.count(kDefaultBridge) != 0 || now.bridges.count(kDefaultBridge) == 0) return;
    for (const auto& [name, device] : now.devices)
        if (isLanPort(name) && device.master.empty())
            lines.push_back(name + " has not joined " + kDefaultBridge + ", and no later call lets it join");
}

// Rules that the engine installs and does not record: it remembers so many of a device.
void StepWarnings::rulesPastTheLimit(const DeviceContents& now, Lines& lines) {
    for (const auto& [device, rules] : now.rules) {
        const auto was = before_.rules.find(device);
        const Rules before = was == before_.rules.end() ? Rules{} : was->second;
        std::size_t& unrecorded = unrecorded_[device];
        unrecorded = std::min(unrecorded, rules.onDevice);
        const std::size_t grown = rules.onDevice > before.onDevice ? rules.onDevice - before.onDevice : 0;
        const std::size_t learned = rules.recorded > before.recorded ? rules.recorded - before.recorded : 0;
        if (rules.full && grown > learned) {
            unrecorded += grown - learned;
            lines.push_back(device + ": " + counted(grown - learned, "rule") + " past the " +
                            std::to_string(kMaxVlanRules) + " that are remembered of a device; no removal takes " +
                            (grown - learned == 1 ? "it" : "them"));
        } else if (rules.recorded < before.recorded && unrecorded > 0) {
            lines.push_back(device + ": " + counted(unrecorded, "rule") + " past the " + std::to_string(kMaxVlanRules) +
                            " that are remembered of a device " + (unrecorded == 1 ? "stays" : "stay"));
        }
    }
}

// The VEIP goes when no service is counted any more, which is not always when the last one is deleted.
void StepWarnings::lostVeip(const Step& step, const DeviceContents& now, Lines& lines) {
    if (!step.fields->is_object() || !step.fields->contains("gemPort")) return;
    const Json& list = step.fields->contains("filterList") ? step.fields->at("filterList") : Json(nullptr);
    const std::string key = step.fields->at("gemPort").dump() + " " + list.dump();
    if (step.name == "vorn_omci_hal_veip_createRules")
        veipServices_[key] = "GEM port " + step.fields->at("gemPort").dump();
    if (step.name == "vorn_omci_hal_veip_deleteRules") veipServices_.erase(key);
    if (before_.devices.count(kVeipDevice) == 0 || now.devices.count(kVeipDevice) != 0) return;
    Lines left;
    for (const auto& service : veipServices_) left.push_back(service.second);
    if (!left.empty())
        lines.push_back(std::string(kVeipDevice) + " is gone, and with it the " +
                        (left.size() == 1 ? "service" : "services") + " of " + joined(left));
    veipServices_.clear();
}

// The link monitor has the multicast proxy run as long as the count is not 0.
void StepWarnings::multicastCount(const DeviceContents& now, Lines& lines) const {
    const bool bridgeLost = std::any_of(before_.bridges.begin(), before_.bridges.end(),
                                        [&](const auto& bridge) { return now.bridges.count(bridge.first) == 0; });
    if (!bridgeLost || now.multicastCount >= before_.multicastCount) return;
    lines.push_back("the multicast count goes from " + std::to_string(before_.multicastCount) + " to " +
                    std::to_string(now.multicastCount) + ": the removal of any bridge lowers it");
}

// The same rule in the tables of several numbers of tags is reported once.
void StepWarnings::outOfRange(const DeviceContents& now, Lines& lines) const {
    std::set<std::string> seen;
    for (const auto& [id, words] : now.outOfRange)
        if (before_.outOfRange.count(id) == 0 && seen.insert(words).second) lines.push_back(words);
}

}  // namespace vorn_onu
