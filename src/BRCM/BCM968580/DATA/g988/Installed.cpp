#include "BRCM/BCM968580/DATA/g988/Installed.h"

#include <algorithm>
#include <utility>

namespace g988 {

namespace {

bool isBefore(const InstalledRule& left, const InstalledRule& right) {
    return left.place < right.place;
}

}  // namespace

const std::vector<InstalledRule>& InstalledTable::of(std::uint16_t source) const {
    static const std::vector<InstalledRule> kNone;
    const auto found = rules_.find(source);
    return found == rules_.end() ? kNone : found->second;
}

std::vector<InstalledRule> InstalledTable::inOrder() const {
    std::vector<InstalledRule> all;
    for (const auto& one : rules_) all.insert(all.end(), one.second.begin(), one.second.end());
    std::sort(all.begin(), all.end(), isBefore);
    return all;
}

std::set<std::uint32_t> InstalledTable::ids() const {
    std::set<std::uint32_t> all;
    for (const auto& one : rules_)
        for (const InstalledRule& rule : one.second) all.insert(rule.id);
    return all;
}

const InstalledRule* InstalledTable::find(std::uint32_t id) const {
    for (const auto& one : rules_)
        for (const InstalledRule& rule : one.second)
            if (rule.id == id) return &rule;
    return nullptr;
}

void InstalledTable::insert(InstalledRule rule) {
    first_ = isEmpty() ? rule.place : std::min(first_, rule.place);
    last_ = isEmpty() ? rule.place : std::max(last_, rule.place);
    auto& rules = rules_[rule.rule.match.source()];
    rules.insert(std::upper_bound(rules.begin(), rules.end(), rule, isBefore), std::move(rule));
    ++size_;
}

void InstalledTable::erase(std::uint16_t source, std::uint32_t id) {
    const auto found = rules_.find(source);
    if (found == rules_.end()) return;
    auto& rules = found->second;
    const auto isIt = [&](const InstalledRule& one) { return one.id == id; };
    const auto rule = std::find_if(rules.begin(), rules.end(), isIt);
    if (rule == rules.end()) return;
    rules.erase(rule);
    --size_;
    if (rules.empty()) rules_.erase(found);
}

}  // namespace g988
