// The MIB of a board with an OMCI agent as a part of the page.
#ifndef VORN_ONU_PAGE_MIB_PART_H
#define VORN_ONU_PAGE_MIB_PART_H

#include <string>
#include <vector>

#include "views/MibText.h"

namespace vorn_onu::page {

// A tree for each bridge, as `vorn-onu at NAME mib --tree` has it, and one for what no bridge leads to.
std::string mibPart(const std::vector<MibNode>& nodes);

}  // namespace vorn_onu::page

#endif
