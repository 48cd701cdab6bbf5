#include "frames/Walker.h"

#include <algorithm>

#include "Persistence.h"
#include "frames/Links.h"
#include "frames/WireHeader.h"
#include "kit/PonTables.h"

namespace virtual_onu::datapath {

namespace {

// A frame and its copies pass at most this many look-ups; more means that devices are stacked in a ring.
constexpr std::size_t kMaxHops = 1024;

network::Destination destinationOf(Mac mac) {
    if (mac == kBroadcast) return network::Destination::Broadcast;
    return isGroup(mac) ? network::Destination::Multicast : network::Destination::Unicast;
}

}  // namespace

Walker::Walker(const WalkContext& context, const Packet& packet, const Frame* frame, Traversal& traversal)
    : plan_(context.plan),
      memory_(context.memory),
      nowMs_(context.nowMs),
      counts_(context.counts),
      sent_(packet),
      frame_(frame),
      destination_(destinationOf(packet.destination)),
      traversal_(traversal) {}

void Walker::finish() {
    if (!counts_) return;
    counts::frames(!fromPon_, traversal_.exits.empty() ? fate_ : FrameFate::Forwarded, sent_.frames);
    if (fromGemPort_ == nullptr || !traversal_.exits.empty()) return;
    fromGemPort_->counters[pon::kFramesDiscarded] += sent_.frames;
    persistence::changed(persistence::kGemPorts, fromGemPort_->portId);
}

void Walker::enter(const std::string& name) {
    const DeviceId id = plan_.idOf(name);
    const Copy copy{sent_, {}, -1};
    if (id == kNoDevice) return drop(copy, FrameFate::LinkDown, name, "there is no device " + name);
    const PlanDevice& device = plan_.device(id);
    // The gateway behind the VEIP, or the IP host: what it sends leaves through the real device.
    if (device.endpoint) {
        for (const DeviceId target : device.flows) flow(target, copy);
        return transmit(id, copy);
    }
    if (device.blocked.empty() && !device.noEntry.empty()) return drop(copy, FrameFate::LinkDown, name, device.noEntry);
    if (device.blocked.empty() && takeRunnerClass(id, copy)) return;
    receive(id, copy);
}

void Walker::enterFromPon(unsigned gemPortId) {
    fromPon_ = true;
    const DeviceId id = plan_.ponDevice();
    Copy copy{sent_, {}, -1};
    const std::string name = "GEM port " + std::to_string(gemPortId);
    const PlanGemPort* port = plan_.gemPort(gemPortId);
    if (port == nullptr) return drop(copy, FrameFate::NoGemPort, kPonDevice, "there is no " + name);
    if (!port->enabled) return drop(copy, FrameFate::NoGemPort, kPonDevice, name + " is set down");
    if (id == kNoDevice)
        return drop(copy, FrameFate::LinkDown, kPonDevice, std::string("there is no device ") + kPonDevice);
    const PlanDevice& device = plan_.device(id);
    if (device.blocked.empty() && !device.noEntry.empty())
        return drop(copy, FrameFate::LinkDown, kPonDevice, device.noEntry);
    if (counts_ && port->live != nullptr) {
        fromGemPort_ = port->live;
        persistence::changed(persistence::kGemPorts, port->portId);
        port->live->counters[pon::kFramesReceived] += sent_.frames;
        port->live->counters[pon::kOctetsReceived] += static_cast<std::uint32_t>(sent_.frames * sent_.octets());
    }
    copy.marks.gemIndex = port->index;
    receive(id, copy);
}

// A class of the runner that forwards the port's frames by itself. Which GEM port they get is in tables of the runner
// that the HAL does not fill.
bool Walker::takeRunnerClass(DeviceId port, const Copy& copy) {
    const auto& classes = plan_.device(port).runner;
    const Tags& tags = copy.packet.tags;
    const auto taken = std::find_if(classes.begin(), classes.end(), [&](const RunnerClass& one) {
        return one.tags == tags.count && one.etherType == tags.etherType;
    });
    if (taken == classes.end()) return false;
    count(port, Direction::Received, copy.packet);
    Copy one = copy;
    if (taken->pushed && !one.packet.tags.push()) {
        drop(copy, FrameFate::Rule, port, "the runner pushes more than 4 tags", Direction::Received);
        return true;
    }
    if (taken->pushed) one.packet.tags.tag[0] = *taken->pushed;
    Step step;
    step.kind = Hop::Kind::Runner;
    step.cause = StepCause::Runner;
    step.runner = &*taken;
    step.tags = one.packet.tags;
    one.hop = add(step);
    Traversal::Exit exit;
    exit.runner = &*taken;
    leaveAs(exit, one);
    return true;
}

// Whether a frame can pass the device; else it ends.
bool Walker::passes(DeviceId id, const Copy& copy, Direction direction, Limit limit) {
    const PlanDevice& device = plan_.device(id);
    if (traversal_.steps.size() >= kMaxHops) {
        drop(copy, FrameFate::Loop, device.name, "the devices are stacked in a ring");
        return false;
    }
    if (!device.blocked.empty()) {
        drop(copy, FrameFate::LinkDown, device.name, device.blocked);
        return false;
    }
    // What a bridge forwards is as long as its ports let it be; the bridge's own MTU is for its own frames.
    if (limit == Limit::None) return true;
    if (copy.packet.octetsBesideTag() > device.mtu + kHeaderOctets + kTagOctets) {
        drop(copy, FrameFate::TooLong, id,
             "too long for " + device.name + ", whose MTU is " + std::to_string(device.mtu), direction);
        return false;
    }
    return true;
}

// A frame comes in at a device: from outside, or taken off the device under it.
void Walker::receive(DeviceId id, Copy copy) {
    if (!passes(id, copy, Direction::Received)) return;
    count(id, Direction::Received, copy.packet);
    DeviceId next = kNoDevice;
    if (lookUp(id, kReceive, kNoDevice, copy, next) == Outcome::Ended) return;
    if (next == kNoDevice || next == id) return deliver(id, copy);
    receive(next, copy);
}

// The frame belongs to this device itself: what is behind it, its bridge, or its flows.
void Walker::deliver(DeviceId id, const Copy& copy) {
    const PlanDevice& device = plan_.device(id);
    if (device.endpoint || device.isBridge) return leave(id, copy);
    const bool bridged = device.master != kNoDevice;
    bool flowed = false;
    for (const DeviceId target : device.flows) {
        const PlanDevice& to = plan_.device(target);
        // Inside a bridge a flow is only the accelerator's short cut; out of it, it is the way to the gateway.
        if (to.index == 0 || (bridged && !to.routed)) continue;
        flowed = true;
        flow(target, copy);
    }
    if (bridged) return bridge(device.master, id, copy, flowed);
    if (flowed) return;
    const bool atPon = id == plan_.ponDevice();
    drop(copy, atPon ? FrameFate::NoRule : FrameFate::NoBridge, id,
         atPon ? "no rule takes the frame off " + device.name : device.name + " is in no bridge", Direction::Received);
}

void Walker::flow(DeviceId target, Copy copy) {
    const PlanDevice& device = plan_.device(target);
    if (device.index == 0) return;
    copy.marks = {};
    Step step;
    step.kind = Hop::Kind::Flow;
    step.cause = StepCause::Flow;
    step.from = copy.hop;
    step.device = step.to = target;
    step.tags = copy.packet.tags;
    copy.hop = add(step);
    if (!device.routed) return transmit(target, copy);
    DeviceId next = kNoDevice;
    count(target, Direction::Received, copy.packet);
    if (device.realDevice == kNoDevice || lookUp(device.realDevice, kTransmit, target, copy, next) == Outcome::GoesOn)
        leave(target, copy);
}

// The frame leaves through a device: a VLAN device's real device looks it up, a bridge floods what its own devices
// send, anything else is a port.
void Walker::transmit(DeviceId id, Copy copy) {
    if (!passes(id, copy, Direction::Sent)) return;
    const PlanDevice& device = plan_.device(id);
    if (device.realDevice == kNoDevice && !device.isBridge && id != plan_.ponDevice() && !device.noExit.empty())
        return drop(copy, FrameFate::LinkDown, device.name, device.noExit);
    count(id, Direction::Sent, copy.packet);
    if (device.isBridge) return bridge(id, kNoDevice, copy, false);
    if (device.realDevice == kNoDevice) return leave(id, copy);
    DeviceId next = kNoDevice;
    if (lookUp(device.realDevice, kTransmit, id, copy, next) == Outcome::Ended) return;
    transmit(device.realDevice, copy);
}

void Walker::leave(DeviceId id, const Copy& copy) {
    if (id == plan_.ponDevice()) return leaveAtPon(copy);
    Traversal::Exit exit;
    exit.device = id;
    leaveAs(exit, copy);
}

void Walker::leaveAs(Traversal::Exit exit, const Copy& copy) {
    exit.hop = copy.hop;
    exit.tags = copy.packet.tags;
    traversal_.exits.push_back(exit);
}

void Walker::leaveAtPon(const Copy& copy) {
    const auto refuse = [&](FrameFate fate, std::string reason) {
        drop(copy, fate, plan_.ponDevice(), std::move(reason), Direction::Sent);
    };
    if (!copy.marks.gemIndex) return refuse(FrameFate::NoRule, "no rule marked the frame with a GEM port");
    const PlanGemPort* port = plan_.gemPortOfIndex(*copy.marks.gemIndex);
    if (port == nullptr)
        return refuse(FrameFate::NoGemPort, "there is no GEM port with index " + std::to_string(*copy.marks.gemIndex));
    const auto name = [&] { return "GEM port " + std::to_string(port->portId); };
    const auto discard = [&](FrameFate fate, std::string reason) {
        if (counts_ && port->live != nullptr) {
            port->live->counters[pon::kFramesDiscarded] += copy.packet.frames;
            persistence::changed(persistence::kGemPorts, port->portId);
        }
        refuse(fate, std::move(reason));
    };
    if (!port->enabled) return discard(FrameFate::NoGemPort, name() + " is set down");
    if (port->downstreamOnly) return discard(FrameFate::NoGemPort, name() + " is for downstream only");
    if (!port->tcont)
        return discard(FrameFate::NoQueue,
                       "alloc-id " + std::to_string(port->allocId) + " of " + name() + " is bound to no T-CONT");
    const unsigned wanted = copy.marks.queue.value_or(0);
    const auto queue =
        std::find_if(port->queues.begin(), port->queues.end(), [&](const PlanQueue& one) { return one.id == wanted; });
    if (queue == port->queues.end())
        return discard(FrameFate::NoQueue, "T-CONT " + std::to_string(*port->tcont) + " of " + name() +
                                               " has no queue " + std::to_string(wanted));
    const PlanDevice& pon = plan_.device(plan_.ponDevice());
    if (!pon.noExit.empty()) return discard(FrameFate::LinkDown, pon.noExit);
    if (counts_ && port->live != nullptr) {
        const std::uint32_t frames = copy.packet.frames;
        const std::uint64_t octets = std::uint64_t{frames} * copy.packet.octets();
        port->live->counters[pon::kFramesSent] += frames;
        port->live->counters[pon::kOctetsSent] += static_cast<std::uint32_t>(octets);
        queue->live->frames += frames;
        queue->live->octets += octets;
        persistence::changed(persistence::kGemPorts, port->portId);
        persistence::changed(persistence::kTconts, *port->tcont);
    }
    Traversal::Exit exit;
    exit.device = plan_.ponDevice();
    exit.gemPort = port;
    exit.queue = wanted;
    leaveAs(exit, copy);
}

Walker::Outcome Walker::lookUp(DeviceId device, unsigned direction, DeviceId txDevice, Copy& copy, DeviceId& next) {
    const CompiledTable* table = plan_.device(device).tables[direction][copy.packet.tags.count];
    if (table == nullptr) return Outcome::GoesOn;
    Step step;
    step.from = copy.hop;
    step.device = device;
    step.direction = static_cast<std::uint8_t>(direction);
    step.txDevice = txDevice;
    step.gemIndex = copy.marks.gemIndex;
    step.table = table;
    step.rule = table->find(Key(copy.packet, copy.marks, txDevice));
    const char* refused = nullptr;
    if (step.rule != nullptr) {
        refused = apply(*step.rule, copy.packet, copy.marks);
        next = step.rule->receiver;
    } else if (const auto& defaultAction = table->defaultAction(); defaultAction && defaultAction->drops) {
        step.cause = StepCause::DefaultDrops;
        refused = "no rule matches, the default drops";
    } else {
        step.cause = defaultAction ? StepCause::DefaultPasses : StepCause::NothingThere;
        if (defaultAction) next = defaultAction->device;
    }
    if (refused == nullptr) step.to = direction == kTransmit || next == kNoDevice ? device : next;
    step.tags = copy.packet.tags;
    copy.hop = add(step);
    if (refused == nullptr) return Outcome::GoesOn;
    drop(copy, step.rule != nullptr ? FrameFate::Rule : FrameFate::NoRule, device, refused,
         direction == kReceive ? Direction::Received : Direction::Sent);
    return Outcome::Ended;
}

void Walker::count(DeviceId id, Direction direction, const Packet& packet) {
    if (!counts_) return;
    if (network::DeviceCounters* counters = plan_.device(id).counters)
        counters->count(direction, destination_, packet.frames, packet.octets());
}

int Walker::add(Step step) {
    traversal_.steps.push_back(step);
    return static_cast<int>(traversal_.steps.size()) - 1;
}

void Walker::drop(const Copy& copy, FrameFate fate, DeviceId device, std::string reason, Direction direction) {
    if (network::DeviceCounters* counters = plan_.device(device).counters; counts_ && counters != nullptr)
        counters->countDrop(direction, copy.packet.frames);
    drop(copy, fate, plan_.device(device).name, std::move(reason));
}

void Walker::drop(const Copy& copy, FrameFate fate, const std::string& device, std::string reason) {
    fate_ = fate;
    traversal_.drops.push_back({copy.hop, device, std::move(reason)});
}

}  // namespace virtual_onu::datapath
