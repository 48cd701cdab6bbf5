#include "BRCM/BCM968580/DATA/g988/Rule.h"

#include <algorithm>

namespace g988 {

bool Match::require(std::size_t word, unsigned shift, std::uint64_t bits, std::uint64_t value) {
    const std::uint64_t mask = bits << shift, placed = (value & bits) << shift;
    if (value > bits || ((value_[word] ^ placed) & mask_[word] & mask) != 0) return false;
    value_[word] |= placed;
    mask_[word] |= mask;
    return true;
}

std::optional<unsigned> Match::field(std::size_t word, unsigned shift, std::uint64_t bits) const {
    if ((mask_[word] >> shift & bits) != bits) return std::nullopt;
    return static_cast<unsigned>(value_[word] >> shift & bits);
}

bool Match::txDevice(const std::string& name) {
    if (!txDevice_.empty() && txDevice_ != name) return false;
    txDevice_ = name;
    return true;
}

std::uint16_t Match::source() const {
    if (const auto gem = gemIndexOf()) return static_cast<std::uint16_t>(*gem);
    const std::size_t number = txDevice_.find_last_not_of("0123456789") + 1;
    unsigned source = 0;
    for (std::size_t i = number; i < txDevice_.size(); ++i)
        source = source * 10 + static_cast<unsigned>(txDevice_[i] - '0');
    return static_cast<std::uint16_t>(source);
}

bool Match::add(const Match& other) {
    if (!overlaps(other)) return false;
    for (std::size_t i = 0; i < mask_.size(); ++i) {
        value_[i] |= other.value_[i];
        mask_[i] |= other.mask_[i];
    }
    if (txDevice_.empty()) txDevice_ = other.txDevice_;
    return true;
}

bool Match::needsTag(unsigned tag) const {
    constexpr std::uint64_t kTagBits = 0xFFFF;
    return (mask_[0] >> (tag * 16) & kTagBits) != 0;
}

bool Match::overlaps(const Match& other) const {
    for (std::size_t i = 0; i < mask_.size(); ++i)
        if (((value_[i] ^ other.value_[i]) & mask_[i] & other.mask_[i]) != 0) return false;
    return txDevice_.empty() || other.txDevice_.empty() || txDevice_ == other.txDevice_;
}

bool Match::covers(const Match& other) const {
    for (std::size_t i = 0; i < mask_.size(); ++i)
        if ((mask_[i] & ~other.mask_[i]) != 0 || ((value_[i] ^ other.value_[i]) & mask_[i]) != 0) return false;
    return txDevice_.empty() || txDevice_ == other.txDevice_;
}

Match Match::of(const Words& values, const Words& masks, const std::string& txDevice) {
    Match match;
    match.value_ = values;
    match.mask_ = masks;
    match.txDevice_ = txDevice;
    return match;
}

bool Match::operator==(const Match& other) const {
    return value_ == other.value_ && mask_ == other.mask_ && txDevice_ == other.txDevice_;
}

Rule droppingRule(const Match& match, const std::string& origin) {
    return {match, {{Command::Kind::Drop, 0, 0}}, "", origin};
}

void RuleList::add(Rule rule) {
    auto& rules = rules_[rule.match.source()];
    const auto takesAll = [&](const Rule& earlier) { return earlier.match.covers(rule.match); };
    if (std::any_of(rules.begin(), rules.end(), takesAll)) return;
    rules.push_back(std::move(rule));
    ++count_;
}

}  // namespace g988
