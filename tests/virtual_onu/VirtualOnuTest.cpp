// What the other tests rely on: the virtual ONU refuses what a device refuses, counts, records, fails on demand,
// forgets.
#include <malloc.h>
#include <sys/select.h>
#include <unistd.h>

#include <thread>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "platform/cms.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/logger.h"
#include "platform/tmctl.h"
#include "platform/vlanctl.h"
#include "support/Process.h"

using namespace virtual_onu;

namespace {

constexpr unsigned kUntouched = 4711;

class VirtualOnuTest : public ::testing::Test {
protected:
    void SetUp() override { onu().reset(); }
    static VirtualOnu& onu() { return VirtualOnu::instance(); }

    // sid0.3 on sid0 and the library open, as before any rule.
    static void openVlan() {
        ASSERT_EQ(vlanCtl_init(), 0);
        ASSERT_EQ(vlanCtl_setIfSuffix("."), 0);
        ASSERT_EQ(vlanCtl_createVlanInterface("sid0", 3, 0, 1), 0);
    }
    static unsigned insert(const char* device, unsigned direction, unsigned tags, unsigned position) {
        unsigned id = kUntouched;
        EXPECT_EQ(vlanCtl_insertTagRule(device, direction, tags, position, VLANCTL_DONT_CARE, &id), 0);
        return id;
    }
};

bool readable(int descriptor, int timeoutMs) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(descriptor, &set);
    timeval timeout{timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    return select(descriptor + 1, &set, nullptr, nullptr, &timeout) == 1;
}

struct ServiceMessage {
    CmsMsgHeader header{0x10002254, 60, 21, CMS_MSG_FLAG_REQUEST, {}, 4};
    std::uint8_t payload[4] = {1, 2, 3, 4};
};

// Sends a service message and tells whether the same came back.
bool gatewayAnswers(int timeoutMs) {
    void* bus = nullptr;
    CmsMsgHeader* answer = nullptr;
    const ServiceMessage message;
    if (cmsMsg_init(60, &bus) != 0 || cmsMsg_send(bus, &message.header) != 0) return false;
    if (cmsMsg_receiveWithTimeout(bus, &answer, static_cast<unsigned>(timeoutMs)) != 0) return false;
    const bool same = answer->type == message.header.type && answer->source == 21 && answer->destination == 60 &&
                      std::equal(message.payload, message.payload + 4, reinterpret_cast<std::uint8_t*>(answer + 1));
    cmsMem_free(answer);
    return same;
}

// Other refusals: the tool's record of commands by chance.
TEST_F(VirtualOnuTest, VlanControlRefusesWhatNoProgramAsksForByChance) {
    openVlan();
    const auto before = onu().stateText();
    EXPECT_NE(vlanCtl_setDefaultAction("sid0", 0, 0, 0, ""), 0) << "a default that passes frames to no device";
    EXPECT_NE(vlanCtl_filterOnTagVid(100, 4), 0) << "a fifth tag";
    EXPECT_EQ(onu().stateText(), before);
}

TEST_F(VirtualOnuTest, ADeletedDeviceTakesItsOwnTablesAndFlowsOnly) {
    openVlan();
    vlanCtl_createVlanInterfaceByName("gpondef", "gpon3", 0, 1);
    vlanCtl_createVlanInterface("gpon3", 3, 0, 1);
    vlanCtl_createVlanFlows("gpon3.3", "sid0.3");
    vlanCtl_createVlanFlows("gpon3.3", "sid0.3");
    EXPECT_EQ(onu().flows().size(), 1u);
    vlanCtl_setDefaultAction("gpon3", kTransmit, 2, 1, "gpon3.3");
    vlanCtl_initTagRule();
    vlanCtl_filterOnTxVlanDevice("gpon3.3");
    insert("gpon3", kTransmit, 1, VLANCTL_POSITION_APPEND);
    EXPECT_EQ(vlanCtl_deleteVlanInterface("gpon3.3"), 0);
    EXPECT_TRUE(onu().flows().empty());
    EXPECT_EQ(onu().ruleTables().size(), 2u);
    EXPECT_EQ(vlanCtl_deleteVlanInterface("gpon3"), 0);
    EXPECT_TRUE(onu().ruleTables().empty());
}

TEST_F(VirtualOnuTest, ATcontLosesItsQueuesAndKeepsItsAllocId) {
    const TmctlIf tcont{4};
    const GponCtlTcontAllocId bound{4, 0, 256};
    const TmctlQueueCfg queue{7, 7, 256, 1, TMCTL_SCHED_STRICT_PRIORITY, 0, 0, 0};
    ASSERT_EQ(gponCtl_configTcontAllocId(&bound), 0);
    ASSERT_EQ(tmctl_portTmInit(TMCTL_DEV_GPON, &tcont, 0, -1), 0);
    ASSERT_EQ(tmctl_setQueueCfg(TMCTL_DEV_GPON, &tcont, &queue), 0);
    ASSERT_EQ(tmctl_portTmUninit(TMCTL_DEV_GPON, &tcont), 0);
    ASSERT_TRUE(onu().tcont(4));
    EXPECT_TRUE(onu().tcont(4)->queues.empty());
}

TEST_F(VirtualOnuTest, AScheduledFaultHitsExactlyItsCall) {
    openVlan();
    onu().failNext("vlanCtl_setRealDevMode", 2, 9);
    onu().failNext("vlanCtl_setRealDevMode:sid1", 1, 8);
    EXPECT_EQ(vlanCtl_setRealDevMode("sid0", 0), 0);
    EXPECT_EQ(vlanCtl_setRealDevMode("sid0", 0), 9);
    EXPECT_EQ(vlanCtl_setRealDevMode("sid0", 0), 0);
    EXPECT_EQ(vlanCtl_setRealDevMode("sid1", 0), 8);

    onu().failCall(onu().callCount() + 2, 7);
    EXPECT_EQ(vlanCtl_initTagRule(), 0);
    unsigned id = kUntouched;
    EXPECT_EQ(vlanCtl_insertTagRule("sid0", 0, 0, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id), 7);
    EXPECT_EQ(id, kUntouched);
    EXPECT_EQ(onu().ruleCount(), 0u);
    EXPECT_EQ(onu().traceTexts().back(), "vlanCtl_insertTagRule(\"sid0\", 0, 0, 2, 4294967295, &-) = 7");
    insert("sid0", kReceive, 0, VLANCTL_POSITION_APPEND);
    EXPECT_EQ(onu().traceTexts().back(), "vlanCtl_insertTagRule(\"sid0\", 0, 0, 2, 4294967295, &1) = 0");

    onu().failNext("vlanCtl_initTagRule", 1, 5);
    onu().clearFaults();
    EXPECT_EQ(vlanCtl_initTagRule(), 0);
}

TEST_F(VirtualOnuTest, TheTraceListenerIsCalledOutsideOfTheLock) {
    std::vector<std::string> seen;
    onu().onTrace([&](const TraceEntry& entry) {
        std::thread([&] { onu().trace(); }).join();  // would wait for ever under the lock
        seen.push_back(entry.text());
    });
    Logger::getInstance(150)->writeToLog(0, "ifUp", "file", 1, 3, "%s is\n\"%d\"", "sid0", 1);
    onu().onTrace(nullptr);
    Logger::getInstance(150)->writeToLog(0, "ifUp", "file", 1, 3, "unheard");
    EXPECT_EQ(seen, (std::vector<std::string>{"log(3, \"ifUp\", \"sid0 is\\n\\\"1\\\"\") = 0"}));
    EXPECT_EQ(onu().traceTexts(CallKind::Log).size(), 2u);
    EXPECT_EQ(onu().toJson()["trace"].back()["kind"], "log");
}

TEST_F(VirtualOnuTest, TheGatewayAnswersServiceMessagesUnlessSilent) {
    void* bus = nullptr;
    int descriptor = -1;
    ASSERT_EQ(cmsMsg_init(60, &bus), 0);
    ASSERT_EQ(cmsMsg_getEventHandle(bus, &descriptor), 0);
    EXPECT_FALSE(readable(descriptor, 0));
    EXPECT_TRUE(gatewayAnswers(kHangMs));
    EXPECT_FALSE(readable(descriptor, 0)) << "the only message has been taken";

    ServiceMessage event;
    event.header.flags = CMS_MSG_FLAG_EVENT;
    EXPECT_EQ(cmsMsg_send(bus, &event.header), 0);
    EXPECT_FALSE(readable(descriptor, 50)) << "an event is no request";
    onu().setGateway(GatewayMode::Silent);
    EXPECT_FALSE(gatewayAnswers(50));
}

// A reader takes as many bytes from the block as the header says: a block that ends earlier would be read beyond its
// end.
TEST_F(VirtualOnuTest, AMessageHasAsManyBytesAsItsHeaderSays) {
    void* bus = nullptr;
    ASSERT_EQ(cmsMsg_init(60, &bus), 0);
    const std::tuple<std::vector<std::uint8_t>, long, std::vector<std::uint8_t>> cases[] = {
        {{9, 8}, -1, {9, 8}},
        {{9, 8},
         60,
         [] {
             std::vector<std::uint8_t> all(60);
             all[0] = 9, all[1] = 8;
             return all;
         }()},
        {{9, 8}, 1, {9}},
        {{}, 100000, std::vector<std::uint8_t>(65536)},
    };
    for (const auto& [payload, claimed, received] : cases) {
        onu().gatewaySends(0x10002251, payload, claimed);
        CmsMsgHeader* message = nullptr;
        ASSERT_EQ(cmsMsg_receiveWithTimeout(bus, &message, 0), 0) << claimed;
        const std::size_t block = malloc_usable_size(message) - sizeof *message;
        ASSERT_EQ(message->dataLength, received.size()) << claimed;
        ASSERT_GE(block, received.size()) << claimed;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(message + 1);
        EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + message->dataLength), received) << claimed;
        cmsMem_free(message);
    }
}

TEST_F(VirtualOnuTest, AForkedProcessHasAWorkingBoard) {
#if defined(__SANITIZE_THREAD__) || defined(VORN_EMULATED)
    GTEST_SKIP() << "ThreadSanitizer and the emulator do not follow threads that start after a fork";
#endif
    ASSERT_TRUE(gatewayAnswers(kHangMs));  // the gateway's thread runs here, not in the child
    EXPECT_EQ(inChild([] { return gatewayAnswers(kHangMs) && vlanCtl_init() == 0 ? 0 : 1; }), 0);
}

TEST_F(VirtualOnuTest, CallsFromManyThreadsAreAllCountedAndKept) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 200;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kCalls; ++i) {
                const GponCtlTcontAllocId record{static_cast<std::uint8_t>(t), 0, static_cast<std::uint16_t>(i)};
                gponCtl_configTcontAllocId(&record);
                cmsPsp_set(std::to_string(t).c_str(), &i, sizeof i);
            }
        });
    }
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(onu().toJson().empty());
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(onu().callCount(), 2u * kThreads * kCalls);
    EXPECT_EQ(onu().trace().back().number, 2u * kThreads * kCalls);
    EXPECT_EQ(onu().tconts().size(), 4u);
}

}  // namespace
