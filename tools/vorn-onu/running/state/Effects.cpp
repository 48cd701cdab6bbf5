#include "running/state/Effects.h"

#include <algorithm>

#include "running/state/PonWords.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxNames = 6;

template <typename Names>
std::string names(const Names& all) {
    std::string text;
    std::size_t shown = 0;
    for (const auto& name : all) {
        if (++shown > kMaxNames) return text + " and " + std::to_string(all.size() - kMaxNames) + " more";
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

std::vector<std::string> missingFrom(const std::vector<std::string>& from, const std::vector<std::string>& in) {
    std::vector<std::string> result;
    for (const auto& name : in)
        if (std::find(from.begin(), from.end(), name) == from.end()) result.push_back(name);
    return result;
}

// "+12 rules" for a growth, "-12 rules" for a loss; "" when the number is the same.
std::string difference(std::size_t before, std::size_t after, const std::string& noun) {
    if (before == after) return "";
    const std::size_t count = before < after ? after - before : before - after;
    return (before < after ? "+" : "-") + std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// Devices that were there already and have joined or left a bridge.
std::string movements(const DeviceImage& before, const DeviceImage& after) {
    std::map<std::string, std::vector<std::string>> joined, left;
    for (const auto& [device, bridge] : after.memberships) {
        const auto was = before.memberships.find(device);
        if (was != before.memberships.end() && was->second != bridge && !bridge.empty())
            joined[bridge].push_back(device);
        if (was != before.memberships.end() && !was->second.empty() && bridge.empty())
            left[was->second].push_back(device);
    }
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    for (const auto& [bridge, devices] : joined)
        add(devices.size() > 2 ? std::to_string(devices.size()) + " devices join " + bridge
                               : names(devices) + " joins " + bridge);
    for (const auto& [bridge, devices] : left)
        add(devices.size() > 2 ? std::to_string(devices.size()) + " devices leave " + bridge
                               : names(devices) + " leaves " + bridge);
    return text;
}

}  // namespace

DeviceImage DeviceImage::of(const virtual_onu::VirtualOnu& onu) {
    DeviceImage image;
    for (const auto& device : onu.devices()) {
        image.devices.push_back(device.name);
        image.memberships[device.name] = device.master;
        for (const auto& address : device.addresses) image.things.insert(device.name + " " + address);
    }
    for (const auto& port : onu.gemPorts())
        image.things.insert("GEM port " + std::to_string(port.portId) + (port.enabled ? "" : " (down)"));
    for (const auto& tcont : onu.tconts())
        if (tcont.allocId != kNoAllocId)
            image.things.insert("T-CONT " + std::to_string(tcont.index) + " with " +
                                std::to_string(tcont.queues.size()) + " queues");
    for (const auto& object : onu.runnerObjects()) image.things.insert(object);
    for (const auto& key : onu.ingressQueueKeys()) image.things.insert("ingress queue " + key);
    image.rules = onu.ruleCount();
    image.flows = onu.flows().size();
    image.messages = onu.sentMessages().size();
    return image;
}

std::string effects(const DeviceImage& before, const DeviceImage& after) {
    std::string text;
    const auto add = [&text](const std::string& part) {
        if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
    };
    const auto made = missingFrom(before.devices, after.devices);
    const auto gone = missingFrom(after.devices, before.devices);
    std::vector<std::string> newThings, lostThings;
    std::set_difference(after.things.begin(), after.things.end(), before.things.begin(), before.things.end(),
                        std::back_inserter(newThings));
    std::set_difference(before.things.begin(), before.things.end(), after.things.begin(), after.things.end(),
                        std::back_inserter(lostThings));
    if (!made.empty()) add("+ " + names(made));
    if (!gone.empty()) add("- " + names(gone));
    add(movements(before, after));
    for (const auto& thing : newThings) add("+ " + thing);
    for (const auto& thing : lostThings) add("- " + thing);
    add(difference(before.rules, after.rules, "rule"));
    add(difference(before.flows, after.flows, "flow"));
    add(difference(before.messages, after.messages, "message"));
    return text;
}

}  // namespace vorn_onu
