// The interface between the OMCI daemon and the ONU: one virtual operation for each thing that managed entities of
// ITU-T G.988 ask of the hardware.
//
// The order of the virtual functions, destructor first, is a binary contract with daemons that are built already: a new
// operation goes to the end, and none is ever moved, removed or given other arguments.
//
// ## What a result tells
//
// Every operation has a do-nothing body here that answers 0 (an empty text where it answers text), so that a platform
// overrides only what it supports. "Not on this board" marks those that have nothing else: 0, and nothing is read or
// written. For the others each comment says what its result tells. In short:
//
// - Operations that provision or remove answer 0 once they have tried. Whether the device did it shows on the device
//   and in the printed lines alone, and what was made before a step failed stays.
// - -1 from one of them means that nothing was done: the record was null, or there is no engine (which happens to a HAL
//   object that the factory has not made).
// - Operations that ask something answer the result of the driver or the library below where the comment says so.
//
// What a daemon may skip after a result:
//
// | result | may be skipped |
// |---|---|
// | -1 of an operation that provisions | what builds on it: nothing was done. Its removal, too |
// | 0 of one | nothing, neither the next operation nor, in the end, the removal: something may have been made |
// | -1 of vorn_omci_hal_init() | the announcements of VEIP services: no answer of the gateway is heard |
// | other than 0 of vorn_omci_hal_nvram_info_get() | serial number, MAC address, part number: they say nothing new |
// | *enabled 0 of vorn_omci_hal_port_enable_get() | the port: the gateway has not made it |
// | -1 of vorn_omci_hal_pm_get() | the record: it is as it was |
// | -1 of vorn_hal_state_open() (hal/HalState.h) | vorn_hal_state_settle(): no state file is open |
//
// With forwarding by G.988 (hal/HalForwarding.h) -1 says more: the service is as it was before the operation.
//
// ## Which removals a service needs
//
// In this order:
//
// | made by | taken back by |
// |---|---|
// | vorn_omci_hal_veip_createRules | vorn_omci_hal_veip_deleteRules |
// | vorn_omci_hal_configureAniTagRules | vorn_omci_hal_unsetPbitData, with the p-bit map that it was made with |
// | the same, of a multicast service | vorn_omci_hal_deprovisionAniSideBridge, with that record |
// | vorn_omci_hal_filter_flow_add | vorn_omci_hal_filter_flow_add with addFlag 0, once for a port |
// | vorn_omci_hal_configureBridge of a UNI | the same, with the port's other number (below) |
// | vorn_omci_hal_configureBridge, uniPort 0 | vorn_omci_hal_deprovisionAniSideBridge, with the last of its services |
// | vorn_omci_hal_provisionIpHost | vorn_omci_hal_deprovisionIpHost |
// | vorn_omci_hal_gemflow_add | vorn_omci_hal_gemflow_del |
// | vorn_omci_hal_tcont_set | vorn_omci_hal_tcont_reset |
//
// vorn_omci_hal_deprovisionUniSideBridge is for bridges with one UNI: it takes the one out that joined first, and no
// other. vorn_omci_hal_deprovisionAniSideBridge alone takes the PON rules away with their device, but the library goes
// on counting them, and the runner keeps its p-bit tables: hence vorn_omci_hal_unsetPbitData. The rules of "gpondef"
// stay in any case. vorn_omci_hal_filter_flow_del and vorn_omci_hal_us_flow_del do nothing.
//
// ## Which device a UNI is
//
// | operation | UNI port 1 | UNI port 2 | UNI port n, from 3 on |
// |---|---|---|---|
// | vorn_omci_hal_filter_flow_add | sid1 | sid0 | sid(n - 1) |
// | vorn_omci_hal_configureBridge | sid0 | sid1 | sid(n - 1) |
// | vorn_omci_hal_port_enable_get | veip0.1 | veip0.2 | veip0.n |
// | those of device/EthernetUni.h | eth1 | eth0 | none |
//
// So the counters of a subscriber whose rows were given for UNI port 1 are those of "sid1" (getIntfStats(),
// device/Counters.h), and of its service those of "sid1." + bridgeId; on the PON side of "gpon" + bridgeId + "." +
// bridgeId. vorn_omci_hal_pm_get() counts "veip0" alone.
//
// Unless stated, an operation is called from the daemon's provisioning thread only. Records and buffers belong to the
// caller and are not kept; docs/integration.md has a table "What to know before you call".
#ifndef HAL_VORN_HAL_H
#define HAL_VORN_HAL_H

