// The HAL object of the BCM968580 board. It does hardly any work itself: each operation goes to the bridge and VLAN
// engine, to the PON adapter or to a function of src/device, and their results stay here (a failed provisioning shows
// in its own printed lines) except where a comment says otherwise.
#ifndef BRCM_BCM968580_OMCI_BRCM_HAL_H
#define BRCM_BCM968580_OMCI_BRCM_HAL_H

#include <cstdint>
#include <string>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/Export.h"
#include "hal/ProvisioningRecords.h"  // IWYU pragma: export
#include "hal/VornHal.h"

// State of an Ethernet UNI as its managed entity (PPTP Ethernet UNI, G.988 9.5.1) tells it. The link monitor produces
// ETHERNET_LINK_UP and ETHERNET_LINK_DOWN only.
enum EthernetLinkStatus : std::int32_t {
    ETHERNET_LINK_UNKNOWN = 0,
    ETHERNET_LINK_INITIAL = 1,   // not looked at yet
    ETHERNET_LINK_LOCKED = 2,    // administrative state: locked
    ETHERNET_LINK_UP = 3,        // operational state: enabled
    ETHERNET_LINK_LOOPBACK = 4,  // Ethernet loopback configured
    ETHERNET_LINK_DOWN = 5,      // operational state: disabled (LAN-LOS)
};

// What VornHal.h says of the operations holds here, results included; those that are not overridden keep the base's
// do-nothing bodies. Nothing locks: see VornHal.h.
class VORN_API VornBrcmHal : public VornHal {
public:
    VornBrcmHal() = default;
    ~VornBrcmHal() override;  // destroys the engine too
    VornBrcmHal(const VornBrcmHal&) = delete;
    VornBrcmHal& operator=(const VornBrcmHal&) = delete;

    int vorn_test_call() override;  // 4
    int vorn_omci_hal_init() override;

    int vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled) override;  // needs no engine
    int vorn_omci_hal_provisionIpHost(const IpHostProvision* host) override;
    int vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host) override;
    int vorn_hal_set_omci_action(int action) override;

    int vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size) override;   // 0
    int vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size) override;  // 0
    int vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size) override;   // 0
    // These six pass on the result of the function of src/device of the same name.
    int vorn_omci_hal_nvram_info_get() override;
    int vorn_omci_hal_rx_laser_power_get(int* level) override;
    int vorn_omci_hal_tx_laser_power_get(int* level) override;
    int vorn_omci_hal_gponctl_state_set() override;
    int vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused) override;
    int vorn_omci_hal_pm_get(void* request, void* result) override;

    // -1 for a null record, with which nothing is done, else 0.
    int vorn_omci_hal_tcont_set(void* unused, void* record) override;
    int vorn_omci_hal_tcont_reset(void* unused, void* record) override;
    int vorn_omci_hal_gemflow_add(void* record) override;
    int vorn_omci_hal_gemflow_del(void* record) override;
    int vorn_omci_hal_set_gemPortStatus(void* record) override;

    int vorn_omci_hal_filter_flow_add(void* record) override;
    int vorn_omci_hal_configureBridge(unsigned short bridgeId, unsigned short uniPort) override;
    int vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning* service) override;
    int vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning* service) override;
    int vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning* service) override;
    int vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning* service) override;
    int vorn_omci_hal_veip_createRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                                       unsigned char numberOfEntries, const unsigned char* filterList,
                                       unsigned short trafficType) override;
    int vorn_omci_hal_veip_deleteRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                                       unsigned char numberOfEntries, const unsigned char* filterList,
                                       unsigned short trafficType) override;

    // Derived from the board's base address and asked of the board once: the IP host's is two above it, in the last
    // three bytes only; the sub-host's is the base address itself.
    std::string vorn_hal_get_mac_ip_host() override;
    std::string vorn_hal_get_mac_sub_host() override;

    // Six bytes as "00:1a:2b:3c:4d:5e" into text (18 bytes). 0; -1 with a printed line for a null argument.
    int macNumToStr(const unsigned char* mac, char* text);

    // ---- Link status monitor (LinkMonitor.cpp) ----

    // Starts the monitor thread "AlarmStatsMon", which runs until the process ends: once a second it looks at the
    // Ethernet links and rewrites the multicast proxy's configuration when one has changed while multicast services
    // exist. The daemon calls it once. Answers the low 32 bits of the thread's identifier, never 0 and often negative;
    // or 0 when there is no thread, with the error of pthread_create in errno and in a printed line.
    static int createAlarmStatsThread();
    // ETHERNET_LINK_DOWN or ETHERNET_LINK_UP of eth1 (10G) and eth0 (1G); a link that cannot be read is up. 0.
    static int getBcmPmOperStatus(EthernetLinkStatus& status);
    static int getBcmPmOperStatus1G(EthernetLinkStatus& status);
    static void updateStatus();                       // one look at both links
    static void* sfuNotificationDdlCallbacks(void*);  // the thread's body; never returns

    EtherSwitchBcm380* engine = nullptr;  // set by the factory and owned, although it is the process's only one

    static std::string ipHostMac;  // empty until the board has answered
    static std::string subHostMac;
    // Last seen EthernetLinkStatus of the 10G and the 1G link. The monitor thread's own.
    static std::int32_t operStatus;
    static std::int32_t operStatus1G;
};

#endif
