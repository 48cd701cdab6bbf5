// The two Ethernet UNI ports: instance 1 is PHY port 4 and device eth1, instance 2 is PHY port 0 and device eth0; there
// is no other. Speed and duplex are in the PHY library's own encoding. No state; progress and failures are printed.
#ifndef DEVICE_ETHERNET_UNI_H
#define DEVICE_ETHERNET_UNI_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

VORN_API void updateEthernetUniSpeed(unsigned short uniInstance, unsigned short speed, unsigned char duplex);
// Non-zero brings the port up, zero takes it down.
VORN_API void setEthernetUniStatus(unsigned short uniInstance, unsigned char adminState);
// OMCI operational state: 0 the link is up, 1 it is down or not known, or there is no such instance.
VORN_API int getEthernetUniOperState(unsigned short uniInstance);
// The configured speed, or with wantSpeed false the duplex; 0 on any failure.
VORN_API int getEthernetUniConfig(unsigned short uniInstance, bool wantSpeed);

#ifdef __cplusplus
}
#endif

#endif
