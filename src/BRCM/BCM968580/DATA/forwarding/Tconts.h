// T-CONTs with forwarding by G.988: bound with all of their queues, or not at all. The records are the PON adapter's.
//
// Each answers whether it was done. If not, all is as it was, and one line of the log says what was refused.
#ifndef BRCM_BCM968580_DATA_FORWARDING_TCONTS_H
#define BRCM_BCM968580_DATA_FORWARDING_TCONTS_H

#include <cstdint>

#include "hal/PonRecords.h"

namespace forwarding {

// tcont_set. The T-CONT's earlier alloc-id, if it has one, is no T-CONT's then. Refused for an alloc-id that is
// another T-CONT's.
bool addTcont(const TContProvisioning& record);
// tcont_reset. Done when this process has not bound the alloc-id.
bool removeTcont(std::uint16_t allocId);

}  // namespace forwarding

#endif
