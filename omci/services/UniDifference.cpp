#include "omci/services/UniDifference.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace omci::services {

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

}  // namespace

UniChange uniChange(const std::vector<UniRulePtr>& standing, const std::vector<UniRulePtr>& wanted) {
    std::unordered_map<const UniRule*, std::size_t> place;  // in list order
    for (const auto& rule : wanted) place.emplace(rule.get(), place.size());

    std::vector<std::size_t> fresh;  // places of the rules to be added
    {
        std::unordered_set<const UniRule*> stands;
        for (const auto& rule : standing) stands.insert(rule.get());
        for (std::size_t at = 0; at < wanted.size(); ++at) {
            if (stands.count(wanted[at].get()) == 0) fresh.push_back(at);
        }
    }
    std::vector<bool> moves(standing.size(), false);
    for (std::size_t at = 0; at < standing.size(); ++at) moves[at] = place.count(standing[at].get()) == 0;
    // What is added comes behind all that stands: rules that must stay behind it are made anew, and so on.
    for (std::size_t next = 0; next < fresh.size(); ++next) {
        for (std::size_t at = 0; at < standing.size(); ++at) {
            if (moves[at]) continue;
            const std::size_t own = place[standing[at].get()];
            if (own < fresh[next] || !overlap(*standing[at], *wanted[fresh[next]])) continue;
            moves[at] = true;
            fresh.push_back(own);
        }
    }
    std::sort(fresh.begin(), fresh.end());

    UniChange change;
    for (std::size_t at = 0; at < standing.size(); ++at)
        (moves[at] ? change.remove : change.after).push_back(standing[at]);
    for (const auto& gone : change.remove) {
        for (const auto& other : standing) change.whole |= gone != other && confused(*gone, *other);
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

}  // namespace omci::services
