// What an operation that was interrupted leaves, and what is somebody else's.
#include <map>

#include <nlohmann/json.hpp>

#include "platform/vlanctl.h"
#include "src/restart/Services.h"

namespace restart_tests {
namespace {

struct Left;

class Interrupted : public ServicesFixture {
protected:
    void isNeverLeftHalfDone(const std::vector<Left>& operations);
    static unsigned ruleOfAnother(const char* device, unsigned direction, unsigned tags) {
        unsigned id = 0;
        vlanCtl_init();
        vlanCtl_initTagRule();
        vlanCtl_filterOnTagVid(4000, 0);
        vlanCtl_insertTagRule(device, direction, tags, VLANCTL_POSITION_APPEND, VLANCTL_DONT_CARE, &id);
        vlanCtl_cleanup();
        return id;
    }
    static std::size_t countOf(const char* device, unsigned id) {
        std::size_t count = 0;
        for (const auto& rule : onu().rules(device, 0, 0)) count += rule.id == id ? 1 : 0;
        return count;
    }
    static bool isInsertInto(const virtual_onu::TraceEntry& entry, const std::string& device) {
        return entry.name == "vlanCtl_insertTagRule" && entry.arguments.find("\"" + device + "\", 0, 0") == 0;
    }
};

TEST_F(Interrupted, ARuleOfAnotherProgramStays) {
    for (const bool alsoBehind : {false, true}) {
        SCOPED_TRACE(alsoBehind ? "and another one came behind" : "it was there before");
        startOver();
        unsigned other = 0;
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            restart_tests::make(first, 0, kProvisioning - 1);
            other = ruleOfAnother("sid0", 0, 0);
            ASSERT_TRUE(killWhen(first, internet()[kProvisioning - 1].make,
                                 [](const auto& entry) { return isInsertInto(entry, "sid0"); }));
        }
        ASSERT_EQ(onu().rules("sid0", 0, 0).size(), 2U);
        const unsigned behind = alsoBehind ? ruleOfAnother("sid0", 0, 0) : 0;
        Daemon second(folder_);
        onu().clearTrace();
        EXPECT_GT(second.open(state()), 0);
        EXPECT_EQ(countOf("sid0", other), 1U);
        EXPECT_EQ(countOf("sid0", behind), alsoBehind ? 1U : 0U);
        EXPECT_EQ(onu().rules("sid0", 0, 0).size(), alsoBehind ? 3U : 1U)
            << "of two that came nobody knows whose they are";
        EXPECT_EQ(saidThat("2 rules have come while an operation was not finished"), alsoBehind);
    }
}

// ---- never half done ----

constexpr std::uint16_t kHostPort = 5;

IpHostProvision host(bool dhcp) {
    IpHostProvision record = internet_service::ipHost(kHostPort);
    record.dhcpEnabled = dhcp ? 1 : 0;
    return record;
}

BridgeServiceProvisioning threePorts() {
    BridgeServiceProvisioning record = service();
    for (std::uint8_t pbit = 0; pbit < 3; ++pbit)
        record.pbitMap[pbit] = {static_cast<std::uint16_t>(kGemPort + pbit), pbit};
    return record;
}

void provisionThreePorts(VornHal& hal) {
    internet()[0].make(hal);
    for (std::uint16_t port = kGemPort; port < kGemPort + 3; ++port) {
        XGEMConfig record = gem();
        record.xgemPortId = port;
        hal.vorn_omci_hal_gemflow_add(&record);
    }
    hal.vorn_omci_hal_configureBridge(3, 0);
    asks(&VornHal::vorn_omci_hal_configureAniTagRules, threePorts())(hal);
    asks(&VornHal::vorn_omci_hal_filter_flow_add, row(true))(hal);
}

UniDataProvisioning dscpRow() {
    UniDataProvisioning record = row(true);
    record.uniPort = 1;  // sid1
    record.innerTreatmentPrio = 10;
    return record;
}

Work gateway(bool comes) {
    return [comes](VornHal& hal) {
        const auto* const list = reinterpret_cast<const unsigned char*>("006b");
        const auto operation =
            comes ? &VornHal::vorn_omci_hal_veip_createRules : &VornHal::vorn_omci_hal_veip_deleteRules;
        (hal.*operation)(kGemPort + 2, 0, 0, 1, list, 2);
    };
}

struct Interruption {
    std::string what;
    Work before, call;
    unsigned first, every;  // of its calls into the device, the one behind which it ends
    bool isProvisioning;
};

std::vector<Interruption> interruptions() {
    const Work provisioned = provisionThreePorts;
    const auto with = [](const Work& service) {
        return [service](VornHal& hal) {
            provisionThreePorts(hal);
            service(hal);
        };
    };
    const Work withDhcpHost = with(asks(&VornHal::vorn_omci_hal_provisionIpHost, host(true)));
    const Work withStaticHost = with(asks(&VornHal::vorn_omci_hal_provisionIpHost, host(false)));
    const Work withGateway = with(gateway(true));
    std::vector<Interruption> all = {
        {"unsetPbitData", provisioned, asks(&VornHal::vorn_omci_hal_unsetPbitData, threePorts()), 1, 3, false},
        {"deprovisionAniSideBridge", provisioned, asks(&VornHal::vorn_omci_hal_deprovisionAniSideBridge, service()), 1,
         3, false},
        {"deprovisionUniSideBridge", provisioned, asks(&VornHal::vorn_omci_hal_deprovisionUniSideBridge, service()), 1,
         3, false},
        {"filter_flow_add, away", provisioned, asks(&VornHal::vorn_omci_hal_filter_flow_add, row(false)), 1, 3, false},
        // It leaves one of the row's two downstream rules, and takes that too when it is made twice.
        {"a row is deleted", provisioned, asks(&VornHal::vorn_omci_hal_filter_flow_add, deletion(row(true))), 1, 1,
         false},
        {"a row by DSCP", provisioned, asks(&VornHal::vorn_omci_hal_filter_flow_add, dscpRow()), 1, 3, false},
        {"provisionIpHost", provisioned, asks(&VornHal::vorn_omci_hal_provisionIpHost, host(false)), 1, 5, false},
        {"deprovisionIpHost", withDhcpHost, asks(&VornHal::vorn_omci_hal_deprovisionIpHost, host(true)), 1, 5, false},
        {"provisionIpHost, DHCP", provisioned, asks(&VornHal::vorn_omci_hal_provisionIpHost, host(true)), 2, 5, false},
        {"deprovisionIpHost, static", withStaticHost, asks(&VornHal::vorn_omci_hal_deprovisionIpHost, host(false)), 2,
         5, false},
        {"a multicast service", provisioned,
         asks(&VornHal::vorn_omci_hal_configureAniTagRules, group(3, kGemPort + 1, 900)), 1, 3, false},
        {"veip_createRules", provisioned, gateway(true), 1, 5, false},
        {"veip_deleteRules", withGateway, gateway(false), 1, 5, false},
        {"gemflow_del", provisioned, asks(&VornHal::vorn_omci_hal_gemflow_del, gem()), 1, 3, false},
        {"tcont_reset", provisioned,
         [](VornHal& hal) {
             TContProvisioning record = tcont();
             hal.vorn_omci_hal_tcont_reset(nullptr, &record);
         },
         1, 3, false},
    };
    for (std::size_t call = 0; call < internet().size(); ++call) {
        const auto before = [call](VornHal& hal) {
            for (std::size_t i = 0; i < call; ++i) internet()[i].make(hal);
        };
        constexpr unsigned kEvery = 11;
        all.push_back({std::string("internet: ") + internet()[call].name, before, internet()[call].make,
                       1 + static_cast<unsigned>(call) % kEvery, kEvery, call < kProvisioning});
    }
    return all;
}

class NeverHalfDone : public ServicesFixture {
protected:
    // What serves and what the runner holds; frames that the HAL itself sent are sent again.
    static nlohmann::json board() {
        auto json = leveledDevice();
        json["network"].erase("packetFrames");
        std::map<std::string, nlohmann::json> objects;  // in the order of their names
        for (const auto& object : json["runner"]["objects"]) objects[object["name"].get<std::string>()] = object;
        json["runner"]["objects"] = objects;
        return json;
    }
    // What is provisioned and taken back leaves settings that serve nobody, as its removal does: default actions, the
    // size of a queue, a port that is up.
    static nlohmann::json looked(const Interruption& one) { return one.isProvisioning ? serving() : board(); }

