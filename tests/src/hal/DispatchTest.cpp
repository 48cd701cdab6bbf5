// What the board's HAL object answers in the slots that it fills, and what an operation reaches. The slots that it
// leaves to the interface: OperationListTest.cpp.
#include <unistd.h>

#include <cstring>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/CounterRecords.h"
#include "hal/ProvisioningRecords.h"
#include "support/InternetService.h"
#include "support/OnuFixture.h"

namespace {

class Dispatch : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        hal_.engine = &engine();
    }
    VornBrcmHal hal_;
};

BridgeServiceProvisioning service = internet_service::service();
IpHostProvision host;
UniDataProvisioning row;
TContProvisioning tcont = internet_service::tcont();
XGEMConfig gem = internet_service::gemPort();
XgemStatusRecord gemStatus{1001, 0};
PmRequest pmRequest{kPmEthernet, 0, 0};
EthernetPmRecord counters;
unsigned char bytes[64];
unsigned char noFilters[] = "";
unsigned word;
int level;
constexpr const char* kNothing = "";
constexpr const char* kDetached = "\nDetached from terminal";  // unless the test leads a session already

void fillRecords() {
    row.bridgeId = 3;
    row.addFlag = 1;
    row.uniPort = 1;
    host = internet_service::ipHost(2);
}

struct Slot {
    const char* name;
    int (*call)(VornHal& hal);
    int withEngine, withoutEngine;
    const char* printed;   // begins what is printed with an engine; without one nothing is printed
    const char* evidence;  // that it has arrived, with an engine: in the trace, or a text that it wrote
};
#define SLOT(call, withEngine, withoutEngine, printed, evidence)                                                      \
    {                                                                                                                 \
#call, [](VornHal & hal) { return static_cast<int>(hal.call); }, withEngine, withoutEngine, printed, evidence \
    }
// In an order in which a daemon may call them.
const Slot kSlots[] = {
    SLOT(vorn_test_call(), 4, 4, kNothing, ""),
    SLOT(vorn_omci_hal_init(), 0, 0, kDetached, "cmsMsg_init(60"),
    SLOT(vorn_omci_hal_nvram_info_get(), 0, 0, kNothing, "nandReadNvramData("),
    SLOT(vorn_omci_hal_sn_get(bytes, sizeof bytes), 0, 0, kNothing, "wrote VONU00000001"),
    SLOT(vorn_omci_hal_mac_get(bytes, sizeof bytes), 0, 0, kNothing, "wrote 02:10:20:30:40:50"),
    SLOT(vorn_omci_hal_pn_get(bytes, sizeof bytes), 0, 0, kNothing, "wrote VONU-8X"),
    SLOT(vorn_omci_hal_rx_laser_power_get(&level), 0, 0, kNothing, "LASER_IOC_GET_RX_POWER"),
    SLOT(vorn_omci_hal_tx_laser_power_get(&level), 0, 0, kNothing, "LASER_IOC_GET_TX_POWER"),
    SLOT(vorn_omci_hal_gponctl_state_set(), 0, 0, kNothing, "gponCtl_startAdminState("),
    SLOT(vorn_omci_hal_swimage_version_get(reinterpret_cast<char*>(bytes), sizeof bytes, 9), 0, 0, kNothing,
         "devCtl_getImageVersion("),
    // Without a gateway there is no veip0 to count at.
    SLOT(vorn_omci_hal_pm_get(&pmRequest, &counters), -1, -1, kNothing, "/sys/class/net/veip0/statistics"),
    SLOT(vorn_hal_set_omci_action(15), 0, -1, kNothing, ""),
    SLOT(vorn_omci_hal_tcont_set(nullptr, &tcont), 0, 0, kNothing, "gponCtl_configTcontAllocId("),
    SLOT(vorn_omci_hal_gemflow_add(&gem), 0, 0, kNothing, "gponCtl_configGemPort("),
    SLOT(vorn_omci_hal_set_gemPortStatus(&gemStatus), 0, 0, kNothing, "gponCtl_enableGemPort("),
    SLOT(vorn_omci_hal_configureBridge(3, 0), 0, -1, "Inside BRCM-HAL, calling configureBridge", "\"br3\""),
    SLOT(vorn_omci_hal_configureAniTagRules(&service), 0, -1, "Inside BRCM-HAL, calling configureAniTagRules",
         "vlanCtl_insertTagRule("),
    SLOT(vorn_omci_hal_filter_flow_add(&row), 0, -1, "\n Inside BRCM-HAL, flow add \n", "\"sid1.3\""),
    SLOT(vorn_omci_hal_port_enable_get(1, &word), 0, 0, kNothing, "SIOCGIFINDEX, \"veip0.1\""),
    SLOT(vorn_omci_hal_provisionIpHost(&host), 0, -1, kNothing, "\"br3.2\""),
    SLOT(vorn_omci_hal_deprovisionIpHost(&host), 0, -1, "Inside BRCM-HAL, calling deprovisionIpHost", ""),
    SLOT(vorn_omci_hal_veip_createRules(1, 0, 0, 0, noFilters, 0), 0, -1, "Inside BRCM-HAL, calling VEIP creation", ""),
    SLOT(vorn_omci_hal_veip_deleteRules(1, 0, 0, 0, noFilters, 0), 0, -1, "Inside BRCM-HAL, calling VEIP delete", ""),
    SLOT(vorn_omci_hal_unsetPbitData(&service), 0, -1, "Inside BRCM-HAL, calling unsetPbitData", ""),
    SLOT(vorn_omci_hal_deprovisionUniSideBridge(&service), 0, -1, "Inside BRCM-HAL, calling deprovisionUniSideBridge",
         ""),
    SLOT(vorn_omci_hal_deprovisionAniSideBridge(&service), 0, -1, "Inside BRCM-HAL, calling deprovisionAniSideBridge",
         ""),
    SLOT(vorn_omci_hal_gemflow_del(&gem), 0, 0, kNothing, "gponCtl_deconfigGemPort("),
    SLOT(vorn_omci_hal_tcont_reset(nullptr, &tcont), 0, 0, kNothing, "gponCtl_deconfigTcontAllocId("),
    SLOT(vorn_hal_get_mac_ip_host().size(), 17, 17, kNothing, ""),
    SLOT(vorn_hal_get_mac_sub_host().size(), 17, 17, kNothing, ""),
};

