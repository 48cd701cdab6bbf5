#include <thread>

#include "src/pon/AdapterFixture.h"

namespace {

using virtual_onu::CallKind;

class Tconts : public AdapterFixture {
protected:
    static std::vector<std::string> calls() { return onu().traceTexts(CallKind::Platform); }
};

TEST_F(Tconts, ABoundAllocIdIsAcceptedAgainWithoutACall) {
    adapter().provisionTCont({1024, 3, 0});
    onu().clearTrace();
    const std::string printed = printedBy([] { EXPECT_EQ(adapter().provisionTCont({1024, 4, 0}), 1); });
    EXPECT_TRUE(contains(printed, "Inside provisionTCont success 1024"));
    EXPECT_EQ(calls(), std::vector<std::string>{});
    EXPECT_EQ(adapter().allocIdMap.at(1024), 3);
}

TEST_F(Tconts, AFailureLeavesTheAllocIdBoundAndIsNotRepaired) {
    struct Case {
        const char* function;
        int nth;
        std::size_t queues;
        int result;
    };
    std::uint16_t allocId = 300;
    for (const Case& c : {Case{"tmctl_setQueueCfg", 3, 2, 0},
                          {"tmctl_setQueueCfg", 8, 7, 0},
                          {"tmctl_portTmInit", 1, 0, 0},
                          {"gponCtl_configTcontAllocId", 1, 8, 1}}) {
        SCOPED_TRACE(c.function);
        const TContProvisioning record{++allocId, static_cast<std::uint16_t>(allocId - 300), 0};
        onu().failNext(c.function, c.nth, 5);
        const std::string printed = printedBy([&] { EXPECT_EQ(adapter().provisionTCont(record), c.result); });
        const std::string outcome = c.result == 1 ? "success " : "failed ";
        EXPECT_TRUE(contains(printed, "Inside provisionTCont " + outcome + std::to_string(allocId)));
        EXPECT_EQ(onu().tcont(record.tContIndex)->queues.size(), c.queues);
        EXPECT_TRUE(adapter().findAllocIdMapEntry(allocId));
        EXPECT_EQ(adapter().provisionTCont(record), 1);
        EXPECT_EQ(onu().tcont(record.tContIndex)->queues.size(), c.queues);
    }
}

TEST_F(Tconts, RemovalResetsTheTcontWhateverEachStepAnswers) {
    adapter().provisionTCont({1024, 3, 0});
    onu().clearTrace();
    for (const char* step : {"tmctl_delQueueCfg", "tmctl_portTmUninit", "gponCtl_deconfigTcontAllocId"}) {
        onu().failNext(step, 1, 5);
    }
    const std::string printed = printedBy([] { EXPECT_EQ(adapter().deprovisionTCont({1024, 0, 0}), 1); });
    EXPECT_EQ(printed, "deprovisionTCont:: tContProvisioning.allocId=1024\n");
    const auto made = calls();
    ASSERT_EQ(made.size(), 10u);
    for (unsigned n = 0; n < 8; ++n) {
        EXPECT_EQ(made[n], "tmctl_delQueueCfg(2, 3, " + std::to_string(n) + ") = " + (n == 0 ? "5" : "0"));
    }
    EXPECT_EQ(made[8], "tmctl_portTmUninit(2, 3) = 5");
    EXPECT_EQ(made[9], "gponCtl_deconfigTcontAllocId(3, 0) = 5");
    EXPECT_TRUE(adapter().allocIdMap.empty());
}

TEST_F(Tconts, SomeAllocIdsAreRemovedWithoutACall) {
    struct Case {
        std::uint16_t allocId;
        int result;
        const char* printed;
    };
    adapter().provisionTCont({255, 1, 0});
    adapter().provisionTCont({65535, 2, 0});
    onu().clearTrace();
    for (const Case& c : {Case{65535, 1, ""},
                          {700, 0, "deprovisionTCont:: tContProvisioning.allocId=700\n"},
                          {255, 1, "deprovisionTCont:: tContProvisioning.allocId=255\n"},
                          {255, 0, "deprovisionTCont:: tContProvisioning.allocId=255\n"}}) {
        const std::string printed = printedBy([&] {
            EXPECT_EQ(adapter().deprovisionTCont({c.allocId, 1, 0}), c.result) << c.allocId;
        });
        EXPECT_EQ(printed, c.printed);
    }
    EXPECT_EQ(calls(), std::vector<std::string>{});
    EXPECT_EQ(onu().tcont(1)->queues.size(), 8u) << "the T-CONT of alloc-id 255 keeps its queues";
    EXPECT_FALSE(adapter().findAllocIdMapEntry(255));
}

TEST_F(Tconts, ThreadsThatComeFirstGetOneAdapter) {
    OnuXponHalAdapterBCM* seen[4] = {};
    std::vector<std::thread> threads;
    for (auto& slot : seen) threads.emplace_back([&slot] { slot = OnuXponHalAdapterBCM::getInstance(); });
    for (auto& thread : threads) thread.join();
    for (const auto* adapterSeen : seen) EXPECT_EQ(adapterSeen, OnuXponHalAdapterBCM::instance);

    adapter().insertAllocIdMapEntry(1, 2);
    OnuXponHalAdapterBCM::destroyInstance();
    OnuXponHalAdapterBCM::destroyInstance();
    EXPECT_TRUE(adapter().allocIdMap.empty());
}

}  // namespace
