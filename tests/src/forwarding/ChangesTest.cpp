// Changes beside a service that is in force: it never notices, a failing call changes nothing, and a daemon that is
// killed within one and started again ends as if nothing had been.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include <nlohmann/json.hpp>

#include "src/forwarding/Changes.h"
#include "src/restart/Killing.h"
#include "support/StdoutCapture.h"

namespace {

using namespace forwarding_tests;
using namespace restart_tests;

class Changes : public ForwardedServices, public ::testing::WithParamInterface<Change> {
protected:
    static std::vector<Operation> operations() {
        std::vector<Operation> all = GetParam().comes;
        all.insert(all.end(), GetParam().goes.begin(), GetParam().goes.end());
        return all;
    }
    static bool leaves(const virtual_onu::Walk& walk, const std::string& device, const char* frame) {
        return std::any_of(walk.exits.begin(), walk.exits.end(),
                           [&](const auto& exit) { return exit.device == device && exit.frame.text() == frame; });
    }
    static bool isInForce() {
        return leaves(onu().sendFromPort("sid0", Frame{}), "gpondef", "VID 100 p0, IPv4") &&
               leaves(onu().sendFromPon(kGemPort, tagged(100)), "sid0", "untagged IPv4");
    }
    // Looks at the service behind every call into the device.
    void watch() {
        onu().onTrace([this](const virtual_onu::TraceEntry&) {
            if (std::exchange(looking_, true)) return;
            ++looks_;
            bad_ += isInForce() ? 0 : 1;
            looking_ = false;
        });
    }
    void openState() { ASSERT_GE(daemon().open(state()), 0); }
    void restart() {
        daemon_ = std::make_unique<Daemon>(folder_);
        choose(daemon(), kG988);
        openState();
    }

