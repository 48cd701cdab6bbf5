// Multicast: the downstream path to the VEIP side, the tagging row as rules on it, the proxy's configuration file.
#include <tuple>

#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "platform/vlanctl.h"
#include "src/engine/AniService.h"

namespace {

using virtual_onu::kReceive;
using virtual_onu::kTransmit;
using Lines = std::vector<std::string>;

// One tag of a filter or an action: p-bits, VID, TPID code.
struct MulticastTag {
    std::uint16_t pbits, vid, tpid;
};
constexpr MulticastTag kNoMulticastTag = {15, 4096, 0};

struct MulticastCase {
    const char* name;
    std::uint16_t filterTags, treatment, remove, etherType;
    MulticastTag outerFilter, innerFilter, outerAction, innerAction;
    const char* upstream;
    unsigned table;  // of the downstream rule
    const char* downstream;
};

class Multicast : public AniService {
protected:
    // The VEIP and the device under it exist before a multicast service comes.
    void SetUp() override {
        AniService::SetUp();
        onu().addDevice("gpon0.0");
        onu().addDevice("veip0", "gpon0.0");
    }

    static BridgeServiceProvisioning multicast(const MulticastCase& row) {
        const auto& [outer, inner] = std::tie(row.outerFilter, row.innerFilter);
        const auto& [outerTo, innerTo] = std::tie(row.outerAction, row.innerAction);
        // clang-format off
        return {kGemPort, 3, "", 0, 0, 2, {{0, {kGemPort, 2}}}, 0, 1, 1, 0x88A8, 0x9100, 0,
                row.filterTags, row.treatment, row.etherType, outer.tpid, outer.vid, outer.pbits,
                inner.tpid, inner.vid, inner.pbits, row.remove, outerTo.tpid, outerTo.vid, outerTo.pbits,
                innerTo.tpid, innerTo.vid, innerTo.pbits, 0};
        // clang-format on
    }
};

// ---- The tagging row ----

// clang-format off
const MulticastCase kMulticastCases[] = {
    //                F  T  R  type
    {"PushOnUntagged", 0, 1, 0, 0, kNoMulticastTag, kNoMulticastTag, kNoMulticastTag, {5, 200, 3},
     "rxdev=veip0 | push pbits0:=5 vid0:=200 type:=0x9100",
     1, "txdev=veip0 pbits0=5 vid0=200 type=0x9100 | pop"},
    {"DscpOnPppoe", 0, 1, 0, 2, kNoMulticastTag, kNoMulticastTag, kNoMulticastTag, {10, 4094, 4},
     "rxdev=veip0 type=0x8863 | push pbits0:=dscp vid0:=4094 type:=0x8100",
     1, "txdev=veip0 vid0=4094 type=0x8100 | pop"},
    {"TranslateSingleTag", 1, 6, 0, 1, kNoMulticastTag, {3, 100, 5}, kNoMulticastTag, {8, 300, 6},
     "rxdev=veip0 pbits0=3 vid0=100 type=0x88a8 tagtype0=0x0800 | vid0:=300 type:=0x9100 cfi0:=0",
     2, "txdev=veip0 vid0=300 type=0x9100 cfi0=0 | pbits0:=3 vid0:=100 type:=0x88a8"},
    {"TranslateCopiesTheVid", 1, 6, 1, 3, kNoMulticastTag, {7, 4094, 4}, kNoMulticastTag, {9, 4096, 1},
     "rxdev=veip0 pbits0=7 vid0=4094 type=0x8100 tagtype0=0x0806 | vid0:=vid1 tagtype0:=tagtype0 cfi0:=cfi0",
     1, "txdev=veip0 vid0=4094 | tagtype0:=tagtype0 cfi0:=cfi0 pbits0:=7 vid0:=4094 type:=0x8100"},
    {"PushCopiesFromTheTagThere", 1, 1, 1, 4, kNoMulticastTag, {4, 100, 7}, kNoMulticastTag, {8, 4096, 0},
     "rxdev=veip0 pbits0=4 vid0=100 type=0x88a8 cfi0=1 tagtype0=0x8864 "
     "| push pbits0:=pbits1 vid0:=vid1 tagtype0:=tagtype1 cfi0:=cfi1",
     1, "txdev=veip0 pbits0=4 vid0=100 | tagtype0:=tagtype1 cfi0:=cfi1 pop pbits0:=4 vid0:=100 type:=0x88a8 cfi0:=1"},
    {"CopiedPbitsWithoutAValueAreNotFilteredOn", 2, 1, 2, 0, {15, 9, 4}, {14, 4095, 3}, kNoMulticastTag, {8, 4096, 2},
     "rxdev=veip0 type=0x8100 | push pbits0:=pbits1 type:=0x9100 cfi0:=cfi1",
     1, "txdev=veip0 | type:=0x9100 cfi0:=cfi1 pop"},
    {"PushTwoOnUntagged", 0, 4, 0, 5, kNoMulticastTag, kNoMulticastTag, {7, 4000, 7}, {0, 1, 6},
     "rxdev=veip0 type=0x86dd | push push pbits0:=7 vid0:=4000 type:=0x9100 cfi0:=1 pbits1:=0 vid1:=1 "
     "tagtype0:=0x9100 cfi1:=0",
     2, "txdev=veip0 pbits0=7 vid0=4000 type=0x9100 cfi0=1 pbits1=0 vid1=1 tagtype0=0x9100 cfi1=0 | pop pop"},
    {"SwapTwoTags", 2, 6, 0, 6, {1, 10, 6}, {2, 20, 7}, {8, 4096, 4}, {9, 4097, 7},
     "rxdev=veip0 pbits0=1 vid0=10 pbits1=2 vid1=20 type=0x88a8 cfi0=0 tagtype0=0x88a8 cfi1=1 tagtype1=0x888e "
     "| pbits0:=pbits1 vid0:=vid1 type:=0x8100 pbits1:=pbits0 vid1:=vid0 tagtype0:=0x9100 cfi1:=1",
     3, "txdev=veip0 type=0x8100 tagtype0=0x9100 cfi1=1 "
        "| pbits0:=1 vid0:=8 type:=0x88a8 cfi0:=0 tagtype0:=0x88a8 cfi1:=1 pbits1:=2 vid1:=20"},
    {"CopiesNeedTranslation", 2, 1, 1, 7, {8, 4095, 4}, {0, 0, 4}, {8, 4097, 5}, {10, 4096, 4},
     "rxdev=veip0 pbits1=0 vid1=0 type=0x8100 tagtype0=0x8100 | push pbits1:=dscp tagtype0:=0x8100",
     3, "txdev=veip0 tagtype0=0x8100 "
        "| pop vid0:=8 type:=0x88a8 cfi0:=1 tagtype0:=0x8100 pbits1:=0 vid1:=0"},
    {"WrittenTpidsOfTwoTags", 1, 1, 2, 0, kNoMulticastTag, {6, 60, 4}, {1, 2, 3}, {3, 4, 3},
     "rxdev=veip0 pbits0=6 vid0=60 type=0x8100 | push pbits0:=1 vid0:=2 pbits1:=3 vid1:=4",
     1, "txdev=veip0 pbits0=1 vid0=2 pbits1=3 vid1=4 tagtype0=0x9100 "
        "| type:=0x9100 cfi0:=cfi0 pop pbits0:=6 vid0:=60 type:=0x8100"},
    {"PopTwo", 2, 5, 2, 0, {8, 4095, 4}, {14, 4094, 4}, kNoMulticastTag, kNoMulticastTag,
     "rxdev=veip0 vid1=4094 type=0x8100 tagtype0=0x8100 | pop pop", 0, "txdev=veip0 | push push"},
    {"PopOne", 1, 2, 1, 0, kNoMulticastTag, {15, 7, 9}, kNoMulticastTag, kNoMulticastTag, "rxdev=veip0 | pop", 0, "txdev=veip0 | push"},
    {"OuterTreatmentAloneIsNotWritten", 1, 1, 0, 0, kNoMulticastTag, {5, 50, 4}, {3, 30, 4}, kNoMulticastTag,
     "rxdev=veip0 pbits0=5 vid0=50 type=0x8100 | push", 1, "txdev=veip0 | pop"},
};
// clang-format on

class MulticastRow : public Multicast, public ::testing::WithParamInterface<MulticastCase> {};

TEST_P(MulticastRow, BecomesOneUpstreamRuleAndItsInverse) {
    const MulticastCase& row = GetParam();
    configure(multicast(row));
    // The allow-all rules of the VEIP are behind the row's.
    ASSERT_FALSE(onu().ruleTexts("gpon0.0", kReceive, row.filterTags).empty());
    EXPECT_EQ(onu().ruleTexts("gpon0.0", kReceive, row.filterTags).front(), row.upstream);
    ASSERT_FALSE(onu().ruleTexts("gpon0.0", kTransmit, row.table).empty());
    EXPECT_EQ(onu().ruleTexts("gpon0.0", kTransmit, row.table).front(), row.downstream);
}

INSTANTIATE_TEST_SUITE_P(Tagging, MulticastRow, ::testing::ValuesIn(kMulticastCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(Multicast, TheDownstreamTableIsTheNumberOfTagsThatTheFrameThenHas) {
    // By tags filtered on: tables for tags added (none, inner, outer, both), by tags removed.
    constexpr const char* kTables[3][3] = {
        {"0102", "0001", "0000"},
        {"1212", "0102", "0001"},
        {"2323", "1213", "0102"},
    };
    char device[] = "gpon0.0";
    char vlanDevice[] = "veip0";
    vlanCtl_init();
    for (std::uint16_t filtered = 0; filtered < 3; ++filtered) {
        for (std::uint16_t removed = 0; removed < 4; ++removed) {
            for (unsigned added = 0; added < 4; ++added) {
                auto record = multicast({"", filtered, 6, removed, 0, kNoMulticastTag, kNoMulticastTag,
                                         (added & 2) != 0 ? MulticastTag{1, 1, 4} : kNoMulticastTag,
                                         (added & 1) != 0 ? MulticastTag{2, 2, 4} : kNoMulticastTag, "", 0, ""});
                const auto table = static_cast<unsigned>(kTables[filtered][removed % 3][added] - '0');
                const auto before = onu().rules("gpon0.0", kTransmit, table).size();
                const std::string printed =
                    printedBy([&] { engine().insertExtVlanDsTagRules(&record, 1, 7, device, vlanDevice); });
                EXPECT_EQ(onu().rules("gpon0.0", kTransmit, table).size(), before + 1)
                    << filtered << " filtered, " << removed << " removed, " << added << " added";
                const bool fourTags = filtered == 2 && added == 3 && removed % 3 == 0;
                EXPECT_EQ(printed.find("Filter on 4-tagged frames not supported") != std::string::npos, fourTags);
            }
        }
    }
    vlanCtl_cleanup();
}

// ---- The path ----

TEST_F(Multicast, AServicePrintsItsStepsInTheirOrder) {
    printedBy([&] { engine().configureBridge(3, 2, false); });
    auto* hal = HALFactory::getInstance()->CreateHALObject(0);
    auto record = multicast(kMulticastCases[0]);
    record.dsMode = 0;
    record.innerVlanIdFilter = 55;
    const std::string printed = printedBy([&] { EXPECT_EQ(hal->vorn_omci_hal_configureAniTagRules(&record), 0); });
    EXPECT_EQ(EtherSwitchBcm380::multicastEnable, 1);
    std::size_t at = 0;  // the steps in their order
    for (const char* line :
         {"bridgeProv->innerVlanIdFilter 55 uniport 2", "uniInterfaceName:gpon0.0, uniVirtualName:veip0",
          "aniInterfaceName:gpon3, aniVirtualName:gpon3.3 \n ", "multicast case", "Inside  main configureBridge",
          "Inside configureDsMcastIngress_rule  for gemPortIndex=7 \n", "insertExtVlanUsTagRules: insertTagRule Rx",
          "insertExtVlanDsTagRules: insertTagRule", "===> createVlanFlows "}) {
        at = printed.find(line, at);
        ASSERT_NE(at, std::string::npos) << line;
    }
}

TEST_F(Multicast, ADownstreamModeOtherThanInverseMakesNoDownstreamRule) {
    for (const unsigned mode : {1u, 2u, 8u}) {
        auto record = multicast(kMulticastCases[0]);
        record.dsMode = static_cast<std::uint16_t>(mode);
        configure(record);
        for (const std::string& rule : onu().ruleTexts("gpon0.0", kTransmit, 1)) EXPECT_EQ(rule, "txdev=veip0");
        EXPECT_EQ(onu().ruleTexts("gpon0.0", kReceive, 0).front(), kMulticastCases[0].upstream) << mode;
    }
}

TEST_F(Multicast, TheLastServiceIsTheOneThatTheGatewayLearnsOf) {
    onu().addGemPort(1001, 9);
    auto record = multicast(kMulticastCases[0]);
    record.multicastService = 4;
    EXPECT_EQ(configure(record), 4);
    record.gemPortId = 1001;
    onu().clearTrace();
    configure(record);
    int id = 0;
    int index = 0;
    engine().getMcastGemInfo(&id, &index);
    EXPECT_EQ(std::make_pair(id, index), std::make_pair(1001, 9));
    EXPECT_EQ(EtherSwitchBcm380::multicastEnable, 2);
    const Lines log = traced("mcastGemPortId");
    ASSERT_EQ(log.size(), 2u);
    EXPECT_NE(log[0].find("Setting mcastGemPortId: 1001, mcastGemPortIndex: 9"), std::string::npos) << log[0];
    EXPECT_NE(log[1].find("Returning mcastGemPortId: 1001, mcastGemPortIndex: 9"), std::string::npos) << log[1];
    // The next service is an ordinary one again.
    configure(service(4, "0064", 1));
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 1), Lines{"txdev=gpon3.3 vid0=100 | mark-gem:=7 mark-queue:=2"});
}

// ---- The proxy's file ----

constexpr const char* kConf = "/var/mcpd.conf";
constexpr const char* kTemporary = "/var/mcpdTmp.conf";
const std::string kSnooping = "igmp-snooping-interfaces br0 br256 br257 \n";
const std::string kMcast = "igmp-mcast-interfaces gpon256.256 gpon257.257 \n";
const std::string kLong(127, 'x');

TEST_F(Multicast, TheProxyFileIsRewrittenLineByLine) {
    const std::pair<std::string, std::string> files[] = {
        {"", ""},
        {"igmp-robustness 2\nno newline at the end", "igmp-robustness 2\nno newline at the end"},
        {"igmp-snooping-interfaces br0\na\nigmp-mcast-interfaces", kSnooping + "a\n" + kMcast},
        {"# see igmp-snooping-interfaces and igmp-mcast-interfaces\n", kSnooping},
        {kLong + "igmp-mcast-interfaces old\nb\n", kLong + kMcast + "b\n"},
        {"igmp-mcast-interfaces " + kLong + "\n", kMcast + std::string(22, 'x') + "\n"},
        {std::string(120, 'x') + "igmp-snooping-interfaces\n", std::string(120, 'x') + "igmp-snooping-interfaces\n"},
    };
    for (const auto& [before, after] : files) {
        onu().writeFile(kConf, before);
        EXPECT_EQ(EtherSwitchBcm380::updateMcpdConf(), 0);
        EXPECT_EQ(onu().readFile(kConf), after);
        EXPECT_FALSE(onu().readFile(kTemporary));
    }
    EXPECT_EQ(onu().shellCommands().back().text, "mcpctl reload");
    onu().failNext("system", 1, 256);
    EXPECT_EQ(EtherSwitchBcm380::updateMcpdConf(), 256);
}

TEST_F(Multicast, AProxyFileThatCannotBeRewrittenStaysAsItIs) {
    const auto expectRefusal = [&] {
        int result = 0;
        EXPECT_EQ(printedBy([&] { result = EtherSwitchBcm380::updateMcpdConf(); }),
                  "\n MCPD can't open file mcpd.conf \n");
        EXPECT_EQ(result, -1);
        EXPECT_FALSE(onu().readFile(kTemporary));
        EXPECT_TRUE(onu().shellCommands().empty());
    };
    onu().removeFile(kConf);
    expectRefusal();
    EXPECT_FALSE(onu().readFile(kConf));
    onu().writeFile(kConf, "igmp-snooping-interfaces br0\n");
    onu().denyFile(kTemporary);
    expectRefusal();
    EXPECT_EQ(onu().readFile(kConf), "igmp-snooping-interfaces br0\n");
}

}  // namespace
