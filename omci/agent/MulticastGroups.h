// Groups that are joined, as rows of the tables that an OLT reads (ITU-T G.988, clauses 9.3.27 and 9.3.29).
#ifndef OMCI_AGENT_MULTICAST_GROUPS_H
#define OMCI_AGENT_MULTICAST_GROUPS_H

#include <vector>

#include "omci/agent/Device.h"
#include "omci/message/Bytes.h"

namespace omci {

TableRows activeGroupRows(const std::vector<JoinedGroupIpv4>& groups);
TableRows activeGroupRows(const std::vector<JoinedGroupIpv6>& groups);

// Adds the groups of a profile's dynamic list that are joined and for which nothing comes down; each once.
void addLostGroups(const TableRows& dynamicList, const std::vector<JoinedGroupIpv4>& joined, TableRows& lost);

}  // namespace omci

#endif