TEST_F(Dispatch, EveryOperationOfTheBoardAnswersWithAndWithoutAnEngine) {
    fillRecords();
    const bool leadsSession = getsid(0) == getpid();
    const auto printedWhileCalled = [](const Slot& slot, VornHal& hal, int result) {
        std::string printed = printedBy([&] { EXPECT_EQ(slot.call(hal), result) << slot.name; });
        // The thread that the initialisation starts says this during whichever call it comes to it.
        const std::string indication = "\nSent OMCI App Indication to SSK";
        if (const auto at = printed.find(indication); at != std::string::npos) printed.erase(at, indication.size());
        return printed;
    };
    for (const Slot& slot : kSlots) {
        onu().clearTrace();
        std::memset(bytes, 0, sizeof bytes);
        const std::string printed = printedWhileCalled(slot, hal_, slot.withEngine);
        const bool mayDetach = slot.printed != kDetached || !leadsSession;
        EXPECT_EQ(printed.rfind(mayDetach ? slot.printed : "Could not detach", 0), 0u)
            << slot.name << " prints: " << printed;
        std::string seen = "wrote " + std::string(reinterpret_cast<const char*>(bytes)) + "\n";
        for (const auto& line : onu().traceTexts()) seen += line + "\n";
        EXPECT_NE(seen.find(slot.evidence), std::string::npos) << slot.name << ", seen:\n" << seen;
    }
    VornBrcmHal bare;
    for (const Slot& slot : kSlots) {
        const std::string printed = printedWhileCalled(slot, bare, slot.withoutEngine);
        EXPECT_EQ(slot.withoutEngine == -1 && slot.withEngine == 0 ? printed : "", "") << slot.name;
    }
}

