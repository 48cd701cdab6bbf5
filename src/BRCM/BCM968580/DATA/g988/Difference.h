// From the rules that a table of the kit has to those that it is to have: what is asked of the kit, and in which order.
#ifndef BRCM_BCM968580_DATA_G988_DIFFERENCE_H
#define BRCM_BCM968580_DATA_G988_DIFFERENCE_H

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Planner.h"
#include "BRCM/BCM968580/DATA/g988/Rule.h"

namespace g988 {

// A rule that the kit has.
struct InstalledRule {
    std::uint32_t id = 0;
    Rule rule;
    std::int32_t place = 0;  // rises along the table
};

struct Step {
    enum class Kind : std::uint8_t { InsertFront, Append, Remove } kind;
    Rule rule;             // that is inserted, or that is removed
    std::uint32_t id = 0;  // of the rule that is removed
};

// The steps that make the table `wanted`, whose rules are all different. The kit inserts in front or at the end only.
// So "made" means: the table has the wanted rules and no others, and any two of them that a frame may both match, with
// different outcomes, are in the wanted order; the order of all others is of no matter.
//
// A frame has at each moment the outcome that it had before the first step or the one that it has after the last. So a
// frame whose outcome is the same before and after never notices. Rules that can stay where they are are not touched.
std::vector<Step> difference(const std::vector<InstalledRule>& installed, const std::vector<Rule>& wanted);

// What is installed, by table.
using Installed = std::map<TableKey, std::vector<InstalledRule>>;

struct TableStep {
    TableKey table;
    Step step;
};

// The steps for all tables. Whatever is inserted comes before whatever is removed; a frame's last table gets its new
// rules first and loses its old ones last, so that no table sends a frame to one that is not ready for it. With
// `concerns` other tables are not looked at.
using Concerns = std::function<bool(const TableKey& table)>;
std::vector<TableStep> differences(const Installed& installed, const std::map<TableKey, std::vector<Rule>>& wanted,
                                   const Concerns& concerns = nullptr);

}  // namespace g988

#endif
