// A HAL object that forwards every operation to another one and records the call.
#ifndef RECORDER_RECORDING_HAL_H
#define RECORDER_RECORDING_HAL_H

#include "hal/VornHal.h"

namespace recorder {

// Owns the other object, as whoever has a HAL object does. An operation that is not written down here would answer with
// the base class's do-nothing body: a new operation of VornHal needs its line here too.
class RecordingHal : public VornHal {
public:
    explicit RecordingHal(VornHal& inner) : inner_(inner) {}
    ~RecordingHal() override { delete &inner_; }
    RecordingHal(const RecordingHal&) = delete;
    RecordingHal& operator=(const RecordingHal&) = delete;
    const VornHal& inner() const { return inner_; }

    int vorn_test_call() override;
    int vorn_omci_hal_init() override;
    int vorn_omci_hal_register_link_st(HalNotifyCallback callback) override;
    int vorn_omci_hal_pkt_send(unsigned char* frame, unsigned int length) override;
    int vorn_omci_hal_eth_port_max_frame_set(unsigned int size) override;
    int vorn_omci_hal_eth_port_speed_get(unsigned int port, unsigned int* speed) override;
    int vorn_omci_hal_eth_port_duplex_get(unsigned int port, unsigned int* duplex) override;
    int vorn_omci_hal_init_onu_config() override;
    int vorn_omci_hal_fetch_onu_config(ontConfig* config) override;
    int vorn_omci_hal_register_eth_st(HalNotifyCallback callback) override;
    int vorn_omci_hal_eth_port_mode_set(unsigned short* port, unsigned char mode) override;
    int vorn_omci_hal_mic_build(unsigned char* frame, unsigned int length, unsigned int direction) override;
    int vorn_omci_hal_mic_check(unsigned char* frame) override;
    int vorn_omci_hal_gen_mic_init() override;
    int vorn_omci_hal_eth_port_id_get(unsigned int port, unsigned int* id) override;
    int vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled) override;
    int vorn_omci_hal_eth_port_admin_set(unsigned short* port, unsigned char adminState) override;
    int vorn_omci_hal_provisionIpHost(const IpHostProvision* host) override;
    int vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host) override;
    int vorn_hal_set_omci_action(int action) override;
    int vorn_omci_hal_vid_get(unsigned char* buffer, unsigned int size) override;
    int vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size) override;
    int vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size) override;
    int vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size) override;
    int vorn_omci_hal_hw_rev_get(unsigned char* buffer) override;
    int vorn_omci_hal_clei_code_get(unsigned char* buffer) override;
    int vorn_omci_hal_nvram_info_get() override;
    int vorn_omci_hal_rx_laser_power_get(int* level) override;
    int vorn_omci_hal_tx_laser_power_get(int* level) override;
    int vorn_omci_hal_gponctl_state_set() override;
    int vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused) override;
    int vorn_pon_state_mechanism() override;
    int vorn_omci_hal_pm_get(void* request, void* result) override;
    int vorn_omci_hal_iphost_rule_add(void* rule, void* unused) override;
    int vorn_omci_hal_tcont_set(void* unused, void* record) override;
    int vorn_omci_hal_tcont_reset(void* unused, void* record) override;
    int vorn_omci_hal_gemflow_add(void* record) override;
    int vorn_omci_hal_gemflow_del(void* record) override;
    int vorn_omci_hal_get_gem_count(void* count) override;
    int vorn_omci_hal_set_gemPortStatus(void* record) override;
    int vorn_omci_hal_filter_flow_del(void* record) override;
    int vorn_omci_hal_us_flow_del(void* record) override;
    int vorn_omci_hal_filter_flow_add(void* record) override;
    int vorn_omci_hal_us_flow_add(void* record) override;
    int vorn_omci_hal_mcast_cfg(void* request, void* result) override;
    int vorn_omci_hal_gem_get_idx_from_id(unsigned short gemPortId, unsigned short* index) override;
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
    std::string vorn_hal_get_mac_ip_host() override;
    std::string vorn_hal_get_mac_sub_host() override;

private:
    VornHal& inner_;
};

}  // namespace recorder

#endif