#include <string>

#include "hal/Export.h"

struct BridgeServiceProvisioning;  // hal/BridgeRecords.h
struct IpHostProvision;            // hal/BridgeRecords.h
struct ontConfig;                  // the daemon's own record; the HAL only passes it by

// What the daemon registers for state changes: kind of change, instance, and data of the daemon's own.
using HalNotifyCallback = int (*)(unsigned short, unsigned int, void*, unsigned int, void*);

class VORN_API VornHal {
public:
    virtual ~VornHal();

    // ---- Liveness and start-up ----

    // Answers a number other than 0 when a platform is behind the interface: 4 on this board.
    virtual int vorn_test_call();
    // Connects the HAL to the gateway side and starts the thread that listens to it. Once, after the object has been
    // made and before anything else; detaches the process from its terminal. 0, or -1 when message bus or timers do not
    // start: the gateway is not listened to then, and all else works. 0 also without an engine, with nothing done.
    virtual int vorn_omci_hal_init();
    // Registers a callback for PON link state changes. Not on this board: the callback is never called.
    virtual int vorn_omci_hal_register_link_st(HalNotifyCallback callback);
    // Sends an OMCI frame of length bytes. Not on this board: the daemon has a channel of its own.
    virtual int vorn_omci_hal_pkt_send(unsigned char* frame, unsigned int length);

    // ---- Ethernet UNIs (device/EthernetUni.h has the functions that act) ----

    // Largest frame in bytes that the Ethernet ports accept. Not on this board.
    virtual int vorn_omci_hal_eth_port_max_frame_set(unsigned int size);
    // Speed of a port. Not on this board: *speed stays as it was.
    virtual int vorn_omci_hal_eth_port_speed_get(unsigned int port, unsigned int* speed);
    // Duplex mode of a port. Not on this board: *duplex stays as it was.
    virtual int vorn_omci_hal_eth_port_duplex_get(unsigned int port, unsigned int* duplex);

    // ---- ONU configuration ----

    // Not on this board.
    virtual int vorn_omci_hal_init_onu_config();
    // Not on this board: *config stays as it was.
    virtual int vorn_omci_hal_fetch_onu_config(ontConfig* config);
    // Registers a callback for Ethernet link state changes. Not on this board: the callback is never called.
    virtual int vorn_omci_hal_register_eth_st(HalNotifyCallback callback);
    // Speed and duplex mode of a port. Not on this board.
    virtual int vorn_omci_hal_eth_port_mode_set(unsigned short* port, unsigned char mode);

    // ---- OMCI message integrity code ----

    // Not on this board: the frame stays as it was.
    virtual int vorn_omci_hal_mic_build(unsigned char* frame, unsigned int length, unsigned int direction);
    // Not on this board: 0 says nothing about the frame.
    virtual int vorn_omci_hal_mic_check(unsigned char* frame);
    // Not on this board.
    virtual int vorn_omci_hal_gen_mic_init();

    // ---- Port state ----

