#include "frames/BridgeMemory.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace virtual_onu::datapath {

namespace {

bool isAged(const BridgeMemory::Learned& learned, std::uint64_t nowMs, std::uint64_t ageingMs) {
    return nowMs - learned.seenMs >= ageingMs;
}

}  // namespace

void BridgeMemory::learn(int bridge, Mac mac, int port, std::uint64_t nowMs, std::uint64_t ageingMs) {
    auto& addresses = bridges_[bridge].addresses;
    const auto known = addresses.find(mac);
    if (known == addresses.end() && addresses.size() >= kMostAddresses) {
        if (noting_ || sweptMs_ == nowMs) return;
        sweptMs_ = nowMs;
        for (auto one = addresses.begin(); one != addresses.end();)
            one = isAged(one->second, nowMs, ageingMs) ? addresses.erase(one) : std::next(one);
        if (addresses.size() >= kMostAddresses) return;
    }
    if (noting_) {
        const bool isKnown = known != addresses.end();
        notes_.push_back({bridge, mac, isKnown ? std::optional<Learned>(known->second) : std::nullopt, std::nullopt});
    }
    const Learned now{port, nowMs};
    if (known != addresses.end())
        known->second = now;
    else
        addresses.emplace(mac, now);
}

std::optional<int> BridgeMemory::portOf(int bridge, Mac mac, std::uint64_t nowMs, std::uint64_t ageingMs) const {
    const auto state = bridges_.find(bridge);
    if (state == bridges_.end()) return std::nullopt;
    const auto known = state->second.addresses.find(mac);
    if (known == state->second.addresses.end() || isAged(known->second, nowMs, ageingMs)) return std::nullopt;
    return known->second.port;
}

std::vector<BridgeMemory::Address> BridgeMemory::addresses() const {
    std::vector<Address> all;
    for (const auto& [bridge, state] : bridges_)
        for (const auto& [mac, learned] : state.addresses) all.push_back({bridge, mac, learned});
    std::sort(all.begin(), all.end(),
              [](const Address& a, const Address& b) { return std::tie(a.bridge, a.mac) < std::tie(b.bridge, b.mac); });
    return all;
}

const Snooping* BridgeMemory::snooping(int bridge) const {
    const auto state = bridges_.find(bridge);
    return state == bridges_.end() ? nullptr : &state->second.snooping;
}

Snooping& BridgeMemory::changeSnooping(int bridge) {
    Snooping& snooping = bridges_[bridge].snooping;
    if (noting_) notes_.push_back({bridge, 0, std::nullopt, snooping});
    return snooping;
}

void BridgeMemory::forget() {
    bridges_.clear();
}

void BridgeMemory::forgetPort(int port) {
    for (auto& [bridge, state] : bridges_) {
        for (auto one = state.addresses.begin(); one != state.addresses.end();)
            one = one->second.port == port ? state.addresses.erase(one) : std::next(one);
        state.snooping.forgetPort(port);
    }
}

void BridgeMemory::forgetBridge(int bridge) {
    bridges_.erase(bridge);
}

void BridgeMemory::rollBack() {
    for (auto note = notes_.rbegin(); note != notes_.rend(); ++note) {
        BridgeState& state = bridges_[note->bridge];
        if (note->snooping)
            state.snooping = std::move(*note->snooping);
        else if (note->before)
            state.addresses[note->mac] = *note->before;
        else
            state.addresses.erase(note->mac);
    }
    notes_.clear();
    noting_ = false;
}

}  // namespace virtual_onu::datapath
