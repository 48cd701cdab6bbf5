// Control of the kernel's Ethernet bridges: C functions over the bridge ioctls and sysfs.
//
// Results are 0 or an errno value; a call that fails has changed nothing. Common to all functions:
//
// - EINVAL: a null pointer, or a name that cannot be a device name: empty, longer than 15 characters, "." or "..", or
//   with a slash, a colon, a percent sign or a blank in it. Nothing has been touched.
// - ENODEV: there is no such device. Of the sysfs functions also: it is no bridge, or the port is none of the bridge's.
// - EBADF, of the functions that say so: no br_init() is in force.
// - EPERM, EACCES: the process has not the rights (CAP_NET_ADMIN).
//
// The kernel's other errors are passed on.
//
// Names are device names as the kernel spells them, "br0", "sid0.3". Times are struct timeval with tv_usec 0..999999;
// hundredths of a second go to the kernel, finer parts are cut, and its own timer ticks may cost another hundredth.
// Every function may be called from any thread.
#ifndef BRIDGE_BRIDGE_CONTROL_H
#define BRIDGE_BRIDGE_CONTROL_H

#include <net/if.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/time.h>

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// ---- Control socket ----

// Opens the control socket. Calls count: each br_init that answered 0 wants one br_shutdown, and the socket closes with
// the last. Fails with what socket() gives, such as EMFILE.
VORN_API int br_init(void);
// Always 0, also without br_init.
VORN_API int br_shutdown(void);

// ---- Bridges and ports, through the control socket (EBADF without br_init) ----

VORN_API int br_add_bridge(const char* bridge);  // EEXIST: the name is taken
// The bridge's ports leave it. EBUSY: the bridge is up. ENXIO: there is none. EPERM also: the device is no bridge.
VORN_API int br_del_bridge(const char* bridge);
// EBUSY: the port is a port of a bridge already, this one or another. ELOOP: the port is a bridge itself. EOPNOTSUPP:
// the first device is no bridge.
VORN_API int br_add_interface(const char* bridge, const char* port);
VORN_API int br_del_interface(const char* bridge, const char* port);  // EINVAL also: it is no port of this bridge

// ---- Bridge settings, through sysfs ----

VORN_API int br_set_stp_state(const char* bridge, int on);  // spanning tree: 0 off, else on
// EINVAL also: a negative or too large time. ERANGE: the kernel does not take this time, for the forward delay only
// while spanning tree is on (2..30 s).
VORN_API int br_set_bridge_forward_delay(const char* bridge, struct timeval* delay);
VORN_API int br_set_bridge_hello_time(const char* bridge, struct timeval* time);  // ERANGE outside of 1..10 s
VORN_API int br_set_bridge_max_age(const char* bridge, struct timeval* age);      // ERANGE outside of 6..40 s
VORN_API int br_set_ageing_time(const char* bridge, struct timeval* time);        // of learned addresses
VORN_API int br_set_bridge_priority(const char* bridge, int priority);            // 0..65535, else EINVAL

// ---- Port settings, through sysfs ----

// EINVAL also: a negative number. ERANGE: the priority is above 63, the cost is not 1..65535.
VORN_API int br_set_port_priority(const char* bridge, const char* port, int priority);
VORN_API int br_set_path_cost(const char* bridge, const char* port, int cost);
// Nothing passes between two isolated ports of a bridge; between others it does. 0 off, else on. ENODEV also: the
// kernel is older than 4.18.
VORN_API int br_set_port_isolated(const char* bridge, const char* port, int on);

// ---- Reading, through sysfs ----

// Priority in the upper two bytes, then the MAC address, as "8000.020304050607" spells it.
struct br_id {
    uint8_t priority[2];
    uint8_t mac[6];
};

struct br_bridge_info {
    struct br_id bridge_id;
    struct br_id designated_root;
    uint32_t root_path_cost;
    uint16_t root_port;  // number of the port towards the root, 0 on the root
    uint16_t priority;
    struct timeval forward_delay;
    struct timeval hello_time;
    struct timeval max_age;
    struct timeval ageing_time;
    uint8_t stp_enabled;
    uint8_t topology_change;
    uint8_t topology_change_detected;
    // Spanning tree's timers: the time that is left, 0 for a timer that does not run.
    struct timeval hello_timer;
    struct timeval tcn_timer;
    struct timeval topology_change_timer;
    struct timeval gc_timer;  // until old addresses are looked for
};

// state of br_port_info, as the kernel numbers it
enum br_port_state { br_disabled = 0, br_listening = 1, br_learning = 2, br_forwarding = 3, br_blocking = 4 };

struct br_port_info {
    uint16_t port_no;  // number on its bridge, from 1
    uint16_t port_id;  // as spanning tree sends it: priority and number
    uint8_t priority;
    uint8_t state;  // enum br_port_state
    uint32_t path_cost;
    struct br_id designated_root;
    struct br_id designated_bridge;
    uint16_t designated_port;
    uint32_t designated_cost;
    // Spanning tree's timers, as in br_bridge_info.
    struct timeval message_age_timer;
    struct timeval forward_delay_timer;
    struct timeval hold_timer;
};

// One entry of the forwarding database.
struct br_fdb_entry {
    uint8_t mac[6];
    uint16_t port_no;
    uint8_t is_local;    // the address of a port, not a learned one
    struct timeval age;  // since the address was last seen; 0 for a local one
};

// *info is written only with result 0.
VORN_API int br_get_bridge_info(const char* bridge, struct br_bridge_info* info);
VORN_API int br_get_port_info(const char* bridge, const char* port, struct br_port_info* info);

// Reads up to capacity entries of the forwarding database, from entry number `skip` on, into entries. *count receives
// how many were read, only with result 0; 0 entries mean the end. The database may change between two calls.
VORN_API int br_read_fdb(const char* bridge, struct br_fdb_entry* entries, size_t capacity, size_t skip, size_t* count);

// ---- Walks ----

// Call visit for each bridge of the system, or for each port of a bridge, in alphabetical order, until it answers other
// than 0. The answer of the last visit is written to *stopped, if stopped is not null: 0 after a full walk. The names
// are collected before the first visit, so visit may add and remove bridges and ports; a name is valid during the
// visit.
VORN_API int br_foreach_bridge(int (*visit)(const char* bridge, void* context), void* context, int* stopped);
VORN_API int br_foreach_port(const char* bridge, int (*visit)(const char* bridge, const char* port, void* context),
                             void* context, int* stopped);

#ifdef __cplusplus
}
#endif

#endif
