// Frames through the virtual ONU. Rules are written as the virtual ONU shows them: "rxdev=sid0.3 vid0=100 | push".
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <regex>
#include <set>
#include <sstream>

#include "platform/vlanctl.h"
#include "support/HexBytes.h"
#include "support/OnuFixture.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::kReceive;
using virtual_onu::kTransmit;
using virtual_onu::Learning;
using virtual_onu::VlanTag;
using virtual_onu::Walk;

constexpr std::uint16_t kArp = 0x0806;

VlanTag tag(std::uint16_t vid, std::uint8_t pbits = 0, bool dei = false, std::uint16_t tpid = 0x8100) {
    return {tpid, pbits, dei, vid};
}

Frame frame(std::vector<VlanTag> tags = {}, std::uint16_t etherType = 0x0800) {
    Frame made;
    made.tags = std::move(tags);
    made.etherType = etherType;
    return made;
}

Frame ip(std::uint8_t protocol, std::uint8_t dscp = 0, std::vector<VlanTag> tags = {}) {
    Frame made = frame(std::move(tags));
    made.ipProtocol = protocol;
    made.dscp = dscp;
    return made;
}

// Adds one term of a rule's text to the pending rule.
void addTerm(const std::string& text) {
    static const std::regex kForm("([a-z-]+)([0-9]?)(:=)?=?([a-z]*)(.*)");  // name, tag, :=, another name, number
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(text, parts, kForm)) << text;
    std::string name = parts[1].str() + parts[3].str();
    if (parts[3].matched && parts[4].length() > 0) name += parts[4] == "dscp" ? "dscp" : "copy";
    const std::string value = parts[4].str() + parts[5].str();
    const auto index = static_cast<unsigned>(std::atoi(parts[2].str().c_str()));
    const auto number = static_cast<unsigned>(std::strtoul(parts[5].str().c_str(), nullptr, 0));
    const std::map<std::string, std::function<int()>> calls = {
        {"rxdev", [&] { return vlanCtl_setReceiveVlanDevice(value.c_str()); }},
        {"txdev", [&] { return vlanCtl_filterOnTxVlanDevice(value.c_str()); }},
        {"pbits", [&] { return vlanCtl_filterOnTagPbits(number, index); }},
        {"cfi", [&] { return vlanCtl_filterOnTagCfi(number, index); }},
        {"vid", [&] { return vlanCtl_filterOnTagVid(number, index); }},
        {"tagtype", [&] { return vlanCtl_filterOnTagEtherType(number, index); }},
        {"type", [&] { return vlanCtl_filterOnEthertype(number); }},
        {"ipproto", [&] { return vlanCtl_filterOnIpProto(number); }},
        {"gem", [&] { return vlanCtl_filterOnSkbMarkPort(number); }},
        {"push", [&] { return vlanCtl_cmdPushVlanTag(); }},
        {"pop", [&] { return vlanCtl_cmdPopVlanTag(); }},
        {"drop", [&] { return vlanCtl_cmdDropFrame(); }},
        {"pbits:=", [&] { return vlanCtl_cmdSetTagPbits(number, index); }},
        {"cfi:=", [&] { return vlanCtl_cmdSetTagCfi(number, index); }},
        {"vid:=", [&] { return vlanCtl_cmdSetTagVid(number, index); }},
        {"tagtype:=", [&] { return vlanCtl_cmdSetTagEtherType(number, index); }},
        {"type:=", [&] { return vlanCtl_cmdSetEtherType(number); }},
        {"pbits:=copy", [&] { return vlanCtl_cmdCopyTagPbits(number, index); }},
        {"cfi:=copy", [&] { return vlanCtl_cmdCopyTagCfi(number, index); }},
        {"vid:=copy", [&] { return vlanCtl_cmdCopyTagVid(number, index); }},
        {"tagtype:=copy", [&] { return vlanCtl_cmdCopyTagEtherType(number, index); }},
        {"pbits:=dscp", [&] { return vlanCtl_cmdDscpToPbits(index); }},
        {"mark-gem:=", [&] { return vlanCtl_cmdSetSkbMarkPort(number); }},
        {"mark-queue:=", [&] { return vlanCtl_cmdSetSkbMarkQueue(number); }},
    };
    ASSERT_EQ(calls.count(name), 1u) << text;
    ASSERT_EQ(calls.at(name)(), 0) << text;
}

