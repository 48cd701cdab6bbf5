// The MIB of a board with an OMCI agent as a part of the page.
#ifndef VORN_ONU_PAGE_MIB_PART_H
#define VORN_ONU_PAGE_MIB_PART_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::page {

// mib: the list of entities that the board answers to "mib". A tree for each bridge, as `vorn-onu at NAME mib --tree`
// has it, and one for what no bridge leads to.
std::string mibPart(const nlohmann::json& mib);

}  // namespace vorn_onu::page

#endif
