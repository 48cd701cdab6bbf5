// ANI-side tag rules: what is on the device after a bridge service has been provisioned.
#include <cstring>

#include "src/engine/AniService.h"

namespace {

using virtual_onu::kReceive;
using virtual_onu::kTransmit;
using Lines = std::vector<std::string>;

constexpr const char* kTciText = "B0640FFE";  // p-bits 5, CFI, VID 100; VID 4094

class AniRules : public AniService {};

// ---- Forward operations ----

// The others are in operator-forward-operations.json, call by call.
TEST_F(AniRules, ManyForwardOperationsAreAnotherOneInEachDirection) {
    const struct {
        unsigned operation, up, down;
    } cases[] = {
        {15, 3, 3}, {28, 3, 3}, {16, 4, 4}, {29, 4, 4},  {17, 7, 7},  {30, 7, 7}, {18, 8, 8},  {31, 8, 8},  {22, 3, 2},
        {23, 4, 2}, {24, 7, 2}, {25, 8, 2}, {26, 11, 2}, {27, 12, 2}, {34, 0, 0}, {128, 0, 0}, {255, 0, 0},
    };
    const auto rulesOf = [](unsigned operation, unsigned direction) {
        const auto record = service(operation, kTciText, 2);
        configure(record);
        std::string rules;
        for (const unsigned tags : {0u, 1u, 2u})
            for (const auto& rule : onu().ruleTexts("gpon3", direction, tags)) rules += rule + "\n";
        engine().flushAniSideVlanRules(3, kGemPort);
        engine().deprovisionAniSideBridge(&record);
        engine().configureBridge(3, 0, false);
        return rules;
    };
    for (const auto& c : cases) {
        EXPECT_EQ(rulesOf(c.operation, kTransmit), rulesOf(c.up, kTransmit)) << c.operation;
        EXPECT_EQ(rulesOf(c.operation, kReceive), rulesOf(c.down, kReceive)) << c.operation;
    }
    EXPECT_TRUE(contains(rulesOf(7, kTransmit), "txdev=gpon3.3 pbits0=5 | mark-gem:=7 mark-queue:=2\n"));
}

TEST_F(AniRules, RulesOfAnIgmpServiceNameItsProtocolUpstreamAndMostGoFirst) {
    const struct {
        unsigned operation, tags;
        bool receivedFirst, transmittedFirst;
        const char *received, *transmitted;  // what the table then has in front, or at its end
    } cases[] = {
        {4, 1, true, true, "rxdev=gpon3.3 gem=8 vid0=100 | mark-queue:=300",
         "txdev=gpon3.3 ipproto=2 vid0=100 | mark-gem:=8 mark-queue:=300"},
        // rules for p-bits have an octet for the queue
        {8, 1, false, false, "rxdev=gpon3.3 gem=8 pbits0=5 | mark-queue:=44",
         "txdev=gpon3.3 ipproto=2 pbits0=5 | mark-gem:=8 mark-queue:=44"},
    };
    onu().addGemPort(900, 8);
    configure(service(0));
    for (const auto& c : cases) {
        auto igmp = service(c.operation, "B064", 1);
        igmp.pbitMap[0] = {900, 300};
        igmp.protocolNumber = 2;
        EXPECT_EQ(configure(igmp), 1);
        const Lines received = onu().ruleTexts("gpon3", kReceive, c.tags);
        EXPECT_EQ(c.receivedFirst ? received.front() : received.back(), c.received);
        const Lines transmitted = onu().ruleTexts("gpon3", kTransmit, c.tags);
        EXPECT_EQ(c.transmittedFirst ? transmitted.front() : transmitted.back(), c.transmitted);
    }
}

// ---- TCI lists ----

std::string tciList(unsigned entries) {
    std::string text;
    for (unsigned vid = 1; vid <= entries; ++vid) text += "000" + std::string(1, "0123456789ABCDEF"[vid % 16]);
    return text;
}

TEST_F(AniRules, ATciListMakesARuleForEachTciThatIsThereAndNoOther) {
    const struct {
        unsigned announced;
        std::string text;
        unsigned ruled;
    } cases[] = {
        {0, "", 0},          {0, tciList(3), 0}, {12, tciList(12), 12}, {13, tciList(13), 12}, {254, tciList(64), 12},
        {12, tciList(2), 2}, {2, "000100", 1},   {2, "0001000", 0},     {2, "0001zz02", 0},    {255, tciList(3), 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::to_string(test.announced) + " of " + test.text);
        auto record = service(4, "", test.announced);
        std::memcpy(record.vlanTciFilterList, test.text.data(), test.text.size());
        std::string printed;
        EXPECT_EQ(configure(record, &printed), 1);
        // The log tells what the record says, whatever its text holds.
        const std::string reported =
            "numberOfEntries:" + std::to_string((test.announced + 1) % 256) + ", forwardOperation:0x4";
        EXPECT_NE(printed.find(reported), std::string::npos);
        Lines expected;
        for (unsigned vid = 1; vid <= test.ruled; ++vid)
            expected.push_back("rxdev=gpon3.3 gem=7 vid0=" + std::to_string(vid) + " | mark-queue:=2");
        for (const unsigned tags : {1u, 2u}) EXPECT_EQ(onu().ruleTexts("gpon3", kReceive, tags), expected);
        printedBy([] { engine().flushAniSideVlanRules(3, kGemPort); });
    }
}

// ---- Traffic models, p-bits, GEM ports ----

TEST_F(AniRules, OnlyTheFilteringTrafficModelsMakeRules) {
    for (const unsigned model : {0u, 1u, 3u, 4u, 6u}) {
        onu().clearTrace();
        auto record = service(3, kTciText, 2);
        record.trafficModel = static_cast<std::uint8_t>(model);
        EXPECT_EQ(configure(record), 1) << model;
        const Lines calls = onu().traceTexts(virtual_onu::CallKind::Platform);
        EXPECT_EQ(calls, Lines{"gponCtl_getGemPort(1000, &7) = 0"}) << model;
    }
    auto record = service(3, kTciText, 2);
    record.trafficModel = 5;
    EXPECT_EQ(configure(record), 1);
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 1).size(), 2u);
}

