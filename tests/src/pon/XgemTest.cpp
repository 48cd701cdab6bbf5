#include <net/if.h>

#include <cerrno>

#include "src/pon/AdapterFixture.h"

namespace {

using virtual_onu::CallKind;

class GemPorts : public AdapterFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        adapter().provisionTCont({1024, 3, 0});
        onu().clearTrace();
    }
    // A port on alloc-id 1024, queue 2, strict priority 5.
    static XGEMConfig port(std::uint16_t id, std::uint16_t allocId = 1024) { return {allocId, id, 2, 0, 1, 5, 0}; }
    static std::vector<std::string> shell() { return onu().traceTexts(CallKind::Shell); }
    static virtual_onu::Queue queue(unsigned tcont, unsigned id) { return onu().tcont(tcont)->queues.at(id); }
};

TEST_F(GemPorts, ConfiguredTwiceAreOnePortThatHoldsTheDeviceUpTwice) {
    adapter().configureXGEM(port(500));
    adapter().setXgemStatus(500, false);
    onu().clearTrace();
    EXPECT_EQ(adapter().configureXGEM(port(500)), 1);
    EXPECT_EQ(adapter().gemPortMap.size(), 1u);
    EXPECT_EQ(g_GemCnt, 2);
    EXPECT_TRUE(onu().gemPort(500)->enabled) << "the second call enables again";
    EXPECT_EQ(shell().size(), 1u) << "and sets the queue, but does not bring the device up again";

    EXPECT_EQ(adapter().deconfigureXGEM(port(500)), 1);
    EXPECT_TRUE(adapter().gemPortMap.empty());
    EXPECT_FALSE(onu().gemPort(500).has_value());
    EXPECT_EQ(g_GemCnt, 1);
    EXPECT_TRUE(onu().device("gpondef")->up);
    onu().clearTrace();
    EXPECT_EQ(adapter().deconfigureXGEM(port(500)), 1) << "an unknown port is nothing to do";
    EXPECT_EQ(onu().traceTexts(), std::vector<std::string>{});
    EXPECT_EQ(g_GemCnt, 1);
}

TEST_F(GemPorts, SetTheirUpstreamQueue) {
    const struct {
        const char* what;
        std::uint16_t queue;
        std::uint8_t policy, priority, weight;
        virtual_onu::Queue want;
    } cases[] = {
        {"weight 0", 1, 2, 6, 0, {1, 0, 256, 1, 2, 0, 0}},      {"weight 128", 1, 2, 6, 128, {1, 0, 256, 32, 2, 0, 0}},
        {"weight 255", 7, 2, 6, 255, {7, 0, 256, 63, 2, 0, 0}}, {"strict", 4, 1, 9, 255, {4, 9, 256, 1, 1, 0, 0}},
        {"first queue", 0, 0, 7, 0, {0, 7, 2035, 1, 1, 0, 0}},
    };
    std::uint16_t id = 500;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        adapter().configureXGEM({1024, ++id, c.queue, 77, c.policy, c.priority, c.weight});
        EXPECT_TRUE(queue(3, c.queue) == c.want) << onu().stateText();
        const std::string command =
            "bs /b/c egress_tm/dir=us,index=4 queue_cfg[" + std::to_string(c.queue) + "]={drop_threshold=100660224}";
        EXPECT_EQ(onu().shellCommands().at(onu().shellCommands().size() - (id == 501 ? 2 : 1)).text, command);
    }
    adapter().configGemPortShapingUs(4, 3, 2, true);
    EXPECT_EQ(queue(3, 4).priority, 2u);
    TmctlQueueCfg shaped{};
    const TmctlIf interface { 3 };
    tmctl_getQueueCfg(TMCTL_DEV_GPON, &interface, 5, &shaped);
    shaped.shapingRate = 100;
    shaped.shapingBurst = 200;
    tmctl_setQueueCfg(TMCTL_DEV_GPON, &interface, &shaped);
    adapter().configGemPortShapingUs(5, 3, 1, false);
    EXPECT_TRUE(queue(3, 5) == (virtual_onu::Queue{5, 1, 256, 1, 1, 0, 0}));
}

