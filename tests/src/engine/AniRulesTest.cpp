// ANI-side tag rules: what is on the device after a bridge service has been provisioned.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

#include "platform/vlanctl.h"
#include "src/engine/AniService.h"

namespace {

using virtual_onu::kReceive;
using virtual_onu::kTransmit;
using Lines = std::vector<std::string>;

// ---- Forward operations ----

// The table in hal/BridgeRecords.h, from which daemons are written. By code: untagged frames (a: let through by a
// catch-all, o: by a rule of their own, -: not), tagged frames (a, -), each TCI (v, p, t: its VID, p-bits, all of it
// passes; V, P, T: is dropped; -: no rule), received frames (f: filtered like transmitted ones, d: all of the GEM
// port's). "" lets everything pass.
std::map<unsigned, std::string> operationsOfTheHeader() {
    const std::map<std::string, char> untagged = {{"pass", 'o'}, {"default", 'a'}, {"drop", '-'}};
    const std::map<std::string, char> compared = {{"VID", 'v'}, {"p-bits", 'p'}, {"TCI", 't'}, {"", '-'}};
    std::map<unsigned, std::string> operations;
    std::ifstream header(VORN_SCENARIO_DIR "/../src/hal/BridgeRecords.h");
    for (std::string line; std::getline(header, line);) {
        if (line.rfind("    // | 0x", 0) != 0) continue;
        std::vector<std::string> cells;
        std::istringstream columns(line.substr(line.find('|') + 1));
        for (std::string cell; std::getline(columns, cell, '|');) {
            const auto first = std::min(cell.find_first_not_of(' '), cell.size());
            cells.push_back(cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
        }
        std::string operation;
        if (cells.at(2) != "pass") {
            const char kind = compared.at(cells.at(4));
            operation = {untagged.at(cells[1]), cells[2] == "default" ? 'a' : '-',
                         cells[3] == "pass" || kind == '-' ? kind : static_cast<char>(kind & ~0x20),
                         cells.at(5) == "filtered" ? 'f' : 'd'};
        }
        std::istringstream codes(cells[0]);
        for (std::string code; std::getline(codes, code, ',');)
            operations[static_cast<unsigned>(std::stoul(code, nullptr, 16))] = operation;
    }
    return operations;
}

struct Tci {
    const char* pbits;
    const char* cfi;
    const char* vid;
};
constexpr Tci kTcis[] = {{"5", "1", "100"}, {"0", "0", "4094"}};
constexpr const char* kTciText = "B0640FFE";  // the same as hex text

// The rules expected in one table, and how many of them the rule map knows.
struct Expected {
    Lines rules;
    unsigned recorded = 0;
};

Expected gemPortRules(unsigned direction, bool igmp) {
    if (direction == kReceive) return {{"rxdev=gpon3.3 gem=7"}, 1};
    return {{std::string("txdev=gpon3.3 ") + (igmp ? "ipproto=2 " : "") + "| mark-gem:=7 mark-queue:=2"}, 1};
}

std::string tciRule(char kind, const Tci& tci, unsigned direction, bool igmp) {
    const bool receive = direction == kReceive;
    const char field = static_cast<char>(kind | 0x20);
    std::string rule = receive ? "rxdev=gpon3.3 gem=7" : "txdev=gpon3.3";
    if (!receive && igmp) rule += " ipproto=2";
    if (field == 'p' || (field == 't' && !receive)) rule += std::string(" pbits0=") + tci.pbits;
    if (field == 't' && !receive) rule += std::string(" cfi0=") + tci.cfi;
    if (field != 'p') rule += std::string(" vid0=") + tci.vid;
    std::string commands = receive ? (field == 't' ? "" : " mark-queue:=2") : " mark-gem:=7 mark-queue:=2";
    if (field != kind) commands += " drop";
    return commands.empty() ? rule : rule + " |" + commands;
}

Expected filterRules(const std::string& operation, unsigned direction, unsigned tags, bool igmp) {
    Expected expected;
    if (operation[tags == 0 ? 0 : 1] == 'a') {
        expected.rules = {direction == kReceive ? "rxdev=gpon3.3" : "txdev=gpon3.3"};
    }
    Lines added;
    if (tags == 0 && operation[0] == 'o') {
        added =
            direction == kReceive ? Lines{"rxdev=gpon3.3 gem=7 | mark-queue:=2"} : gemPortRules(direction, igmp).rules;
    } else if (tags > 0 && operation[2] != '-') {
        for (const Tci& tci : kTcis) added.push_back(tciRule(operation[2], tci, direction, igmp));
    }
    const bool front = igmp && (operation[2] | 0x20) != 'p';
    for (const std::string& rule : added) {
        expected.rules.insert(front ? expected.rules.begin() : expected.rules.end(), rule);
    }
    expected.recorded = static_cast<unsigned>(added.size());
    return expected;
}

class ForwardOperation : public AniService, public ::testing::WithParamInterface<std::tuple<unsigned, bool>> {};

TEST_P(ForwardOperation, MakesExactlyItsRulesInEveryTable) {
    const auto [code, igmp] = GetParam();
    const auto operations = operationsOfTheHeader();
    ASSERT_EQ(operations.size(), 34u);
    const std::string operation = operations.at(code < 34 ? code : 0);
    auto record = service(code, kTciText, 2);
    record.protocolNumber = igmp ? 2 : 17;
    EXPECT_EQ(configure(record), 1);

    Lines expected;
    unsigned recorded = 0;
    for (const unsigned direction : {kReceive, kTransmit}) {
        for (const unsigned tags : {0u, 1u, 2u}) {
            const std::string table = AniService::tableName("gpon3", direction, tags);
            const bool everyFrame = operation.empty() || (direction == kReceive && operation[3] == 'd');
            const bool passes = operation.empty() && direction == kTransmit;
            expected.push_back(table + " default " + (passes ? "pass" : "drop") + " gpon3.3");
            const Expected rules =
                everyFrame ? gemPortRules(direction, igmp) : filterRules(operation, direction, tags, igmp);
            for (const std::string& rule : rules.rules) expected.push_back(table + " " + rule);
            recorded += rules.recorded;
        }
    }
    const Lines pon = everyTable("gpondef", kReceive, {"default drop gpon3", "rxdev=gpon3 gem=7"});
    expected.insert(expected.end(), pon.begin(), pon.end());
    EXPECT_EQ(tables(), expected);
    unsigned known = 0;
    printedBy([&] { known = engine().getnbrOfNewRules("gpon3", kGemIndex); });
    EXPECT_EQ(known, recorded);
}

std::vector<unsigned> allOperations() {
    std::vector<unsigned> codes;
    for (unsigned code = 0; code <= 35; ++code) codes.push_back(code);
    codes.insert(codes.end(), {128, 254, 255});
    return codes;
}

INSTANTIATE_TEST_SUITE_P(AniRules, ForwardOperation,
                         ::testing::Combine(::testing::ValuesIn(allOperations()), ::testing::Bool()),
                         [](const auto& tested) {
                             return std::to_string(std::get<0>(tested.param)) +
                                    (std::get<1>(tested.param) ? "Igmp" : "");
                         });

// ---- TCI lists ----

struct TciCase {
    const char* name;
    unsigned announced;
    std::string text;
    unsigned ruled;
};

std::string tciList(unsigned entries) {
    std::string text;
    for (unsigned vid = 1; vid <= entries; ++vid) text += "000" + std::string(1, "0123456789ABCDEF"[vid % 16]);
    return text;
}

class TciList : public AniService, public ::testing::WithParamInterface<TciCase> {};

TEST_P(TciList, MakesARuleForEachTciThatIsThereAndNoOther) {
    const TciCase& test = GetParam();
    auto record = service(4, "", test.announced);
    std::memcpy(record.vlanTciFilterList, test.text.data(), test.text.size());
    std::string printed;
    EXPECT_EQ(configure(record, &printed), 1);
    // The log tells what the record says, whatever its text holds.
    const std::string reported =
        "numberOfEntries:" + std::to_string((test.announced + 1) % 256) + ", forwardOperation:0x4";
    EXPECT_NE(printed.find(reported), std::string::npos);
    Lines expected;
    for (unsigned vid = 1; vid <= test.ruled; ++vid) {
        expected.push_back("rxdev=gpon3.3 gem=7 vid0=" + std::to_string(vid) + " | mark-queue:=2");
    }
    for (const unsigned tags : {1u, 2u}) EXPECT_EQ(onu().ruleTexts("gpon3", kReceive, tags), expected);
}

INSTANTIATE_TEST_SUITE_P(AniRules, TciList,
                         ::testing::Values(TciCase{"None", 0, "", 0}, TciCase{"NoneAnnounced", 0, tciList(3), 0},
                                           TciCase{"Twelve", 12, tciList(12), 12},
                                           TciCase{"ThirteenAreCut", 13, tciList(13), 12},
                                           TciCase{"FieldWithoutTerminator", 254, tciList(64), 12},
                                           TciCase{"FewerThanAnnounced", 12, tciList(2), 2},
                                           TciCase{"HalfATci", 2, "000100", 1}, TciCase{"OddText", 2, "0001000", 0},
                                           TciCase{"NoHexText", 2, "0001zz02", 0},
                                           TciCase{"CountThatWraps", 255, tciList(3), 0}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// ---- Traffic models, p-bits, GEM ports ----

class AniRules : public AniService {};

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

TEST_F(AniRules, EveryQueueOfEveryGemPortGetsItsRulesInAscendingOrder) {
    onu().addGemPort(900, 8);
    auto record = service(4, "0064", 1);
    record.pbitMap = {{0, {1000, 4}}, {1, {900, 300}}, {2, {1000, 2}}, {3, {1000, 4}}, {4, {4095, 1}}, {5, {65535, 1}}};
    std::string printed;
    EXPECT_EQ(configure(record, &printed), 1);
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 2), (Lines{"txdev=gpon3.3 vid0=100 | mark-gem:=8 mark-queue:=300",
                                                             "txdev=gpon3.3 vid0=100 | mark-gem:=7 mark-queue:=2",
                                                             "txdev=gpon3.3 vid0=100 | mark-gem:=7 mark-queue:=4"}));
    EXPECT_EQ(onu().ruleTexts("gpondef", kReceive, 0),
              (Lines{"rxdev=gpon3 gem=8", "rxdev=gpon3 gem=7", "rxdev=gpon3 gem=7"}));
    EXPECT_TRUE(contains(printed,
                         "Pbit entries for GemPort:1000, GemPortIndex:7, qid:4 pbit:0"
                         "Pbit entries for GemPort:1000, GemPortIndex:7, qid:4 pbit:3"
                         "CreateAniRules for GemPort:1000, GemPortIndex:7, qid:4Gem Port Entry already existed"))
        << printed;
}

TEST_F(AniRules, PbitsOfAnEarlierServiceStayMappedUntilARecordMapsThemAnew) {
    onu().addGemPort(900, 8);
    configure(service(4, "0064", 1));
    auto second = service(4, "0065", 1);
    second.pbitMap = {{1, {900, 3}}};
    configure(second);
    second.pbitMap = {{0, {4095, 0}}};
    configure(second);
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 1), (Lines{"txdev=gpon3.3 vid0=100 | mark-gem:=7 mark-queue:=2",
                                                             "txdev=gpon3.3 vid0=101 | mark-gem:=8 mark-queue:=3",
                                                             "txdev=gpon3.3 vid0=101 | mark-gem:=7 mark-queue:=2",
                                                             "txdev=gpon3.3 vid0=101 | mark-gem:=8 mark-queue:=3"}));
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

TEST_F(AniRules, AGemPortThatTheDriverDoesNotKnowGetsRulesForTheUnknownIndex) {
    auto record = service(4, "0064", 1);
    record.pbitMap = {{0, {77, 1}}};
    EXPECT_EQ(configure(record), 1);
    EXPECT_EQ(onu().ruleTexts("gpon3", kReceive, 1), Lines{"rxdev=gpon3.3 gem=65535 vid0=100 | mark-queue:=1"});
}

TEST_F(AniRules, TheDefaultRulesOfAnIgmpServiceGoFirstOnlyUpstream) {
    onu().addGemPort(900, 8);
    configure(service(0));
    auto igmp = service(0);
    igmp.pbitMap = {{0, {900, 3}}};
    igmp.protocolNumber = 2;
    configure(igmp);
    EXPECT_EQ(onu().ruleTexts("gpon3", kReceive, 2), (Lines{"rxdev=gpon3.3 gem=7", "rxdev=gpon3.3 gem=8"}));
    EXPECT_EQ(onu().ruleTexts("gpon3", kTransmit, 2), (Lines{"txdev=gpon3.3 ipproto=2 | mark-gem:=8 mark-queue:=3",
                                                             "txdev=gpon3.3 | mark-gem:=7 mark-queue:=2"}));
}

}  // namespace
