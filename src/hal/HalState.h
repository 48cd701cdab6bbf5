// A daemon that is restarted finds its services again: the library keeps what it knows in a file.
//
// The file belongs into a file system in memory (/run): it is of use as long as the device's own state, which is gone
// after a boot. Nothing else in the interface changes, and without these calls, or the environment variable below,
// there is no file. docs/integration.md has a chapter "Restart".
//
// A daemon that is started opens the file, asks for all that it wants as after a boot, and settles:
//
//   VornHal* hal = HALFactory::getInstance()->CreateHALObject(0);
//   vorn_hal_state_open("/run/vorn-hal.state");
//   hal->vorn_omci_hal_tcont_set(nullptr, &tcont);  // and so on: what was restored is not made twice
//   vorn_hal_state_settle();                        // what was restored and not asked for is taken away
//
// The functions are called from the provisioning thread.
#ifndef HAL_HAL_STATE_H
#define HAL_HAL_STATE_H

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// The path of the state file for a daemon that cannot be changed: VornHal::vorn_omci_hal_init() opens it.
#define VORN_HAL_STATE_VARIABLE "VORN_HAL_STATE"

// Opens the state file of this path or makes it. From then on all that the library's maps hold is also in it, until
// the process ends. When it holds a state of this boot, that state is restored first: before anything was provisioned,
// best after HALFactory::CreateHALObject().
//
// An operation within which the process before this one ended is taken off the device, or is finished (removals, IP
// hosts, rows that the runner carries out): it may be called again, or be left. Then every restored record is compared
// with the device. What the device no longer has is forgotten, what it has beyond the records is named, and so are VLAN
// devices, and the PON device, that have been taken down: each with one line in the maker's log. Of a table of tag
// rules the device tells how many there are, not which: a rule that was replaced by another one is found when it is
// removed.
//
// The answer is the number of records restored, 0 for a new file. -1, with a line in the log and with nothing restored
// or changed: a file of another version or another boot, one with a broken record, one that another process has open, a
// link, a directory that others can write and that is not sticky, or a state that comes too late, because services have
// been provisioned already. A record that the process before was writing when it ended does not count as broken. Called
// again for the same path it answers the number of records that the file holds.
//
// When the file can no longer be written, or is moved or removed, it is given up, with a line in the log, and the
// library goes on without it; called again for the same path the answer is -1 then. What is left of such a file is not
// believed: the next process that opens it finds it empty.
//
// The file belongs to the process that has opened it. A forked one has it when that one has ended, as when a daemon
// detaches, and not before. The kernel gives the lock up when the daemon itself opens the file and closes it again.
//
// Beside the comparison the kernel is asked for its boot id (/proc/sys/kernel/random/boot_id), for devices
// (SIOCGIFINDEX) and whether they are up (SIOCGIFFLAGS), and the engine's log has "getInstance" lines.
VORN_API int vorn_hal_state_open(const char* path);

// Takes everything that the open state file knows off the device, in the order in which services are removed: for a
// daemon that starts from nothing on a device that is in use. The default bridge goes too; the next configureBridge
// makes it again. The answer is the number of things that the device refused to give up: each stays in the file and has
// a line in the log. 0: nothing is left. -1: no state file is open.
VORN_API int vorn_hal_clean_device(void);

// Takes away what was restored and has not been asked for since the file was opened: for a daemon that provisions all
// that it wants when it starts, as after a boot. Until then an operation that was restored and is asked for again with
// the same arguments does nothing, and its frames go on. One that differs from what was restored in its
// place (a row's treatment, the T-CONT of an alloc-id, a list of PON rules) takes effect here. The answer is the number
// of things that were taken away; what the device refuses to give up has a line in the log and stays. -1: no state file
// is open. A daemon that knows by itself what it has provisioned does not call it.
//
// With forwarding by G.988 (hal/HalForwarding.h) rows, filters and PON ports are changed when they are asked for
// otherwise, not here; what goes here is taken out rule by rule, and no frame of what stays notices. The order of a
// bridge's PON ports is then the one in which they were asked for.
VORN_API int vorn_hal_state_settle(void);

#ifdef __cplusplus
}
#endif

#endif
