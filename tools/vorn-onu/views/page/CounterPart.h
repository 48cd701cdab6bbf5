// The counters of a board as a part of the page.
#ifndef VORN_ONU_PAGE_COUNTER_PART_H
#define VORN_ONU_PAGE_COUNTER_PART_H

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::page {

// now, before: {"devices", "gemPorts", "queues"} as the board answers to "counters", before null where there is none.
// Rates are over the seconds between them. Rows that have counted nothing are left out.
std::string counterPart(const nlohmann::json& now, const nlohmann::json& before, double seconds);

}  // namespace vorn_onu::page

#endif
