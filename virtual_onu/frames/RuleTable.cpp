#include "frames/RuleTable.h"

#include <algorithm>

namespace virtual_onu::datapath {

namespace {

constexpr std::size_t kReadThrough = 4;  // a table with no more rules than this needs no hash tables

std::uint64_t hashOf(const Key& key, const Key& mask) {
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i < key.word.size(); ++i) {
        hash = (hash ^ (key.word[i] & mask.word[i])) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
    }
    return hash;
}

}  // namespace

CompiledTable::CompiledTable(unsigned number, std::vector<CompiledRule> rules, std::optional<Default> defaultAction)
    : number_(number), rules_(std::move(rules)), defaultAction_(defaultAction) {
    if (rules_.size() <= kReadThrough) return;
    std::vector<std::vector<std::uint32_t>> places;
    for (std::uint32_t place = 0; place < rules_.size(); ++place) {
        const Filter& filter = rules_[place].filter;
        if (filter.never) continue;
        const auto group = std::find_if(groups_.begin(), groups_.end(), [&](const Group& one) {
            return one.mask.word == filter.mask.word && one.leastTags == filter.value.tags;
        });
        if (group == groups_.end()) {
            groups_.push_back({filter.mask, filter.value.tags, place, {}});
            places.push_back({place});
        } else {
            places[static_cast<std::size_t>(group - groups_.begin())].push_back(place);
        }
    }
    for (std::size_t i = 0; i < groups_.size(); ++i) fillSlots(groups_[i], places[i]);
}

void CompiledTable::fillSlots(Group& group, const std::vector<std::uint32_t>& places) const {
    std::size_t size = 2;
    while (size < 2 * places.size()) size *= 2;
    group.slots.assign(size, kFree);
    for (const std::uint32_t place : places) {
        const Key& value = rules_[place].filter.value;
        std::size_t slot = static_cast<std::size_t>(hashOf(value, group.mask)) & (size - 1);
        // The same filters once more: the earlier rule takes all the frames.
        while (group.slots[slot] != kFree && rules_[group.slots[slot]].filter.value.word != value.word)
            slot = (slot + 1) & (size - 1);
        if (group.slots[slot] == kFree) group.slots[slot] = place;
    }
}

const CompiledRule* CompiledTable::find(const Key& key) const {
    if (groups_.empty()) {
        for (const CompiledRule& rule : rules_)
            if (!rule.filter.never && rule.filter.takes(key)) return &rule;
        return nullptr;
    }
    std::uint32_t found = kFree;
    for (const Group& group : groups_) {
        if (group.first > found) break;
        if (key.tags < group.leastTags) continue;
        const std::size_t last = group.slots.size() - 1;
        for (std::size_t slot = static_cast<std::size_t>(hashOf(key, group.mask)) & last; group.slots[slot] != kFree;
             slot = (slot + 1) & last) {
            if (!rules_[group.slots[slot]].filter.takes(key)) continue;
            found = std::min(found, group.slots[slot]);
            break;
        }
    }
    return found == kFree ? nullptr : &rules_[found];
}

}  // namespace virtual_onu::datapath
