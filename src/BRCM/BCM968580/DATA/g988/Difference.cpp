// The new table is made of three parts: rules inserted in front, rules that stay, rules appended.
//
// In front go new rules that conflict with no earlier rule of the wanted order: the moment one is there, it decides
// what it decides in the end.
//
// Everything else is appended, in the wanted order, with copies of the rules that must come behind it. While the old
// rules are still there, an appended rule gets only frames that none of them takes.
//
// Then the old rules go, the last one first. A frame that loses its rule passes the old ones behind it that stay, and
// then the appended ones: those that decide in the end. It was not taken by any rule before it, so that those which go
// later make no difference to it.
#include "BRCM/BCM968580/DATA/g988/Difference.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace g988 {

namespace {

enum class Part : std::uint8_t { Front, Stays, Appended };

struct Wanted {
    const Rule* rule;
    std::optional<std::size_t> at;  // in the table now
    Part part = Part::Stays;
};

std::vector<Wanted> whereTheyAre(const std::vector<InstalledRule>& installed, const std::vector<Rule>& wanted) {
    std::vector<Wanted> result;
    result.reserve(wanted.size());
    std::vector<bool> taken(installed.size());
    std::size_t next = 0;  // tables that are alike in their order are compared once through
    for (const Rule& rule : wanted) {
        Wanted one{&rule, std::nullopt};
        for (std::size_t tried = 0; tried < installed.size(); ++tried) {
            const std::size_t at = (next + tried) % installed.size();
            if (taken[at] || installed[at].rule != rule) continue;
            taken[at] = true;
            one.at = at;
            next = at + 1;
            break;
        }
        result.push_back(one);
    }
    return result;
}

// Whether `later`, which stays, is wrong behind or in front of an earlier rule.
bool outOfOrder(const Wanted& earlier, const Wanted& later) {
    return earlier.part == Part::Appended || (earlier.part == Part::Stays && *earlier.at > *later.at);
}

void choosePart(std::vector<Wanted>& rules, std::size_t place) {
    Wanted& one = rules[place];
    const bool isNew = !one.at;
    if (isNew) one.part = Part::Front;
    for (std::size_t i = 0; i < place; ++i) {
        if (!isNew && !outOfOrder(rules[i], one)) continue;
        if (!rules[i].rule->conflictsWith(*one.rule)) continue;
        one.part = Part::Appended;
        return;
    }
}

// How far a table is from where its frames leave the device.
unsigned distance(const TableKey& table) {
    constexpr unsigned kAtPon = 0, kAtBridge = 1, kAtPort = 2;
    const bool isPon = table.device == kPonDeviceName;
    const bool isPort = table.device.compare(0, 3, "sid") == 0;
    const unsigned upstream = isPon ? kAtPon : isPort ? kAtPort : kAtBridge;
    const bool goesUp = (table.direction == Direction::Receive) == isPort;
    return goesUp ? upstream : kAtPort - upstream;
}

}  // namespace

std::vector<Step> difference(const std::vector<InstalledRule>& installed, const std::vector<Rule>& wanted) {
    std::vector<Wanted> rules = whereTheyAre(installed, wanted);
    for (std::size_t i = 0; i < rules.size(); ++i) choosePart(rules, i);
    std::vector<bool> stays(installed.size());
    for (const Wanted& one : rules)
        if (one.part == Part::Stays) stays[*one.at] = true;
    // A table that is empty gets its rules in the wanted order.
    const bool isNew = installed.empty();
    std::vector<Step> steps;
    for (auto one = rules.rbegin(); one != rules.rend(); ++one)
        if (one->part == Part::Front && !isNew) steps.push_back({Step::Kind::InsertFront, *one->rule});
    for (const Wanted& one : rules)
        if (one.part == Part::Appended || isNew) steps.push_back({Step::Kind::Append, *one.rule});
    for (std::size_t at = installed.size(); at-- > 0;)
        if (!stays[at]) steps.push_back({Step::Kind::Remove, installed[at].rule, installed[at].id});
    return steps;
}

std::vector<TableStep> differences(const Installed& installed, const std::map<TableKey, std::vector<Rule>>& wanted,
                                   const Concerns& concerns) {
    static const std::vector<Rule> kNone;
    static const std::vector<InstalledRule> kEmpty;
    std::vector<TableStep> inserts, removals;
    const auto compare = [&](const TableKey& key, const std::vector<InstalledRule>& has,
                             const std::vector<Rule>& wants) {
        for (Step& step : difference(has, wants))
            (step.kind == Step::Kind::Remove ? removals : inserts).push_back({key, std::move(step)});
    };
    for (const auto& [key, rules] : installed) {
        if (concerns && !concerns(key)) continue;
        const auto found = wanted.find(key);
        compare(key, rules, found == wanted.end() ? kNone : found->second);
    }
    for (const auto& [key, rules] : wanted)
        if (installed.count(key) == 0) compare(key, kEmpty, rules);
    const auto nearer = [](const TableStep& left, const TableStep& right) {
        return distance(left.table) < distance(right.table);
    };
    std::stable_sort(inserts.begin(), inserts.end(), nearer);
    std::stable_sort(removals.begin(), removals.end(),
                     [&](const TableStep& left, const TableStep& right) { return nearer(right, left); });
    std::move(removals.begin(), removals.end(), std::back_inserter(inserts));
    return inserts;
}

}  // namespace g988
