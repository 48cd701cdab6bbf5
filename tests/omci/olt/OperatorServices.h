// Services as operators provision them: what the captures in scenarios/omci/ say. They can exist side by side: each has
// entities, T-CONTs and VLANs of its own.
#ifndef TESTS_OMCI_OLT_OPERATOR_SERVICES_H
#define TESTS_OMCI_OLT_OPERATOR_SERVICES_H

#include <string>
#include <vector>

#include "omci/message/Message.h"
#include "omci/olt/Request.h"

namespace olt {

// Port 1: untagged frames become VID 100, VID 10 becomes VID 110 with p-bits 5, everything else is dropped.
constexpr const char* kInternet = "internet";
// Port 2: two p-bits on each of four GEM ports; VID 20 becomes VID 220, untagged frames VID 200 with p-bits by their
// DSCP.
constexpr const char* kPriorities = "priorities";
// Port 3: a tag with VID 900 and TPID 0x88A8 on whatever the subscriber sends.
constexpr const char* kTransparent = "transparent";
// Port 4: VID 310 for the set-top box's own traffic and joins, streams in the multicast GEM port.
constexpr const char* kTelevision = "television";
// The VEIP: VID 400 for internet, VID 410 for voice, each in a GEM port of its own.
constexpr const char* kGateway = "gateway";
// The management host, with a fixed address.
constexpr const char* kManagement = "management";

const std::vector<std::string>& serviceNames();
// The messages of a service's capture: MIB reset, requests, and their answers.
std::vector<omci::Message> capturedMessages(const std::string& name);
// What it asks for.
Requests requestsOf(const std::string& name);
// The requests of all of them, one service after the other.
Requests allServices();

}  // namespace olt

#endif
