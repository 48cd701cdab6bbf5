#include "taps/Pump.h"

#include <algorithm>
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

namespace virtual_onu::taps {

namespace {

// Frames that are taken in at a time: the device is theirs for as long as it takes to look them up.
constexpr std::size_t kBatch = 32;
constexpr std::size_t kMaxFrame = 65600;
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
      memory_(kBatch * (datapath::kHeadroom + kMaxFrame)),
      slots_(kBatch),
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
    return memory_.data() + slot * (datapath::kHeadroom + kMaxFrame) + datapath::kHeadroom;
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

bool Pump::take(std::size_t place) {
    std::size_t frames = 0;
    bool there = true;
    TapEntry& entry = (*open_.page)[place];
    while (frames < kBatch) {
        const ssize_t got = own::read(open_.taps[place], room(frames), kMaxFrame);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            there = errno == EAGAIN;
            break;
        }
        entry.framesIn.add(1);
        entry.octetsIn.add(static_cast<std::uint64_t>(got));
        slots_[frames].frame = room(frames);
        slots_[frames++].size = std::min(static_cast<std::size_t>(got), kMaxFrame);
    }
    if (frames > 0) carry(place, frames);
    if (!there) {
        open_.lookAt(place, true);
        setLink(place, false);
    }
    return there;
}

void Pump::carry(std::size_t place, std::size_t frames) {
    copies_.clear();
    {
        const DeviceAccess lock(deviceMutex());
        for (std::size_t i = 0; i < frames; ++i) carryOne(place, i);
        network::framesCounted();
        persistence::changed(persistence::kClock);  // addresses that bridges have learned have its time
    }
    for (const Copy& copy : copies_) deliver(copy);
    passed_ += frames;
}

void Pump::carryOne(std::size_t place, std::size_t number) {
    datapath::WireSlot& slot = slots_[number];
    TapEntry& entry = (*open_.page)[place];
    if (!datapath::readHeader(slot.frame, slot.size, slot.size, header_)) return entry.dropped.add(1);
    slot.payload = slot.frame + header_.payloadAt;
    slot.payloadSize = slot.size - header_.payloadAt;
    const datapath::Plan& plan = datapath::carry(entrances_[place], packetOf(header_), traversal_);
    for (const auto& exit : traversal_.exits) {
        const int tap = tapOf(plan, exit);
        if (tap >= 0) {
            copies_.push_back({number, static_cast<std::size_t>(tap), exit.tags});
            continue;
        }
        entry.elsewhere.add(1);
        entry.lastElsewhere.set(exit.gemPort != nullptr  ? "gem " + std::to_string(exit.gemPort->portId)
                                : exit.runner != nullptr ? exit.runner->egress
                                                         : plan.device(exit.device).name);
    }
    if (!traversal_.exits.empty()) return;
    entry.dropped.add(1);
    if (!traversal_.drops.empty()) entry.lastDrop.set(traversal_.drops.back().reason);
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
    datapath::WireSlot& slot = slots_[copy.slot];
    const std::size_t size = datapath::writeCopy(slot, copy.tags);
    TapEntry& entry = (*open_.page)[copy.tap];
    if (own::write(open_.taps[copy.tap], slot.frame, size) != static_cast<ssize_t>(size)) return entry.lostOut.add(1);
    entry.framesOut.add(1);
    entry.octetsOut.add(size);
}

}  // namespace virtual_onu::taps
