// Carries one frame and its copies through a plan.
#ifndef VIRTUAL_ONU_WALKER_H
#define VIRTUAL_ONU_WALKER_H

#include <memory>
#include <string>

#include "Counts.h"
#include "frames/BridgeMemory.h"
#include "frames/WalkRecord.h"

namespace virtual_onu::datapath {

// What a walk goes through, and whether devices count it.
struct WalkContext {
    const Plan& plan;
    BridgeMemory& memory;
    std::uint64_t nowMs = 0;
    bool counts = false;
};

class Walker {
public:
    // Where the frame goes is added to the traversal. frame: its fields where it has some, so that words say them as
    // they are; null otherwise.
    Walker(const WalkContext& context, const Packet& packet, const Frame* frame, Traversal& traversal);
    void enter(const std::string& device);  // from outside
    void enterFromPon(unsigned gemPortId);
    void finish();

private:
    using Direction = network::Direction;
    // One copy of the frame on its path through the device.
    struct Copy {
        Packet packet;
        Marks marks;
        int hop = -1;  // the last one
    };
    enum class Outcome { Ended, GoesOn };

    bool takeRunnerClass(DeviceId port, const Copy& copy);
    enum class Limit { Mtu, None };
    bool passes(DeviceId id, const Copy& copy, Direction direction, Limit limit = Limit::Mtu);
    void receive(DeviceId id, Copy copy);
    void deliver(DeviceId id, const Copy& copy);
    void flow(DeviceId target, Copy copy);
    void transmit(DeviceId id, Copy copy);
    void leave(DeviceId id, const Copy& copy);
    void leaveAtPon(const Copy& copy);
    void leaveAs(Traversal::Exit exit, const Copy& copy);
    // First match wins. next is the VLAN device that a receive table names.
    Outcome lookUp(DeviceId device, unsigned direction, DeviceId txDevice, Copy& copy, DeviceId& next);

    // A frame in a bridge: from one of its ports, or from the bridge's own devices (port kNoDevice). flowed: a copy
    // goes elsewhere already.
    void bridge(DeviceId id, DeviceId port, const Copy& copy, bool flowed);
    bool learnsAt(DeviceId id, const PlanBridge& bridge, DeviceId port, const Copy& copy);
    void toOwnDevices(DeviceId id, const Copy& copy);
    void forward(DeviceId id, DeviceId port, const Copy& copy, bool sentElsewhere);
    void toPort(DeviceId bridge, DeviceId port, StepCause cause, const Copy& copy);

    void count(DeviceId id, Direction direction, const Packet& packet);
    int add(Step step);
    void drop(const Copy& copy, FrameFate fate, DeviceId device, std::string reason, Direction direction);
    void drop(const Copy& copy, FrameFate fate, const std::string& device, std::string reason);
    std::string sourceText() const { return frame_ != nullptr ? frame_->source : textOf(sent_.source); }
    std::string destinationText() const { return frame_ != nullptr ? frame_->destination : textOf(sent_.destination); }

    const Plan& plan_;
    BridgeMemory& memory_;
    const std::uint64_t nowMs_;
    const bool counts_;
    const Packet& sent_;
    const Frame* frame_;
    network::Destination destination_;
    Traversal& traversal_;
    GemPort* fromGemPort_ = nullptr;
    bool fromPon_ = false;
    FrameFate fate_ = FrameFate::Bridge;  // of the last copy that was dropped
};

}  // namespace virtual_onu::datapath

#endif
