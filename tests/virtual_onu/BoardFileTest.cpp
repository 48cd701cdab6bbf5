// A board in a file outlives whoever works on it: also one that is killed between two instructions. A board that has
// lost a call, or has half of one, would make every test of a restart a test of this file.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <regex>
#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "platform/cms.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"
#include "support/Emulated.h"
#include "support/Process.h"
#include "virtual_onu/BoardTexts.h"

using namespace virtual_onu;
using nlohmann::json;

namespace {

VirtualOnu& onu() {
    return VirtualOnu::instance();
}

void shell(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

void insertRule(const char* device, unsigned direction, unsigned position, unsigned vid) {
    unsigned id = 0;
    vlanCtl_initTagRule();
    vlanCtl_setReceiveVlanDevice("sid0.3");
    vlanCtl_filterOnTagVid(vid, 0);
    vlanCtl_cmdPushVlanTag();
    vlanCtl_cmdSetTagPbits(5, 0);
    vlanCtl_cmdSetSkbMarkPort(1);
    vlanCtl_insertTagRule(device, direction, 1, position, VLANCTL_DONT_CARE, &id);
}

// A service, as far as the kit and the kernel see it.
void provision() {
    const GponCtlTcontAllocId tcont{1, 0, 1024};
    gponCtl_configTcontAllocId(&tcont);
    const TmctlIf port{1};
    tmctl_portTmInit(TMCTL_DEV_GPON, &port, 0, 8);
    const TmctlQueueCfg queue{3, 3, 256, 7, TMCTL_SCHED_WEIGHTED_ROUND_ROBIN, 0, 0, 0};
    tmctl_setQueueCfg(TMCTL_DEV_GPON, &port, &queue);
    GponCtlGemPortConfig gem{GPONCTL_GEM_INDEX_UNKNOWN, 1001, 1024, 0, 1, 3, 0};
    gponCtl_configGemPort(&gem);
    GponCtlGemPortEnable enable{gem.gemIndex, 1001, 1, 0};
    gponCtl_enableGemPort(&enable);
    vlanCtl_init();
    vlanCtl_setIfSuffix(".");
    vlanCtl_createVlanInterface("sid0", 3, 0, 1);
    vlanCtl_createVlanInterfaceByName("gpondef", "gpon3", 0, 1);
    shell("brctl addbr br3");
    shell("brctl addif br3 sid0.3");
    shell("brctl addif br3 gpon3");
    for (const char* device : {"gpondef", "sid0", "sid0.3", "gpon3", "br3"})
        shell("ifconfig " + std::string(device) + " up");
    for (unsigned vid = 10; vid < 14; ++vid) insertRule("sid0", kReceive, VLANCTL_POSITION_APPEND, vid);
    insertRule("sid0", kReceive, VLANCTL_POSITION_FRONT, 20);
    insertRule("sid0", kReceive, VLANCTL_POSITION_FRONT, 21);
    vlanCtl_removeTagRule("sid0", kReceive, 1, 2);
    vlanCtl_setDefaultAction("sid0", kReceive, 0, 0, "sid0.3");
    vlanCtl_createVlanFlows("sid0.3", "gpon3");
    vlanCtl_setRealDevMode("sid0", 1);
    vlanCtl_cleanup();
}

void writeDeviceFile(const char* path, const char* text) {
    std::FILE* file = std::fopen(path, "w");
    ASSERT_NE(file, nullptr) << path;
    std::fputs(text, file);
    std::fclose(file);
}

// Leaves something in every section that a board has.
void useEverything() {
    provision();
    const GponCtlAdminState running{1, {}};
    gponCtl_startAdminState(&running);
    onu().setGateway(GatewayMode::Silent, 7);
    cmsPsp_set("link\xe9State", "a\0b", 3);
    onu().setSerialNumber("other \"\\\xff");
    onu().setImageVersion(3, "V3");
    onu().setPhy(4, false, 10, 0);
    onu().setOptics(17, 18);
    onu().setBitErrors(19);
    onu().setI2cImage({1, 2, 255});
    onu().setStackAnswer(NGPON_STACK_IOC_GET_TX_CHANNEL, {{1, 2, 3, 4}, 0});
    onu().setOperState("eth1", "down");
    onu().setStatistic("sid0", "rx_packets", 0xffffffffffffffff);
    onu().setStatistic("sid0", "of_another_kernel", 3);
    onu().refuseDeletion("sid0.3", 2, 16);
    onu().setOutOfRangeFilters(OutOfRangeFilters::Masked);
    onu().writeFile("/var/mcpd.conf", "igmp 1\n");
    onu().writeFile("/opt/of/the/device", std::string("\0\x80text", 6));
    onu().writeFile("/sys/class/net/sid0/unknown", "17\n");
    onu().removeFile("/dev/laser_dev");
    onu().denyFile("/var/mcpdTmp.conf");
    writeDeviceFile("/tmp/dhclient_interface", "br3.2\n");
    writeDeviceFile("/sys/class/net/br3/bridge/stp_state", "1\n");
    onu().addProcess(123, "dhcpc -i br3.2");
    shell("bs /bdmf/new ingress_class/dir=us,index=12,cfg={prty=1} action=7");
    shell("bs /b/a ingress_class/dir=us,index=12 flow string key={ingress_port=lan2},result={egress_port=wan0}");
    shell("bs /b/c port/index=wan0 sa_limit=3");
    shell("iq addkey --dstmac 02:00:00:00:00:01");
    shell("ip rule add from 10.0.0.5 table 12");
    shell("ip route add default via 10.0.0.1 dev br3 table 12");
    shell("ifconfig br3 10.0.0.5 netmask 255.255.255.0");
    sleep(60);
    onu().advance(2500);
    Frame frame;
    frame.tags = {{0x8100, 5, false, 12}};
    onu().sendFromPort("sid0", frame);
    frame.groupMessage = GroupMessage{GroupMessage::Kind::Query, "", 1000};
    onu().sendFromPort("sid0", frame);
    frame.groupMessage = GroupMessage{GroupMessage::Kind::Report, "239.1.2.3", 0};
    onu().sendFromPort("sid0", frame);
}

// The device's state without what a run has seen.
json boardOf(json all) {
    for (const char* key : {"trace", "calls"}) all.erase(key);
    all["bus"].erase("sent");
    all["network"].erase("packetFrames");
    all["runner"].erase("remarks");
    all["files"].erase("openDescriptors");
    for (const char* key : {"commands", "killed"}) all["shell"].erase(key);
    return all;
}

class BoardFile : public ::testing::Test {
protected:
    void SetUp() override { onu().reset(); }
    void TearDown() override { onu().reset(); }
    // What the file says, on a board of its own.
    json boardIn(const std::string& file) {
        onu().reset();
        onu().openBoard(file);
        json board = boardOf(onu().toJson());
        onu().reset();
        return board;
    }
    const ScratchDirectory scratch_;
    const std::string file_ = scratch_.file("board");
};

TEST_F(BoardFile, HoldsEverythingThatADeviceKeeps) {
    const std::string bootId = *onu().readFile("/proc/sys/kernel/random/boot_id");
    const std::regex uuid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\n");
    EXPECT_TRUE(std::regex_match(bootId, uuid)) << bootId;
    const json factoryNew = boardOf(onu().toJson());
    onu().openBoard(file_);
    useEverything();
    const json used = boardOf(onu().toJson());
    const Walk walk = onu().sendFromPort("sid0", Frame{}, Learning::Off);
    onu().reset();
    EXPECT_EQ(boardOf(onu().toJson()), factoryNew) << "the file is closed with a reset";

    onu().openBoard(file_);
    EXPECT_EQ(boardOf(onu().toJson()), used) << json::diff(used, boardOf(onu().toJson())).dump(1);
    EXPECT_EQ(*onu().readFile("/proc/sys/kernel/random/boot_id"), bootId);
    EXPECT_EQ(onu().sendFromPort("sid0", Frame{}, Learning::Off).exits.size(), walk.exits.size());
    // What the model does not show is there, too: numbers go on, refusals count on, files are denied.
    EXPECT_EQ(vlanCtl_init(), 0);
    unsigned id = 0;
    EXPECT_EQ(vlanCtl_insertTagRule("sid0", kReceive, 1, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id), 0);
    EXPECT_EQ(id, 7U);
    EXPECT_EQ(vlanCtl_deleteVlanInterface("sid0.3"), 16);
    EXPECT_EQ(std::fopen("/var/mcpdTmp.conf", "r"), nullptr);
    EXPECT_EQ(onu().readFile("/opt/of/the/device"), std::string("\0\x80text", 6));
}

// What lives in the program's half of the kit goes with it.
TEST_F(BoardFile, LeavesOutWhatDiesWithTheProcess) {
    ASSERT_EQ(inChild([&] {
                  onu().openBoard(file_);
                  vlanCtl_init();
                  vlanCtl_setIfSuffix(".of-the-child.");
                  vlanCtl_initTagRule();
                  vlanCtl_filterOnTagVid(5, 0);
                  return std::fopen("/dev/laser_dev", "r") == nullptr ? 1 : 0;
              }),
              0);
    onu().openBoard(file_);
    EXPECT_EQ(vlanCtl_createVlanInterface("sid0", 3, 0, 1), EPERM) << "the library is not open";
    EXPECT_EQ(onu().openDescriptors(), 0);
    ASSERT_EQ(vlanCtl_init(), 0);
    ASSERT_EQ(vlanCtl_createVlanInterface("sid0", 3, 0, 1), 0);
    EXPECT_FALSE(onu().deviceExists("sid0.of-the-child.3"));
    unsigned id = 0;
    ASSERT_EQ(vlanCtl_insertTagRule("sid0", kReceive, 1, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id), 0);
    EXPECT_EQ(onu().ruleTexts("sid0", kReceive, 1), std::vector<std::string>{"any"}) << "no half of another's rule";
}

TEST_F(BoardFile, AResetMakesTheBoardFactoryNew) {
    const json factoryNew = onu().toJson();
    const std::string factoryNewText = onu().stateText();
    useEverything();
    onu().failNext("vlanCtl_init", 5, 1);
    const json used = onu().toJson();
    for (const auto& [facility, state] : factoryNew.items())
        EXPECT_NE(used[facility], state) << facility << " shows nothing of its use";
    onu().reset();
    EXPECT_EQ(onu().toJson(), factoryNew) << json::diff(factoryNew, onu().toJson()).dump(1);
    EXPECT_EQ(onu().stateText(), factoryNewText);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(vlanCtl_init(), 0) << "a fault has outlived the reset";
    EXPECT_EQ(vlanCtl_createVlanInterface("sid0", 3, 0, 1), 0);
    EXPECT_TRUE(onu().deviceExists("sid0.v3")) << "the library's own suffix";
}

// The board after each call of the provisioning, in a process that nobody kills.
std::vector<std::string> statesAfterEachCall() {
    std::vector<std::string> states = {onu().stateText()};
    onu().onTrace([&states](const TraceEntry&) { states.push_back(onu().stateText()); });
    provision();
    onu().onTrace(nullptr);
    onu().reset();
    return states;
}

TEST_F(BoardFile, IsAsAfterTheLastCallWhereverTheProcessIsKilled) {
    const auto states = statesAfterEachCall();
    ASSERT_GT(states.size(), 60U);
    for (std::size_t last = 1; last < states.size(); ++last) {
        const std::string file = scratch_.file(std::to_string(last));
        onu().reset();
        const int code = inChild([&] {
            onu().openBoard(file);
            onu().onTrace([last](const TraceEntry& entry) {
                if (entry.number == last) raise(SIGKILL);
            });
            provision();
            return 0;
        });
        ASSERT_EQ(code, 128 + SIGKILL) << last;
        onu().reset();
        onu().openBoard(file);
        ASSERT_EQ(onu().stateText(), states[last]) << "killed at the end of call " << last;
    }
}

TEST_F(BoardFile, IsSharedByTheProcessesThatWorkOnIt) {
    onu().openBoard(file_);
    ASSERT_EQ(vlanCtl_init(), 0);
    // Forked ones, one after the other and both at once; each sees what the others have done.
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(inChild([&] {
                      if (vlanCtl_createVlanInterfaceByName("sid0", ("c" + std::to_string(round)).c_str(), 0, 0) != 0)
                          return 1;
                      return round > 0 && !onu().deviceExists("p" + std::to_string(round - 1)) ? 2 : 0;
                  }),
                  0);
        EXPECT_TRUE(onu().deviceExists("c" + std::to_string(round)));
        ASSERT_EQ(vlanCtl_createVlanInterfaceByName("sid0", ("p" + std::to_string(round)).c_str(), 0, 0), 0);
    }
    constexpr int kEach = 100;
    const auto many = [](const std::string& name) {
        for (int i = 0; i < kEach; ++i) {
            vlanCtl_createVlanInterfaceByName("sid0", (name + std::to_string(i)).c_str(), 0, 0);
            insertRule("sid0", kReceive, VLANCTL_POSITION_APPEND, 100);
        }
    };
    ASSERT_EQ(vlanCtl_createVlanInterfaceByName("sid0", "sid0.3", 0, 0), 0);
    const pid_t child = fork();
    if (child == 0) {
        many("v");
        _exit(0);
    }
    many("w");
    int status = 0;
    waitpid(child, &status, 0);
    std::set<std::uint32_t> ids;
    std::set<int> indexes;
    for (const auto& device : onu().devices()) indexes.insert(device.index);
    EXPECT_EQ(indexes.size(), onu().devices().size());
    EXPECT_GT(indexes.size(), 2U * kEach) << "no device is lost";
    for (const TagRule& rule : onu().rules("sid0", kReceive, 1)) ids.insert(rule.id);
    EXPECT_EQ(ids.size(), 2U * kEach) << "no rule is lost, and no id is given out twice";
    EXPECT_EQ(boardIn(file_)["vlan"]["tables"][0]["rules"].size(), 2U * kEach);
}

// Takes away what useEverything has made.
void takeEverythingAway() {
    vlanCtl_init();
    for (const char* device : {"sid0.3", "sid0.3", "sid0.3", "gpon3"}) vlanCtl_deleteVlanInterface(device);
    for (const auto& rule : onu().rules("sid0", kReceive, 1)) vlanCtl_removeTagRule("sid0", kReceive, 1, rule.id);
    vlanCtl_cleanup();
    shell("ifconfig br3 down; brctl delbr br3; ifconfig sid0 down");
    const GponCtlGemPortDeconfig gem{static_cast<std::uint16_t>(onu().gemPort(1001)->index), 1001};
    gponCtl_deconfigGemPort(&gem);
    const TmctlIf port{1};
    tmctl_delQueueCfg(TMCTL_DEV_GPON, &port, 3);
    tmctl_portTmUninit(TMCTL_DEV_GPON, &port);
    const GponCtlTcontAllocId tcont{1, 0, 65535};
    gponCtl_deconfigTcontAllocId(&tcont);
    shell("bs /b/d ingress_class/dir=us,index=12; iq remkey --dstmac 02:00:00:00:00:01; kill -9 123");
    shell("ip rule del from 10.0.0.5 table 12");
    for (const char* path : {"/var/mcpd.conf", "/opt/of/the/device", "/tmp/dhclient_interface"}) onu().removeFile(path);
    onu().setOperState("eth1", "up");
    onu().advance(600'000);
}

TEST_F(BoardFile, LosesWhatAnotherProcessTakesAway) {
    onu().openBoard(file_);
    useEverything();
    vlanCtl_init();
    vlanCtl_setDefaultAction("gpon3", kReceive, 0, 0, "gpon3");
    const json used = boardOf(onu().toJson());
    ASSERT_EQ(inChild([] {
                  takeEverythingAway();
                  return onu().ruleCount() == 0 && onu().gemPorts().empty() ? 0 : 1;
              }),
              0);
    const json left = boardOf(onu().toJson()), inFile = boardIn(file_);
    EXPECT_EQ(left, inFile) << json::diff(left, inFile).dump(1);
    for (const char* part : {"network", "vlan", "pon", "runner", "shell", "files"})
        EXPECT_NE(left[part], used[part]) << part;
}

TEST_F(BoardFile, GoesOnWhenTheOtherProcessWasKilledInItsTurn) {
    SKIP_WHEN_EMULATED(kEmulatedMutex);
    onu().openBoard(file_);
    for (int trial = 0; trial < 30; ++trial) {
        const pid_t child = fork();
        if (child == 0) {
            for (std::uint64_t i = 0;; ++i) onu().setStatistic("sid0", "rx_packets", i);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500 + trial * 53));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        onu().setStatistic("sid1", "tx_packets", static_cast<std::uint64_t>(trial) + 1);
        ASSERT_EQ(onu().device("sid1")->statistics["tx_packets"], static_cast<std::uint64_t>(trial) + 1);
    }
    const auto counted = onu().device("sid0")->statistics["rx_packets"];
    onu().reset();
    onu().openBoard(file_);
    EXPECT_EQ(onu().device("sid0")->statistics["rx_packets"], counted);
    EXPECT_EQ(onu().device("sid1")->statistics["tx_packets"], 30U);
}

TEST_F(BoardFile, IsRefusedWhileAnotherProcessHasItAlone) {
    onu().openBoard(file_);
    EXPECT_EQ(inChild([&] {
                  onu().reset();  // of its own from here on
                  try {
                      onu().openBoard(file_);
                      return 1;
                  } catch (const std::runtime_error& problem) {
                      if (std::string(problem.what()) != file_ + ": the board is in use by another program") return 2;
                  }
                  onu().openBoard(file_, VirtualOnu::BoardUse::Shared);
                  onu().setSerialNumber("of the other");
                  return 0;
              }),
              0);
    EXPECT_EQ(onu().toJson()["board"]["serialNumber"], "of the other");
    onu().closeBoard();
    EXPECT_NE(access((file_ + ".lock").c_str(), F_OK), 0) << "nothing is left beside the board";
    EXPECT_NO_THROW(onu().openBoard(file_));
}

// The file grows with every change, but not for ever.
TEST_F(BoardFile, StaysInProportionToTheBoard) {
    onu().openBoard(file_);
    for (std::uint64_t i = 1; i <= 60000; ++i) onu().setStatistic("sid0", "rx_packets", i);
    EXPECT_LT(contentOf(file_).size(), 3U << 20U);
    onu().reset();
    onu().openBoard(file_);
    EXPECT_EQ(onu().device("sid0")->statistics["rx_packets"], 60000U);
    EXPECT_LT(contentOf(file_).size(), 20000U) << "rewritten with what exists";
}

// ---- what a file may say ----

// A good file with other text for all of it, behind it, or in a place of it.
const std::string kAll = "all", kEnd = "end";
struct BadFile {
    const char* name;
    std::string place, text;
    const char* problem;  // part of the message
};

// Fields, keys and sections that are otherwise: the tool's record of damaged boards.
std::vector<BadFile> badFiles() {
    const auto rule = [](const std::string& device) {
        return R"({"vlan.rules":{"1":{"device":")" + device +
               R"(","direction":"receive","front":false,"tags":0,"terms":[]}})";
    };
    return {
        {"text", kAll, "hello\n", "is no board: its first line must be"},
        {"no line", kAll, "{", "is no board: its first line must be"},
        {"state JSON", kAll, "{\n \"network\": {}\n}\n", "is no board"},
        {"newer", R"("version":1)", R"("version":3)", "is a board of version 3; this program knows versions 1 and 2"},
        {"torn inside", R"({"network.devices":{"2")", "{\"netw\n", "line 2: is no JSON"},
        {"name twice", R"("name":"eth0")", R"("name":"eth1")", "have the same name"},
        {"key with words", kEnd, "{\"vlan.defaults\":{\"sid0\":{\"action\":\"drop\",\"device\":\"\"}}}\n",
         "the key must be a table"},
        {"master without a bridge", R"("master":"")", R"("master":"br7")", "but the bridges have it otherwise"},
        {"rule of no device", kEnd, rule("x9") + ",\"vlan.kit\":{\"nextRuleId\":2,\"outOfRangeFilters\":\"never\"}}\n",
         "there is no device \"x9\""},
        {"rule id to come", kEnd, rule("sid0") + "}\n", "is not below nextRuleId"},
    };
}