TEST_F(GemPorts, AreSetUpWithoutTheQueueWhereThereIsNone) {
    const struct {
        const char* what;
        std::uint16_t allocId, queue;
        const char* fault;
        bool downstreamOnly, onTcont;
        const char* lastQueueCall;
    } cases[] = {
        {"downstream only", 65535, 2, nullptr, true, false, ""},
        {"alloc-id is not bound", 1025, 2, nullptr, false, false, ""},
        {"no such queue", 1024, 8, nullptr, false, true, ""},
        {"queue cannot be read", 1024, 2, "tmctl_getQueueCfg", false, true, "tmctl_getQueueCfg"},
        {"queue cannot be set", 1024, 2, "tmctl_setQueueCfg", false, true, "tmctl_setQueueCfg"},
    };
    std::uint16_t id = 600;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        adapter().tcontIdxToGemPortMap.clear();
        onu().clearTrace();
        if (c.fault != nullptr) onu().failNext(c.fault, 1, 5);
        EXPECT_EQ(adapter().configureXGEM({c.allocId, ++id, c.queue, 0, 2, 5, 9}), 1);
        EXPECT_TRUE(onu().gemPort(id)->enabled);
        EXPECT_EQ(onu().gemPort(id)->downstreamOnly, c.downstreamOnly);
        EXPECT_EQ(adapter().tcontIdxToGemPortMap.count(3), c.onTcont ? 1u : 0u);
        std::string lastQueueCall;
        for (const auto& entry : onu().trace()) {
            if (entry.name.rfind("tmctl_", 0) == 0) lastQueueCall = entry.name;
            EXPECT_EQ(entry.arguments.find("egress_tm"), std::string::npos);
        }
        EXPECT_EQ(lastQueueCall, c.lastQueueCall);
    }
}

// The driver has the port already: it is disabled, and as the driver names no new index nothing is recorded.
TEST_F(GemPorts, ThatTheDriverHasAlreadyAreDisabledAndRefused) {
    onu().addGemPort(500, 9);
    EXPECT_EQ(adapter().configureXGEM(port(500, 65535)), 0);
    EXPECT_EQ(onu().traceTexts(CallKind::Platform),
              (std::vector<std::string>{"gponCtl_configGemPort(500, 65535, 1, &65535) = 258",
                                        "gponCtl_getGemPort(500, &9) = 0", "gponCtl_enableGemPort(9, 500, 0) = 0",
                                        "gponCtl_enableGemPort(65535, 500, 1) = 2"}));
    EXPECT_TRUE(adapter().gemPortMap.empty());
    EXPECT_EQ(g_GemCnt, 0);
    EXPECT_EQ(shell(), std::vector<std::string>{});
}

TEST_F(GemPorts, AtIndexZeroOrUnreadableAreNotRemoved) {
    onu().addGemPort(500, 0);
    adapter().insertGemPortMapEntry(500, 0);
    EXPECT_EQ(adapter().deconfigureXGEM(port(500)), 1);
    EXPECT_EQ(adapter().deleteXGEMPort(500), 65535);
    EXPECT_TRUE(onu().gemPort(500).has_value());
    EXPECT_EQ(adapter().gemPortMap.count(500), 1u);

    adapter().configureXGEM(port(501));
    onu().failNext("gponCtl_getGemPort", 1, 5);
    EXPECT_EQ(adapter().deconfigureXGEM(port(501)), 1);
    EXPECT_EQ(onu().traceTexts(CallKind::Platform).back(), "gponCtl_getGemPort(501, &65535) = 5") << "the last call";
    EXPECT_TRUE(onu().gemPort(501)->enabled);
    EXPECT_EQ(adapter().gemPortMap.count(501), 1u);
    EXPECT_EQ(g_GemCnt, 1);
}

TEST_F(GemPorts, GoUpAndDownByTheirStoredIndex) {
    EXPECT_EQ(adapter().setXgemStatus(500, true), 65535);
    adapter().configureXGEM(port(500));
    EXPECT_EQ(adapter().setXgemStatus(500, false), 0);
    EXPECT_FALSE(onu().gemPort(500)->enabled);
    onu().failNext("gponCtl_enableGemPort", 1, -3);
    EXPECT_EQ(adapter().setXgemStatus(500, true), 0xFFFD);
}

TEST_F(GemPorts, LeaveTheirDiscardedFramesAloneWhenTheyAreNotKnown) {
    adapter().configureXGEM(port(500));
    GalEthPMHistoryData_t data{500, 1};
    onu().failNext("gponCtl_getGemPortCounters", 1, 8);
    EXPECT_EQ(adapter().getGalEthPmHistDataME(&data), 8);
    EXPECT_EQ(data.discardedFrames, 1u);
    EXPECT_EQ(adapter().getGalEthPmHistDataME(nullptr), -1);
}

