// Traffic counters of network devices and Ethernet performance monitoring. Both functions may be called from any
// thread.
//
// The kernel's counters come from "/sys/class/net/<device>/statistics". The split by destination address comes from
// "/proc/net/dev_extstats", where the kernel offers it. That file has one line a device:
//
//     veip0: 120 3 4711  98 2 5100
//
// the device's name and a colon, then counters separated by blanks. A line without a colon that names columns gives the
// headings: the columns are taken by the names multicast, broadcast and unicast (mcast, bcast, ucast), with rx or tx in
// them, or with the transmit side behind the last "|", or each a second time for it. Without headings they are frame
// counts of received multicast, broadcast, unicast, then transmitted multicast, broadcast, unicast, and further columns
// are ignored. Without the file, without all six for the device, and when they add up to more frames than the device
// has counted, only the kernel's own receive-multicast counter is known.
#ifndef DEVICE_COUNTERS_H
#define DEVICE_COUNTERS_H

#include "hal/CounterRecords.h"
#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Reads the absolute counters of a network device. 0; or -1, with *result as it was, for a null argument, for a name
// that is no device name and for a device that is missing or has no counters.
VORN_API int getIntfStats(const char* interface, IntfStats* result);

// Performance monitoring of the subscriber side, device "veip0". request is a PmRequest, result the record that its
// kind names (hal/CounterRecords.h). 0; or -1, with *result and the interval as they were, for a null argument, an
// unknown kind or interval, and a missing device.
//
// The daemon keeps the 15-minute clock: it reads with kPmInterval as often as it likes and with kPmIntervalEnd when the
// interval is over. The first of these two begins the first interval and so answers zeros. What has been counted is
// added up at each reading: when the device is recreated (another interface index), which a VEIP service does, the
// interval goes on with what the new device counts, and what the old one counted after the last reading is lost; a
// 32-bit counter that comes round is counted on, as long as it is read once a round. Readers with a number of their own
// (kPmEthernetOfReader) have intervals of their own; kPmEthernet is reader 0.
VORN_API int vorn_omci_pm_get(void* request, void* result);

#ifdef __cplusplus
}
#endif

#endif
