// The driver's index of a GEM port, which is the PHY id of every ANI rule.
#ifndef BRCM_BCM968580_DATA_GEM_PORT_INDEX_H
#define BRCM_BCM968580_DATA_GEM_PORT_INDEX_H

#include <cstdint>

// Asks GPON control for the port by its id. 65535 for a port that the driver does not know.
std::uint16_t gemPortIndexFromDriver(std::uint16_t gemPortId);

#endif