    // False when the call has fewer calls into the device.
    bool dieWithin(const Interruption& one, unsigned deviceCall) {
        startOver();
        Daemon first(folder_);
        EXPECT_EQ(first.open(state()), 0);
        one.before(first.hal());
        return killAt(first, one.call, deviceCall);
    }
    void goOn(const Interruption& one, const nlohmann::json& untouched, const nlohmann::json& done,
              const nlohmann::json& whole) {
        Daemon second(folder_);
        ASSERT_GE(second.open(state()), 0);
        const auto left = looked(one);
        EXPECT_TRUE(left == untouched || left == done) << difference(done, left);
        one.call(second.hal());
        EXPECT_EQ(board(), whole) << "called again: " << difference(whole, board());
        EXPECT_EQ(second.clean(), 0);
        EXPECT_EQ(onu().ruleCount(), 0U);
        EXPECT_TRUE(onu().runnerObjects().empty());
    }
};

// Each of them, killed behind one device call in a few, and before the next: then the file knows already what the kit
// was not asked yet.
TEST_F(NeverHalfDone, AnOperationIsTakenBackOrFinishedAndMayBeMadeAgain) {
    const bool everyCall = std::getenv("VORN_EVERY_CALL") != nullptr;  // takes minutes
    for (const Interruption& one : interruptions()) {
        onu().reset();
        Daemon daemon(folder_);
        one.before(daemon.hal());
        const auto untouched = looked(one);
        one.call(daemon.hal());
        const auto done = looked(one), whole = board();
        const unsigned every = everyCall ? 1 : one.every;
        for (unsigned deviceCall = everyCall ? 1 : one.first; dieWithin(one, deviceCall); deviceCall += every) {
            SCOPED_TRACE(one.what + ", device call " + std::to_string(deviceCall));
            const std::string file = contentOf(state());
            goOn(one, untouched, done, whole);
            if (deviceCall > 1) {
                SCOPED_TRACE("before it");
                ASSERT_TRUE(dieWithin(one, deviceCall - 1));
                putRecordsOf(file);
                goOn(one, untouched, done, whole);
            }
            if (HasFailure()) return;
        }
    }
}

// ---- what the device does not give up ----

// Each shell command of the removal refused in its turn.
TEST_F(Interrupted, CleaningAnswersWhatStaysInTheRunnerToo) {
    unsigned refused = 0;
    for (int command = 1; command < 100; ++command) {
        SCOPED_TRACE(command);
        live([](VornHal& hal) {
            provisionThreePorts(hal);
            asks(&VornHal::vorn_omci_hal_filter_flow_add, dscpRow())(hal);
            asks(&VornHal::vorn_omci_hal_provisionIpHost, host(false))(hal);
        });
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        const std::uint64_t fault = onu().failNext("system", command, 256);
        const int stays = second.clean();
        if (onu().callsUntilFault(fault)) break;
        const auto json = onu().toJson();
        const auto& runner = json["runner"];
        const bool left = !runner["objects"].empty() || !runner["ingressQueue"]["keys"].empty() ||
                          !json["network"]["ipRules"].empty();
        EXPECT_EQ(stays > 0, left) << runner.dump(1) << json["network"]["ipRules"].dump(1);
        EXPECT_EQ(saidThat(" stay"), left);
        EXPECT_EQ(second.clean(), 0) << onu().toJson()["runner"].dump(1)
                                     << onu().toJson()["network"]["ipRules"].dump(1);
        EXPECT_TRUE(onu().toJson()["runner"]["objects"].empty()) << "asked once more, it has gone";
        refused += left ? 1 : 0;
        if (HasFailure()) return;
    }
    EXPECT_GE(refused, 6U);
}

// ---- after a removal that was finished at the open ----

TEST_F(Interrupted, ARemovalThatWasLeftDoesNotSpoilLaterOnes) {
    const auto changeRow = [](std::uint16_t etherType, bool add) {
        UniDataProvisioning record = row(true);
        record.etherType = etherType;
        return asks(&VornHal::vorn_omci_hal_filter_flow_add, add ? record : deletion(record));
    };
    const Work removeUni = asks(&VornHal::vorn_omci_hal_deprovisionUniSideBridge, service());
    const auto twoRows = [&](VornHal& hal) {
        for (std::size_t i = 0; i + 1 < kProvisioning; ++i) internet()[i].make(hal);
        changeRow(1, true)(hal);
        changeRow(3, true)(hal);
    };
    const auto laterUni = [&](VornHal& hal) {
        UniDataProvisioning other = row(true);
        other.uniPort = 3;  // sid2
        asks(&VornHal::vorn_omci_hal_filter_flow_add, other)(hal);
        ASSERT_TRUE(onu().device("sid2.3"));
        removeUni(hal);
        EXPECT_FALSE(onu().device("sid2.3")) << "the UNI that is on the bridge now";
    };
    const auto laterRow = [&](VornHal& hal) {
        changeRow(3, false)(hal);
        EXPECT_EQ(onu().rules("sid0", 0, 0).size(), 0U) << "the other row with the same filters";
    };
    const struct {
        Work before, removal, later;
    } cases[] = {{provision, removeUni, laterUni}, {twoRows, changeRow(1, false), laterRow}};
    unsigned kills = 0;
    for (const auto& one : cases) {
        for (unsigned deviceCall = 1;; deviceCall += 2) {
            SCOPED_TRACE(deviceCall);
            startOver();
            {
                Daemon first(folder_);
                ASSERT_EQ(first.open(state()), 0);
                one.before(first.hal());
                if (!killAt(first, one.removal, deviceCall)) break;
            }
            ++kills;
            Daemon second(folder_);
            ASSERT_GT(second.open(state()), 0);
            one.later(second.hal());
        }
    }
    EXPECT_GT(kills, 15U);
}

}  // namespace
}  // namespace restart_tests
