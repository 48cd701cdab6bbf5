// What a daemon's developer writes first: a HAL that overrides nothing, every operation called once.
#include <cstdio>

#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"

namespace {

int failures = 0;

void expectZero(const char* operation, long result) {
    if (result == 0) return;
    std::printf("%s answered %ld, not 0\n", operation, result);
    ++failures;
}

}  // namespace

#define ZERO(call) expectZero(#call, static_cast<long>(hal.call))

int main() {
    class Nothing : public VornHal {
    } concrete;
    VornHal& hal = concrete;
    BridgeServiceProvisioning bridge{};
    IpHostProvision host{};
    unsigned char bytes[32] = {};
    unsigned short half = 0;
    unsigned int word = 0;
    int level = 0;

    ZERO(vorn_test_call());
    ZERO(vorn_omci_hal_init());
    ZERO(vorn_omci_hal_register_link_st(nullptr));
    ZERO(vorn_omci_hal_pkt_send(bytes, sizeof bytes));
    ZERO(vorn_omci_hal_eth_port_max_frame_set(1500));
    ZERO(vorn_omci_hal_eth_port_speed_get(1, &word));
    ZERO(vorn_omci_hal_eth_port_duplex_get(1, &word));
    ZERO(vorn_omci_hal_init_onu_config());
    ZERO(vorn_omci_hal_fetch_onu_config(nullptr));
    ZERO(vorn_omci_hal_register_eth_st(nullptr));
    ZERO(vorn_omci_hal_eth_port_mode_set(&half, 1));
    ZERO(vorn_omci_hal_mic_build(bytes, 1, 2));
    ZERO(vorn_omci_hal_mic_check(bytes));
    ZERO(vorn_omci_hal_gen_mic_init());
    ZERO(vorn_omci_hal_eth_port_id_get(1, &word));
    ZERO(vorn_omci_hal_port_enable_get(1, &word));
    ZERO(vorn_omci_hal_eth_port_admin_set(&half, 1));
    ZERO(vorn_omci_hal_provisionIpHost(&host));
    ZERO(vorn_omci_hal_deprovisionIpHost(&host));
    ZERO(vorn_hal_set_omci_action(15));
    ZERO(vorn_omci_hal_vid_get(bytes, sizeof bytes));
    ZERO(vorn_omci_hal_sn_get(bytes, sizeof bytes));
    ZERO(vorn_omci_hal_mac_get(bytes, sizeof bytes));
    ZERO(vorn_omci_hal_pn_get(bytes, sizeof bytes));
    ZERO(vorn_omci_hal_hw_rev_get(bytes));
    ZERO(vorn_omci_hal_clei_code_get(bytes));
    ZERO(vorn_omci_hal_nvram_info_get());
    ZERO(vorn_omci_hal_rx_laser_power_get(&level));
    ZERO(vorn_omci_hal_tx_laser_power_get(&level));
    ZERO(vorn_omci_hal_gponctl_state_set());
    char version[32] = {};
    ZERO(vorn_omci_hal_swimage_version_get(version, sizeof version, 0));
    ZERO(vorn_pon_state_mechanism());
    ZERO(vorn_omci_hal_pm_get(bytes, bytes));
    ZERO(vorn_omci_hal_iphost_rule_add(bytes, bytes));
    ZERO(vorn_omci_hal_tcont_set(bytes, bytes));
    ZERO(vorn_omci_hal_tcont_reset(bytes, bytes));
    ZERO(vorn_omci_hal_gemflow_add(bytes));
    ZERO(vorn_omci_hal_gemflow_del(bytes));
    ZERO(vorn_omci_hal_get_gem_count(bytes));
    ZERO(vorn_omci_hal_set_gemPortStatus(bytes));
    ZERO(vorn_omci_hal_filter_flow_del(bytes));
    ZERO(vorn_omci_hal_us_flow_del(bytes));
    ZERO(vorn_omci_hal_filter_flow_add(bytes));
    ZERO(vorn_omci_hal_us_flow_add(bytes));
    ZERO(vorn_omci_hal_mcast_cfg(bytes, bytes));
    ZERO(vorn_omci_hal_gem_get_idx_from_id(1, &half));
    ZERO(vorn_omci_hal_configureBridge(1, 0));
    ZERO(vorn_omci_hal_configureAniTagRules(&bridge));
    ZERO(vorn_omci_hal_unsetPbitData(&bridge));
    ZERO(vorn_omci_hal_deprovisionAniSideBridge(&bridge));
    ZERO(vorn_omci_hal_deprovisionUniSideBridge(&bridge));
    ZERO(vorn_omci_hal_veip_createRules(1, 2, 3, 4, bytes, 5));
    ZERO(vorn_omci_hal_veip_deleteRules(1, 2, 3, 4, bytes, 5));
    ZERO(vorn_hal_get_mac_ip_host().size());
    ZERO(vorn_hal_get_mac_sub_host().size());

    VornHal* real = HALFactory::getInstance()->CreateHALObject(0);
    if (real == nullptr || real->vorn_test_call() != 4) {
        std::puts("the factory's HAL object does not answer the test call with 4");
        ++failures;
    }
    std::printf("\n%s\n", failures == 0 ? "every slot answers as documented" : "FAILED");
    return failures;
}
