// A daemon that asks for all it wants when it starts: nothing is done twice, no frame of a service that stays is lost,
// and what it does not ask for any more is taken away.
#include <utility>

#include <nlohmann/json.hpp>

#include "src/restart/Services.h"

namespace restart_tests {
namespace {

// A frame of a service: from a UNI or the gateway ("sid1", "veip0"), or from its GEM port ("").
struct Sent {
    std::string port;
    std::uint16_t gemPort;
    virtual_onu::Frame frame;
};

std::vector<Sent> framesOf(const Service& service) {
    virtual_onu::Frame untagged, tagged;
    tagged.tags = {{0x8100, 0, false, service.vid}};
    untagged.dscp = 46;
    switch (service.kind) {
        case Kind::Veip:
            return {{"veip0", 0, tagged}, {"", service.gemPort(), tagged}};
        case Kind::Multicast:
            tagged.tags[0].pbits = 4;
            tagged.destination = "01:00:5e:01:01:01";
            return {{"", service.gemPort(), tagged}};
        default:
            return {{kPorts[service.number % 4], 0, service.number < 4 ? untagged : tagged},
                    {"", service.gemPort(), tagged}};
    }
}

class Settle : public ServicesFixture {
protected:
    // Sends the services' frames behind every call into the device, and counts those that end elsewhere than at first.
    class Watch {
    public:
        explicit Watch(const std::vector<Service>& services) {
            for (const Service& one : services)
                for (const Sent& sent : framesOf(one)) all_.push_back({sent, endsOf(sent)});
            onu().onTrace([this](const virtual_onu::TraceEntry&) {
                if (!std::exchange(sending_, true)) send();
                sending_ = false;
            });
        }
        ~Watch() { onu().onTrace(nullptr); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        void send() {
            for (const auto& [sent, ends] : all_) {
                ++frames;
                if (endsOf(sent) != ends) ++lost;
            }
        }
        const std::vector<std::pair<Sent, std::vector<std::string>>>& all() const { return all_; }
        std::size_t frames = 0, lost = 0;

    private:
        std::vector<std::pair<Sent, std::vector<std::string>>> all_;  // with where they end
        bool sending_ = false;
    };
    // Where it ends: copies that leave, and those that do not.
    static std::vector<std::string> endsOf(const Sent& sent) {
        constexpr auto kOff = virtual_onu::Learning::Off;
        const auto walk = sent.port.empty() ? onu().sendFromPon(sent.gemPort, sent.frame, kOff)
                                            : onu().sendFromPort(sent.port, sent.frame, kOff);
        std::vector<std::string> ends;
        for (const auto& exit : walk.exits)
            ends.push_back(exit.device + " " + std::to_string(exit.gemPort.value_or(0)) + " " + exit.frame.text());
        for (const auto& drop : walk.drops) ends.push_back("dropped: " + drop.device + ", " + drop.reason);
        return ends;
    }
};

// ---- all of it asked for again ----

TEST_F(Settle, WhatIsAskedForAgainIsNotMadeTwiceAndNoFrameIsLost) {
    const std::vector<Service> some = {
        {0, 100}, {1, 101}, {2, 102, Kind::Dscp}, {3, 103, Kind::Multicast}, {4, 104}, {7, 107, Kind::Veip}};
    liveFirst(callsOf(some));
    const std::string before = onu().toJson()["vlan"].dump() + onu().toJson()["network"].dump();
    Daemon second(folder_);
    ASSERT_GT(second.open(state()), 0);
    onu().clearTrace();
    Watch watch(some);
    for (const auto& [sent, ends] : watch.all()) {
        // A group's frames come to the port, which lets none of another service out.
        const bool arrives = !ends.empty() && ends[0].find("dropped: gpon") != 0;
        ASSERT_TRUE(arrives) << sent.port << " " << sent.gemPort << " " << sent.frame.text();
    }
    for (const Work& call : callsOf(some)) {
        call(second.hal());
        watch.send();
    }
    EXPECT_EQ(second.settle(), 0);
    watch.send();
    EXPECT_GT(watch.frames, 40U);
    EXPECT_EQ(watch.lost, 0U);
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
    EXPECT_GT(onu().ruleCount(), rules) << "appended to the rules that exist";
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
        {
            Watch watch(some);
            make(second, callsOf(some));
            EXPECT_EQ(second.settle() > 0, kept != 15);
            watch.send();
            EXPECT_GE(watch.frames, some.size());
            EXPECT_EQ(watch.lost, 0U) << "of the services that stay";
        }
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
