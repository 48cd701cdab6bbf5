// What the daemon gets from the factory, and the slot order that a built daemon relies on.
#include <cstring>
#include <memory>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "OnuFixture.h"
#include "hal/HALFactory.h"
#include "hal/Memory.h"

namespace {

class HalFrame : public OnuFixture {};

// A pointer to a virtual member function holds its offset in the virtual table (with a marker in the lowest bit on some
// processors). The destructor takes the first two places, so the operation behind it is number 1.
template <typename Member>
std::size_t slotOf(Member member) {
    std::uintptr_t word = 0;
    std::memcpy(&word, &member, sizeof word);
    return (word & ~std::uintptr_t{1}) / sizeof(void*) - 1;
}

TEST_F(HalFrame, OperationsStandInTheOrderThatBuiltDaemonsCall) {
    std::size_t next = 1;
#define SLOT(operation) EXPECT_EQ(slotOf(&VornHal::operation), next++) << #operation
    // clang-format off
    SLOT(vorn_test_call); SLOT(vorn_omci_hal_init);
    SLOT(vorn_omci_hal_register_link_st); SLOT(vorn_omci_hal_pkt_send);
    SLOT(vorn_omci_hal_eth_port_max_frame_set); SLOT(vorn_omci_hal_eth_port_speed_get);
    SLOT(vorn_omci_hal_eth_port_duplex_get); SLOT(vorn_omci_hal_init_onu_config);
    SLOT(vorn_omci_hal_fetch_onu_config); SLOT(vorn_omci_hal_register_eth_st);
    SLOT(vorn_omci_hal_eth_port_mode_set); SLOT(vorn_omci_hal_mic_build);
    SLOT(vorn_omci_hal_mic_check); SLOT(vorn_omci_hal_gen_mic_init);
    SLOT(vorn_omci_hal_eth_port_id_get); SLOT(vorn_omci_hal_port_enable_get);
    SLOT(vorn_omci_hal_eth_port_admin_set); SLOT(vorn_omci_hal_provisionIpHost);
    SLOT(vorn_omci_hal_deprovisionIpHost); SLOT(vorn_hal_set_omci_action);
    SLOT(vorn_omci_hal_vid_get); SLOT(vorn_omci_hal_sn_get);
    SLOT(vorn_omci_hal_mac_get); SLOT(vorn_omci_hal_pn_get);
    SLOT(vorn_omci_hal_hw_rev_get); SLOT(vorn_omci_hal_clei_code_get);
    SLOT(vorn_omci_hal_nvram_info_get); SLOT(vorn_omci_hal_rx_laser_power_get);
    SLOT(vorn_omci_hal_tx_laser_power_get); SLOT(vorn_omci_hal_gponctl_state_set);
    SLOT(vorn_omci_hal_swimage_version_get); SLOT(vorn_pon_state_mechanism);
    SLOT(vorn_omci_hal_pm_get); SLOT(vorn_omci_hal_iphost_rule_add);
    SLOT(vorn_omci_hal_tcont_set); SLOT(vorn_omci_hal_tcont_reset);
    SLOT(vorn_omci_hal_gemflow_add); SLOT(vorn_omci_hal_gemflow_del);
    SLOT(vorn_omci_hal_get_gem_count); SLOT(vorn_omci_hal_set_gemPortStatus);
    SLOT(vorn_omci_hal_filter_flow_del); SLOT(vorn_omci_hal_us_flow_del);
    SLOT(vorn_omci_hal_filter_flow_add); SLOT(vorn_omci_hal_us_flow_add);
    SLOT(vorn_omci_hal_mcast_cfg); SLOT(vorn_omci_hal_gem_get_idx_from_id);
    SLOT(vorn_omci_hal_configureBridge); SLOT(vorn_omci_hal_configureAniTagRules);
    SLOT(vorn_omci_hal_unsetPbitData); SLOT(vorn_omci_hal_deprovisionAniSideBridge);
    SLOT(vorn_omci_hal_deprovisionUniSideBridge); SLOT(vorn_omci_hal_veip_createRules);
    SLOT(vorn_omci_hal_veip_deleteRules); SLOT(vorn_hal_get_mac_ip_host);
    SLOT(vorn_hal_get_mac_sub_host);
    // clang-format on
#undef SLOT
    EXPECT_EQ(next, 56u);
}

TEST_F(HalFrame, TheObjectIsMadeOnceAndThenHandedOutForEveryType) {
    HALFactory& factory = *HALFactory::getInstance();
    VornHal* hal = nullptr;
    EXPECT_EQ(printedBy([&] { hal = factory.CreateHALObject(0); }),
              "\n The BRCM hal intialized************************\n");
    ASSERT_NE(dynamic_cast<VornBrcmHal*>(hal), nullptr);
    EXPECT_EQ(dynamic_cast<VornBrcmHal*>(hal)->engine, EtherSwitchBcm380::m_Instance);
    for (const int type : {0, 1, 7}) {
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(type), hal); }), "") << type;
    }
}

TEST_F(HalFrame, PlatformsThatAreNotBuiltGiveNoObject) {
    HALFactory& factory = *HALFactory::getInstance();
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(1), nullptr); }),
              "\n The cortina hal intialized************************\n");
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(factory.CreateHALObject(7), nullptr); }),
              "Default, we shouldn't be reach here!!");
}

TEST_F(HalFrame, DestroyingTheFactoryIsHarmlessAndKeepsTheHalObject) {
    VornHal* const hal = HALFactory::getInstance()->CreateHALObject(0);
    delete HALFactory::getInstance();
    EXPECT_EQ(HALFactory::m_Instance, nullptr);
    EXPECT_EQ(HALFactory::getInstance()->CreateHALObject(0), hal);
    EXPECT_EQ(hal->vorn_test_call(), 4);
}

TEST_F(HalFrame, DestroyingTheHalObjectFreesTheEngineOnce) {
    auto hal = std::make_unique<VornBrcmHal>();
    hal->engine = &engine();
    hal.reset();
    EXPECT_EQ(EtherSwitchBcm380::m_Instance, nullptr);
    EXPECT_FALSE(engine().isInterfaceExisted("sid8")) << "a new engine must work";
    // Destroyed directly, the engine must not come back to itself either.
    delete EtherSwitchBcm380::m_Instance;
    EXPECT_EQ(EtherSwitchBcm380::m_Instance, nullptr);
    EtherSwitchBcm380::deleteInstance();
}

TEST_F(HalFrame, DaemonMemoryIsZeroedAndFreedOnce) {
    void* block = omci_malloc(16);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), 16), std::string(16, '\0'));
    EXPECT_EQ(printedBy([&] { omci_free(&block); }), "");
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(printedBy([&] { omci_free(&block); }), "can't free null point");
    EXPECT_EQ(printedBy([] { omci_free(nullptr); }), "can't free null point");
    for (const int size : {0, -5}) {
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(omci_malloc(size), nullptr); }), "size is less than 0") << size;
    }
}

}  // namespace
