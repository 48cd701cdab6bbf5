// The part of the page that shows what can be disturbed as it is now, with a button for each.
#ifndef VORN_ONU_PAGE_CONTROL_PART_H
#define VORN_ONU_PAGE_CONTROL_PART_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::page {

// device, newBoard: the states as the board answers to "show". A button carries its step as data-step.
// hasOlt: an OLT's messages come to the board.
std::string controlPart(const nlohmann::json& device, const nlohmann::json& newBoard, bool hasOlt);
// Where a frame can come from, as the choices of a list.
std::string placePart(const nlohmann::json& device);

}  // namespace vorn_onu::page

#endif
