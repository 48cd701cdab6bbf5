// The bookkeeping of installed rules, against the rules that really are in the tables.
#include "kit/Rules.h"
#include "support/OnuFixture.h"

namespace {

constexpr VlanTagFilter_t kOuter{3, 100, 4};
constexpr VlanTagFilter_t kInner{15, 4096, 0};

class RuleMap : public OnuFixture {
protected:
    // Installs a rule for this VID on sid0 and records it.
    static unsigned install(std::uint16_t vid) {
        const unsigned id = installOnly(vid);
        const VlanTagFilter_t outer{0, vid, 0};
        EXPECT_TRUE(engine().insertVlanRuleMapEntry("sid0", 1, VLANCTL_DIRECTION_RX, 1, &outer, &kInner, id,
                                                    ETHERTYPE_FILTER_NONE));
        return id;
    }
    static unsigned installOnly(std::uint16_t vid) {
        const kit::VlanCtlSession session;
        kit::TagRule().filterVid(vid, 0);
        unsigned id = VLANCTL_DONT_CARE;
        vlanCtl_insertTagRule("sid0", VLANCTL_DIRECTION_RX, 1, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id);
        return id;
    }
    static bool removeOne(std::uint16_t vid) {
        const VlanTagFilter_t outer{0, vid, 0};
        return engine().deleteVlanRuleIdFromMap("sid0", 1, VLANCTL_DIRECTION_RX, &outer, &kInner);
    }
    static std::vector<std::string> rules() { return onu().ruleTexts("sid0", virtual_onu::kReceive, 1); }
    static VLAN_RULE_MAP_ENTRY* entry() {
        VLAN_RULE_MAP_ENTRY* found = nullptr;
        engine().findVlanRuleMapEntry("sid0", 1, &found);
        return found;
    }
    static std::vector<unsigned> recordedVids() {
        std::vector<unsigned> vids;
        for (std::uint32_t i = 0; i < entry()->nbrOfNewRules; ++i) vids.push_back(entry()->newRules[i].outer.vlanId);
        return vids;
    }
};

TEST_F(RuleMap, ARuleThatVlanctlRefusedIsNotRecorded) {
    EXPECT_EQ(printedBy([] {
                  EXPECT_FALSE(engine().insertVlanRuleMapEntry("sid0", 1, 0, 2, &kOuter, &kInner, VLANCTL_DONT_CARE,
                                                               ETHERTYPE_FILTER_ARP));
              }),
              "Invalid rule[VLANCTL_DONT_CARE] received!!! ifName=sid0, phyId=1, dir=0, nbrOfTags=2, tagRuleId=-1, "
              "etherType:3");
    EXPECT_FALSE(engine().insertVlanRuleMapEntry("sid0", 1, 0, 2, VLANCTL_DONT_CARE));
    for (int missing = 0; missing < 3; ++missing)
        EXPECT_FALSE(engine().insertVlanRuleMapEntry(missing == 0 ? nullptr : "sid0", 1, 0, 2,
                                                     missing == 1 ? nullptr : &kOuter, missing == 2 ? nullptr : &kInner,
                                                     7, ETHERTYPE_FILTER_ARP))
            << missing;
    EXPECT_EQ(entry(), nullptr);
}

TEST_F(RuleMap, TheNinetySeventhRuleIsRefusedWithoutALimitMessage) {
    for (unsigned id = 1; id <= 96; ++id) EXPECT_TRUE(engine().insertVlanRuleMapEntry("sid0", 1, 0, 1, id));
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().insertVlanRuleMapEntry("sid0", 1, 0, 1, 97)); }),
              "findVlanRuleMapEntry: Entry Found for  ifName: sid0 phyId: 1 \n "
              "insertVlanRuleMapEntry ===> , ifName=sid0, phyId=1, dir=0, nbrOfTags=1, tagRuleId=97, "
              "nbrOfNewRules=96, ret=0\n");
    EXPECT_EQ(engine().getnbrOfNewRules("sid0", 1), 96u);
    EXPECT_EQ(entry()->newRules[95].tagRuleId, 96u);
}

TEST_F(RuleMap, TheLastRuleMovesIntoTheGap) {
    install(10), install(11), install(12);
    EXPECT_TRUE(removeOne(10));
    EXPECT_EQ(recordedVids(), (std::vector<unsigned>{12, 11}));
    EXPECT_EQ(entry()->newRules[2].tagRuleId, 0u) << "slots past the count are zero";
    EXPECT_EQ(rules(), (std::vector<std::string>{"vid0=11", "vid0=12"}));
    EXPECT_FALSE(removeOne(10));
}

TEST_F(RuleMap, TheEntryGoesWithItsLastRuleEvenOneThatVlanctlKeeps) {
    install(10);
    engine().copyVlanRuleMapEntry("sid0", 1);
    const unsigned id = install(11);
    onu().failNext("vlanCtl_removeTagRule", 1, 5);
    const std::string printed = printedBy([] { EXPECT_TRUE(removeOne(11)); });
    EXPECT_NE(printed.find("###S Entry found for UNI tagRuleId: " + std::to_string(id) +
                           " Direction: 0 Name: sid0 nbrOfTags: 0 retVal: 5\n"),
              std::string::npos);
    EXPECT_EQ(rules(), (std::vector<std::string>{"vid0=11"})) << "what waited for its removal goes too";
    EXPECT_EQ(entry(), nullptr);
    EXPECT_FALSE(engine().copyVlanRuleMapEntry("sid0", 1));
    EXPECT_FALSE(engine().removeVlanRuleMapEntry("sid0", 1));
}