// br3 with sid0.3 and sid1.3. sid0 drops what no rule takes, sid1 has no tables: what passes sid0 leaves at sid1 as it
// is in the bridge.
class DataPath : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        run("brctl addbr br3");
        run("ifconfig br3 up");
        for (const char* name : {"sid0", "sid1", "gpondef"}) run(std::string("ifconfig ") + name + " up");
        add("sid0.3", "sid0", "br3");
        add("sid1.3", "sid1", "br3");
        vlanCtl_init();
        for (unsigned tags = 0; tags <= 2; ++tags)
            ASSERT_EQ(vlanCtl_setDefaultAction("sid0", kReceive, tags, 1, "sid0.3"), 0);
    }

    static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

    static void add(const std::string& name, const std::string& under, const std::string& bridge = "") {
        ASSERT_TRUE(onu().addDevice(name, under));
        run("ifconfig " + name + " up");
        if (!bridge.empty()) run("brctl addif " + bridge + " " + name);
    }

    // The commands are given before the filters; the virtual ONU shows the rule as it is written here all the same.
    static std::uint32_t rule(const std::string& device, unsigned direction, unsigned tags, const std::string& text) {
        vlanCtl_initTagRule();
        const auto bar = std::min(text.find('|'), text.size());
        std::istringstream words(text.substr(bar) + " " + text.substr(0, bar));
        for (std::string word; words >> word;)
            if (word != "|") addTerm(word);
        unsigned id = 0;
        EXPECT_EQ(
            vlanCtl_insertTagRule(device.c_str(), direction, tags, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id), 0)
            << text;
        EXPECT_EQ(onu().ruleTexts(device, direction, tags).back(), text);
        return id;
    }

    // The GEM port, and gpon3 with gpon3.3 in br3.
    static void addPonSide() {
        addGemPortOnTcont();
        add("gpon3", "gpondef");
        add("gpon3.3", "gpon3", "br3");
    }

    // Where copies leave, or why none does: "sid1: VID 100 p0, IPv4", "sid0: no rule matches, the default drops".
    static std::vector<std::string> ends(const Walk& walk) {
        std::vector<std::string> result;
        for (const auto& exit : walk.exits)
            result.push_back(exit.device + ": " + exit.frame.text() +
                             (exit.queue ? " queue " + std::to_string(*exit.queue) : ""));
        if (result.empty())
            for (const auto& drop : walk.drops) result.push_back(drop.device + ": " + drop.reason);
        return result;
    }
    static std::vector<std::string> sent(const Frame& what, const std::string& from = "sid0") {
        return ends(onu().sendFromPort(from, what));
    }
    using Ends = std::vector<std::string>;
};

