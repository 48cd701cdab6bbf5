// A MIB for people: as a table, as a tree of what points at what, and what differs between two.
#ifndef VORN_ONU_MIB_TEXT_H
#define VORN_ONU_MIB_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "views/Terminal.h"

namespace vorn_onu {

// Lists of entities are those of mibJson(). All throw nlohmann::json::exception for what is none.

// A line an entity, its attributes behind it; tables row by row below.
std::string mibTable(const nlohmann::json& mib, const Terminal& terminal);
// A line of the tree.
struct MibNode {
    std::size_t depth = 0;           // 0: begins a tree of its own
    std::string how;                 // "TP pointer"; "" for what belongs to the entity above
    std::string entity, attributes;  // its name, and what is not zero
    bool exists = true, isAbove = false;
    bool isFree = false;  // the OLT made it, and no bridge leads there
    std::vector<std::string> rows;
};
// Bridges with their ports, and from there along the pointers: mappers, GEM ports, queues, tagging rows. What the OLT
// made and no bridge leads to comes behind them.
std::vector<MibNode> mibNodes(const nlohmann::json& mib);
std::string mibTree(const nlohmann::json& mib, const Terminal& terminal);
// A line for each entity that only one of the two has, and for each attribute that differs.
std::vector<std::string> mibDifferences(const nlohmann::json& before, const nlohmann::json& after);

}  // namespace vorn_onu

#endif
