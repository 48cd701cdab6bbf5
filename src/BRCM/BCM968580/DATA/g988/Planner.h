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

// A part of a board: the tables of these UNI ports' devices, and, when there is a bridge, those of the bridges' PON
// sides and of "gpondef", which all bridges share.
struct Scope {
    std::set<std::uint16_t> uniPorts, bridges;
    bool covers(const std::string& device) const;
};

struct Plan {
    std::map<TableKey, std::vector<Rule>> tables;  // each in the order in which its rules are tried; none is empty
    // With any of these the rules are not to be used: they leave out what is refused.
    std::vector<Refusal> refusals;
    std::optional<Scope> scope;  // it says nothing of other tables; none: other tables are empty
};

// The plan depends on the tables alone, not on what was asked for before. Every table of a device ends with a rule for
// all remaining frames, so that no default action is needed; defaults would stay when a service has gone.
Plan planOf(const Tables& tables);
// The same, of a part of it.
Plan planOf(const Tables& tables, const Scope& scope);

}  // namespace g988

#endif
