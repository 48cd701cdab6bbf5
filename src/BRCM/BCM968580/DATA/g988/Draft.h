// What the planner writes into: tables that are being made and what cannot be done. Also how one frame is given to the
// first of several selectors.
#ifndef BRCM_BCM968580_DATA_G988_DRAFT_H
#define BRCM_BCM968580_DATA_G988_DRAFT_H

#include <array>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Planner.h"
#include "BRCM/BCM968580/DATA/g988/Rule.h"
#include "BRCM/BCM968580/DATA/g988/Tables.h"

namespace g988 {

// By number of tags.
using RuleLists = std::array<RuleList, kTableTags + 1>;

class Draft {
public:
    // Tables of the device. The plan says which rules it has for frames of the source, if only that it has none.
    RuleLists& tables(const std::string& device, Direction direction, std::uint16_t source = 0) {
        RuleLists& lists = tables_[{device, direction}];
        for (RuleList& list : lists) list.begin(source);
        return lists;
    }
    void refuse(const std::string& origin, const std::string& reason) { refusals_.push_back({origin, reason}); }
    Plan finish();

private:
    std::map<std::pair<std::string, Direction>, RuleLists> tables_;
    std::vector<Refusal> refusals_;
};

// Selects frames: none of `excluded`, then those of `rules`.
struct Selector {
    std::vector<Match> excluded;
    std::vector<Rule> rules;
};

// Rules that give each frame that matches `all` to the first selector that selects it, or else to `rest` (whose match
// is not looked at).
void addFirstOf(const std::vector<Selector>& selectors, const Match& all, const Rule& rest, RuleList& out);

// What a filter says of frames with this many tags, as a selector whose rules are to be finished: they have matches
// only.
Selector filterSelector(const VlanFilter& filter, unsigned tags);

// What the port receives, and what it sends of the frames from these bridges.
void planUniPort(std::uint16_t number, const std::set<std::uint16_t>& bridges, const Tables& tables, Draft& draft);
const UniPort& portOf(std::uint16_t number, const Tables& tables);  // one of no bridge where there is none
// Of what a port sends: bridges whose frames have other rules when it is replaced.
std::set<std::uint16_t> bridgesSentOtherwise(const UniPort& before, const UniPort& after);
// "gpondef" and the bridges' devices, as far as they are in the scope.
void planPonSides(const Scope& scope, const Tables& tables, Draft& draft);

std::set<std::uint16_t> gemsOf(const PonPort& port);

// Names of devices.
std::string uniDevice(std::uint16_t number);                            // "sid0"
std::string uniVlanDevice(std::uint16_t number, std::uint16_t bridge);  // "sid0.3"
std::string aniDevice(std::uint16_t bridge);                            // "gpon3"
std::string aniVlanDevice(std::uint16_t bridge);                        // "gpon3.3"

}  // namespace g988

#endif
