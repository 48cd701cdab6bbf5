// What the gateway link needs of the service map beyond the engine's own operations.
#ifndef BRCM_BCM968580_DATA_SERVICE_MAP_H
#define BRCM_BCM968580_DATA_SERVICE_MAP_H

#include <cstddef>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "hal/Text.h"

// The interface name of a record as text: a record that came over the bus need not terminate it.
inline FixedText<sizeof(OMCI_SERVICE_MAP_ENTRY::ifName) + 1> serviceIfName(const OMCI_SERVICE_MAP_ENTRY& entry) {
    return FixedText<sizeof(OMCI_SERVICE_MAP_ENTRY::ifName) + 1>("%.*s", static_cast<int>(sizeof entry.ifName),
                                                                 entry.ifName);
}

// Finds the entry with the key of `request` like findOmciServiceMapEntry and copies it, so that the listener thread
// never looks at an entry that the provisioning thread frees meanwhile. False when there is none.
bool copyOmciServiceMapEntry(const OMCI_SERVICE_MAP_ENTRY& request, OMCI_SERVICE_MAP_ENTRY* copy);

// After a restart: a service as it was in the map. False when its key is taken.
bool putBackService(const OMCI_SERVICE_MAP_ENTRY& entry);
void forgetServices();

#endif