// All 256 indexes: the ports take 1 to 255 and, last, 0. Port ids equal the indexes, so that the T-CONT map empties
// too.
TEST_F(GemPorts, FillTheDriverAndDrainFromIt) {
    constexpr unsigned kTconts = 32;
    for (std::uint16_t t = 0; t < kTconts; ++t) adapter().provisionTCont({static_cast<std::uint16_t>(2000 + t), t, 0});
    const auto config = [](unsigned id) {
        return port(static_cast<std::uint16_t>(id), static_cast<std::uint16_t>(2000 + id % kTconts));
    };
    for (unsigned id = 1; id <= 256; ++id) ASSERT_EQ(adapter().configureXGEM(config(id)), 1) << id;
    EXPECT_EQ(adapter().configureXGEM(config(257)), 0) << "there is no index above 255";
    EXPECT_EQ(adapter().gemPortMap.size(), 256u);
    EXPECT_EQ(adapter().tcontIdxToGemPortMap.size(), kTconts);
    EXPECT_EQ(g_GemCnt, 256);

    for (unsigned id = 1; id <= 257; ++id) EXPECT_EQ(adapter().deconfigureXGEM(config(id)), 1);
    EXPECT_EQ(adapter().gemPortMap, (std::map<std::uint16_t, std::uint16_t>{{256, 0}}))
        << "index 0 is never taken back";
    EXPECT_EQ(onu().gemPorts().size(), 1u);
    EXPECT_EQ(g_GemCnt, 1);
    EXPECT_TRUE(onu().device("gpondef")->up);

    adapter().removeGemFromDefaultGponIf(0);
    EXPECT_FALSE(onu().device("gpondef")->up);
    adapter().deleteGemPortMapEntry(256);
    for (std::uint16_t t = 0; t < kTconts; ++t)
        adapter().deprovisionTCont({static_cast<std::uint16_t>(2000 + t), t, 0});
    adapter().deprovisionTCont({1024, 3, 0});
    EXPECT_TRUE(adapter().gemPortMap.empty());
    EXPECT_TRUE(adapter().tcontIdxToGemPortMap.empty());
    EXPECT_TRUE(adapter().allocIdMap.empty());
    EXPECT_TRUE(onu().tconts().empty()) << onu().stateText();
}

TEST_F(GemPorts, AnUnmatchedRemovalKeepsTheDeviceDownUntilItIsMadeUpFor) {
    adapter().removeGemFromDefaultGponIf(256);
    EXPECT_EQ(g_GemCnt, 0) << "no valid index";
    adapter().removeGemFromDefaultGponIf(255);
    adapter().addGemToDefaultGponIf(255);
    EXPECT_EQ(g_GemCnt, 0);
    EXPECT_EQ(shell(), std::vector<std::string>{});
    adapter().addGemToDefaultGponIf(255);
    EXPECT_TRUE(onu().device("gpondef")->up);
}

TEST_F(GemPorts, TheAdapterControlsDevicesByName) {
    EXPECT_TRUE(adapter().isInterfaceExisted("gpondef"));
    EXPECT_EQ(adapter().getInterfaceIndex("gpondef"), onu().device("gpondef")->index);
    EXPECT_EQ(adapter().ifUp("gpondef"), 1);
    EXPECT_EQ(onu().device("gpondef")->flags, unsigned{IFF_UP | IFF_RUNNING | IFF_MULTICAST});
    EXPECT_EQ(adapter().ifDown("gpondef"), 1);
    EXPECT_EQ(onu().device("gpondef")->flags, 0xFFFEu);
    onu().clearTrace();
    onu().failNext("ioctl:SIOCSIFFLAGS", 1, EPERM);
    EXPECT_EQ(adapter().ifUp("gpondef"), 0);
    EXPECT_EQ(onu().traceTexts(CallKind::Ioctl).size(), 2u) << "the MTU is set all the same";
    EXPECT_EQ(adapter().ifDown("none"), 0);
    EXPECT_EQ(adapter().getInterfaceIndex("none"), -1);
    onu().clearTrace();
    EXPECT_EQ(adapter().ifUp(nullptr), 0);
    EXPECT_EQ(adapter().ifDown(nullptr), 0);
    EXPECT_FALSE(adapter().isInterfaceExisted(nullptr));
    EXPECT_EQ(onu().traceTexts(), std::vector<std::string>{});
}

}  // namespace