TEST_F(BoardFile, IsRefusedWithAReasonWhenItIsNoGoodBoard) {
    onu().openBoard(file_);
    onu().reset();
    const std::string good = withoutChecksums(contentOf(file_));
    onu().setSerialNumber("mine");
    const json mine = boardOf(onu().toJson());
    for (const BadFile& bad : badFiles()) {
        std::string text = bad.place == kAll ? bad.text : bad.place == kEnd ? good + bad.text : good;
        if (text == good) {
            ASSERT_NE(good.find(bad.place), std::string::npos) << bad.name;
            text.replace(good.find(bad.place), bad.place.size(), bad.text);
        }
        const std::string file = scratch_.write("bad", text);
        try {
            onu().openBoard(file);
            ADD_FAILURE() << bad.name << " was taken for a board";
            onu().closeBoard();
        } catch (const std::runtime_error& problem) {
            const std::string message = problem.what();
            EXPECT_EQ(message.find(file + ": "), 0U) << bad.name << ": " << message;
            EXPECT_NE(message.find(bad.problem), std::string::npos) << bad.name << ": " << message;
        }
        EXPECT_EQ(boardOf(onu().toJson()), mine) << bad.name << " has changed the board";
        EXPECT_EQ(contentOf(file), text) << bad.name << ": the file has changed";
        EXPECT_NE(access((file + ".lock").c_str(), F_OK), 0) << bad.name;
    }
    for (const char* place : {"/nowhere/board", "/tmp", "/dev/null"})
        EXPECT_THROW(onu().openBoard(place), std::runtime_error) << place;
}

TEST_F(BoardFile, LeavesOutALineThatWasBeingWritten) {
    onu().openBoard(file_);
    onu().setSerialNumber("before");
    const std::string whole = contentOf(file_);
    onu().setSerialNumber("after");
    const std::string line = contentOf(file_).substr(whole.size());
    onu().closeBoard();
    ASSERT_GT(line.size(), 10U);
    for (std::size_t cut = 0; cut < line.size(); ++cut) {
        scratch_.write("board", whole + line.substr(0, cut));
        EXPECT_EQ(boardIn(file_)["board"]["serialNumber"], "before") << cut;
    }
}

TEST_F(BoardFile, AnEmptyFileBeginsWithTheBoardAsItStands) {
    scratch_.write("board", "");
    onu().setSerialNumber("mine");
    onu().openBoard(file_);
    EXPECT_EQ(boardIn(file_)["board"]["serialNumber"], "mine");
}

}  // namespace
