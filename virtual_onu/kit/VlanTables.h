// The tag-rule tables and flows as the data path reads them: in place, without copies. The caller holds the device lock
// for as long as it looks at them.
#ifndef VIRTUAL_ONU_VLAN_TABLES_H
#define VIRTUAL_ONU_VLAN_TABLES_H

#include <functional>
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

// Every table that holds a rule or a default action.
void forEachTable(const std::function<void(const TableKey&, const Table&)>& look);
const std::vector<std::pair<std::string, std::string>>& flowList();

}  // namespace virtual_onu::vlan

#endif