TEST_F(DataPath, EveryFilterHoldsForTheFramesThatItNamesAndForNoOthers) {
    const struct {
        const char* filters;
        unsigned table;
        Frame fits, fitsNot;
    } cases[] = {
        {"vid0=100", 1, frame({tag(100)}), frame({tag(101)})},
        {"vid0=100", 2, frame({tag(100), tag(7)}), frame({tag(7), tag(100)})},
        {"vid1=7", 2, frame({tag(100), tag(7)}), frame({tag(7), tag(100)})},
        {"pbits0=5", 1, frame({tag(100, 5)}), frame({tag(100, 4)})},
        {"pbits1=5", 2, frame({tag(1, 0), tag(2, 5)}), frame({tag(1, 5), tag(2, 0)})},
        {"cfi0=1", 1, frame({tag(1, 0, true)}), frame({tag(1)})},
        {"cfi0=0", 1, frame({tag(1)}), frame({tag(1, 0, true)})},
        {"type=0x0806", 0, frame({}, kArp), frame()},
        {"type=0x88a8", 1, frame({tag(1, 0, false, 0x88a8)}), frame({tag(1)})},
        {"type=0x0800", 1, frame({tag(1, 0, false, 0x0800)}), frame({tag(1)})},  // the word behind the addresses
        {"tagtype0=0x0806", 1, frame({tag(1)}, kArp), frame({tag(1)})},
        {"tagtype0=0x8100", 2, frame({tag(1, 0, false, 0x88a8), tag(2)}), frame({tag(1), tag(2, 0, false, 0x88a8)})},
        {"tagtype1=0x0806", 2, frame({tag(1), tag(2)}, kArp), frame({tag(1), tag(2)})},
        {"ipproto=2", 0, ip(2), ip(17)},
        {"ipproto=2", 1, ip(2, 0, {tag(1)}), frame({tag(1)})},
        {"vid0=100 pbits0=5", 1, frame({tag(100, 5)}), frame({tag(100, 4)})},
    };
    for (const auto& c : cases) {
        const unsigned id = rule("sid0", kReceive, c.table, std::string("rxdev=sid0.3 ") + c.filters);
        EXPECT_EQ(sent(c.fits), Ends{"sid1: " + c.fits.text()}) << c.filters;
        EXPECT_EQ(sent(c.fitsNot), Ends{"sid0: no rule matches, the default drops"}) << c.filters;
        EXPECT_EQ(vlanCtl_removeTagRule("sid0", kReceive, c.table, id), 0);
    }
    // A frame that is no IP packet has no protocol, whatever somebody wrote there.
    Frame arp = ip(2);
    arp.etherType = kArp;
    rule("sid0", kReceive, 0, "rxdev=sid0.3 ipproto=2");
    EXPECT_EQ(sent(arp), Ends{"sid0: no rule matches, the default drops"});
}

TEST_F(DataPath, CommandsActInTheOrderInWhichTheyWereAdded) {
    const Frame single = frame({tag(10, 3, true)}), twoTpids = frame({tag(1, 1, false, 0x88a8), tag(2, 2, true)});
    const std::tuple<const char*, Frame, std::string> cases[] = {
        {"push", frame(), "VID 0 p0, IPv4"},
        {"push vid0:=200 pbits0:=3", single, "VID 200 p3, VID 10 p3 DEI, IPv4"},
        {"vid0:=200 push", single, "VID 0 p0, VID 200 p3 DEI, IPv4"},  // the other way round
        {"push push vid0:=1 vid1:=2", frame(), "VID 1 p0, VID 2 p0, IPv4"},
        {"pop", single, "untagged IPv4"},
        {"pop pop", twoTpids, "untagged IPv4"},
        {"pop push vid0:=5", twoTpids, "VID 5 p0, VID 2 p2 DEI, IPv4"},
        {"pop", frame(), "untagged IPv4"},
        {"vid0:=1 vid0:=2", single, "VID 2 p3 DEI, IPv4"},
        {"push pbits0:=pbits1 vid0:=vid1 cfi0:=cfi1", single, "VID 10 p3 DEI, VID 10 p3 DEI, IPv4"},
        {"vid0:=vid1 vid1:=7", twoTpids, "VID 2 p1 TPID 0x88a8, VID 7 p2 DEI, IPv4"},
        {"type:=0x9100", twoTpids, "VID 1 p1 TPID 0x9100, VID 2 p2 DEI, IPv4"},
        {"tagtype0:=0x9100", twoTpids, "VID 1 p1 TPID 0x88a8, VID 2 p2 DEI TPID 0x9100, IPv4"},
        {"tagtype1:=0x0806", twoTpids, "VID 1 p1 TPID 0x88a8, VID 2 p2 DEI, ARP"},
        {"tagtype0:=tagtype1", twoTpids, "VID 1 p1, VID 2 p2 DEI, IPv4"},
        {"cfi0:=1 cfi1:=0", twoTpids, "VID 1 p1 DEI TPID 0x88a8, VID 2 p2, IPv4"},
        {"pbits0:=dscp", ip(17, 46, {tag(1)}), "VID 1 p5, IPv4 protocol 17 DSCP 46"},
        {"pbits0:=dscp", frame({tag(1, 3)}, kArp), "VID 1 p0, ARP"},
        {"vid1:=9 pbits1:=pbits0 pbits0:=pbits1", single, "VID 10 p3 DEI, IPv4"},  // no such tag: nothing
        {"vid0:=4097 pbits0:=9", single, "VID 1 p1 DEI, IPv4"},                    // what the fields hold
    };
    for (const auto& [commands, given, leaves] : cases) {
        const auto tags = static_cast<unsigned>(given.tags.size());
        const unsigned id = rule("sid0", kReceive, tags, std::string("rxdev=sid0.3 | ") + commands);
        EXPECT_EQ(sent(given), Ends{"sid1: " + leaves}) << commands << " on " << given.text();
        vlanCtl_removeTagRule("sid0", kReceive, tags, id);
    }
}

