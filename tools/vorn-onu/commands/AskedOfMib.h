// What the OLT asks for, for the audit: rows, filters and mappers as they are in the MIB, not as the HAL has them.
#ifndef VORN_ONU_ASKED_OF_MIB_H
#define VORN_ONU_ASKED_OF_MIB_H

#include <cstdint>
#include <functional>
#include <vector>

#include "omci/mib/Mib.h"
#include "omci/services/Piece.h"
#include "views/audit/AskedServices.h"

namespace vorn_onu {

// pieces: the services' pieces, which say what leads to a port. numberOf: a message's number on the screen by the
// agent's. Ports that nothing was made for are left out.
audit::AskedServices askedOf(const omci::Mib& mib, const std::vector<const omci::services::Piece*>& pieces,
                             const std::function<std::size_t(std::uint64_t)>& numberOf);

}  // namespace vorn_onu

#endif
