// By the HAL's contract: how other rules of a port come in the place of those that are in the HAL.
#ifndef OMCI_SERVICES_CONTRACT_UNI_DIFFERENCE_H
#define OMCI_SERVICES_CONTRACT_UNI_DIFFERENCE_H

#include <vector>

#include "omci/services/Piece.h"

namespace omci::services::contract {

// current: in the order in which the HAL tries them. wanted: in list order. Rules that no frame could take for each
// other keep their places, whatever the list order is.
UniChange uniChange(const std::vector<UniRulePtr>& current, const std::vector<UniRulePtr>& wanted);

}  // namespace omci::services::contract

#endif
