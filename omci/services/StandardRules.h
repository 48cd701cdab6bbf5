// Records for a HAL whose forwarding is that of G.988: a row, a filter or a mapper is asked for as the standard has it,
// and the HAL sees to order and to what belongs together. For the HAL's contract: contract/.
#ifndef OMCI_SERVICES_STANDARD_RULES_H
#define OMCI_SERVICES_STANDARD_RULES_H

#include <vector>

#include "omci/services/AniRules.h"
#include "omci/services/Piece.h"
#include "omci/services/UniRules.h"

namespace omci::services {

// One record. None, and a problem, for what a record cannot say.
UniRule standardRule(const TaggingRow& row, const Tagging& tagging, UniPort port);
// The HAL's table has the default rows from the start: those that have been deleted are asked for as rows that drop.
void addDeletedDefaults(EntityKey entity, const Tagging& tagging, UniPort port, std::vector<UniRulePtr>& rules);
// All frames pass unchanged in both directions: the port needs no table.
bool passesBothWays(const std::vector<UniRulePtr>& rules);
// A row in the place of one with the same filters is no removal. Order is of no matter.
UniChange standardChange(const std::vector<UniRulePtr>& standing, const std::vector<UniRulePtr>& wanted);

// downstreamOnly: as a multicast service.
AniRules standardAniRules(std::uint16_t bridgeId, const GemService& gem, const VlanFilter& filter, bool downstreamOnly);

}  // namespace omci::services

#endif