TEST_F(DataPath, TheFirstRuleThatMatchesIsTakenAndTheDefaultTakesTheRest) {
    const unsigned narrow = rule("sid0", kReceive, 1, "rxdev=sid0.3 vid0=100 | vid0:=1");
    rule("sid0", kReceive, 1, "rxdev=sid0.3 | vid0:=2");
    rule("sid0", kReceive, 1, "rxdev=sid0.3 vid0=101 | drop");  // never reached
    const auto walk = onu().sendFromPort("sid0", frame({tag(100)}));
    EXPECT_EQ(walk.hops.at(0).rule, narrow);
    EXPECT_EQ(walk.hops.at(0).detail, "rxdev=sid0.3 vid0=100 | vid0:=1");
    EXPECT_EQ(ends(walk), Ends{"sid1: VID 1 p0, IPv4"});
    EXPECT_EQ(sent(frame({tag(101)})), Ends{"sid1: VID 2 p0, IPv4"});

    vlanCtl_setDefaultAction("sid0", kReceive, 0, 0, "sid0.3");
    EXPECT_EQ(sent(frame()), Ends{"sid1: untagged IPv4"});
    EXPECT_EQ(onu().sendFromPort("sid0", frame()).hops.at(0).detail, "default: pass");
    rule("sid0", kReceive, 2, "rxdev=sid0.3 | drop");
    EXPECT_EQ(sent(frame({tag(1), tag(2)})), Ends{"sid0: the rule drops the frame"});
}

TEST_F(DataPath, TransmitRulesSeeTheVlanDeviceThatTheFrameLeavesThrough) {
    add("sid1.4", "sid1");
    vlanCtl_setDefaultAction("sid0", kReceive, 0, 0, "sid0.3");
    rule("sid1", kTransmit, 0, "txdev=sid1.4 | drop");
    const unsigned own = rule("sid1", kTransmit, 0, "txdev=sid1.3 | push vid0:=9");
    const auto walk = onu().sendFromPort("sid0", frame());
    EXPECT_EQ(walk.hops.back().rule, own);
    EXPECT_EQ(ends(walk), Ends{"sid1: VID 9 p0, IPv4"});
}

