// The tag-rule tables and flows as the data path reads them: in place, without copies. The caller holds the device lock
// for as long as it looks at them.
#ifndef VIRTUAL_ONU_VLAN_TABLES_H
#define VIRTUAL_ONU_VLAN_TABLES_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "VirtualOnu.h"

namespace virtual_onu::vlan {

struct Table {
    std::vector<TagRule> rules;
    std::optional<DefaultAction> defaultAction;
};

struct TableKey {
    std::string device;
    unsigned direction;
    unsigned tags;
    bool operator<(const TableKey& other) const {
        return std::tie(device, direction, tags) < std::tie(other.device, other.direction, other.tags);
    }
};

// What the driver keeps. The rest of the kit's library lives and dies with the process: the rule that is being
// composed, the suffix of names, whether it is open.
struct Installed {
    std::uint32_t nextRuleId = 1;
    std::map<TableKey, Table> tables;
    std::vector<std::pair<std::string, std::string>> flows;
    std::map<std::string, int> realDeviceModes;
    OutOfRangeFilters outOfRange = OutOfRangeFilters::NeverMatch;
    // By rule id, where it is; a rule that was put in front of its table comes before all with lower ids.
    struct RuleLocation {
        TableKey table;
        bool front;
    };
    std::map<std::uint32_t, RuleLocation> locations;
};
Installed& installed();
std::string textOf(const TableKey& key);  // "sid0 rx 1"

// Every table that holds a rule or a default action.
void forEachTable(const std::function<void(const TableKey&, const Table&)>& look);
const std::vector<std::pair<std::string, std::string>>& flowList();

}  // namespace virtual_onu::vlan

#endif
