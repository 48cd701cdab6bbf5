// One pure function from the tables of G.988 to the tag rules of each real device.
#ifndef BRCM_BCM968580_DATA_G988_PLANNER_H
#define BRCM_BCM968580_DATA_G988_PLANNER_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Rule.h"
#include "BRCM/BCM968580/DATA/g988/Tables.h"

namespace g988 {

// What was asked for and the kit cannot do, or the standard has no meaning for.
struct Refusal {
    std::string origin;  // "sid0 row VID 100 p5"
    std::string reason;  // "the kit cannot match UDP ports"
    std::string text() const { return origin + ": " + reason; }
};

// Entries of the tables, by their numbers.
struct Entries {
    std::set<std::uint16_t> uniPorts, bridges;
};
Entries entriesOf(const Tables& tables);

// A part of a board.
struct Scope {
    // What these ports receive, and what they send of the frames from these bridges.
    std::map<std::uint16_t, std::set<std::uint16_t>> uniPorts;
    std::set<std::uint16_t> bridges;  // their devices on the PON side, and what "gpondef" sends of their frames
    std::set<std::uint16_t> gems;     // indexes: what "gpondef" receives in them
};
// All that has other rules when these entries are replaced. Of the tables before that no others are needed.
Scope scopeOf(const Entries& replaced, const Tables& before, const Tables& after);

struct Plan {
    std::map<TableKey, RulesBySource> tables;  // it says nothing of tables and sources that it does not name
    // With any of these the rules are not to be used: they leave out what is refused.
    std::vector<Refusal> refusals;
};

// The plan depends on the tables alone, not on what was asked for before. Every table of a device ends with a rule for
// all remaining frames, so that no default action is needed; defaults would stay when a service has gone.
Plan planOf(const Tables& tables);
// The same, of a part of it. No entry outside of it is looked at for mistakes.
Plan planOf(const Tables& tables, const Scope& scope);

}  // namespace g988

#endif
