// By the HAL's contract: from VLAN tagging filter data and a p-bit map to the records that do the same.
#ifndef OMCI_SERVICES_CONTRACT_ANI_RECORDS_H
#define OMCI_SERVICES_CONTRACT_ANI_RECORDS_H

#include "omci/services/AniRules.h"

namespace omci::services::contract {

AniRules aniRules(std::uint16_t bridgeId, const GemService& gem, const VlanFilter& filter);

}  // namespace omci::services::contract

#endif
