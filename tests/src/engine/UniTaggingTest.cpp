// The rules that the rows of a UNI leave on the device.
#include "platform/vlanctl.h"
#include "src/engine/UniRows.h"

namespace {

using Texts = std::vector<std::string>;

struct RuleCase {
    Row row;
    std::string rule;
};

class UniTagging : public UniRows {
protected:
    // Each case on a UNI without rules.
    static void check(const std::vector<RuleCase>& cases, std::uint16_t downstreamMode, bool downstreamOnly) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
            SCOPED_TRACE("case " + std::to_string(i) + ": " + cases[i].rule);
            provision(cases[i].row, downstreamMode);
            auto found = rules();
            if (downstreamOnly) found.erase(found.begin());  // the one upstream rule
            EXPECT_EQ(found, Texts{cases[i].rule});
            engine().flushUniSideVlanRules(3, 1);
            EXPECT_EQ(rules(), Texts{});
        }
    }

    static std::string provisionAndRead(const Row& row) {
        return printedBy([&] { provision(row); });
    }
};

// ---- one upstream rule a row: a downstream mode other than the inverse makes no downstream rule ----

// Most other codes are in the recorded ports full of rows.
TEST_F(UniTagging, RareTpidCodesAndTheirDeiMakeTheirUpstreamRule) {
    check(
        {
            {{1, kNoTag, {7, 4094, 3}, 0, kNone, 0, kNoTag, kNoTag}, "rx1 pbits0=7 vid0=4094"},
            {{1, kNoTag, {8, 10, 7}, 4, kNone, 0, kNoTag, kNoTag}, "rx1 vid0=10 type=0x88a8 cfi0=1 tagtype0=0x8864"},
            {{2, {1, 10, 6}, {2, 20, 7}, 3, kNone, 0, kNoTag, kNoTag},
             "rx2 pbits0=1 vid0=10 pbits1=2 vid1=20 type=0x88a8 cfi0=0 tagtype0=0x88a8 cfi1=1 tagtype1=0x0806"},
            {{1, kNoTag, {8, 4096, 0}, 0, kPop, 1, kNoTag, {7, 4095, 5}}, "rx1 | pop pbits0:=7"},
        },
        1, false);
}

// ---- the downstream rule of a tagged row ----

TEST_F(UniTagging, TheDownstreamRuleFiltersOnTheTreatmentAndRestoresTheFilters) {
    check(
        {
            {{1, kNoTag, {7, 4094, 7}, 0, kTranslate, 1, kNoTag, {10, 4095, 5}},
             "tx1 | pbits0:=7 vid0:=4094 type:=0x88a8 cfi0:=1"},
            {{2, {1, 10, 6}, {2, 20, 7}, 1, kTranslate, 2, {3, 30, 6}, {4, 40, 7}},
             "tx2 pbits0=3 vid0=30 type=0x9100 cfi0=0 pbits1=4 vid1=40 tagtype0=0x9100 cfi1=1 | pbits0:=1 vid0:=10 "
             "type:=0x88a8 cfi0:=0 tagtype0:=0x88a8 cfi1:=1 pbits1:=2 vid1:=20 tagtype1:=0x0800"},
            {{2, {8, 4095, 4}, {8, 4095, 5}, 4, kNone, 2, {7, 4094, 4}, {8, 4095, 4}},
             "tx2 pbits0=7 vid0=4094 type=0x8100 tagtype0=0x8100 | type:=0x8100 tagtype0:=0x88a8"},
        },
        0, true);
}

