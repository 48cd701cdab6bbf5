#include "taps/Pump.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "VirtualOnu.h"
#include "frames/Links.h"
#include "kernel/Network.h"
#include "taps/OwnDescriptors.h"
#include "taps/VnetHeader.h"

namespace virtual_onu::taps {

namespace {

// Frames that are taken in at a time: the device is theirs for as long as it takes to look them up.
constexpr std::size_t kBatch = FrameCalls::kMaxCalls, kMinBatch = 2;
constexpr std::size_t kManyOctets = std::size_t{64} * 1024;
constexpr std::size_t kMaxFrame = 65600;
// In front of a frame: room for more tags, and for the record.
constexpr std::size_t kRoomBefore = datapath::kHeadroom + kVnetHeader;
constexpr int kTickMs = 1000;

const TapPage* shown = nullptr;  // of the pump that runs, with the device lock
std::atomic<std::uint64_t> resets{0};

}  // namespace

void reset() {
    ++resets;
}

nlohmann::json toJson() {
    const DeviceAccess lock(deviceMutex());
    return shown != nullptr ? shown->toJson() : nlohmann::json::array();
}

Pump::Pump(const OpenTaps& open, std::function<void(bool)> eachSecond)
    : open_(open),
      eachSecond_(std::move(eachSecond)),
      memory_(kBatch * (kRoomBefore + kMaxFrame)),
      slots_(kBatch),
      pieces_(FrameCalls::kMaxCalls),
      next_(open.page->size(), kMinBatch),
      linkShown_(open.page->size(), true),
      resets_(resets) {
    waits_.push_back({-1, POLLIN, 0});
    for (std::size_t i = 0; i < open.page->size(); ++i) {
        const TapEntry& entry = (*open.page)[i];
        entrances_.push_back({entry.device.get(), static_cast<unsigned>(entry.gemPort.get())});
        waits_.push_back({open.taps[i], POLLIN, 0});
    }
    for (const int watch : open.watches) waits_.push_back({watch, POLLIN, 0});
    const DeviceAccess lock(deviceMutex());
    shown = open.page.get();
}

Pump::~Pump() {
    const DeviceAccess lock(deviceMutex());
    if (shown == open_.page.get()) shown = nullptr;
}

std::uint8_t* Pump::room(std::size_t slot) {
    return memory_.data() + slot * (kRoomBefore + kMaxFrame) + kRoomBefore;
}

std::size_t Pump::recordSize(std::size_t place) const {
    return (*open_.page)[place].offload.get() == kNoOffload ? 0 : kVnetHeader;
}

void Pump::run(int until) {
    waits_.front().fd = until;
    open_.askForLinks();
    clock_ = second_ = Clock::now();
    const std::size_t taps = entrances_.size();
    while (true) {
        poll(waits_.data(), static_cast<nfds_t>(waits_.size()), kTickMs);
        if (waits_.front().revents != 0) return;
        clockRuns();
        for (std::size_t i = taps + 1; i < waits_.size(); ++i)
            if (waits_[i].revents != 0) hear();
        for (std::size_t i = 0; i < taps; ++i)
            if (waits_[i + 1].revents != 0 && !take(i)) waits_[i + 1].fd = -1;
        eachSecond();
    }
}

void Pump::hear() {
    open_.hear([this](std::size_t place, bool up) { setLink(place, up); });
}

void Pump::setLink(std::size_t place, bool up) {
    (*open_.page)[place].linkUp.set(up ? 1 : 0);
    applyLink(place);
}

// The link of a GEM port is the PON's, which no single TAP stands for.
void Pump::applyLink(std::size_t place) {
    const std::string& device = entrances_[place].device;
    const bool up = (*open_.page)[place].linkUp.get() != 0;
    if (device.empty() || linkShown_[place] == up) return;
    linkShown_[place] = up;
    auto& onu = VirtualOnu::instance();
    const datapath::EthernetPort* port = datapath::ethernetPort(device);
    if (port != nullptr) {
        const auto [speed, duplex] = onu.phyMode(port->phy);
        onu.setPhy(port->phy, up, speed, duplex);
    }
    onu.setOperState(port != nullptr ? port->administered : device, up ? "" : "down");
}

void Pump::clockRuns() {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - clock_);
    if (ms.count() <= 0) return;
    clock_ += ms;
    realTimePasses(static_cast<std::uint64_t>(ms.count()));
}

