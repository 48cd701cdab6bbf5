// An ONU for an OLT that speaks over a socket.
#ifndef VORN_ONU_OMCI_LISTEN_H
#define VORN_ONU_OMCI_LISTEN_H

#include "commands/Commands.h"

namespace vorn_onu {

// Answers messages until SIGTERM or SIGINT, then tells what came of them. Throws where the address cannot be used.
int listenToOlt(const OmciCommand& command);

}  // namespace vorn_onu

#endif