TEST_F(DataPath, ADroppedFrameSaysWhereAndWhy) {
    addPonSide();
    run("brctl delif br3 sid1.3");
    vlanCtl_setDefaultAction("sid0", kReceive, 0, 0, "sid0.3");
    onu().addGemPort(1002, 8);        // for downstream only
    onu().addGemPort(1003, 9, 2000);  // an alloc-id that no T-CONT has
    onu().addGemPort(1004, 10, 1024);
    enableGemPort(1002);
    enableGemPort(1003);
    const auto upstream = [&](const std::string& commands) {
        const unsigned id = rule("gpon3", kTransmit, 0, "txdev=gpon3.3 | " + commands);
        const Ends result = sent(frame());
        vlanCtl_removeTagRule("gpon3", kTransmit, 0, id);
        return result;
    };
    EXPECT_EQ(sent(frame()), Ends{"gpondef: no rule marked the frame with a GEM port"});
    EXPECT_EQ(upstream("mark-gem:=3"), Ends{"gpondef: there is no GEM port with index 3"});
    EXPECT_EQ(upstream("mark-gem:=8"), Ends{"gpondef: GEM port 1002 is for downstream only"});
    EXPECT_EQ(upstream("mark-gem:=9"), Ends{"gpondef: alloc-id 2000 of GEM port 1003 is bound to no T-CONT"});
    EXPECT_EQ(upstream("mark-gem:=10"), Ends{"gpondef: GEM port 1004 is set down"});
    EXPECT_EQ(upstream("mark-gem:=7 mark-queue:=6"), Ends{"gpondef: T-CONT 0 of GEM port 1001 has no queue 6"});
    EXPECT_EQ(ends(onu().sendFromPon(1004, frame())), Ends{"gpondef: GEM port 1004 is set down"});
    EXPECT_EQ(ends(onu().sendFromPon(999, frame())), Ends{"gpondef: there is no GEM port 999"});
    for (const unsigned port : {1002u, 1003u}) EXPECT_EQ(onu().gemPort(port)->counters.at(6), 1u) << port;
    EXPECT_EQ(sent(frame(std::vector<VlanTag>(5, tag(1)))), Ends{"sid0: a frame has at most 4 tags"});
    EXPECT_EQ(sent(frame(), "sid9"), Ends{"sid9: there is no device sid9"});
    EXPECT_EQ(sent(frame(), "sid2"), Ends{"sid2: sid2 is down"});
    EXPECT_EQ(sent(frame(), "sid1"), Ends{"sid1: sid1 is in no bridge"});
    for (const std::string device : {"gpon3.3", "gpon3", "br3", "sid0.3"}) {
        run("ifconfig " + device + " down");
        EXPECT_EQ(sent(frame()), Ends{device + ": " + device + " is down"});
        run("ifconfig " + device + " up");
    }
    run("brctl delif br3 gpon3.3");
    EXPECT_EQ(sent(frame()), Ends{"br3: br3 has no other port"});
}

// Learning, moving, ageing and what a bridge refuses: scenarios/bridge-forwarding.json.
TEST_F(DataPath, ABridgeForgetsAnAddressWithItsPortAndLearnsNoneWithLearningOff) {
    run("ifconfig sid2 up");
    add("sid2.3", "sid2", "br3");
    for (const char* port : {"sid0", "sid1"})
        vlanCtl_setDefaultAction(port, kReceive, 0, 0, (std::string(port) + ".3").c_str());
    Frame reply = frame();
    std::swap(reply.source, reply.destination);
    const Ends flooded{"sid1: untagged IPv4", "sid2: untagged IPv4"};
    onu().sendFromPort("sid1", reply, Learning::Off);
    EXPECT_EQ(sent(frame()), flooded);
    EXPECT_EQ(sent(reply, "sid1"), Ends{"sid0: untagged IPv4"});
    EXPECT_EQ(sent(frame()), Ends{"sid1: untagged IPv4"});
    run("brctl delif br3 sid1.3");
    EXPECT_EQ(sent(frame()), Ends{"sid2: untagged IPv4"});
    run("brctl addif br3 sid1.3");
    EXPECT_EQ(sent(frame()), (Ends{"sid2: untagged IPv4", "sid1: untagged IPv4"}));
}

