#include "hal/VornHal.h"

// Out of line: the class's type identity lives in this file, once for the whole process.
VornHal::~VornHal() = default;

// A table of operations that do nothing, one a line.
// clang-format off
int VornHal::vorn_test_call() { return 0; }
int VornHal::vorn_omci_hal_init() { return 0; }
int VornHal::vorn_omci_hal_register_link_st(HalNotifyCallback) { return 0; }
int VornHal::vorn_omci_hal_pkt_send(unsigned char*, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_eth_port_max_frame_set(unsigned int) { return 0; }
int VornHal::vorn_omci_hal_eth_port_speed_get(unsigned int, unsigned int*) { return 0; }
int VornHal::vorn_omci_hal_eth_port_duplex_get(unsigned int, unsigned int*) { return 0; }
int VornHal::vorn_omci_hal_init_onu_config() { return 0; }
int VornHal::vorn_omci_hal_fetch_onu_config(ontConfig*) { return 0; }
int VornHal::vorn_omci_hal_register_eth_st(HalNotifyCallback) { return 0; }
int VornHal::vorn_omci_hal_eth_port_mode_set(unsigned short*, unsigned char) { return 0; }
int VornHal::vorn_omci_hal_mic_build(unsigned char*, unsigned int, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_mic_check(unsigned char*) { return 0; }
int VornHal::vorn_omci_hal_gen_mic_init() { return 0; }
int VornHal::vorn_omci_hal_eth_port_id_get(unsigned int, unsigned int*) { return 0; }
int VornHal::vorn_omci_hal_port_enable_get(unsigned int, unsigned int*) { return 0; }
int VornHal::vorn_omci_hal_eth_port_admin_set(unsigned short*, unsigned char) { return 0; }
int VornHal::vorn_omci_hal_provisionIpHost(const IpHostProvision*) { return 0; }
int VornHal::vorn_omci_hal_deprovisionIpHost(const IpHostProvision*) { return 0; }
int VornHal::vorn_hal_set_omci_action(int) { return 0; }
int VornHal::vorn_omci_hal_vid_get(unsigned char*, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_sn_get(unsigned char*, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_mac_get(unsigned char*, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_pn_get(unsigned char*, unsigned int) { return 0; }
int VornHal::vorn_omci_hal_hw_rev_get(unsigned char*) { return 0; }
int VornHal::vorn_omci_hal_clei_code_get(unsigned char*) { return 0; }
int VornHal::vorn_omci_hal_nvram_info_get() { return 0; }
int VornHal::vorn_omci_hal_rx_laser_power_get(int*) { return 0; }
int VornHal::vorn_omci_hal_tx_laser_power_get(int*) { return 0; }
int VornHal::vorn_omci_hal_gponctl_state_set() { return 0; }
int VornHal::vorn_omci_hal_swimage_version_get(char*, int, int) { return 0; }
int VornHal::vorn_pon_state_mechanism() { return 0; }
int VornHal::vorn_omci_hal_pm_get(void*, void*) { return 0; }
int VornHal::vorn_omci_hal_iphost_rule_add(void*, void*) { return 0; }
int VornHal::vorn_omci_hal_tcont_set(void*, void*) { return 0; }
int VornHal::vorn_omci_hal_tcont_reset(void*, void*) { return 0; }
int VornHal::vorn_omci_hal_gemflow_add(void*) { return 0; }
int VornHal::vorn_omci_hal_gemflow_del(void*) { return 0; }
int VornHal::vorn_omci_hal_get_gem_count(void*) { return 0; }
int VornHal::vorn_omci_hal_set_gemPortStatus(void*) { return 0; }
int VornHal::vorn_omci_hal_filter_flow_del(void*) { return 0; }
int VornHal::vorn_omci_hal_us_flow_del(void*) { return 0; }
int VornHal::vorn_omci_hal_filter_flow_add(void*) { return 0; }
int VornHal::vorn_omci_hal_us_flow_add(void*) { return 0; }
int VornHal::vorn_omci_hal_mcast_cfg(void*, void*) { return 0; }
int VornHal::vorn_omci_hal_gem_get_idx_from_id(unsigned short, unsigned short*) { return 0; }
int VornHal::vorn_omci_hal_configureBridge(unsigned short, unsigned short) { return 0; }
int VornHal::vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning*) { return 0; }
int VornHal::vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning*) { return 0; }
int VornHal::vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning*) { return 0; }
int VornHal::vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning*) { return 0; }
int VornHal::vorn_omci_hal_veip_createRules(unsigned short, unsigned short, unsigned short, unsigned char,
                                            const unsigned char*, unsigned short) { return 0; }
int VornHal::vorn_omci_hal_veip_deleteRules(unsigned short, unsigned short, unsigned short, unsigned char,
                                            const unsigned char*, unsigned short) { return 0; }
std::string VornHal::vorn_hal_get_mac_ip_host() { return {}; }
std::string VornHal::vorn_hal_get_mac_sub_host() { return {}; }
// clang-format on

int VornHal::vorn_omci_hal_onu_reboot(void*) {
    return 0;
}
