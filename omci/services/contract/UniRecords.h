// By the HAL's contract: from a tagging row to the records for a port that do the same.
#ifndef OMCI_SERVICES_CONTRACT_UNI_RECORDS_H
#define OMCI_SERVICES_CONTRACT_UNI_RECORDS_H

#include "omci/services/UniRules.h"

namespace omci::services::contract {

// The rule of one row; source, entity and message are left to the caller.
UniRule uniRule(const TaggingRow& row, const Tagging& tagging, UniPort port);

}  // namespace omci::services::contract

#endif