TEST_F(RuleMap, ReplacingInstallsTheNewRulesBeforeTheOldOnesGo) {
    install(10), install(11);
    EXPECT_TRUE(engine().copyVlanRuleMapEntry("sid0", 1));
    EXPECT_TRUE(recordedVids().empty());
    install(20);
    EXPECT_EQ(rules(), (std::vector<std::string>{"vid0=10", "vid0=11", "vid0=20"}));

    onu().clearTrace();
    EXPECT_TRUE(engine().removeVlanRuleMapEntry("sid0", 1));
    const std::vector<std::string> calls = {
        "vlanCtl_init() = 0", "vlanCtl_removeTagRule(\"sid0\", 0, 1, 1) = 0", "vlanCtl_cleanup() = 0",
        "vlanCtl_init() = 0", "vlanCtl_removeTagRule(\"sid0\", 0, 1, 2) = 0", "vlanCtl_cleanup() = 0",
    };
    EXPECT_EQ(onu().traceTexts(virtual_onu::CallKind::Platform), calls) << "each removal opens and closes vlanctl";
    EXPECT_EQ(rules(), (std::vector<std::string>{"vid0=20"}));
    EXPECT_EQ(entry()->nbrOfOldRules, 0u);
}

TEST_F(RuleMap, EveryFieldTellsRulesApartWhenAsked) {
    engine().insertVlanRuleMapEntry("sid0", 1, 0, 1, &kOuter, &kInner, 7, ETHERTYPE_FILTER_IPV4);
    struct Case {
        const char* name;
        unsigned short dir;
        VlanTagFilter_t outer, inner;
        VlanFilterEtherType type;
        bool found;
    };
    const Case cases[] = {
        {"equal", 0, kOuter, kInner, ETHERTYPE_FILTER_IPV4, true},
        {"direction", 1, kOuter, kInner, ETHERTYPE_FILTER_IPV4, false},
        {"outer p-bits", 0, {4, 100, 4}, kInner, ETHERTYPE_FILTER_IPV4, false},
        {"outer VID", 0, {3, 101, 4}, kInner, ETHERTYPE_FILTER_IPV4, false},
        {"outer TPID", 0, {3, 100, 5}, kInner, ETHERTYPE_FILTER_IPV4, false},
        {"inner p-bits", 0, kOuter, {14, 4096, 0}, ETHERTYPE_FILTER_IPV4, false},
        {"inner VID", 0, kOuter, {15, 4095, 0}, ETHERTYPE_FILTER_IPV4, false},
        {"inner TPID", 0, kOuter, {15, 4096, 4}, ETHERTYPE_FILTER_IPV4, false},
        {"EtherType", 0, kOuter, kInner, ETHERTYPE_FILTER_ARP, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(engine().isVlanRuleMapExist("sid0", 1, c.dir, &c.outer, &c.inner, c.type), c.found) << c.name;
    }
    engine().copyVlanRuleMapEntry("sid0", 1);
    EXPECT_FALSE(engine().isVlanRuleMapExist("sid0", 1, 0, &kOuter, &kInner, ETHERTYPE_FILTER_IPV4))
        << "the remove area is not searched";
}

TEST_F(RuleMap, FlushingAUniTakesItsRulesFromBothAreas) {
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(engine().flushUniSideVlanRules(3, 9)); }),
              "\nPHY_ETHERNET:getInterfaceName sid8uniInterfaceName:sid8 is not present!!!");
    const std::string printed = printedBy([] { EXPECT_FALSE(engine().flushUniSideVlanRules(3, 1)); });
    EXPECT_NE(printed.find("uniInterfaceName:sid0 rules are not present!!!"), std::string::npos);
    install(10);
    engine().copyVlanRuleMapEntry("sid0", 1);
    install(11);
    EXPECT_TRUE(engine().flushUniSideVlanRules(3, 1));
    EXPECT_TRUE(rules().empty());
    EXPECT_EQ(entry(), nullptr);
}

TEST_F(RuleMap, FlushingTheAniSideGoesByGemIndex) {
    const auto refused = [](const char* why) {
        const std::string printed = printedBy([] { EXPECT_FALSE(engine().flushAniSideVlanRules(3, 500)); });
        EXPECT_NE(printed.find(why), std::string::npos) << printed;
    };
    refused("GemPort:500 is not configured!!!");
    engine().insertGemPortMapEntry(500, 12);
    refused("aniInterfaceName:gpon3 is not present!!!");
    onu().addDevice("gpon3", "gpondef");
    engine().insertVlanRuleMapEntry("gpon3", 500, 0, 1, 7);
    refused("aniInterfaceName:gpon3 rules are not present!!!");
    engine().insertVlanRuleMapEntry("gpon3", 12, 0, 1, 8);
    EXPECT_TRUE(engine().flushAniSideVlanRules(3, 500));
    EXPECT_FALSE(engine().findVlanRuleMapEntry("gpon3", 12));
}

}  // namespace