void Pump::eachSecond() {
    if (clock_ - second_ < std::chrono::milliseconds(kTickMs)) return;
    second_ = clock_;
    open_.askForLinks();  // for what was lost, and for a change that was missed
    if (resets_ != resets) {
        resets_ = resets;
        linkShown_.assign(linkShown_.size(), true);
        for (std::size_t i = 0; i < linkShown_.size(); ++i) applyLink(i);
    }
    eachSecond_(std::exchange(passedBefore_, passed_) != passed_);
}

// Asks for twice as many frames as there were the last time. Of segments few: the processor has them near until they
// are handed on.
bool Pump::take(std::size_t place) {
    bool there = true;
    std::size_t& next = next_[place];
    const std::size_t before = recordSize(place), asked = next;
    for (std::size_t i = 0; i < asked; ++i)
        calls_.add(open_.taps[place], false).parts[0] = {room(i) - before, kMaxFrame + before};
    std::size_t number = 0, got = 0, octets = 0;
    calls_.run([&](const FrameCalls::Call& call) {
        Slot& slot = slots_[number];
        slot.taken = call.result >= 0 && takeIn(place, number, static_cast<std::size_t>(call.result));
        ++number;
        if (call.result < 0) {
            there = there && (call.result == -EAGAIN || call.result == -EINTR);
            return;
        }
        ++got;
        octets += static_cast<std::size_t>(call.result);
    });
    next = octets > kManyOctets ? kMinBatch : std::clamp(2 * got, kMinBatch, kBatch);
    if (got > 0) carry(place, asked);
    if (!there) {
        open_.lookAt(place, true);
        setLink(place, false);
    }
    return there;
}

// Looks into what has been read. False where it is nothing that could be carried on.
bool Pump::takeIn(std::size_t place, std::size_t number, std::size_t octets) {
    TapEntry& entry = (*open_.page)[place];
    Slot& slot = slots_[number];
    const std::size_t before = recordSize(place);
    Offload offload;
    slot.wire.frame = room(number);
    slot.wire.size = octets < before ? 0 : std::min(octets - before, kMaxFrame);
    const bool known = before == 0 || (octets >= before && readVnetHeader(room(number) - before, offload));
    const bool isFrame = known && datapath::readHeader(slot.wire.frame, slot.wire.size, slot.wire.size, slot.header);
    if (isFrame) {
        slot.wire.payload = slot.wire.frame + slot.header.payloadAt;
        slot.wire.payloadSize = slot.wire.size - slot.header.payloadAt;
    }
    passed_ += 1;
    if (!isFrame || !slot.segment.read(offload, slot.header, slot.wire)) {
        entry.framesIn.add(1);
        entry.octetsIn.add(slot.wire.size);
        entry.dropped.add(1);
        entry.lastDrop.set("it is no frame");
        return false;
    }
    const std::uint32_t frames = slot.segment.frames();
    entry.framesIn.add(frames);
    entry.octetsIn.add(frames * slot.header.payloadAt + slot.segment.payloadOf(0, frames));
    if (frames > 1) entry.segmentsIn.add(1);
    if (frames > 1) entry.segmentFramesIn.add(frames);
    return true;
}

void Pump::carry(std::size_t place, std::size_t slots) {
    copies_.clear();
    {
        const DeviceAccess lock(deviceMutex());
        for (std::size_t i = 0; i < slots; ++i)
            if (slots_[i].taken) carryOne(place, i);
        network::framesCounted();
        persistence::changed(persistence::kClock);  // addresses that bridges have learned have its time
    }
    for (const Copy& copy : copies_) deliver(copy);
    handOver();
}

void Pump::carryOne(std::size_t place, std::size_t number) {
    Slot& slot = slots_[number];
    TapEntry& entry = (*open_.page)[place];
    const datapath::Plan& plan = datapath::carry(entrances_[place], slot.header, slot.segment, passage_);
    for (const auto& exit : passage_.exits) {
        const int tap = tapOf(plan, exit.at);
        if (tap >= 0) {
            copies_.push_back({number, static_cast<std::size_t>(tap), exit.at.tags, exit.first, exit.frames});
            continue;
        }
        entry.elsewhere.add(exit.frames);
        entry.lastElsewhere.set(exit.at.gemPort != nullptr  ? "gem " + std::to_string(exit.at.gemPort->portId)
                                : exit.at.runner != nullptr ? exit.at.runner->egress
                                                            : plan.device(exit.at.device).name);
    }
    if (passage_.dropped == 0) return;
    entry.dropped.add(passage_.dropped);
    if (!passage_.lastDrop.empty()) entry.lastDrop.set(passage_.lastDrop);
}

