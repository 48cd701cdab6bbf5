// The rules of a port as they are in the HAL, and how others come in their place.
#ifndef OMCI_SERVICES_UNI_DIFFERENCE_H
#define OMCI_SERVICES_UNI_DIFFERENCE_H

#include <memory>
#include <vector>

#include "omci/services/Piece.h"

namespace omci::services {

struct UniChange {
    bool whole = false;              // rows cannot be taken back singly: everything goes, and all rules are recreated
    std::vector<UniRulePtr> remove;  // in this order
    std::vector<UniRulePtr> add;     // in this order
    std::vector<UniRulePtr> after;   // the rules that exist then, in the order in which the HAL tries them
};

// current: in the order in which the HAL tries them. wanted: in list order. Rules that no frame could take for each
// other keep their places, whatever the list order is.
UniChange uniChange(const std::vector<UniRulePtr>& current, const std::vector<UniRulePtr>& wanted);

}  // namespace omci::services

#endif