TEST_F(DataPath, AClassOfTheRunnerForwardsItsFramesPastTheRules) {
    run("bs /b/n vlan_action/dir=us,index=123");
    run("bs /b/c vlan_action/dir=us,index=123 action={cmd=push+tpid_rem,ovid=100,opbit=3,otpid=88a8}");
    run("bs /b/n ingress_class/dir=us,index=11,cfg={type=flow,fields=ingress_port+vlan_num+etype,prty=11}");
    run("bs /bdmf/attr/add ingress_class/dir=us,index=11 flow string key={ingress_port=lan0,etype=0x800,vlan_num=0},"
        "result={action=forward,egress_port=wan0,vlan_action={vlan_action/dir=us,index=123}}");
    EXPECT_EQ(sent(frame()), Ends{"wan0: VID 100 p3 TPID 0x88a8, IPv4"});
    for (const Frame& other : {frame({}, kArp), frame({tag(1)})})
        EXPECT_EQ(sent(other), Ends{"sid0: no rule matches, the default drops"});
    EXPECT_EQ(sent(frame(), "sid1"), Ends{"sid1: sid1 is in no bridge"}) << "another port's frames";
    run("ifconfig sid0 down");
    EXPECT_EQ(sent(frame()), Ends{"sid0: sid0 is down"});
    run("ifconfig sid0 up");
    run("bs /b/d ingress_class/dir=us,index=11");
    EXPECT_EQ(sent(frame()), Ends{"sid0: no rule matches, the default drops"});
}

// Behind the addresses, without padding.
TEST_F(DataPath, APayloadIsThatOfItsProtocol) {
    using virtual_onu::GroupMessage;
    using Kind = GroupMessage::Kind;
    const std::string kMac = "02005E000001", kGroup4 = "EF010203", kGroup6 = "FF020000000000000000000000010203",
                      kIgmp = "0800 4600 0020 0000 0000 0102 71D2 C0000201 EF010203 94040000",
                      kMld =
                          "86DD 60000000 0020 0001 FE800000000000000000000000000001 " + kGroup6 + "3A00 0502 0000 0100";
    const struct {
        const char* what;
        std::uint16_t etherType;
        std::optional<GroupMessage> message;
        std::string bytes;
    } kCases[] = {
        {"IGMP query", 0x0800, GroupMessage{Kind::Query, "239.1.2.3", 10000}, kIgmp + "1164 FD96" + kGroup4},
        {"IGMP report", 0x0800, GroupMessage{Kind::Report, "239.1.2.3", 0}, kIgmp + "1600 F8FA" + kGroup4},
        {"IGMP leave", 0x0800, GroupMessage{Kind::Leave, "239.1.2.3", 0}, kIgmp + "1700 F7FA" + kGroup4},
        {"MLD query", 0x86DD, GroupMessage{Kind::Query, "ff02::1:203", 1000}, kMld + "8200 7935 03E8 0000" + kGroup6},
        {"MLD report", 0x86DD, GroupMessage{Kind::Report, "ff02::1:203", 0}, kMld + "8300 7C1D 0000 0000" + kGroup6},
        {"MLD done", 0x86DD, GroupMessage{Kind::Leave, "ff02::1:203", 0}, kMld + "8400 7B1D 0000 0000" + kGroup6},
        {"ARP", 0x0806, {}, "0806 0001 0800 0604 0001" + kMac + "C0000201 000000000000 C0000202"},
        {"PPPoE discovery", 0x8863, {}, "8863 1109 0000 0004 0101 0000"},
        {"PPPoE session", 0x8864, {}, "8864 1100 0001 0016 0021 4500 0014 0000 0000 4011 F6D5 C0000201 C0000202"},
        {"EAPOL", 0x888E, {}, "888E 0201 0000"},
        {"LLDP", 0x88CC, {}, "88CC 0207 04" + kMac + "0407 03" + kMac + "0602 0078 0000"},
        {"another one", 0x1234, {}, "1234"},
    };
    for (const auto& one : kCases) {
        Frame made = frame({}, one.etherType);
        made.source = "02:00:5e:00:00:01";
        if (one.message) made.destination = one.etherType == 0x0800 ? "01:00:5e:01:02:03" : "33:33:00:01:02:03";
        made.groupMessage = one.message;
        std::vector<std::uint8_t> wanted = hex(one.bytes);
        wanted.resize(std::max<std::size_t>(wanted.size(), 60 - 12));
        const std::vector<std::uint8_t> bytes = made.bytes();
        ASSERT_EQ(bytes.size(), 12 + wanted.size()) << one.what;
        EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), bytes.begin() + 12)) << one.what;
    }
}

