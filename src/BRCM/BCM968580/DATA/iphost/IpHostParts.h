// Which records of an IP host may reach a shell.
#ifndef BRCM_BCM968580_DATA_IPHOST_IP_HOST_CHECK_H
#define BRCM_BCM968580_DATA_IPHOST_IP_HOST_CHECK_H

#include "hal/BridgeRecords.h"

// False, with one log line that names the operation and the field, for a text that is no address.
bool isSafeIpHost(const char* operation, const IpHostProvision& host);

#endif
