// What the planner writes into: tables that are being made and what cannot be done. Also how one frame is given to the
// first of several selectors.
#ifndef BRCM_BCM968580_DATA_G988_DRAFT_H
#define BRCM_BCM968580_DATA_G988_DRAFT_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Planner.h"
#include "BRCM/BCM968580/DATA/g988/Rule.h"
#include "BRCM/BCM968580/DATA/g988/Tables.h"

namespace g988 {

class Draft {
public:
    RuleList& table(const std::string& device, Direction direction, unsigned tags) {
        return tables_[{device, direction, tags}];
    }
    void refuse(const std::string& origin, const std::string& reason) { refusals_.push_back({origin, reason}); }
    Plan finish();

private:
    std::map<TableKey, RuleList> tables_;
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

void planUniPort(std::uint16_t number, const UniPort& port, const Tables& tables, Draft& draft);
// "gpondef", and the PON sides of these bridges.
void planPonSide(const Tables& tables, const std::set<std::uint16_t>& bridges, Draft& draft);

// Names of devices.
std::string uniDevice(std::uint16_t number);                            // "sid0"
std::string uniVlanDevice(std::uint16_t number, std::uint16_t bridge);  // "sid0.3"
std::string aniDevice(std::uint16_t bridge);                            // "gpon3"
std::string aniVlanDevice(std::uint16_t bridge);                        // "gpon3.3"

}  // namespace g988

#endif