    unsigned looks_ = 0, bad_ = 0;

private:
    bool looking_ = false;
};

INSTANTIATE_TEST_SUITE_P(Each, Changes, ::testing::ValuesIn(changes()),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(Changes, NobodyElseNotices) {
    provision();
    const auto before = serving();
    watch();
    for (const Operation& operation : operations()) {
        EXPECT_EQ(operation.run(daemon().hal()), 0) << operation.name;
        EXPECT_EQ(bad_, 0U) << operation.name;
    }
    onu().onTrace(nullptr);
    EXPECT_GT(looks_, 10U);
    EXPECT_EQ(serving(), before) << nlohmann::json::diff(before, serving()).dump(1);
}

std::string failedCall() {
    std::string text = "none";
    for (const virtual_onu::TraceEntry& entry : virtual_onu::VirtualOnu::instance().trace())
        if (entry.injected) text = entry.text();
    return text;
}

// Each call into the device fails once: what there was is there then, or, for calls that a service does not need, all
// of the operation is.
// One call in so many is tried; sanitizers and emulators take five times as long for each.
#ifdef VORN_EMULATED
constexpr unsigned kEvery = 11;
#else
constexpr unsigned kEvery = sizeof VORN_SANITIZERS > 1 ? 11 : 1;
#endif

TEST_P(Changes, AFailingCallLeavesAllOrNothing) {
    const auto all = operations();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto begin = [&] {
            startOver();
            provision();
            for (std::size_t done = 0; done < i; ++done) all[done].run(daemon().hal());
        };
        const auto looked = [&] {
            auto json = serving();
            if (all[i].makesDefaultBridge) leaveOutDefaultBridge(json);
            return json;
        };
        begin();
        const auto before = looked();
        all[i].run(daemon().hal());
        const auto after = looked(), defaultsAfter = defaults();
        unsigned failed = 0;
        begin();
        for (unsigned nth = 1;; nth += kEvery) {
            const auto number = onu().callCount() + nth;
            onu().failCall(number, 5);
            int result = 0;
            const std::string printed = printedBy([&] { result = all[i].run(daemon().hal()); });
            const bool isOver = onu().callCount() < number;
            onu().clearFaults();
            if (isOver) break;
            SCOPED_TRACE(std::string(all[i].name) + ", call " + std::to_string(nth) + ": " + failedCall());
            const auto now = looked();
            if (result == 0) {
                EXPECT_EQ(now, after) << nlohmann::json::diff(after, now).dump(1);
                EXPECT_EQ(defaults(), defaultsAfter) << nlohmann::json::diff(defaultsAfter, defaults()).dump(1);
                if (HasFailure()) return;
                begin();
                continue;
            }
            ++failed;
            EXPECT_EQ(now, before) << nlohmann::json::diff(before, now).dump(1);
            EXPECT_NE(printed.find("nothing is changed"), std::string::npos) << printed;
            if (HasFailure()) return;
        }
        EXPECT_EQ(looked(), after);
        EXPECT_TRUE(failed > 0 || before == after || kEvery > 1) << all[i].name;
    }
}

// Behind each call into the device, which takes minutes.
bool everyCall() {
    return std::getenv("VORN_EVERY_CALL") != nullptr;
}

// A flow between devices that stay cannot be taken away alone, and carries nothing without a rule.
nlohmann::json withoutFlowsToVeip(nlohmann::json board) {
    nlohmann::json flows = nlohmann::json::array();
    for (const auto& flow : board["flows"])
        if (flow["from"] != "veip0" && flow["to"] != "veip0") flows.push_back(flow);
    board["flows"] = flows;
    return board;
}

TEST_P(Changes, KilledWithinThemItEndsAsIfNothingHadBeen) {
    const unsigned every = everyCall() ? 1 : 17;
    const auto all = operations();
    provision();
    std::vector<nlohmann::json> whole;
    const auto provisioned = serving();
    for (const Operation& operation : all) {
        operation.run(daemon().hal());
        whole.push_back(serving());
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (unsigned deviceCall = 1 + static_cast<unsigned>(i) % every;; deviceCall += every) {
            SCOPED_TRACE(std::string(all[i].name) + ", device call " + std::to_string(deviceCall));
            startOver();
            openState();
            provision();
            for (std::size_t done = 0; done < i; ++done) all[done].run(daemon().hal());
            if (!killAt(
                    daemon(), [&](VornHal& hal) { all[i].run(hal); }, deviceCall))
                break;
            ASSERT_TRUE(isInForce());
            restart();
            ASSERT_TRUE(isInForce());
            // Left, it has not been or has been done.
            const auto left = withoutFlowsToVeip(serving());
            const auto before = withoutFlowsToVeip(i == 0 ? provisioned : whole[i - 1]);
            const auto after = withoutFlowsToVeip(whole[i]);
            ASSERT_TRUE(left == before || left == after)
                << nlohmann::json::diff(before, left).dump(1) << nlohmann::json::diff(after, left).dump(1);
            // It is called again, or all of it comes and goes once more.
            const std::size_t from = deviceCall % 2 == 0 ? 0 : i;
            for (std::size_t again = from; again < all.size(); ++again) {
                all[again].run(daemon().hal());
                const bool isLast = again + 1 == all.size();
                ASSERT_TRUE(serving() == whole[again] || (from != i && !isLast))
                    << nlohmann::json::diff(whole[again], serving()).dump(1);
            }
        }
    }
}

// ---- a daemon that starts again and asks for less ----

TEST_P(Changes, WhatNobodyAsksForAgainGoesAndNobodyElseNotices) {
    provision();
    const auto expected = serving();
    const auto firstLife = [&] {
        startOver();
        openState();
        provision();
        for (const Operation& operation : GetParam().comes) operation.run(daemon().hal());
    };
    const auto secondLife = [&] {
        restart();
        make(daemon(), 0, kProvisioning);
    };
    firstLife();
    const auto whole = serving();
    watch();
    secondLife();
    EXPECT_GE(daemon().settle(), 0);
    onu().onTrace(nullptr);
    EXPECT_EQ(bad_, 0U);
    EXPECT_EQ(serving(), expected) << nlohmann::json::diff(expected, serving()).dump(1);
    EXPECT_EQ(daemon().settle(), 0) << "once is enough";
    for (const Operation& operation : GetParam().comes) EXPECT_EQ(operation.run(daemon().hal()), 0) << operation.name;
    EXPECT_EQ(serving(), whole) << nlohmann::json::diff(whole, serving()).dump(1);

    // All of it is asked for again: nothing is done twice, and nothing goes.
    secondLife();
    for (const Operation& operation : GetParam().comes) operation.run(daemon().hal());
    EXPECT_EQ(daemon().settle(), 0);
    EXPECT_EQ(serving(), whole) << nlohmann::json::diff(whole, serving()).dump(1);

    // Killed while it takes away, and started once more.
    for (unsigned deviceCall = 1;; deviceCall += everyCall() ? 1 : 7) {
        SCOPED_TRACE(deviceCall);
        firstLife();
        secondLife();
        if (!killAt(
                daemon(), [&](VornHal&) { daemon().settle(); }, deviceCall))
            break;
        ASSERT_TRUE(isInForce());
        secondLife();
        daemon().settle();
        ASSERT_EQ(serving(), expected) << nlohmann::json::diff(expected, serving()).dump(1);
    }
}

// The kit refuses the device and then the rule that would be given back: the line names both.
TEST_F(ForwardedServices, WhatCannotBeGivenBackIsNamed) {
    provision();
    ASSERT_EQ(uni(ofPort(row(true), 3)).run(daemon().hal()), 0);
    onu().failNext("vlanCtl_deleteVlanInterface", 1, 5);
    onu().failNext("vlanCtl_insertTagRule", 1, 28);
    int result = 0;
    const std::string printed = printedBy([&] { result = noPort(3).run(daemon().hal()); });
    onu().clearFaults();
    EXPECT_EQ(result, -1);
    EXPECT_NE(printed.find("part of it is done: sid2.3 cannot be removed, and its rules are gone: sid2"),
              std::string::npos)
        << printed;
    EXPECT_TRUE(onu().device("sid2.3"));
    // Asked for once more it is done.
    EXPECT_EQ(noPort(3).run(daemon().hal()), 0);
    EXPECT_FALSE(onu().device("sid2.3"));
}

TEST_F(ForwardedServices, WhatTheKitDoesNotGiveUpStaysUntilItDoes) {
    ASSERT_EQ(daemon().open(state()), 0);
    provision();
    const auto expected = serving();
    ASSERT_EQ(ask(daemon(), tagging(20, 100)), 0);
    const auto whole = serving();
    daemon_ = std::make_unique<Daemon>(folder_);
    choose(daemon(), kG988);
    ASSERT_GT(daemon().open(state()), 0);
    make(daemon(), 0, kProvisioning);
    onu().failNext("vlanCtl_removeTagRule", 2, 5);
    daemon().settle();
    EXPECT_TRUE(saidThat("what nobody has asked for stays: sid0 row VID 20"));
    EXPECT_EQ(serving(), whole);
    daemon().settle();
    EXPECT_EQ(serving(), expected);
}

// The PON ports of a bridge are tried in the order in which they are asked for.
TEST_F(ForwardedServices, TheOrderOfPonPortsIsTheOneOfTheLastLife) {
    const auto life = [&](std::uint16_t first, std::uint16_t second) {
        for (const std::uint16_t gemPortId : {std::uint16_t{1001}, std::uint16_t{1002}})
            gemPort(gemPortId).run(daemon().hal());
        bridge(3).run(daemon().hal());
        for (const std::uint16_t gemPortId : {first, second}) pon(ponPort(gemPortId, "0064")).run(daemon().hal());
        ASSERT_EQ(ask(daemon(), row(true)), 0);
    };
    const auto gemPortUp = [] {
        const auto walk = onu().sendFromPort("sid0", Frame{});
        return walk.exits.empty() ? 0 : walk.exits.front().gemPort.value_or(0);
    };
    internet()[0].make(daemon().hal());
    ASSERT_EQ(daemon().open(state()), 0);
    life(1001, 1002);
    EXPECT_EQ(gemPortUp(), 1001U);
    daemon_ = std::make_unique<Daemon>(folder_);
    choose(daemon(), kG988);
    ASSERT_GT(daemon().open(state()), 0);
    internet()[0].make(daemon().hal());
    life(1002, 1001);
    daemon().settle();
    EXPECT_EQ(gemPortUp(), 1002U);
}

}  // namespace
