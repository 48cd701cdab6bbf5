// What the HAL reports of the ONU's identity.
#ifndef OMCI_AGENT_IDENTITY_H
#define OMCI_AGENT_IDENTITY_H

#include "omci/mib/Board.h"

class VornHal;

namespace omci {

// Fills in what the HAL knows, and leaves the rest as it is: serial number, equipment id (the part number), MAC
// addresses of IP host and bridges, version of the active software image. The HAL has been initialised.
void readIdentity(VornHal& hal, Board& board);

}  // namespace omci

#endif
