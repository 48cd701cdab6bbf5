// The interface between the OMCI daemon and the ONU: one virtual operation for each thing that managed entities of
// ITU-T G.988 ask of the hardware.
//
// The order of the virtual functions, destructor first, is a binary contract with daemons that are built already: a new
// operation goes to the end, and none is ever moved, removed or given other arguments.
//
// Every operation has a do-nothing body here that answers 0 (an empty text where it answers text), so that a platform
// overrides only what it supports. Unless stated, an operation answers 0 for success and -1 for failure, and is called
// from the daemon's provisioning thread only. Records and buffers belong to the caller and are not kept.
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

    // ---- Life sign and start-up ----

    // Answers a number other than 0 when a platform stands behind the interface.
    virtual int vorn_test_call();
    // Connects the HAL to the rest of the device. Once, after the object has been made and before anything else.
    virtual int vorn_omci_hal_init();
    // Registers a callback for PON link state changes.
    virtual int vorn_omci_hal_register_link_st(HalNotifyCallback callback);
    // Sends an OMCI frame of length bytes.
    virtual int vorn_omci_hal_pkt_send(unsigned char* frame, unsigned int length);

    // ---- Ethernet UNIs ----

    // Largest frame in bytes that the Ethernet ports accept.
    virtual int vorn_omci_hal_eth_port_max_frame_set(unsigned int size);
    virtual int vorn_omci_hal_eth_port_speed_get(unsigned int port, unsigned int* speed);
    virtual int vorn_omci_hal_eth_port_duplex_get(unsigned int port, unsigned int* duplex);

    // ---- ONU configuration ----

    virtual int vorn_omci_hal_init_onu_config();
    virtual int vorn_omci_hal_fetch_onu_config(ontConfig* config);
    // Registers a callback for Ethernet link state changes.
    virtual int vorn_omci_hal_register_eth_st(HalNotifyCallback callback);
    virtual int vorn_omci_hal_eth_port_mode_set(unsigned short* port, unsigned char mode);

    // ---- OMCI message integrity code ----

    virtual int vorn_omci_hal_mic_build(unsigned char* frame, unsigned int length, unsigned int direction);
    virtual int vorn_omci_hal_mic_check(unsigned char* frame);
    virtual int vorn_omci_hal_gen_mic_init();

    // ---- Port state ----

    virtual int vorn_omci_hal_eth_port_id_get(unsigned int port, unsigned int* id);
    // *enabled = 1 when the gateway has made the VEIP's sub-device of this number, else 0. Null is ignored.
    virtual int vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled);
    virtual int vorn_omci_hal_eth_port_admin_set(unsigned short* port, unsigned char adminState);

    // ---- Management IP host ----

    // Gives the ONU's management host its address, by DHCP or as the record says, and makes its interface.
    virtual int vorn_omci_hal_provisionIpHost(const IpHostProvision* host);
    virtual int vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host);
    // Notes which OMCI action (message type) the daemon is working on; messages to the gateway depend on it.
    virtual int vorn_hal_set_omci_action(int action);

    // ---- Identity ----
    //
    // A text is cut to size bytes, terminating zero included. Serial number, MAC address and part number come from what
    // vorn_omci_hal_nvram_info_get() has read: before that they are empty texts and a zero address.

    virtual int vorn_omci_hal_vid_get(unsigned char* buffer, unsigned int size);
    virtual int vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size);
    virtual int vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size);
    virtual int vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size);
    virtual int vorn_omci_hal_hw_rev_get(unsigned char* buffer);
    virtual int vorn_omci_hal_clei_code_get(unsigned char* buffer);
    // Reads the board's NVRAM. Answers the flash driver's result.
    virtual int vorn_omci_hal_nvram_info_get();

    // ---- Optics and PON link ----

    // Optical level in units of 0.002 dB relative to 1 mW. 0 does not prove a fresh value: when the module refuses the
    // reading, *level stays as it was. Negative when there is no module.
    virtual int vorn_omci_hal_rx_laser_power_get(int* level);
    virtual int vorn_omci_hal_tx_laser_power_get(int* level);
    // Starts the GPON link in the administrative state that is stored on the device. Answers the driver's result.
    virtual int vorn_omci_hal_gponctl_state_set();
    // Version text of the booted software image. Answers the board library's result, or the number of an unknown
    // partition with the buffer as it was. The last argument is not used.
    virtual int vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused);
    virtual int vorn_pon_state_mechanism();

    // ---- Counters ----

    // Performance monitoring: request and result are the records of hal/CounterRecords.h.
    virtual int vorn_omci_hal_pm_get(void* request, void* result);

    // ---- T-CONTs, GEM ports and flows ----

    virtual int vorn_omci_hal_iphost_rule_add(void* rule, void* unused);
    // record is a TContProvisioning; the first argument is not looked at.
    virtual int vorn_omci_hal_tcont_set(void* unused, void* record);
    virtual int vorn_omci_hal_tcont_reset(void* unused, void* record);
    // record is an XGEMConfig.
    virtual int vorn_omci_hal_gemflow_add(void* record);
    virtual int vorn_omci_hal_gemflow_del(void* record);
    virtual int vorn_omci_hal_get_gem_count(void* count);
    // record is an XgemStatusRecord.
    virtual int vorn_omci_hal_set_gemPortStatus(void* record);
    virtual int vorn_omci_hal_filter_flow_del(void* record);
    virtual int vorn_omci_hal_us_flow_del(void* record);
    // record is a UniDataProvisioning: adds or, with addFlag 0, removes a UNI's VLAN tagging. UNI ports 1 and 2 change
    // places in the caller's record (the board's ports are numbered the other way round).
    virtual int vorn_omci_hal_filter_flow_add(void* record);
    virtual int vorn_omci_hal_us_flow_add(void* record);
    virtual int vorn_omci_hal_mcast_cfg(void* request, void* result);
    virtual int vorn_omci_hal_gem_get_idx_from_id(unsigned short gemPortId, unsigned short* index);

    // ---- Bridge and VLAN services ----

    // uniPort 0 makes the bridge with its PON side, else the UNI's (from 1) member of that bridge.
    virtual int vorn_omci_hal_configureBridge(unsigned short bridgeId, unsigned short uniPort);
    // Makes the PON side's tag rules of a service; its bridge comes first.
    virtual int vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning* service);
    // Takes away the rules of a service's GEM ports and p-bits.
    virtual int vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning* service);
    virtual int vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning* service);
    virtual int vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning* service);
    // A service towards the gateway (VEIP). filterList is hex text, four digits for each of the numberOfEntries TCIs.
    virtual int vorn_omci_hal_veip_createRules(unsigned short gemPort, unsigned short bridgeId,
                                               unsigned short filterType, unsigned char numberOfEntries,
                                               const unsigned char* filterList, unsigned short trafficType);
    virtual int vorn_omci_hal_veip_deleteRules(unsigned short gemPort, unsigned short bridgeId,
                                               unsigned short filterType, unsigned char numberOfEntries,
                                               const unsigned char* filterList, unsigned short trafficType);

    // ---- Management addresses ----

    // MAC addresses as "00:11:22:33:44:55"; empty when the board does not tell.
    virtual std::string vorn_hal_get_mac_ip_host();
    virtual std::string vorn_hal_get_mac_sub_host();

    // Not virtual, so not part of the order above. Does nothing: the daemon reboots the ONU itself.
    int vorn_omci_hal_onu_reboot(void* unused);
};

#endif
