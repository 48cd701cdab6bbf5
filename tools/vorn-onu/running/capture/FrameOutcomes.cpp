#include "running/capture/FrameOutcomes.h"

#include <algorithm>
#include <tuple>

#include "running/state/WalkWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::Exit;
using virtual_onu::Walk;

// Distinguishes fates without making words of them.
void appendKey(const Exit& exit, std::string& key) {
    key += exit.device;
    for (const auto& number : {exit.gemPort, exit.tcont, exit.queue}) {
        key += ' ';
        if (number) key += std::to_string(*number);
    }
    key += ';';
}

std::string placeWords(const Exit& exit) {
    if (!exit.gemPort) return exit.device;
    return "GEM port " + std::to_string(*exit.gemPort) + ", T-CONT " + std::to_string(exit.tcont.value_or(0)) +
           ", queue " + std::to_string(exit.queue.value_or(0));
}

std::string wordsOf(const Walk& walk) {
    if (walk.exits.empty()) return walk.drops.empty() ? "vanishes" : dropWords(walk.drops.front());
    std::string words;
    for (const Exit& exit : walk.exits) words += (words.empty() ? "left at " : " and ") + placeWords(exit);
    return words;
}

std::string exampleOf(const Walk& walk) {
    std::string words = walk.sent.text();
    if (!walk.exits.empty()) return words + " → " + walk.exits.front().frame.text();
    const auto& drops = walk.drops;
    if (drops.empty() || drops.front().hop < 0) return words;
    const auto& hop = walk.hops.at(static_cast<std::size_t>(drops.front().hop));
    return hop.nearest ? words + "; " + hop.nearest->words() : words;
}

}  // namespace

FrameOutcome& FrameOutcomes::of(const std::string& key, bool left) {
    const auto known = outcomes_.find(key);
    if (known != outcomes_.end()) return known->second;
    if (outcomes_.size() < kMaxCount) return outcomes_[key];
    FrameOutcome& others = outcomes_[left ? "+" : "-"];
    others.words = left ? "leaves elsewhere" : "dropped elsewhere";
    return others;
}

void FrameOutcomes::add(const Walk& walk, std::uint64_t number, std::size_t octets) {
    const bool left = !walk.exits.empty();
    key_.clear();
    for (const Exit& exit : walk.exits) appendKey(exit, key_);
    if (!left && !walk.drops.empty()) key_ = walk.drops.front().device + '!' + walk.drops.front().reason;
    FrameOutcome& fate = of(key_, left);
    ++frames_;
    left_ += left ? 1 : 0;
    fate.octets += octets;
    if (++fate.frames > 1) return;
    fate.left = left;
    fate.first = number;
    fate.example = exampleOf(walk);
    if (fate.words.empty()) fate.words = wordsOf(walk);
}

void FrameOutcomes::addUnreadable(std::uint64_t number, std::size_t octets) {
    FrameOutcome& fate = of("?", false);
    ++frames_;
    fate.octets += octets;
    if (++fate.frames > 1) return;
    fate.first = number;
    fate.words = "unreadable: no whole Ethernet header";
}

std::vector<FrameOutcome> FrameOutcomes::byFrequency() const {
    std::vector<FrameOutcome> all;
    for (const auto& entry : outcomes_) all.push_back(entry.second);
    std::sort(all.begin(), all.end(), [](const FrameOutcome& a, const FrameOutcome& b) {
        return std::tie(b.left, b.frames, a.first) < std::tie(a.left, a.frames, b.first);
    });
    return all;
}

}  // namespace vorn_onu
