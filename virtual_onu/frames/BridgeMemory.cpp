#include "frames/BridgeMemory.h"

#include <algorithm>
#include <string>
#include <tuple>

#include "Persistence.h"

namespace virtual_onu::datapath {

namespace {

bool isAged(const BridgeMemory::Learned& learned, std::uint64_t nowMs, std::uint64_t ageingMs) {
    return nowMs - learned.seenMs >= ageingMs;
}

}  // namespace

void BridgeMemory::learn(int bridge, Mac mac, int port, std::uint64_t nowMs, std::uint64_t ageingMs) {
    auto& addresses = bridges_[bridge].addresses;
    const auto known = addresses.find(mac);
    if (known == addresses.end() && addresses.size() >= kMaxAddresses) {
        if (noting_ || sweptMs_ == nowMs) return;
        sweptMs_ = nowMs;
        for (auto one = addresses.begin(); one != addresses.end();) {
            if (isAged(one->second, nowMs, ageingMs)) {
                changedAddress(bridge, one->first);
                one = addresses.erase(one);
            } else {
                ++one;
            }
        }
        if (addresses.size() >= kMaxAddresses) return;
    }
    if (noting_) {
        const bool isKnown = known != addresses.end();
        notes_.push_back({bridge, mac, isKnown ? std::optional<Learned>(known->second) : std::nullopt, std::nullopt});
    }
    changedAddress(bridge, mac);
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
    if (isKept()) persistence::changed(persistence::kSnooping, bridge);
    return snooping;
}

void BridgeMemory::seeStream(int bridge, Mac group, std::uint64_t nowMs) {
    const auto state = bridges_.find(bridge);
    if (!noting_ && state != bridges_.end()) state->second.snooping.seeStream(group, nowMs);
}

void BridgeMemory::changedAddress(int bridge, Mac mac) const {
    if (isKept() && persistence::isOpen())
        persistence::changed(persistence::kLearned, std::to_string(bridge) + " " + textOf(mac));
}

void BridgeMemory::changedBridge(int bridge, const BridgeState& state) const {
    if (!persistence::isOpen()) return;
    for (const auto& address : state.addresses) changedAddress(bridge, address.first);
    if (isKept()) persistence::changed(persistence::kSnooping, bridge);
}

void BridgeMemory::remove(int bridge, Mac mac) {
    const auto state = bridges_.find(bridge);
    if (state != bridges_.end()) state->second.addresses.erase(mac);
}

std::optional<BridgeMemory::Learned> BridgeMemory::find(int bridge, Mac mac) const {
    const auto state = bridges_.find(bridge);
    if (state == bridges_.end()) return std::nullopt;
    const auto known = state->second.addresses.find(mac);
    return known == state->second.addresses.end() ? std::nullopt : std::optional<Learned>(known->second);
}

std::vector<int> BridgeMemory::bridges() const {
    std::vector<int> all;
    for (const auto& entry : bridges_) all.push_back(entry.first);
    return all;
}

void BridgeMemory::forget() {
    for (const auto& [bridge, state] : bridges_) changedBridge(bridge, state);
    bridges_.clear();
}

void BridgeMemory::forgetPort(int port) {
    for (auto& [bridge, state] : bridges_) {
        for (auto one = state.addresses.begin(); one != state.addresses.end();) {
            if (one->second.port != port) {
                ++one;
                continue;
            }
            changedAddress(bridge, one->first);
            one = state.addresses.erase(one);
        }
        state.snooping.forgetPort(port);
        if (isKept()) persistence::changed(persistence::kSnooping, bridge);
    }
}

void BridgeMemory::forgetBridge(int bridge) {
    const auto state = bridges_.find(bridge);
    if (state == bridges_.end()) return;
    changedBridge(bridge, state->second);
    bridges_.erase(state);
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
