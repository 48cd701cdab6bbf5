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
constexpr std::size_t kAtPon = 0, kAtBridge = 1, kAtPort = 2;

std::size_t distanceOf(const TableKey& table) {
    const bool isPon = table.device == kPonDeviceName;
    const bool isPort = table.device.compare(0, 3, "sid") == 0;
    const std::size_t upstream = isPon ? kAtPon : isPort ? kAtPort : kAtBridge;
    const bool goesUp = (table.direction == Direction::Receive) == isPort;
    return goesUp ? upstream : kAtPort - upstream;
}

bool isAlike(const std::vector<InstalledRule>& installed, const std::vector<Rule>& wanted) {
    return std::equal(installed.begin(), installed.end(), wanted.begin(), wanted.end(),
                      [](const InstalledRule& has, const Rule& rule) { return has.rule == rule; });
}

template <typename One>
void moveBehind(std::vector<One>& all, std::vector<One>& more) {
    std::move(more.begin(), more.end(), std::back_inserter(all));
}

}  // namespace

std::vector<Step> difference(const InstalledTable& installed, const RulesBySource& wanted) {
    // A table that is empty gets its rules in the wanted order.
    const bool isNew = installed.isEmpty();
    std::vector<Step> inFront, appended, removed;
    for (const auto& [source, list] : wanted) {
        const auto& has = installed.of(source);
        if (isAlike(has, list)) continue;
        std::vector<Wanted> rules = whereTheyAre(has, list);
        for (std::size_t i = 0; i < rules.size(); ++i) choosePart(rules, i);
        std::vector<bool> stays(has.size());
        for (const Wanted& one : rules) {
            if (one.part == Part::Stays) {
                stays[*one.at] = true;
            } else if (one.part == Part::Front && !isNew) {
                inFront.push_back({Step::Kind::InsertFront, *one.rule});
            } else {
                appended.push_back({Step::Kind::Append, *one.rule});
            }
        }
        for (std::size_t at = 0; at < has.size(); ++at)
            if (!stays[at]) removed.push_back({Step::Kind::Remove, has[at].rule, has[at].id, has[at].place});
    }
    std::reverse(inFront.begin(), inFront.end());
    std::sort(removed.begin(), removed.end(),
              [](const Step& left, const Step& right) { return left.place > right.place; });
    moveBehind(inFront, appended);
    moveBehind(inFront, removed);
    return inFront;
}

std::vector<TableStep> differences(const Installed& installed, const Plan& plan) {
    struct OfTable {
        const TableKey& table;
        std::vector<Step> steps;
        std::size_t distance;
    };
    std::vector<OfTable> changed;
    const auto compare = [&](const auto& planned, const InstalledTable& has) {
        auto steps = difference(has, planned.second);
        if (!steps.empty()) changed.push_back({planned.first, std::move(steps), distanceOf(planned.first)});
    };
    std::vector<const std::pair<const TableKey, RulesBySource>*> isNew;
    for (const auto& planned : plan.tables) {
        const auto has = installed.find(planned.first);
        if (has == installed.end())
            isNew.push_back(&planned);
        else
            compare(planned, has->second);
    }
    for (const auto* const planned : isNew) compare(*planned, {});
    std::vector<TableStep> all;
    const auto take = [&](std::size_t distance, bool removals) {
        for (OfTable& one : changed)
            for (Step& step : one.steps)
                if (one.distance == distance && (step.kind == Step::Kind::Remove) == removals)
                    all.push_back({one.table, std::move(step)});
    };
    for (std::size_t distance = 0; distance <= kAtPort; ++distance) take(distance, false);
    for (std::size_t distance = kAtPort + 1; distance-- > 0;) take(distance, true);
    return all;
}

void emptyOthers(Plan& plan, const Installed& installed) {
    for (const auto& [key, table] : installed) {
        RulesBySource& wanted = plan.tables[key];
        for (const auto& rules : table.bySource()) wanted.try_emplace(rules.first);
    }
}

}  // namespace g988
