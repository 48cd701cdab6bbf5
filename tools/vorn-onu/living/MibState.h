// A MIB as JSON: every entity with its attributes in words and bytes, and where it points.
#ifndef VORN_ONU_MIB_STATE_H
#define VORN_ONU_MIB_STATE_H

#include <nlohmann/json_fwd.hpp>

#include "omci/mib/Mib.h"

namespace vorn_onu {

// A list of entities by class and instance, as docs/living.md has it.
nlohmann::json mibJson(const omci::Mib& mib);

}  // namespace vorn_onu

#endif
