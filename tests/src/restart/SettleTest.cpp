// A daemon that asks for all it wants when it starts: nothing is done twice, no frame of a service that stays is lost,
// and what it does not ask for any more is taken away.
#include "src/restart/Services.h"

namespace restart_tests {
namespace {

class Settle : public ServicesFixture {};

// ---- all of it asked for again ----

TEST_F(Settle, WhatIsAskedForAgainIsNotMadeTwiceAndNoFrameIsLost) {
    const std::vector<Service> some = services(3);
    liveFirst(callsOf(some));
    const std::string before = onu().toJson()["vlan"].dump() + onu().toJson()["network"].dump();
    Daemon second(folder_);
    ASSERT_GT(second.open(state()), 0);
    onu().clearTrace();
    std::size_t frames = 0, lost = 0;
    bool sending = false;
    const auto send = [&] {
        for (const Service& one : some) {
            const auto walk = onu().sendFromPort(kPorts[one.number], {}, virtual_onu::Learning::Off);
            ++frames;
            if (walk.exits.empty()) ++lost;
        }
    };
    onu().onTrace([&](const virtual_onu::TraceEntry&) {
        if (sending) return;
        sending = true;
        send();
        sending = false;
    });
    for (const Work& call : callsOf(some)) {
        call(second.hal());
        send();
    }
    EXPECT_EQ(second.settle(), 0);
    onu().onTrace(nullptr);
    send();
    EXPECT_GT(frames, 40U);
    EXPECT_EQ(lost, 0U);
    EXPECT_EQ(onu().toJson()["vlan"].dump() + onu().toJson()["network"].dump(), before);
}

TEST_F(Settle, ARepeatWithinOneLifeIsWhatItWas) {
    const Calls calls = callsOf(services(1));
    liveFirst(calls);
    const std::size_t rules = onu().ruleCount();
    Daemon second(folder_);
    ASSERT_GT(second.open(state()), 0);
    calls[3](second.hal());
    EXPECT_EQ(onu().ruleCount(), rules);
    calls[3](second.hal());
    EXPECT_GT(onu().ruleCount(), rules) << "appended to the rules that stand";
    EXPECT_EQ(Daemon(folder_).settle(), -1) << "no file is open";
}

// ---- less, or something else ----

TEST_F(Settle, WhatIsNotAskedForAnyMoreIsTakenAway) {
    const std::vector<Service> all = {{0, 100}, {1, 101}, {2, 102, Kind::Dscp}, {4, 104}};
    for (unsigned kept = 0; kept < 16; ++kept) {
        SCOPED_TRACE(kept);
        std::vector<Service> some;
        for (unsigned i = 0; i < 4; ++i)
            if ((kept >> i & 1U) != 0) some.push_back(all[i]);
        const auto expected = neverDied(callsOf(some));
        liveFirst(callsOf(all));
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        make(second, callsOf(some));
        EXPECT_EQ(second.settle() > 0, kept != 15);
        EXPECT_EQ(serving(), expected) << difference(expected, serving());
        EXPECT_EQ(second.settle(), 0) << "once is enough";
        second.kill();
        Daemon third(folder_);
        third.open(state());
        make(third, callsOf(some));
        EXPECT_EQ(third.settle(), 0);
        EXPECT_EQ(serving(), expected) << difference(expected, serving());
        if (HasFailure()) return;
    }
}

TEST_F(Settle, WhatIsAskedForOtherwiseIsReplaced) {
    const std::vector<Service> before = {{0, 100}, {1, 101}};
    const Calls old = callsOf(before);
    struct Case {
        const char* what;
        std::size_t call;
        Work otherwise;
    };
    UniDataProvisioning otherVid = row(true);
    otherVid.uniPort = 1;
    otherVid.innerTreatmentVlanId = 200;
    BridgeServiceProvisioning otherList = service(), otherOperation = service();
    std::snprintf(otherList.vlanTciFilterList, sizeof otherList.vlanTciFilterList, "%04x", 300U);
    otherOperation.forwardOperation = 3;
    XGEMConfig otherPort = gem();
    otherPort.tContAllocId = 257;
    const Case cases[] = {
        {"another treatment", 4, asks(&VornHal::vorn_omci_hal_filter_flow_add, otherVid)},
        {"another T-CONT", 0, asks(&VornHal::vorn_omci_hal_tcont_set, TContProvisioning{256, 7, 0})},
        {"another list", 3, asks(&VornHal::vorn_omci_hal_configureAniTagRules, otherList)},
        {"another operation", 3, asks(&VornHal::vorn_omci_hal_configureAniTagRules, otherOperation)},
        {"another alloc-id", 1, asks(&VornHal::vorn_omci_hal_gemflow_add, otherPort)},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        Calls now = old;
        now[one.call] = one.otherwise;
        const auto expected = neverDied(now);
        liveFirst(old);
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        make(second, now);
        second.settle();
        EXPECT_EQ(serving(), expected) << difference(expected, serving());
    }
}

}  // namespace
}  // namespace restart_tests
