// The last calls into the device as a part of the page.
#ifndef VORN_ONU_PAGE_CALL_PART_H
#define VORN_ONU_PAGE_CALL_PART_H

#include <deque>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "running/io/HeldJson.h"

namespace vorn_onu::page {

// An entry of the trace that is a call which failed.
bool isFailedEntry(const nlohmann::json& entry);
// entries: of the trace, oldest first; the part has the newest first.
std::string callPart(const std::deque<Held<nlohmann::json>>& entries);

}  // namespace vorn_onu::page

#endif