TEST_F(AniRules, AnUnknownTrafficModelTouchesNothing) {
    onu().clearTrace();
    auto record = service(3, kTciText, 2);
    record.trafficModel = 7;
    std::string printed;
    EXPECT_EQ(configure(record, &printed), 0);
    EXPECT_EQ(printed,
              "EtherSwitchBcm380::configureAniTagRules through TMB-->TME-->SME-->SEBCM380"
              "Invalid trafficModel:7 received");
    EXPECT_EQ(engine().configureAniTagRules(nullptr), 0);
    VlanTciFilterInfo_t filters{};
    engine().getTagFilters(nullptr, 2, &filters);
    EXPECT_EQ(filters.entries, nullptr);
    char device[] = "gpon3", vlan[] = "gpon3.3";
    engine().insertAniFilterTagRules(nullptr, kReceive, kGemIndex, device, vlan, 0);
    EXPECT_TRUE(onu().traceTexts(virtual_onu::CallKind::Platform).empty());
}

TEST_F(AniRules, ARepeatedServiceKeepsTheFirstGemIndexAndItsCatchAll) {
    configure(service(5, "0064", 1));
    const GponCtlGemPortDeconfig moved = {kGemIndex, kGemPort};
    gponCtl_deconfigGemPort(&moved);
    onu().addGemPort(kGemPort, 9);
    std::string printed;
    configure(service(5, "0064", 1), &printed);
    EXPECT_TRUE(contains(printed, "Gem Port Entry already existed"));
    std::uint16_t index = 0;
    EXPECT_EQ(printedBy([&] { EXPECT_TRUE(engine().getGemIdxFromGemPortMapEntry(kGemPort, &index)); }),
              "GemPort:1000 configured GemIndex:7");
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(engine().insertGemPortMapEntry(kGemPort, 9)); }),
              "Already exists GemPort:1000 with GemIndex:9");
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 1),
              (Lines{"txdev=gpon3.3", "txdev=gpon3.3 vid0=100 | mark-gem:=7 mark-queue:=2 drop",
                     "txdev=gpon3.3 vid0=100 | mark-gem:=9 mark-queue:=2 drop"}));
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 0), Lines{"txdev=gpon3.3"});
}

// A rule that never got onto the device must not be recorded: its removal would take another service's rule.
TEST_F(AniRules, ARefusedRuleIsNotRecorded) {
    onu().failNext("vlanCtl_insertTagRule", 4, 1);  // the first three go onto gpondef
    std::string printed;
    configure(service(4, "0064", 1), &printed);
    EXPECT_TRUE(
        contains(printed, "Invalid rule[VLANCTL_DONT_CARE] received!!! ifName=gpon3, phyId=7, dir=0, nbrOfTags=1"));
    unsigned known = 0;
    printedBy([&] { known = engine().getnbrOfNewRules("gpon3", kGemIndex); });
    EXPECT_EQ(known, 3u);
    EXPECT_TRUE(onu().ruleTexts("gpon3", kReceive, 1).empty());
    EXPECT_EQ(onu().ruleTexts("gpon3", kReceive, 2).size(), 1u);
}

}  // namespace
