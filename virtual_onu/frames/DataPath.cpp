#include "frames/DataPath.h"

#include <algorithm>
#include <mutex>

#include "Core.h"
#include "Facilities.h"
#include "frames/Links.h"
#include "frames/Walker.h"
#include "kernel/Network.h"

namespace virtual_onu {

namespace datapath {

namespace {

BridgeMemory& memory() {
    return deviceMemory();
}

// The plan of the device as it is, recreated when something has changed. What the host's kernel does to devices is
// not seen, so that there it is made for every frame.
const std::shared_ptr<const Plan>& currentPlan() {
    static auto& plan = *new std::shared_ptr<const Plan>;
    static std::uint64_t generation = 0;
    if (plan == nullptr || generation != deviceGeneration() || network::hostKernel()) {
        plan = std::make_shared<const Plan>(Plan::Counting::On);
        generation = deviceGeneration();
    }
    return plan;
}

bool hasTooManyTags(const Frame& frame) {
    return frame.tags.size() > kMaxTags;
}

Walk refusal(const std::string& device, const Frame& frame) {
    Walk walk;
    walk.sent = frame;
    walk.drops.push_back({-1, device, "a frame has at most " + std::to_string(kMaxTags) + " tags"});
    return walk;
}

// A walk through the plan, as a frame's fields.
template <typename Enter>
Walk walkThrough(const std::shared_ptr<const Plan>& plan, const WalkContext& context, const Frame& frame, Enter enter) {
    const Packet packet = packetOf(frame);
    Traversal traversal;
    Walker walker(context, packet, &frame, traversal);
    enter(walker);
    walker.finish();
    return walkOf(plan, frame, std::move(traversal));
}

template <typename Enter>
Walk walkNow(const Frame& frame, Learning learning, Enter enter) {
    const bool leavesTrace = learning == Learning::On;
    if (!leavesTrace) memory().begin();
    const auto& plan = currentPlan();
    Walk walk = walkThrough(plan, {*plan, memory(), virtualNowMs(), leavesTrace}, frame, enter);
    if (!leavesTrace) memory().rollBack();
    if (leavesTrace) network::framesCounted();
    return walk;
}

}  // namespace

BridgeMemory& deviceMemory() {
    static auto& theMemory = *new BridgeMemory(BridgeMemory::Of::Device);
    return theMemory;
}

// A plan that nothing changes, with a memory and a clock of its own.
class Frozen {
public:
    Frozen() : plan_(std::make_shared<const Plan>(Plan::Counting::Off)), memory_(memory()), nowMs_(virtualNowMs()) {}

    template <typename Enter>
    Walk walk(const Frame& frame, Enter enter) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return walkThrough(plan_, {*plan_, memory_, nowMs_, false}, frame, enter);
    }
    void pass(std::uint64_t milliseconds) {
        const std::lock_guard<std::mutex> lock(mutex_);
        nowMs_ += milliseconds;
    }

private:
    std::mutex mutex_;
    std::shared_ptr<const Plan> plan_;
    BridgeMemory memory_;
    std::uint64_t nowMs_;
};

void reset() {
    const DeviceAccess lock(deviceMutex());
    memory().forget();
}

void portStopped(int deviceIndex) {
    memory().forgetPort(deviceIndex);
}

void bridgeRemoved(int deviceIndex) {
    memory().forgetBridge(deviceIndex);
}

Walk fromPort(const std::string& device, const Frame& frame, Learning learning) {
    if (hasTooManyTags(frame)) return refusal(device, frame);
    const DeviceAccess lock(deviceMutex());
    return walkNow(frame, learning, [&](Walker& walker) { walker.enter(device); });
}

Walk fromPon(unsigned gemPortId, const Frame& frame, Learning learning) {
    if (hasTooManyTags(frame)) return refusal(kPonDevice, frame);
    const DeviceAccess lock(deviceMutex());
    return walkNow(frame, learning, [&](Walker& walker) { walker.enterFromPon(gemPortId); });
}

const Plan& carry(const Entrance& entrance, const Packet& packet, Traversal& traversal) {
    const Plan& plan = *currentPlan();
    traversal.clear();
    Walker walker({plan, memory(), virtualNowMs(), true}, packet, nullptr, traversal);
    if (entrance.device.empty())
        walker.enterFromPon(entrance.gemPortId);
    else
        walker.enter(entrance.device);
    walker.finish();
    return plan;
}

namespace {

bool isSame(const Passage::Exit& a, const Passage::Exit& b) {
    return a.at.device == b.at.device && a.at.runner == b.at.runner && a.at.gemPort == b.at.gemPort &&
           a.at.queue == b.at.queue && a.at.tags == b.at.tags;
}

}  // namespace

// Frames of one length are alike to the device: they walk as one, and the last one, when it is shorter, by itself. What
// a bridge learns from the first of them, the others would teach it again.
const Plan& carry(const Entrance& entrance, const WireHeader& header, const Segment& segment, Passage& passage) {
    passage.exits.clear();
    passage.dropped = 0;
    Packet packet = packetOf(header);
    const Plan* plan = nullptr;
    std::size_t ofFirst = 0;
    for (std::uint32_t at = 0; at < segment.frames(); at += packet.frames) {
        packet.frames = segment.alikeFrom(at);
        packet.payloadSize = segment.payloadOf(at);
        plan = &carry(entrance, packet, passage.traversal);
        if (at == 0) ofFirst = passage.traversal.exits.size();
        for (const auto& exit : passage.traversal.exits) passage.exits.push_back({exit, at, packet.frames});
        if (!passage.traversal.exits.empty()) continue;
        passage.dropped += packet.frames;
        passage.lastDrop = passage.traversal.drops.empty() ? "" : passage.traversal.drops.back().reason;
    }
    const auto middle = passage.exits.begin() + static_cast<std::ptrdiff_t>(ofFirst);
    if (packet.frames == segment.frames() ||
        !std::equal(passage.exits.begin(), middle, middle, passage.exits.end(), isSame))
        return *plan;
    passage.exits.erase(middle, passage.exits.end());
    for (Passage::Exit& exit : passage.exits) exit.frames = segment.frames();
    return *plan;
}

std::vector<LearnedAddress> learnedNow() {
    const std::uint64_t nowMs = virtualNowMs();
    std::vector<LearnedAddress> result;
    for (const BridgeMemory::Address& one : memory().addresses()) {
        const auto device = network::deviceOfIndex(one.bridge), port = network::deviceOfIndex(one.learned.port);
        const auto bridge = device ? network::bridge(device->name) : std::nullopt;
        if (!bridge || !port) continue;
        const std::uint64_t ageMs = nowMs - one.learned.seenMs;
        if (ageMs >= static_cast<std::uint64_t>(bridge->ageingTime) * 10) continue;
        result.push_back({bridge->name, textOf(one.mac), port->name, ageMs});
    }
    return result;
}

}  // namespace datapath