TEST_F(UniTagging, TheDownstreamTableFollowsFilteredRemovedAndAddedTags) {
    struct {
        std::uint32_t filterType, removeType;
        unsigned none, inner, outer, both;  // the table by the tags that the treatment added
        std::string printed;
    } const cases[] = {
        {1, 2, 0, 0, 0, 1, "filterType VLAN_FILTER_TYPE_SINGLE_TAGremoveType VLAN_TREATMENT_REMOVE_BOTH"},
        {0, 2, 0, 0, 0, 0, "untagged...untagged...removeType VLAN_TREATMENT_REMOVE_BOTH"},
        {7, 1, 0, 0, 0, 1, "untagged...removeType VLAN_TREATMENT_REMOVE_OUTER"},
    };
    const std::string tables[] = {"untagged...", "txFilterType VLAN_FILTER_TYPE_SINGLE_TAG...",
                                  "txFilterType VLAN_FILTER_TYPE_DOUBLE_TAG..."};
    char uni[] = "sid0";
    char uniVlan[] = "sid0.3";
    vlanCtl_init();
    for (const auto& c : cases) {
        const unsigned expected[] = {c.none, c.inner, c.outer, c.both};
        for (unsigned added = 0; added < 4; ++added) {
            const std::string where = c.printed + "...txFilterType:" + std::to_string(expected[added]);
            SCOPED_TRACE(where + ", added " + std::to_string(added));
            VlanExtVlanTagOper_t row{};
            row.outer_treatment.prio = (added & 2) != 0 ? 0 : 15;
            row.inner_treatment.prio = (added & 1) != 0 ? 0 : 15;
            row.filterType = c.filterType;
            row.removeType = c.removeType;
            const auto printed = printedBy(
                [&] { engine().insertExtVlanDsTagRules(0, 0, VLAN_TAG_ACTION_NONE, &row, 1, uni, uniVlan, false); });
            EXPECT_TRUE(contains(printed, where + tables[expected[added]])) << printed;
            EXPECT_EQ(onu().rules("sid0", virtual_onu::kTransmit, expected[added]).size(), 1u);
            EXPECT_TRUE(engine().deleteVlanRuleMapEntry(uni, 1));
        }
    }
    vlanCtl_cleanup();
}

// ---- the rows of a UNI ----

TEST_F(UniTagging, RowsThatNameVlanOneLoseADownstreamRule) {
    Row untagged = kUntaggedToS100;
    untagged.outerFilter.vlanId = 1;
    EXPECT_TRUE(contains(provisionAndRead(untagged), " IGNORE the VLAN 1 in DOWNSTREAM"));
    EXPECT_EQ(rules().size(), 2u);
    engine().flushUniSideVlanRules(3, 1);

    EXPECT_TRUE(contains(provisionAndRead({1, kNoTag, {2, 1, 4}, 0, kTranslate, 1, kNoTag, {5, 200, 4}}),
                         " IGNORE the VLAN 1 in DOWNSTREAM"));
    EXPECT_EQ(rules(), (Texts{"rx1 pbits0=2 vid0=1 type=0x8100 | pbits0:=5 vid0:=200 type:=0x8100"}));
}

TEST_F(UniTagging, APppoeDiscoveryRowEndsAsOneOfSessions) {
    VlanExtVlanTagOper_t row{
        {15, 4096, 0}, {15, 0, 0}, {3, 10, 0}, {5, 200, 0}, 1, ETHERTYPE_FILTER_PPPOE_DISCOVERY, 1};
    const VlanExtVlanTagOperInfo_t info{0x8100, 0x8100, 1, 0, &row};
    VlanTagAction action = VLAN_TAG_ACTION_TRANSLATE;
    char uni[] = "sid0";
    char uniVlan[] = "sid0.3";
    EXPECT_TRUE(engine().insertUniTagRules(&info, 1, 3, uni, uniVlan, action, false));
    EXPECT_EQ(row.etherType, ETHERTYPE_FILTER_PPPOE_SESSION);
    const VlanExtVlanTagOperInfo_t without{0x8100, 0x8100, 1, 0, nullptr};
    EXPECT_FALSE(engine().insertUniTagRules(&without, 1, 3, uni, uniVlan, action, false));
}

TEST_F(UniTagging, DefaultRowsAndDiscardingRowsInstallNothing) {
    const Tag marker = {14, 4096, 0};
    provision({0, kNoTag, kNoTag, 0, kNone, 0, kNoTag, kNoTag});
    provision({1, kNoTag, marker, 0, kNone, 0, kNoTag, kNoTag});
    provision({2, marker, marker, 0, kNone, 0, kNoTag, kNoTag});
    provision({0, kNoTag, kNoTag, 2, kPush, 3, kNoTag, {2, 100, 4}});  // PPPoE: no second pair either
    EXPECT_EQ(rules(), Texts{});
    provision({0, kNoTag, kNoTag, 1, kNone, 0, kNoTag, kNoTag}, 1);  // an EtherType makes it no default row
    EXPECT_EQ(rules(), (Texts{"rx0 type=0x0800"}));
}

TEST_F(UniTagging, AUniWithoutARowLetsEverythingPassInPlaceOfEarlierRules) {
    provision(kC10ToS200);
    auto plain = record(kUntaggedToS100);
    plain.hasTagRules = 0;
    const auto printed = printedBy([&] { engine().configureUniTagRules(&plain); });
    EXPECT_TRUE(contains(printed, "Delete Uni Vlan Map of UniInterfaceName:sid0, uniPort:1"));
    EXPECT_EQ(rules(), (Texts{"rx0", "rx1", "rx2", "tx0", "tx1", "tx2"}));
    EXPECT_EQ(engine().getnbrOfNewRules("sid0", 1), 6u);
}