    // Not on this board: *id stays as it was.
    virtual int vorn_omci_hal_eth_port_id_get(unsigned int port, unsigned int* id);
    // *enabled = 1 when the device "veip0." + port exists, which the gateway makes for ports 1 to 8, else 0. Always 0;
    // a null pointer is ignored.
    virtual int vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled);
    // Not on this board.
    virtual int vorn_omci_hal_eth_port_admin_set(unsigned short* port, unsigned char adminState);

    // ---- Management IP host ----

    // Makes the host's device "br" + bridgeId + "." + uniPort on its bridge, which must exist, and gives it its
    // address: by DHCP or as the record says. Waits two seconds for the bridge, unless that is shared. 0 once tried,
    // also when a text is no address and nothing was done, and also when DHCP never answers. -1 for null or without an
    // engine.
    virtual int vorn_omci_hal_provisionIpHost(const IpHostProvision* host);
    // Takes down and deletes the whole bridge "br" + bridgeId: all its members, of whatever service, are on no bridge
    // then. The host's device, its address, its routing rule and its route stay, and so does a rule that takes off its
    // S-tag. Ends the DHCP client of the device. 0 once tried, also when there was no such host or a text is no
    // address. -1 for null or without an engine.
    virtual int vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host);
    // Notes which OMCI action (message type) the daemon is working on: while it is 15, a service that goes down is
    // reported to the gateway by another message. 0, or -1 without an engine.
    virtual int vorn_hal_set_omci_action(int action);

    // ---- Identity ----
    //
    // A text is cut to size bytes, terminating zero included; nothing is written for a null buffer. Serial number, MAC
    // address and part number come from what vorn_omci_hal_nvram_info_get() has read: before that they are empty texts
    // and a zero address, and the result is 0 all the same.

    // Vendor id. Not on this board: the buffer stays as it was.
    virtual int vorn_omci_hal_vid_get(unsigned char* buffer, unsigned int size);
    // Serial number. Always 0.
    virtual int vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size);
    // MAC address, "00:1a:2b:3c:4d:5e". Always 0.
    virtual int vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size);
    // Part number. Always 0.
    virtual int vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size);
    // Hardware revision. Not on this board: the buffer stays as it was.
    virtual int vorn_omci_hal_hw_rev_get(unsigned char* buffer);
    // Not on this board: the buffer stays as it was.
    virtual int vorn_omci_hal_clei_code_get(unsigned char* buffer);
    // Reads the board's NVRAM. 0, or the flash driver's error code: the three texts are then what an earlier call has
    // read.
    virtual int vorn_omci_hal_nvram_info_get();

    // ---- Optics and PON link ----

    // Received optical level in units of 0.002 dB relative to 1 mW: -5000 is -10 dBm. 0 does not prove a fresh value:
    // when the module refuses the reading, *level stays as it was. Negative when there is no module, or for null.
    virtual int vorn_omci_hal_rx_laser_power_get(int* level);
    // Transmitted optical level; otherwise the same.
    virtual int vorn_omci_hal_tx_laser_power_get(int* level);
    // Starts the GPON link in the administrative state that is stored on the device. Answers the driver's result, 0 for
    // success.
    virtual int vorn_omci_hal_gponctl_state_set();
    // Version text of the booted software image, as the board library cuts it to size bytes. 0 or its error code; or
    // the number of an unknown partition, with the buffer as it was. The last argument is not used.
    virtual int vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused);
    // Not on this board.
    virtual int vorn_pon_state_mechanism();

    // ---- Counters ----

    // Performance monitoring: request and result are the records of hal/CounterRecords.h. 0; or -1, with *result as it
    // was, for what device/Counters.h names. Any thread.
    virtual int vorn_omci_hal_pm_get(void* request, void* result);

    // ---- T-CONTs, GEM ports and flows ----
    //
    // The records are those of hal/PonRecords.h. Each answers 0 once tried and -1 for null, with which nothing is done.

    // Not on this board.
    virtual int vorn_omci_hal_iphost_rule_add(void* rule, void* unused);
    // Binds the alloc-id of a TContProvisioning to its T-CONT and gives that eight queues. Does nothing for an alloc-id
    // that is bound already, also with another T-CONT, and also when its queues could not be made. The first argument
    // is not looked at.
    virtual int vorn_omci_hal_tcont_set(void* unused, void* record);
    // Takes the queues and the binding back. Nothing happens for alloc-id 65535 and one that is not bound; 255 is
    // forgotten while its T-CONT stays as it is. The first argument is not looked at.
    virtual int vorn_omci_hal_tcont_reset(void* unused, void* record);
    // Configures and enables the GEM port of an XGEMConfig and sets its upstream queue, which needs its T-CONT to be
    // bound. A port that is there already gets queue and state again, and counts twice for the PON device "gpondef",
    // which stays up until as many ports have been removed as added.
    virtual int vorn_omci_hal_gemflow_add(void* record);
    // Disables and removes the GEM port of an XGEMConfig. A port that this process has not added stays, as does one to
    // which the driver has given index 0.
    virtual int vorn_omci_hal_gemflow_del(void* record);
    // Not on this board: *count stays as it was.
    virtual int vorn_omci_hal_get_gem_count(void* count);
    // Switches the GEM port of an XgemStatusRecord on or off. Nothing happens to a port that this process has not
    // added.
    virtual int vorn_omci_hal_set_gemPortStatus(void* record);
    // Not on this board: vorn_omci_hal_filter_flow_add removes as well.
    virtual int vorn_omci_hal_filter_flow_del(void* record);
    // Not on this board.
    virtual int vorn_omci_hal_us_flow_del(void* record);
    // Adds one row of a UNI's VLAN tagging, or, with addFlag 0, removes all of them: record is a UniDataProvisioning
    // (hal/BridgeRecords.h). UNI ports 1 and 2 change places in the caller's record (the board's ports are numbered the
    // other way round): fill it again for the next call. A row that exists already is not made again. 0 once tried; -1
    // for null or without an engine.
    virtual int vorn_omci_hal_filter_flow_add(void* record);
    // Not on this board.
    virtual int vorn_omci_hal_us_flow_add(void* record);
    // Not on this board: a multicast service goes through vorn_omci_hal_configureAniTagRules.
    virtual int vorn_omci_hal_mcast_cfg(void* request, void* result);
    // Not on this board: *index stays as it was.
    virtual int vorn_omci_hal_gem_get_idx_from_id(unsigned short gemPortId, unsigned short* index);

    // ---- Bridge and VLAN services ----
    //
    // Each answers 0 once tried and -1 for a null record or without an engine.

    // uniPort 0 makes the bridge with its PON side, else the UNI's (from 1) member of that bridge, which must exist;
    // here the port's device is "sid" + (uniPort - 1), and nothing changes places. What exists already is taken as
    // made. The first call of all also makes the default bridge "br0" with sid0 to sid7; a port that cannot join then
    // is not tried again.
    virtual int vorn_omci_hal_configureBridge(unsigned short bridgeId, unsigned short uniPort);
    // Makes the PON side's tag rules of a service; its GEM ports and its bridge come first. They are appended to rules
    // that exist: the same record twice makes them twice.
    virtual int vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning* service);
    // Takes away the rules of the GEM ports that the eight p-bits are mapped to, by this record or by an earlier one.
    virtual int vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning* service);
    // Takes away the bridge's PON side and, but for bridge 0, the bridge itself; its UNI members are on no bridge then.
    // Of a multicast service only the rules. Counts as the end of a multicast service, whichever it was.
    virtual int vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning* service);
    // Takes the UNI that joined the bridge first out of it, with all tag rules of that UNI, those for other bridges
    // too. Nothing happens when no UNI of the bridge is known; only bridgeId is read.
    virtual int vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning* service);
    // Announces a service to the gateway, with the last TCI of its list, and makes "veip0" when there is none and
    // trafficType is a filter model (2, 3, 5 or 6). Making it deletes the bridge "br" + bridgeId and leaves its members
    // on no bridge; the device itself sits on "gpon0.0", whatever bridgeId says. So it is of use on bridge 0 alone, and
    // after configureBridge(0, 0). Only the last TCI is announced and kept, and two services with the same one count as
    // one. Waits up to one second for each message's answer. 0 once tried, also when there is no veip0 and when the
    // gateway is silent; -1 for a null list or without an engine.
    //
    // gemPort is the GEM port id, which configureAniTagRules must have met; filterType is not used (it is printed);
    // numberOfEntries is 0 to 12; filterList is hex text, four digits an entry, as in BridgeServiceProvisioning.
    virtual int vorn_omci_hal_veip_createRules(unsigned short gemPort, unsigned short bridgeId,
                                               unsigned short filterType, unsigned char numberOfEntries,
                                               const unsigned char* filterList, unsigned short trafficType);
    // Announces that a service is down and, when no service is left, takes "veip0" and its sub-devices away; then the
    // rules of the GEM port on bridgeId. A service is known by the last TCI of its list alone: removing one that was
    // never made takes another's place, or takes veip0 when none is known. Nothing happens without veip0. Results and
    // arguments as above; filterType and trafficType are not used.
    virtual int vorn_omci_hal_veip_deleteRules(unsigned short gemPort, unsigned short bridgeId,
                                               unsigned short filterType, unsigned char numberOfEntries,
                                               const unsigned char* filterList, unsigned short trafficType);

    // ---- Management addresses ----

    // MAC address of the management host, "00:11:22:33:44:55": two above the board's, in the last three bytes only.
    // Empty when the board does not tell; asked again then.
    virtual std::string vorn_hal_get_mac_ip_host();
    // The board's own MAC address; likewise.
    virtual std::string vorn_hal_get_mac_sub_host();

    // Not virtual, so not part of the order above. Does nothing and answers 0: the daemon reboots the ONU itself.
    int vorn_omci_hal_onu_reboot(void* unused);
};

#endif
