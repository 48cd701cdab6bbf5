// Taking back what a UNI's rows and a service's p-bit mapping have left on the device.
#include <functional>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "src/engine/UniRows.h"

namespace {

using Texts = std::vector<std::string>;

class UniRemoval : public UniRows {
protected:
    static BridgeServiceProvisioning service(bool restoreVlanFlows) {
        BridgeServiceProvisioning record{};
        record.bridgeId = 3;
        record.restoreVlanFlows = restoreVlanFlows;
        return record;
    }
    static Texts flowCalls() { return traced("vlanCtl_createVlanFlows("); }
    static std::size_t countOf(const std::string& text, const std::string& part) {
        std::size_t count = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
        return count;
    }
};

constexpr Row kPppoe = {1, kNoTag, {8, 10, 0}, 2, kPush, 0, kNoTag, {5, 300, 3}};
constexpr Row kDscpRow = {0, kNoTag, kNoTag, 0, kPush, 0, {15, 0, 0}, {10, 100, 4}};
constexpr Row kQinQ = {2, {1, 10, 4}, {2, 20, 4}, 0, kTranslate, 2, {3, 30, 4}, {4, 40, 4}};
const Texts kFlowsBothWays = {"vlanCtl_createVlanFlows(\"gpon3.3\", \"sid0.3\") = 0",
                              "vlanCtl_createVlanFlows(\"sid0.3\", \"gpon3.3\") = 0"};

TEST_F(UniRemoval, AnySequenceOfRowsIsTakenBackWhole) {
    const std::vector<std::vector<Row>> sequences = {
        {kUntaggedToS100},
        {kC10ToS200, kQinQ},
        {kPppoe, kUntaggedToS100, kPppoe},
        {kDscpRow},
        {kDscpRow, kC10ToS200, kDscpRow, kUntaggedToS100, kQinQ, kPppoe},
    };
    const auto byPort = [] {
        EXPECT_TRUE(engine().deConfigureUniTagRules(1, 3));
        EXPECT_TRUE(engine().deConfigureUniInterface(1, 3));
    };
    const auto byBridge = [] {
        const auto bridge = service(false);
        EXPECT_TRUE(engine().deprovisionUniSideBridge(&bridge));
    };
    const auto uni = record(kUntaggedToS100);
    for (const auto& remove : {std::function<void()>(byPort), std::function<void()>(byBridge)}) {
        for (const auto& rows : sequences) {
            const auto tables = onu().ruleTables();
            for (const auto& row : rows) provision(row);
            EXPECT_FALSE(rules().empty());
            remove();
            EXPECT_EQ(onu().ruleTables(), tables);
            EXPECT_EQ(onu().ruleCount(), 0u);
            EXPECT_FALSE(engine().findVlanRuleMapEntry("sid0", 1));
            EXPECT_FALSE(onu().deviceExists("sid0.3"));
            EXPECT_EQ(members("br3"), Texts{"gpon3.3"});
            EXPECT_EQ(countOf(printedBy(byBridge), " m_BridgeIdToUniId.end() is empty!!!"), 1u);
            EXPECT_TRUE(engine().configureUniInterface(&uni));
        }
    }
}

TEST_F(UniRemoval, ADeleteRowTakesItsOwnPairAndKeepsTheFlows) {
    provision(kC10ToS200);
    const auto before = rules();
    provision(kQinQ);
    onu().clearTrace();
    auto row = kQinQ;
    row.removeType = 3;
    row.outerTreatment = row.innerTreatment = {15, 8191, 7};
    const auto deleteRow = record(row);
    const auto printed = printedBy([&] { EXPECT_TRUE(engine().configureUniInterface(&deleteRow)); });
    EXPECT_TRUE(
        contains(printed, "SENDING UNISIDE DEPROVISIONING Rules from configureUniInterface: bridgeId:3, uniPort:1 \n"));
    EXPECT_EQ(rules(), before);
    EXPECT_EQ(flowCalls(), kFlowsBothWays);
}

TEST_F(UniRemoval, AMissingUniAnswersFalseAndRunsNoCommand) {
    auto row = record(kC10ToS200);
    ASSERT_TRUE(onu().removeDevice("sid3"));
    row.uniPort = 4;
    const auto commands = onu().shellCommands().size();
    EXPECT_FALSE(engine().deprovisionUniSideDataServiceRules(&row));
    EXPECT_FALSE(engine().deConfigureUniTagRules(4, 3));
    EXPECT_FALSE(engine().deConfigureUniInterface(4, 3));
    EXPECT_EQ(onu().shellCommands().size(), commands);
}

// Its number counts from 0 in the table's name.
TEST_F(UniRemoval, APortsDscpTableGoesWithItsBridge) {
    m_BridgeIdToUniId[5] = 4;
    auto record = service(false);
    record.bridgeId = 5;
    const auto run = commandsOf([&] { EXPECT_TRUE(engine().deprovisionUniSideBridge(&record)); });
    EXPECT_EQ(std::count(run.begin(), run.end(), "bs /bdmf/d dscp_to_pbit/table=3,qos_mapping=no"), 1);
}

TEST_F(UniRemoval, ThePbitDataOfAServiceIsFlushedOncePerPbit) {
    char ani[] = "gpon3";
    char aniVlan[] = "gpon3.3";
    engine().insertGemPortMapEntry(1000, 7);
    engine().insertUniAllowAllTxRxRules(ani, aniVlan, 7);
    ASSERT_EQ(onu().ruleCount(), 6u);
    auto bridge = service(false);
    bridge.pbitMap = {{0, {1000, 1}}, {3, {4095, 1}}, {5, {1000, 2}}};
    onu().clearTrace();
    const auto printed = printedBy([&] { EXPECT_TRUE(engine().unsetPbitData(&bridge)); });
    EXPECT_EQ(onu().ruleCount(), 0u);
    EXPECT_EQ(countOf(printed, "aniInterfaceName:gpon3 rules are not present!!!"), 1u);  // p-bit 5
    EXPECT_EQ(countOf(printed, "GemPort:4095 is not configured!!!"), 1u);
    EXPECT_EQ(countOf(printed, "gemPortId value of each pBit is: 1000 65535 65535 4095 65535 1000 65535 65535\n"), 1u);
    EXPECT_EQ(countOf(printed, "DEPROVISION BRIDGE SERVICE BridgeId: 3\n"), 2u);
    EXPECT_EQ(flowCalls(), Texts{});
}

TEST_F(UniRemoval, ThePbitDataMayAskForItsVlanFlowsBack) {
    auto bridge = service(true);
    onu().clearTrace();
    EXPECT_TRUE(engine().unsetPbitData(&bridge));
    EXPECT_EQ(flowCalls(), kFlowsBothWays);

    bridge.bridgeId = 8;  // no UNI port: the names stay empty
    const auto printed = printedBy([&] { EXPECT_TRUE(engine().unsetPbitData(&bridge)); });
    EXPECT_EQ(countOf(printed, " Debug uniinterface ,anivirtualname ===> createVlanFlows"), 1u);
    EXPECT_FALSE(engine().unsetPbitData(nullptr));
}

}  // namespace