TEST_F(UniTagging, AnIpHostRowStandsInFrontAndTheOtherWayRound) {
    ASSERT_TRUE(engine().configureBridge(3, 2, true));
    VlanExtVlanTagOper_t row{{15, 4096, 0}, {15, 0, 0}, {3, 10, 0}, {5, 200, 0}, 1, ETHERTYPE_FILTER_NONE, 1};
    const VlanExtVlanTagOperInfo_t info{0x8100, 0x8100, 1, 0, &row};
    VlanTagAction action = VLAN_TAG_ACTION_TRANSLATE;
    char bridge[] = "br3";
    char host[] = "br3.2";
    onu().clearTrace();
    EXPECT_TRUE(engine().insertUniTagRules(&info, 2, 3, bridge, host, action, true));
    EXPECT_EQ(onu().ruleTexts("br3", virtual_onu::kTransmit, 1),
              (Texts{"txdev=br3.2 pbits0=3 vid0=10 | pbits0:=5 vid0:=200"}));
    EXPECT_EQ(onu().ruleTexts("br3", virtual_onu::kReceive, 1),
              (Texts{"rxdev=br3.2 pbits0=5 vid0=200 | pbits0:=3 vid0:=10"}));
    EXPECT_EQ(traced("vlanCtl_insertTagRule("), (Texts{"vlanCtl_insertTagRule(\"br3\", 1, 1, 0, 0, &1) = 0",
                                                       "vlanCtl_insertTagRule(\"br3\", 0, 1, 2, 4294967295, &2) = 0"}));
    engine().deleteVlanRuleMapEntry("br3", 2);
}

TEST_F(UniTagging, RowsOfOtherPortsAndMissingBridgesAreLeftAlone) {
    auto row = record(kC10ToS200);
    row.uniPort = 5;
    EXPECT_TRUE(engine().configureUniInterface(&row));
    EXPECT_FALSE(onu().deviceExists("sid4.3"));
    row.uniPort = 6;
    EXPECT_TRUE(
        contains(printedBy([&] { EXPECT_TRUE(engine().configureUniTagRules(&row)); }),
                 "createIpHostVlanRules Should not enter in this condition as IpHost is handled separately\n "));
    EXPECT_EQ(onu().ruleCount(), 0u);
    row.uniPort = 1;
    row.bridgeId = 9;
    EXPECT_FALSE(engine().configureUniInterface(&row));
    EXPECT_FALSE(engine().configureUniInterface(nullptr));
    EXPECT_FALSE(engine().configureUniTagRules(nullptr));
}

// ---- what the OAM agent learns ----

TEST_F(UniTagging, TheOamAgentLearnsTheVlansOfARowThatServes) {
    const std::string devices = " vlan flow for uniVirtualName:sid0.3 aniVirtualName:gpon3.3 ";
    const struct {
        Tag outerFilter, innerFilter, outerTreatment, innerTreatment;
        std::string told;  // behind the row's own numbers
    } cases[] = {
        {{15, 4094, 0}, {15, 1, 0}, {1, 4093, 0}, {1, 100, 0}, "Prio Creating" + devices + "stag: 4093 ceVlanId: 1 \n"},
        {{15, 0, 0},
         {15, 0, 0},
         {15, 4094, 0},
         {1, 100, 0},
         "Creating Creating" + devices + "stag: 4095 ceVlanId: 4095 \n"},
        {{15, 0, 0}, {15, 0, 0}, {15, 0, 0}, {1, 1, 0}, "Creating Creating" + devices + "stag: 4095 ceVlanId: 4095 \n"},
        {{3, 4094, 0}, {4, 20, 0}, {1, 1, 0}, {1, 300, 0}, "Tagged Creating" + devices + "stag: 300 ceVlanId: 20 \n"},
        {{3, 4093, 0}, {4, 20, 0}, {1, 4085, 0}, {1, 1, 0}, "Not sending CPE mgmt stag/cetag Notifications Tagged"},
    };
    for (const auto& c : cases) {
        // A discarding row: rules do not matter here.
        const auto printed =
            provisionAndRead({1, c.outerFilter, c.innerFilter, 0, kNone, 3, c.outerTreatment, c.innerTreatment});
        EXPECT_TRUE(contains(printed, c.told)) << c.told << " is not in " << printed;
        EXPECT_EQ(contains(printed, "opStatus:1"), c.told[0] == 'P' || c.told[0] == 'T') << c.told;
    }
}

}  // namespace
