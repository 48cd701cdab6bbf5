// Services as operators provision them, in the order of their messages. They can exist side by side: each has entities,
// T-CONTs and VLANs of its own.
#ifndef TESTS_OMCI_OLT_OPERATOR_SERVICES_H
#define TESTS_OMCI_OLT_OPERATOR_SERVICES_H

#include <string>
#include <vector>

#include "omci/olt/Request.h"

namespace olt {

struct OperatorService {
    const char* name;  // that of its capture in scenarios/omci/
    Requests requests;
};

// Port 1: untagged frames become VID 100, VID 10 becomes VID 110 with p-bits 5, everything else is dropped.
OperatorService internet();
// Port 2: two p-bits on each of four GEM ports; VID 20 becomes VID 220, untagged frames VID 200 with p-bits by their
// DSCP.
OperatorService priorities();
// Port 3: a tag with VID 900 and TPID 0x88A8 on whatever the subscriber sends.
OperatorService transparent();
// Port 4: VID 310 for the set-top box's own traffic and joins, streams in the multicast GEM port.
OperatorService television();
// The VEIP: VID 400 for internet, VID 410 for voice, each in a GEM port of its own.
OperatorService gateway();
// The management host, with a fixed address.
OperatorService management();

std::vector<OperatorService> operatorServices();
std::vector<std::string> serviceNames();
// The requests of all of them, one service after the other.
Requests allServices();

}  // namespace olt

#endif
