// A daemon that asks for all it wants when it starts: nothing is done twice, no frame of a service that stays is lost,
// and what it does not ask for any more is taken away.
#include <algorithm>
#include <random>

#include <nlohmann/json.hpp>

#include "src/restart/Killing.h"

namespace restart_tests {
namespace {

using Calls = std::vector<Work>;

constexpr const char* kPorts[] = {"sid1", "sid0", "sid2", "sid3"};  // of UNI ports 1 to 4

// A service of its own T-CONT, GEM port, bridge, VID and UNI.
struct Service {
    std::uint16_t number;  // from 0
    std::uint16_t vid;
    bool byDscp = false;

    std::uint16_t gemPort() const { return static_cast<std::uint16_t>(kGemPort + number); }
    std::uint16_t bridge() const { return static_cast<std::uint16_t>(3 + number); }
    Calls calls() const {
        const Service own = *this;
        return {
            [own](VornHal& hal) {
                TContProvisioning record{static_cast<std::uint16_t>(256 + own.number),
                                         static_cast<std::uint16_t>(1 + own.number), 0};
                hal.vorn_omci_hal_tcont_set(nullptr, &record);
            },
            [own](VornHal& hal) {
                XGEMConfig record = gem();
                record.tContAllocId = static_cast<std::uint16_t>(256 + own.number);
                record.xgemPortId = own.gemPort();
                hal.vorn_omci_hal_gemflow_add(&record);
            },
            [own](VornHal& hal) { hal.vorn_omci_hal_configureBridge(own.bridge(), 0); },
            [own](VornHal& hal) {
                BridgeServiceProvisioning record = service();
                record.gemPortId = own.gemPort();
                record.bridgeId = own.bridge();
                record.pbitMap[0].first = own.gemPort();
                std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%04x", unsigned{own.vid});
                hal.vorn_omci_hal_configureAniTagRules(&record);
            },
            [own](VornHal& hal) {
                UniDataProvisioning record = row(true);
                record.bridgeId = own.bridge();
                record.uniPort = static_cast<std::uint16_t>(1 + own.number % 4);
                // The first on a port takes its untagged frames, the second one those of its own VID.
                if (own.number >= 4) {
                    record.filterType = 1;
                    record.innerFilterPrio = 8;
                    record.innerFilterVlanId = own.vid;
                }
                record.innerTreatmentVlanId = own.vid;
                record.innerTreatmentPrio = own.byDscp && own.number < 4 ? 10 : 0;
                hal.vorn_omci_hal_filter_flow_add(&record);
            },
        };
    }
};

Calls callsOf(const std::vector<Service>& services) {
    Calls all;
    for (const Service& one : services)
        for (Work& call : one.calls()) all.push_back(std::move(call));
    return all;
}

std::vector<Service> services(std::uint16_t count) {
    std::vector<Service> some;
    for (std::uint16_t i = 0; i < count; ++i) some.push_back({i, static_cast<std::uint16_t>(100 + i)});
    return some;
}

class Settle : public RestartFixture {
protected:
    void startOver() {
        onu().reset();
        fs::remove(state());
    }
    static void make(Daemon& daemon, const Calls& calls) {
        for (const Work& call : calls) call(*daemon.operator->());
    }
    // GEM indexes and the order of rules in a table go by what was there before: rules name the GEM port, in the order
    // of their texts. What is left of services that were taken away is settings that serve nobody.
    static nlohmann::json serving() {
        const auto json = leveledDevice();
        nlohmann::json kept;
        for (const auto& device : json["network"]["devices"])
            kept["devices"][device["name"].get<std::string>()] = device["master"];
        for (const auto& table : json["vlan"]["tables"]) {
            std::vector<std::string> rules;
            for (const auto& rule : table["rules"])
                rules.push_back(withGemPorts(rule["text"], json["pon"]["gemPorts"]));
            std::sort(rules.begin(), rules.end());
            if (!rules.empty())
                kept["rules"][table["device"].get<std::string>() + table["direction"].get<std::string>() +
                              table["tags"].dump()] = rules;
        }
        for (const auto& tcont : json["pon"]["tconts"])
            if (!tcont["allocId"].is_null()) kept["tconts"][tcont["index"].dump()] = tcont["allocId"];
        for (const auto& port : json["pon"]["gemPorts"])
            kept["ports"][port["portId"].dump()] = {port["allocId"], port["enabled"]};
        for (const auto& object : json["runner"]["objects"]) kept["runner"][object["name"].get<std::string>()] = object;
        return kept;
    }
    static std::string withGemPorts(std::string text, const nlohmann::json& ports) {
        for (const std::string name : {"gem=", "gem:="}) {
            const std::size_t at = text.find(name);
            if (at == std::string::npos) continue;
            std::size_t end = 0;
            const unsigned long index = std::stoul(text.substr(at + name.size()), &end);
            for (const auto& port : ports)
                if (port["index"] == index) text.replace(at + name.size(), end, "port " + port["portId"].dump());
        }
        return text;
    }
    // The board after a boot, of a daemon that never died.
    nlohmann::json neverDied(const Calls& calls) {
        startOver();
        Daemon daemon(folder_);
        make(daemon, calls);
        return serving();
    }
    void liveFirst(const Calls& calls) {
        startOver();
        Daemon first(folder_);
        ASSERT_EQ(first.open(state()), 0);
        make(first, calls);
    }
};

std::string difference(const nlohmann::json& one, const nlohmann::json& other) {
    return nlohmann::json::diff(one, other).dump(1);
}

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
        call(*second.operator->());
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
    calls[3](*second.operator->());
    EXPECT_EQ(onu().ruleCount(), rules);
    calls[3](*second.operator->());
    EXPECT_GT(onu().ruleCount(), rules) << "appended to the rules that stand";
    EXPECT_EQ(Daemon(folder_).settle(), -1) << "no file is open";
}

// ---- killed between commit and return ----

TEST_F(Settle, KilledBehindEachOperationItMayAskForAllAgain) {
    const Calls calls = callsOf(services(2));
    const auto whole = neverDied(calls);
    for (std::size_t killed = 1; killed <= calls.size(); ++killed) {
        SCOPED_TRACE(killed);
        liveFirst(Calls(calls.begin(), calls.begin() + static_cast<long>(killed)));
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        make(second, calls);
        EXPECT_EQ(second.settle(), 0);
        EXPECT_EQ(serving(), whole) << difference(whole, serving());
    }
}

// ---- less, or something else ----

TEST_F(Settle, WhatIsNotAskedForAnyMoreIsTakenAway) {
    const std::vector<Service> all = {{0, 100}, {1, 101}, {2, 102, true}, {4, 104}};
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
    const Case cases[] = {
        {"another treatment", 4,
         [](VornHal& hal) {
             UniDataProvisioning record = row(true);
             record.uniPort = 1;
             record.innerTreatmentVlanId = 200;
             hal.vorn_omci_hal_filter_flow_add(&record);
         }},
        {"another T-CONT", 0,
         [](VornHal& hal) {
             TContProvisioning record{256, 7, 0};
             hal.vorn_omci_hal_tcont_set(nullptr, &record);
         }},
        {"another list", 3,
         [](VornHal& hal) {
             BridgeServiceProvisioning record = service();
             std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%04x", 300U);
             hal.vorn_omci_hal_configureAniTagRules(&record);
         }},
        {"another operation", 3,
         [](VornHal& hal) {
             BridgeServiceProvisioning record = service();
             record.forwardOperation = 3;
             hal.vorn_omci_hal_configureAniTagRules(&record);
         }},
        {"another alloc-id", 1,
         [](VornHal& hal) {
             XGEMConfig record = gem();
             record.tContAllocId = 257;
             hal.vorn_omci_hal_gemflow_add(&record);
         }},
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

// ---- random lives ----

// A daemon that is killed somewhere, once or twice, and then asks for what it wants: all it had asked for, or some.
TEST_F(Settle, RandomLivesEndAsIfNobodyHadDied) {
    const char* const wanted = std::getenv("VORN_LIVES");
    const unsigned lives = wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : 60;
    for (unsigned seed = 1; seed <= lives; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto pick = [&random](unsigned below) { return static_cast<unsigned>(random() % below); };
        std::vector<Service> all;
        for (std::uint16_t i = 0; i < 8; ++i)
            if (pick(2) == 0 || (i == 7 && all.empty()))
                all.push_back({i, static_cast<std::uint16_t>(100 + pick(8) * 10 + i), pick(4) == 0});
        std::shuffle(all.begin(), all.end(), random);
        std::vector<Service> some;
        for (const Service& one : all)
            if (pick(3) != 0) some.push_back(one);
        const auto expected = neverDied(callsOf(some));
        startOver();
        const Calls calls = callsOf(all);
        for (unsigned deaths = 1 + pick(2); deaths > 0; --deaths) {
            Daemon dying(folder_);
            ASSERT_GE(dying.open(state()), 0);
            const std::size_t last = pick(static_cast<unsigned>(calls.size()));
            for (std::size_t i = 0; i < last; ++i) calls[i](*dying.operator->());
            killAt(dying, calls[last], 1 + pick(60));
            dying.kill();
        }
        Daemon left(folder_);
        ASSERT_GE(left.open(state()), 0);
        make(left, callsOf(some));
        EXPECT_GE(left.settle(), 0);
        EXPECT_EQ(serving(), expected) << difference(expected, serving());
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace restart_tests
