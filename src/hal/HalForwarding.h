// What a service's frames go by: the library's contract, or the tables of G.988.
//
// The contract is what a daemon has that was written for it: each operation makes the rules that it always made
// (docs/round-trip.md lists where they are not what the standard says). With G.988 the same operations and records ask
// for rows, filters and GEM ports of the standard, and frames go as its tables say, in whatever order a service was
// made, changed and taken back. Nobody gets that who does not ask for it.
#ifndef HAL_HAL_FORWARDING_H
#define HAL_HAL_FORWARDING_H

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// Values of the functions below.
#define VORN_HAL_FORWARDING_CONTRACT 0
#define VORN_HAL_FORWARDING_G988 1

// For a daemon that cannot be changed: "contract" or "g988". Any other value has a printed line, and the contract
// holds. What the daemon has set by the function counts more.
#define VORN_HAL_FORWARDING_VARIABLE "VORN_HAL_FORWARDING"

// Chooses for the whole process. 0; -1, with a printed line and nothing changed, for a number that is none of the above
// and when it comes too late: VornHal::vorn_omci_hal_init(), vorn_hal_state_open() and the first operation on a bridge
// or a UNI settle what holds.
//
// With VORN_HAL_FORWARDING_G988 these operations of VornHal answer -1 when a service cannot be made or changed as the
// standard has it, with a printed line that names the row or port and says why; the service is as it was then:
// filter_flow_add, configureBridge, configureAniTagRules, unsetPbitData, deprovisionAniSideBridge,
// deprovisionUniSideBridge, veip_createRules, veip_deleteRules, gemflow_add, gemflow_del, set_gemPortStatus, tcont_set,
// tcont_reset, provisionIpHost and deprovisionIpHost. A GEM port that is added again counts once, and one that the
// driver has from a process before this one is taken over. The p-bit map of a bridge service may then also name the GEM
// port and queue of untagged frames, as those of p-bits 8: they have to be those of some p-bits. Without them untagged
// frames are taken for p-bits 0 (G.988 9.3.10, default p-bit assumption). A row with an EtherType code above 6 or for
// more than two tags, and a p-bit map with a queue above 7, are refused. filter_flow_add for UNI ports above 4 answers
// 0 and does nothing, as by the contract: these are IP hosts, whose VLAN provisionIpHost makes, and daemons send their
// rows too. tcont_set is refused for an alloc-id that another T-CONT has; with another alloc-id a T-CONT loses its
// earlier one. With a host its device, routing rule and S-tag rule go, and its bridge stays. A state file
// (hal/HalState.h) is opened only in the mode in which it was made.
//
// Called from the provisioning thread, like the next one.
VORN_API int vorn_hal_set_forwarding(int forwarding);

// VORN_HAL_FORWARDING_*: what holds, or what will as far as is known when nothing has settled it yet.
VORN_API int vorn_hal_get_forwarding(void);

#ifdef __cplusplus
}
#endif

#endif