TEST_F(Dispatch, NullRecordsAreRefusedSilentlyAndTouchNothing) {
    onu().clearTrace();
    EXPECT_EQ(printedBy([this] {
                  EXPECT_EQ(hal_.vorn_omci_hal_provisionIpHost(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_deprovisionIpHost(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_filter_flow_add(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_configureAniTagRules(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_unsetPbitData(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_deprovisionAniSideBridge(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_deprovisionUniSideBridge(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_veip_createRules(1, 0, 2, 1, nullptr, 0), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_rx_laser_power_get(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_tcont_set(bytes, nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_tcont_reset(bytes, nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_gemflow_add(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_gemflow_del(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_set_gemPortStatus(nullptr), -1);
                  EXPECT_EQ(hal_.vorn_omci_hal_port_enable_get(1, nullptr), 0);
                  EXPECT_EQ(hal_.vorn_omci_hal_sn_get(nullptr, 10), 0);
              }),
              "");
    EXPECT_TRUE(onu().trace().empty());
}

TEST_F(Dispatch, OnlySomeFailuresBelowReachTheDaemon) {
    const struct {
        const char* function;
        int (*call)(VornHal& hal);
        int result;
    } cases[] = {
        {"nandReadNvramData", [](VornHal& hal) { return hal.vorn_omci_hal_nvram_info_get(); }, 9},
        {"gponCtl_startAdminState", [](VornHal& hal) { return hal.vorn_omci_hal_gponctl_state_set(); }, 9},
        {"open:/dev/laser_dev", [](VornHal& hal) { return hal.vorn_omci_hal_rx_laser_power_get(&level); }, -1},
        {"cmsMsg_init", [](VornHal& hal) { return hal.vorn_omci_hal_init(); }, -1},
        {"gponCtl_configTcontAllocId", [](VornHal& hal) { return hal.vorn_omci_hal_tcont_set(nullptr, &tcont); }, 0},
        {"vlanCtl_createVlanInterfaceByName", [](VornHal& hal) { return hal.vorn_omci_hal_configureBridge(3, 0); }, 0},
    };
    for (const auto& c : cases) {
        onu().failNext(c.function, 1, 9);
        EXPECT_EQ(c.call(hal_), c.result) << c.function;
    }
    EXPECT_FALSE(onu().deviceExists("gpon3"));
}

TEST_F(Dispatch, AnyStatusButZeroSetsAGemPortUp) {
    gem = {900, 1000, 3, 0, 1, 5, 0};
    hal_.vorn_omci_hal_gemflow_add(&gem);
    for (const std::uint8_t enable : {std::uint8_t{0}, std::uint8_t{200}}) {
        gemStatus = {1000, enable};
        hal_.vorn_omci_hal_set_gemPortStatus(&gemStatus);
        EXPECT_EQ(onu().gemPort(1000)->enabled, enable != 0);
    }
}

TEST_F(Dispatch, ThePortStateIsThatOfTheVeipSubDevice) {
    onu().addDevice("veip0.3");
    onu().addDevice("veip0.214748364");
    for (EtherSwitchBcm380* const asked : {&engine(), static_cast<EtherSwitchBcm380*>(nullptr)}) {
        hal_.engine = asked;
        for (const auto& [port, enabled] :
             std::map<unsigned, unsigned>{{3, 1}, {4, 0}, {214748364, 1}, {2147483647, 0}}) {
            word = 9;
            EXPECT_EQ(hal_.vorn_omci_hal_port_enable_get(port, &word), 0);
            EXPECT_EQ(word, enabled) << port;
        }
    }
}

TEST_F(Dispatch, UniPortsOneAndTwoChangePlacesInTheCallersRecord) {
    for (const std::uint8_t add : {std::uint8_t{1}, std::uint8_t{0}}) {
        for (const auto& [before, after] : std::map<std::uint16_t, std::uint16_t>{{0, 0}, {1, 2}, {2, 1}, {3, 3}}) {
            row = {};
            row.addFlag = add;
            row.uniPort = before;
            hal_.vorn_omci_hal_filter_flow_add(&row);
            EXPECT_EQ(row.uniPort, after);
        }
    }
}

TEST_F(Dispatch, ManagementAddressesComeFromTheBaseAddressWithoutACarry) {
    const std::pair<const char*, const char*> cases[] = {{"00:11:22:33:44:55", "00:11:22:33:44:57"},
                                                         {"00:11:22:33:44:FE", "00:11:22:33:45:00"},
                                                         {"00:11:22:ff:ff:fe", "00:11:22:00:00:00"}};
    for (const auto& [base, ipHost] : cases) {
        VornBrcmHal::ipHostMac.clear();
        onu().setBaseMac(base);
        EXPECT_EQ(hal_.vorn_hal_get_mac_ip_host(), ipHost);
    }
    EXPECT_EQ(hal_.vorn_hal_get_mac_sub_host(), "00:11:22:ff:ff:fe");
}

TEST_F(Dispatch, TheBoardIsAskedForItsAddressUntilItAnswersAndNotAgain) {
    for (const int error : {5, 6}) {
        onu().failNext("devCtl_getMacAddress", 1, error);
        EXPECT_EQ(printedBy([this] { EXPECT_EQ(hal_.vorn_hal_get_mac_ip_host(), ""); }),
                  "\nget mac address ip host failed\n");
    }
    onu().failNext("devCtl_getMacAddress", 1, 5);
    EXPECT_EQ(printedBy([this] { EXPECT_EQ(hal_.vorn_hal_get_mac_sub_host(), ""); }),
              "\nget mac address sub host failed\n");
    hal_.vorn_hal_get_mac_ip_host();
    onu().clearTrace();
    EXPECT_EQ(hal_.vorn_hal_get_mac_ip_host(), "02:10:20:30:40:52");
    EXPECT_TRUE(onu().trace().empty());
}

}  // namespace
