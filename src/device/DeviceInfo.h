// Identity, software version, optical levels and link start of the ONU. Plain functions, called from the daemon's
// provisioning thread.
#ifndef DEVICE_DEVICE_INFO_H
#define DEVICE_DEVICE_INFO_H

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Reads the board's NVRAM into the process's copy. The three getters below show that copy; before this call it holds
// zero bytes. 0, or the board library's error code.
VORN_API int vorn_omci_nvram_info_get(void);

// Format a field of the NVRAM copy into buf, at most size bytes with the terminating zero, and answer the length of the
// whole text, as snprintf does; with size 0 buf may be null. -1, with nothing written, for a negative size and for a
// null buf of another size.
VORN_API int vorn_omci_mac_get(char* buf, int size);  // "00:1a:2b:3c:4d:5e"
VORN_API int vorn_omci_sn_get(char* buf, int size);   // serial number
VORN_API int vorn_omci_pn_get(char* buf, int size);   // part number

// Version text of the booted image. 0 or the board library's error code; a booted partition that is neither of the two
// image partitions is answered as it is, and buf is not touched. buf and size go to the board library as they are.
// extra is not used.
VORN_API int vorn_omci_swimage_version_get(char* buf, int size, int extra);

// Received and transmitted optical level in units of 0.002 dB relative to 1 mW: -5000 is -10 dBm. Answers 0 also when
// the module could not be read: *out is then as it was and a line is printed. A reading of 0, which has no logarithm,
// stores 0. Negative when the module's device cannot be opened or closed, and for a null out.
VORN_API int vorn_omci_rx_laser_power_get(int* out);
VORN_API int vorn_omci_tx_laser_power_get(int* out);

// Starts the GPON link in the administrative state that is stored on the device; stores "standby" when there is none.
// 0, or GPON control's error code.
VORN_API int vorn_omci_gponctl_state_set(void);

#ifdef __cplusplus
}
#endif

#endif