// The place of the TAP that is where the frame leaves, -1 for none.
int Pump::tapOf(const datapath::Plan& plan, const datapath::Traversal::Exit& exit) const {
    if (exit.runner != nullptr) return -1;
    const auto found = std::find_if(entrances_.begin(), entrances_.end(), [&](const datapath::Entrance& one) {
        if (exit.gemPort != nullptr) return one.device.empty() && one.gemPortId == exit.gemPort->portId;
        return !one.device.empty() && one.device == plan.device(exit.device).name;
    });
    return found == entrances_.end() ? -1 : static_cast<int>(found - entrances_.begin());
}

void Pump::deliver(const Copy& copy) {
    Slot& slot = slots_[copy.slot];
    const bool whole = takesWhole(copy);
    if (!whole && slot.segment.frames() > 1) {
        for (std::uint32_t i = 0; i < copy.frames; ++i) deliverPiece(copy, copy.first + i);
        return;
    }
    if (lastWhole_ == copy.slot) handOver();  // its bytes are about to change
    if (!whole) slot.segment.finish(slot.wire);
    deliverWhole(copy);
}

// Whether the other end does what is left to be done.
bool Pump::takesWhole(const Copy& copy) const {
    const Slot& slot = slots_[copy.slot];
    if (!slot.segment.lacksChecksum()) return true;
    const std::uint64_t kinds = (*open_.page)[copy.tap].offload.get();
    const bool udp = slot.segment.behind(0).cut == Offload::Cut::Udp;
    return kinds != kNoOffload && (!udp || kinds == kUdpSegmentsToo) && copy.frames == slot.segment.frames() &&
           slot.segment.canStayWhole(copy.tags, slot.wire);
}

void Pump::deliverWhole(const Copy& copy) {
    Slot& slot = slots_[copy.slot];
    const std::size_t size = datapath::writeCopy(slot.wire, copy.tags), before = recordSize(copy.tap);
    const auto header = static_cast<std::size_t>(slot.wire.payload - slot.wire.frame);
    if (before != 0) writeVnetHeader(slot.segment.behind(header), slot.wire.frame - before);
    FrameCalls::Call& call = toWrite(copy, copy.frames);
    call.parts[0] = {slot.wire.frame - before, size + before};
    call.octets = copy.frames == 1 ? size : copy.frames * header + slot.segment.payloadOf(0, copy.frames);
    lastWhole_ = copy.slot;
}

void Pump::deliverPiece(const Copy& copy, std::uint32_t number) {
    static constexpr std::array<std::uint8_t, kVnetHeader> kNothingLeft{};
    static constexpr std::array<std::uint8_t, datapath::kShortestFrame> kPadding{};
    const Slot& slot = slots_[copy.slot];
    FrameCalls::Call& call = toWrite(copy, 1);
    datapath::Segment::Piece& piece = pieces_[calls_.size() - 1];
    slot.segment.cut(slot.wire, copy.tags, number, piece);
    const auto part = [](const std::uint8_t* bytes, std::size_t size) {
        return iovec{const_cast<std::uint8_t*>(bytes), size};
    };
    call.parts = {part(kNothingLeft.data(), recordSize(copy.tap)), part(piece.headers, piece.headerSize),
                  part(piece.content, piece.contentSize), part(kPadding.data(), piece.padding)};
    call.count = 4;
    call.octets = piece.size();
}

FrameCalls::Call& Pump::toWrite(const Copy& copy, std::uint32_t frames) {
    if (calls_.full()) handOver();
    FrameCalls::Call& call = calls_.add(open_.taps[copy.tap], true);
    call.place = copy.tap;
    call.frames = frames;
    return call;
}

void Pump::handOver() {
    calls_.run([this](const FrameCalls::Call& call) {
        TapEntry& entry = (*open_.page)[call.place];
        if (call.result < 0) return entry.lostOut.add(call.frames);
        entry.framesOut.add(call.frames);
        entry.octetsOut.add(call.octets);
        if (call.frames > 1) entry.segmentsOut.add(1);
        if (call.frames > 1) entry.segmentFramesOut.add(call.frames);
    });
    lastWhole_ = kNoSlot;
}

}  // namespace virtual_onu::taps
