#include "omci/services/contract/UniDifference.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace omci::services::contract {

namespace {

bool sameFilter(const UniDataProvisioning& a, const UniDataProvisioning& b) {
    return a.outerFilterPrio == b.outerFilterPrio && a.outerFilterVlanId == b.outerFilterVlanId &&
           a.outerFilterTpidDe == b.outerFilterTpidDe && a.innerFilterPrio == b.innerFilterPrio &&
           a.innerFilterVlanId == b.innerFilterVlanId && a.innerFilterTpidDe == b.innerFilterTpidDe;
}

// The HAL finds a rule to be taken back by its filter, and does not look at the type.
bool confused(const UniRule& one, const UniRule& other) {
    return std::any_of(one.records.begin(), one.records.end(), [&](const auto& record) {
        return std::any_of(other.records.begin(), other.records.end(),
                           [&](const auto& next) { return sameFilter(record, next); });
    });
}

// Where each rule is in a list.
class Places {
public:
    // Of the rules from first on.
    Places(const std::vector<UniRulePtr>& rules, std::size_t first) {
        places_.reserve(rules.size() - first);
        for (std::size_t at = first; at < rules.size(); ++at) places_.emplace_back(rules[at].get(), at);
        std::sort(places_.begin(), places_.end());
    }
    std::optional<std::size_t> of(const UniRulePtr& rule) const {
        const auto found = std::lower_bound(places_.begin(), places_.end(), std::make_pair(rule.get(), std::size_t{0}));
        if (found == places_.end() || found->first != rule.get()) return std::nullopt;
        return found->second;
    }

private:
    std::vector<std::pair<const UniRule*, std::size_t>> places_;
};

}  // namespace

UniChange uniChange(const std::vector<UniRulePtr>& current, const std::vector<UniRulePtr>& wanted) {
    // Rules that are in their places stay, whatever comes behind them.
    const auto differ = std::mismatch(current.begin(), current.end(), wanted.begin(), wanted.end());
    const auto same = static_cast<std::size_t>(differ.first - current.begin());
    const Places wantedAt(wanted, same), currentAt(current, same);
    std::vector<std::size_t> fresh;  // places of the rules to be added, in list order
    for (std::size_t at = same; at < wanted.size(); ++at) {
        if (!currentAt.of(wanted[at])) fresh.push_back(at);
    }
    std::vector<std::size_t> place(current.size());  // in list order, of those that are wanted
    std::vector<bool> moves(current.size(), false);
    for (std::size_t at = same; at < current.size(); ++at) {
        const auto found = wantedAt.of(current[at]);
        moves[at] = !found;
        place[at] = found.value_or(0);
    }
    // What is added comes behind all that exists: rules that must stay behind it are recreated, and so on.
    for (std::size_t next = 0; next < fresh.size(); ++next) {
        for (std::size_t at = same; at < current.size(); ++at) {
            if (moves[at]) continue;
            const std::size_t own = place[at];
            if (own < fresh[next] || !overlap(*current[at], *wanted[fresh[next]])) continue;
            moves[at] = true;
            fresh.push_back(own);
        }
    }
    std::sort(fresh.begin(), fresh.end());

    UniChange change;
    for (std::size_t at = 0; at < current.size(); ++at)
        (moves[at] ? change.remove : change.after).push_back(current[at]);
    for (const auto& gone : change.remove) {
        for (const auto& other : current) change.whole |= gone != other && confused(*gone, *other);
    }
    if (change.whole) {
        change.remove.clear();
        change.add = change.after = wanted;
        return change;
    }
    std::reverse(change.remove.begin(), change.remove.end());
    for (const std::size_t at : fresh) {
        change.add.push_back(wanted[at]);
        change.after.push_back(wanted[at]);
    }
    return change;
}

}  // namespace omci::services::contract