std::vector<JoinedGroup> VirtualOnu::joinedGroups() const {
    const DeviceAccess lock(deviceMutex());
    const std::uint64_t nowMs = virtualNowMs();
    std::vector<JoinedGroup> result;
    for (const int index : datapath::memory().bridges()) {
        const auto bridge = network::deviceOfIndex(index);
        const datapath::Snooping* snooping = datapath::memory().snooping(index);
        if (!bridge || snooping == nullptr) continue;
        for (const auto& one : snooping->joined(nowMs)) {
            const auto port = network::deviceOfIndex(one.port);
            if (!port) continue;
            result.push_back({bridge->name, port->name, one.ipv6, one.ipGroup, nowMs - one.joinedMs,
                              nowMs - std::min(nowMs, one.silentFromMs)});
        }
    }
    return result;
}

std::uint32_t VirtualOnu::joinMessages(const std::string& port) const {
    const DeviceAccess lock(deviceMutex());
    const auto device = network::device(port), bridge = network::device(device ? device->master : "");
    const datapath::Snooping* snooping = bridge ? datapath::memory().snooping(bridge->index) : nullptr;
    return snooping == nullptr ? 0 : snooping->joins(device->index);
}

Walk VirtualOnu::sendFromPort(const std::string& device, const Frame& frame, Learning learning) {
    return datapath::fromPort(device, frame, learning);
}

Walk VirtualOnu::sendFromPon(unsigned gemPortId, const Frame& frame, Learning learning) {
    return datapath::fromPon(gemPortId, frame, learning);
}

void VirtualOnu::forgetLearned() {
    datapath::reset();
}

std::vector<LearnedAddress> VirtualOnu::learnedAddresses() const {
    const DeviceAccess lock(deviceMutex());
    return datapath::learnedNow();
}

FrozenDataPath VirtualOnu::freezeDataPath() const {
    const DeviceAccess lock(deviceMutex());
    return FrozenDataPath(std::make_shared<datapath::Frozen>());
}

Walk FrozenDataPath::sendFromPort(const std::string& device, const Frame& frame) const {
    if (datapath::hasTooManyTags(frame)) return datapath::refusal(device, frame);
    return frozen_->walk(frame, [&](datapath::Walker& walker) { walker.enter(device); });
}

Walk FrozenDataPath::sendFromPon(unsigned gemPortId, const Frame& frame) const {
    if (datapath::hasTooManyTags(frame)) return datapath::refusal(datapath::kPonDevice, frame);
    return frozen_->walk(frame, [&](datapath::Walker& walker) { walker.enterFromPon(gemPortId); });
}

void FrozenDataPath::pass(std::uint64_t milliseconds) const {
    frozen_->pass(milliseconds);
}

}  // namespace virtual_onu
