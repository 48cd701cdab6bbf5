// Taking the ANI side down: exactly what a service made goes, and what other services share stays.
#include "src/engine/AniService.h"

namespace {

using Lines = std::vector<std::string>;

class AniRemoval : public AniService {
protected:
    static bool remove(const BridgeServiceProvisioning& record, std::string* printed = nullptr) {
        bool result = false;
        const std::string text = printedBy([&] { result = engine().deprovisionAniSideBridge(&record); });
        if (printed != nullptr) *printed = text;
        return result;
    }
    static BridgeServiceProvisioning multicast() {
        auto record = service(0);
        record.isMulticast = record.multicastService = 1;
        record.innerVlanPrioAction = record.outerVlanPrioAction = 15;
        return record;
    }
};

TEST_F(AniRemoval, AMulticastServiceLosesItsRulesAndKeepsItsDevices) {
    onu().addDevice("gpon0.0");
    onu().addDevice("veip0", "gpon0.0");
    const auto record = multicast();
    configure(record);
    const auto ids = onu().rules("gpon3", virtual_onu::kReceive, 0);
    ASSERT_EQ(ids.size(), 1u);
    const Lines veip = onu().ruleTexts("gpon0.0", virtual_onu::kReceive, 0);
    std::string printed;
    EXPECT_TRUE(remove(record, &printed));
    EXPECT_TRUE(contains(printed, "m_aniTagRuleId:" + std::to_string(ids[0].id) + " is!!!")) << printed;
    for (const unsigned tags : {0u, 1u, 2u}) EXPECT_TRUE(onu().rules("gpon3", virtual_onu::kReceive, tags).empty());
    EXPECT_EQ(members("br3"), Lines{"gpon3.3"});
    EXPECT_EQ(onu().ruleTexts("gpon0.0", virtual_onu::kReceive, 0), veip);
    EXPECT_EQ(EtherSwitchBcm380::multicastEnable, 0);
    // Taken down twice: reported, counted, and nothing else.
    EXPECT_FALSE(remove(record, &printed));
    EXPECT_TRUE(contains(printed, "aniInterfaceName:gpon3 rules are not present!!!"));
    EXPECT_EQ(EtherSwitchBcm380::multicastEnable, -1);
}

TEST_F(AniRemoval, AMulticastServiceWithoutItsDeviceIsStillCountedOut) {
    auto record = multicast();
    record.bridgeId = 9;
    std::string printed;
    EXPECT_FALSE(remove(record, &printed));
    EXPECT_TRUE(contains(printed, "\n entered mcast deprovisioning\n "));
    EXPECT_TRUE(contains(printed, "aniInterfaceName:gpon9 is not present!!!"));
    EXPECT_EQ(EtherSwitchBcm380::multicastEnable, -1);
}

TEST_F(AniRemoval, BridgeZeroKeepsItsBridgeAndTheLanBridgesStopSnooping) {
    const struct {
        unsigned short bridgeId;
        bool bridgeStays;
        Lines shell;
    } cases[] = {
        {0, true, {}},
        {256, false, {"bs /b/c port/index=lan4 ingress_filter[igmp]={enabled=no,action=host}"}},
        {257, false, {"bs /b/c port/index=lan0 ingress_filter[igmp]={enabled=no,action=host}"}},
    };
    for (const auto& test : cases) {
        const std::string id = std::to_string(test.bridgeId);
        printedBy([&] { engine().configureBridge(test.bridgeId, 0, false); });
        auto record = service(0);
        record.bridgeId = test.bridgeId;
        EXPECT_EQ(commandsOf([&] { EXPECT_TRUE(remove(record)); }), test.shell) << id;
        EXPECT_FALSE(onu().deviceExists("gpon" + id) || onu().deviceExists("gpon" + id + "." + id));
        EXPECT_EQ(onu().bridge("br" + id).has_value(), test.bridgeStays) << id;
    }
    EXPECT_FALSE(engine().deprovisionAniSideBridge(nullptr));
}

TEST_F(AniRemoval, RunnerTablesOfAServiceAreRemovedByTheirCommands) {
    onu().failNext("system", 2, 512);
    char uni[] = "sid2";
    char ani[] = "gpon2";
    std::string printed;
    const auto removeTables = [&] {
        EXPECT_EQ(engine().unsetPbitToGemTable(258), 0);
        EXPECT_EQ(engine().unsetPbitToQueue(3), 512);
        EXPECT_TRUE(engine().unsetDscpToPbitsTable(uni));
        EXPECT_FALSE(engine().unsetDscpToPbitsTable(ani));
        EXPECT_FALSE(engine().unsetDscpToPbitsTable(nullptr));
    };
    EXPECT_EQ(commandsOf([&] { printed = printedBy(removeTables); }),
              (Lines{"bs /b/d pbit_to_gem/index=2", "bs /b/d pbit_to_queue/table=-253",
                     "bs /bdmf/d dscp_to_pbit/table=2,qos_mapping=no"}));
    EXPECT_EQ(printed,
              "unsetPbitToGemTable=========>bs /b/d pbit_to_gem/index=2"
              "unsetPbitToQueue=========>bs /b/d pbit_to_queue/table=-253"
              "dscptopbittable =========>bs /bdmf/d dscp_to_pbit/table=2,qos_mapping=no,=========>2");
}

}  // namespace
