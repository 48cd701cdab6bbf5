// The tag-rule tables and flows as the data path reads them: in place, without copies. The caller holds the device lock
// for as long as it looks at them.
#ifndef VIRTUAL_ONU_VLAN_TABLES_H
#define VIRTUAL_ONU_VLAN_TABLES_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VirtualOnu.h"

namespace virtual_onu::vlan {

struct Table {
    std::vector<TagRule> rules;
    std::optional<DefaultAction> defaultAction;
};

// Null where the device has neither a rule nor a default action for this number of tags.
const Table* tableOf(const std::string& device, unsigned direction, unsigned tags);
const std::vector<std::pair<std::string, std::string>>& flowList();

}  // namespace virtual_onu::vlan

#endif
