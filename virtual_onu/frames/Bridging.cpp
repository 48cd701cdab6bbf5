// A walk's path through a bridge, as the kernel forwards: what is learned, who gets a copy, what is not forwarded.
#include <algorithm>

#include "frames/Walker.h"

namespace virtual_onu::datapath {

namespace {

// 01:80:c2:00:00:00 to 0f: spanning tree, pause, LACP, 802.1X, LLDP and others of a link's two ends.
constexpr Mac kLinkLocal = 0x0180C2000000;
constexpr Mac kPause = kLinkLocal + 1;

bool isLinkLocal(Mac mac) {
    return mac >> 4 == kLinkLocal >> 4;
}

bool isOwn(const PlanBridge& bridge, Mac mac) {
    return std::find(bridge.ownAddresses.begin(), bridge.ownAddresses.end(), mac) != bridge.ownAddresses.end();
}

}  // namespace

void Walker::bridge(DeviceId id, DeviceId port, const Copy& copy, bool flowed) {
    if (!passes(id, copy, Direction::Received, Limit::None)) return;
    const PlanDevice& device = plan_.device(id);
    if (device.bridge == nullptr) return drop(copy, FrameFate::NoBridge, device.name, device.name + " is no bridge");
    const PlanBridge& own = *device.bridge;
    if (port != kNoDevice && !learnsAt(id, own, port, copy)) return;
    const Mac destination = copy.packet.destination;
    if (!isGroup(destination)) {
        if (port != kNoDevice && isOwn(own, destination)) return toOwnDevices(id, copy);
        return forward(id, port, copy, flowed);
    }
    const bool alsoOwn = port != kNoDevice && own.carriesDevice;
    if (alsoOwn) toOwnDevices(id, copy);
    forward(id, port, copy, flowed || alsoOwn);
}

// What the bridge learns from a frame that comes in at a port. False when the frame ends here.
bool Walker::learnsAt(DeviceId id, const PlanBridge& bridge, DeviceId port, const Copy& copy) {
    const PlanDevice& device = plan_.device(id);
    const Mac source = copy.packet.source, destination = copy.packet.destination;
    const auto end = [&](std::string reason) {
        drop(copy, FrameFate::Bridge, device.name, std::move(reason));
        return false;
    };
    if (source == 0 || isGroup(source)) return end("a bridge takes no frame from " + sourceText());
    const PlanPort* own = bridge.portOf(port);
    if (own != nullptr && nowMs_ < own->learningFromMs)
        return end(plan_.device(port).name + " is listening only, the spanning tree has not let it in yet");
    // Without a spanning tree of its own a bridge lets that of others pass.
    const bool stays = isLinkLocal(destination) && (destination != kLinkLocal || bridge.stp);
    if (destination != kPause && !isOwn(bridge, source))
        memory_.learn(device.index, source, plan_.device(port).index, nowMs_, bridge.ageingMs);
    if (stays) return end("bridges do not forward frames to " + textOf(destination));
    if (own != nullptr && nowMs_ < own->forwardingFromMs)
        return end(plan_.device(port).name + " is learning only, the spanning tree has not let it in yet");
    if (bridge.snooping && copy.packet.multicast.kind > Multicast::Kind::Data)
        memory_.changeSnooping(device.index).take(copy.packet.multicast, plan_.device(port).index, nowMs_);
    else if (bridge.snooping && copy.packet.multicast.kind == Multicast::Kind::Data)
        memory_.seeStream(device.index, copy.packet.multicast.group, nowMs_);
    return true;
}

void Walker::toOwnDevices(DeviceId id, const Copy& copy) {
    Copy one{copy.packet, {}, copy.hop};  // the marks were for the way in
    Step step;
    step.kind = Hop::Kind::Bridge;
    step.cause = StepCause::OwnDevices;
    step.from = copy.hop;
    step.device = step.to = id;
    step.tags = one.packet.tags;
    one.hop = add(step);
    receive(id, one);
}

void Walker::forward(DeviceId id, DeviceId port, const Copy& copy, bool sentElsewhere) {
    const PlanDevice& device = plan_.device(id);
    const PlanBridge& own = *device.bridge;
    const Packet& packet = copy.packet;
    const Snooping* snooping = own.snooping ? memory_.snooping(device.index) : nullptr;
    const bool narrow = snooping != nullptr && packet.multicast.kind != Multicast::Kind::None &&
                        snooping->narrows(packet.multicast, packet.destination, nowMs_);
    const PlanPort* known = nullptr;
    if (!isGroup(packet.destination))
        if (const auto learned = memory_.portOf(device.index, packet.destination, nowMs_, own.ageingMs)) {
            if (port != kNoDevice && *learned == plan_.device(port).index)
                return drop(copy, FrameFate::Bridge, device.name,
                            destinationText() + " is behind the port that it came from");
            for (const PlanPort& one : own.ports)
                if (plan_.device(one.device).index == *learned) known = &one;
        }
    const PlanPort* from = port == kNoDevice ? nullptr : own.portOf(port);
    const bool isolated = from != nullptr && from->isolated;
    bool sent = sentElsewhere, keptApart = false;
    for (const PlanPort& one : own.ports) {
        if (one.device == port || (known != nullptr && known != &one)) continue;
        if (isolated && one.isolated) {
            keptApart = true;
            continue;
        }
        if (narrow && !snooping->wants(packet.multicast, plan_.device(one.device).index, nowMs_)) continue;
        sent = true;
        toPort(id, one.device,
               narrow             ? StepCause::Wanted
               : known != nullptr ? StepCause::Learned
                                  : StepCause::Flooded,
               copy);
    }
    if (sent) return;
    drop(copy, FrameFate::Bridge, device.name,
         keptApart ? plan_.device(port).name + " is isolated from the other port of " + device.name
         : narrow  ? "no port of " + device.name + " wants the group"
                   : device.name + " has no other port");
}

void Walker::toPort(DeviceId bridge, DeviceId port, StepCause cause, const Copy& copy) {
    Copy one{copy.packet, {}, copy.hop};
    Step step;
    step.kind = Hop::Kind::Bridge;
    step.cause = cause;
    step.from = copy.hop;
    step.device = bridge;
    step.to = port;
    step.tags = one.packet.tags;
    one.hop = add(step);
    const PlanPort* own = plan_.device(bridge).bridge->portOf(port);
    if (plan_.device(port).blocked.empty() && own != nullptr && nowMs_ < own->forwardingFromMs)
        return drop(one, FrameFate::Bridge, plan_.device(port).name,
                    plan_.device(port).name + " does not forward yet, the spanning tree has not let it in");
    transmit(port, one);
}

}  // namespace virtual_onu::datapath
