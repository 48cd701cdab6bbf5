#include "running/state/RuleReach.h"

#include <algorithm>
#include <set>

#include "running/state/RuleWords.h"

namespace vorn_onu {

namespace {

// The terms that choose frames. A receive rule's device says where they go.
std::set<std::string> filtersOf(const RuleState& rule) {
    std::set<std::string> filters;
    for (const std::string& term : rule.terms) {
        const bool isCommand = term.find('=') == std::string::npos || term.find(":=") != std::string::npos;
        if (!isCommand && term.compare(0, 6, "rxdev=") != 0) filters.insert(term);
    }
    return filters;
}

// Whether every frame that fits the second rule fits the first one too.
bool hides(const RuleState& first, const RuleState& second) {
    const auto wide = filtersOf(first), narrow = filtersOf(second);
    return std::includes(narrow.begin(), narrow.end(), wide.begin(), wide.end());
}

std::string wordsOf(const TableState& table, const RuleState& rule) {
    return ruleWords(table.device, table.receive, {table.tags}, rule.terms).sentence();
}

}  // namespace

std::vector<std::string> unreachableRules(const DeviceState& state) {
    std::vector<std::string> found;
    for (const TableState& table : state.tables) {
        for (auto rule = table.rules.begin(); rule != table.rules.end(); ++rule) {
            const auto first = std::find_if(table.rules.begin(), rule,
                                            [&](const RuleState& earlier) { return hides(earlier, *rule); });
            if (first == rule || first->terms == rule->terms) continue;
            found.push_back(table.device + (table.receive ? " receives" : " sends") + ", " + wordsOf(table, *rule) +
                            ", hidden by: " + wordsOf(table, *first));
        }
    }
    return found;
}

}  // namespace vorn_onu
