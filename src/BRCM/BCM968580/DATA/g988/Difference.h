// From the rules that a table of the kit has to those that it is to have: what is asked of the kit, and in which order.
#ifndef BRCM_BCM968580_DATA_G988_DIFFERENCE_H
#define BRCM_BCM968580_DATA_G988_DIFFERENCE_H

#include <cstdint>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Installed.h"
#include "BRCM/BCM968580/DATA/g988/Planner.h"
#include "BRCM/BCM968580/DATA/g988/Rule.h"

namespace g988 {

struct Step {
    enum class Kind : std::uint8_t { InsertFront, Append, Remove } kind;
    Rule rule;               // that is inserted, or that is removed
    std::uint32_t id = 0;    // of the rule that is removed
    std::int32_t place = 0;  // likewise
};

// The steps that make the table what is wanted for the sources that are named; rules for others are not touched. The
// rules of a source are all different. The kit inserts in front or at the end only. So "made" means: the table has the
// wanted rules and no others, and any two of them that a frame may both match, with different outcomes, are in the
// wanted order; the order of all others is of no matter.
//
// A frame has at each moment the outcome that it had before the first step or the one that it has after the last. So a
// frame whose outcome is the same before and after never notices. Rules that can stay where they are are not touched.
std::vector<Step> difference(const InstalledTable& installed, const RulesBySource& wanted);

struct TableStep {
    TableKey table;
    Step step;
};

// The steps for all tables of the plan. Whatever is inserted comes before whatever is removed; a frame's last table
// gets its new rules first and loses its old ones last, so that no table sends a frame to one that is not ready for it.
std::vector<TableStep> differences(const Installed& installed, const Plan& plan);

// For a plan of the whole board: what it does not name has no rules.
void emptyOthers(Plan& plan, const Installed& installed);

}  // namespace g988

#endif