// The compiled tables against a walk down the list of rules, written independently here.
TEST_F(DataPath, AmongManyRulesTheFirstOneThatFitsIsTaken) {
    struct Wanted {
        int vid, pbits, inner;  // -1: whatever it is
    };
    std::mt19937 chance{5};
    const auto upTo = [&](unsigned most) { return static_cast<int>(static_cast<unsigned>(chance()) % (most + 1)); };
    const auto fits = [](int wanted, unsigned is) { return wanted < 0 || static_cast<unsigned>(wanted) == is; };
    std::vector<std::pair<Wanted, std::uint32_t>> rules;
    for (int i = 0; i < 150; ++i) {
        const Wanted wanted{upTo(3) == 0 ? -1 : upTo(15), upTo(2) == 0 ? -1 : upTo(7), upTo(2) == 0 ? upTo(3) : -1};
        std::string text = "rxdev=sid0.3";
        if (wanted.vid >= 0) text += " vid0=" + std::to_string(wanted.vid);
        if (wanted.pbits >= 0) text += " pbits0=" + std::to_string(wanted.pbits);
        if (wanted.inner >= 0) text += " vid1=" + std::to_string(wanted.inner);
        if (wanted.vid < 0 && wanted.pbits < 0) continue;  // it would take all that come behind it
        rules.emplace_back(wanted, rule("sid0", kReceive, 2, text));
    }
    std::set<std::optional<std::uint32_t>> taken;
    for (int i = 0; i < 3000; ++i) {
        const Frame two = frame({tag(static_cast<std::uint16_t>(upTo(20)), static_cast<std::uint8_t>(upTo(7))),
                                 tag(static_cast<std::uint16_t>(upTo(5)))});
        const auto first = std::find_if(rules.begin(), rules.end(), [&](const auto& one) {
            return fits(one.first.vid, two.tags[0].vid) && fits(one.first.pbits, two.tags[0].pbits) &&
                   fits(one.first.inner, two.tags[1].vid);
        });
        const auto expected = first == rules.end() ? std::nullopt : std::optional<std::uint32_t>(first->second);
        ASSERT_EQ(onu().sendFromPort("sid0", two).hops.at(0).rule, expected) << two.text();
        taken.insert(expected);
    }
    EXPECT_GT(taken.size(), 30u) << "frames of many rules";
    EXPECT_EQ(taken.count(std::nullopt), 1u);
}

TEST_F(DataPath, ADataPathOfAMomentStaysAsItWasAndLeavesTheDeviceAlone) {
    for (const char* port : {"sid0", "sid1"})
        vlanCtl_setDefaultAction(port, kReceive, 0, 0, (std::string(port) + ".3").c_str());
    const auto frozen = onu().freezeDataPath();
    const auto counters = onu().device("sid0")->statistics;
    Frame reply = frame();
    std::swap(reply.source, reply.destination);
    EXPECT_EQ(ends(frozen.sendFromPort("sid0", frame())), Ends{"sid1: untagged IPv4"});
    EXPECT_EQ(onu().device("sid0")->statistics, counters);
    EXPECT_TRUE(onu().learnedAddresses().empty());
    run("ifconfig sid0 down");
    EXPECT_EQ(ends(frozen.sendFromPort("sid0", frame())), Ends{"sid1: untagged IPv4"});
    EXPECT_EQ(sent(frame()), Ends{"sid0: sid0 is down"});
    EXPECT_EQ(frozen.sendFromPort("sid1", reply).hops.at(1).detail, "learned") << "it has a memory of its own";
    frozen.pass(301000);
    EXPECT_EQ(frozen.sendFromPort("sid1", reply).hops.at(1).detail, "flooded") << "and a clock of its own";
}

}  // namespace
