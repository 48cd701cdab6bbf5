// What an operation that was interrupted leaves, and what is somebody else's.
#include <map>

#include <nlohmann/json.hpp>

#include "platform/vlanctl.h"
#include "src/restart/Killing.h"

namespace restart_tests {
namespace {

class Interrupted : public RestartFixture {
protected:
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
        onu().reset();
        fs::remove(state());
        unsigned other = 0;
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            make(first, 0, kProvisioning - 1);
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

// ---- left alone ----

IpHostProvision host(bool dhcp) {
    IpHostProvision record{};
    record.bridgeId = 3;
    record.uniPort = 5;
    record.macAddress = "02:00:00:00:00:77";
    record.ipAddress = "10.0.0.5";
    record.subnetMask = "255.255.255.0";
    record.gateway = "10.0.0.1";
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
    auto alloc = tcont();
    hal.vorn_omci_hal_tcont_set(nullptr, &alloc);
    for (std::uint16_t port = kGemPort; port < kGemPort + 3; ++port) {
        XGEMConfig record = gem();
        record.xgemPortId = port;
        hal.vorn_omci_hal_gemflow_add(&record);
    }
    hal.vorn_omci_hal_configureBridge(3, 0);
    const auto record = threePorts();
    hal.vorn_omci_hal_configureAniTagRules(&record);
    auto untagged = row(true);
    hal.vorn_omci_hal_filter_flow_add(&untagged);
}

UniDataProvisioning dscpRow() {
    UniDataProvisioning record = row(true);
    record.uniPort = 1;  // sid1
    record.innerTreatmentPrio = 10;
    return record;
}

struct Left {
    const char* what;
    Work before, call;
};

const std::vector<Left>& leftCalls() {
    static const std::vector<Left> calls = {
        {"unsetPbitData", provisionThreePorts,
         [](VornHal& hal) {
             const auto record = threePorts();
             hal.vorn_omci_hal_unsetPbitData(&record);
         }},
        {"deprovisionAniSideBridge", provisionThreePorts,
         [](VornHal& hal) {
             const auto record = service();
             hal.vorn_omci_hal_deprovisionAniSideBridge(&record);
         }},
        {"deprovisionUniSideBridge", provisionThreePorts,
         [](VornHal& hal) {
             const auto record = service();
             hal.vorn_omci_hal_deprovisionUniSideBridge(&record);
         }},
        {"filter_flow_add, away", provisionThreePorts,
         [](VornHal& hal) {
             auto record = row(false);
             hal.vorn_omci_hal_filter_flow_add(&record);
         }},
        {"a row by DSCP", provisionThreePorts,
         [](VornHal& hal) {
             auto record = dscpRow();
             hal.vorn_omci_hal_filter_flow_add(&record);
         }},
        {"provisionIpHost", provisionThreePorts,
         [](VornHal& hal) {
             const auto record = host(false);
             hal.vorn_omci_hal_provisionIpHost(&record);
         }},
        {"deprovisionIpHost",
         [](VornHal& hal) {
             provisionThreePorts(hal);
             const auto record = host(true);
             hal.vorn_omci_hal_provisionIpHost(&record);
         },
         [](VornHal& hal) {
             const auto record = host(true);
             hal.vorn_omci_hal_deprovisionIpHost(&record);
         }},
    };
    return calls;
}

// What serves and what the runner holds; frames that the HAL itself sent are sent again.
nlohmann::json board() {
    auto json = leveledDevice();
    json["network"].erase("packetFrames");
    std::map<std::string, nlohmann::json> objects;  // in the order of their names
    for (const auto& object : json["runner"]["objects"]) objects[object["name"].get<std::string>()] = object;
    json["runner"]["objects"] = objects;
    return json;
}

TEST_F(Interrupted, AnOperationIsNeverLeftHalfDone) {
    for (const Left& one : leftCalls()) {
        std::vector<nlohmann::json> whole;
        {
            onu().reset();
            Daemon daemon(folder_);
            one.before(*daemon.operator->());
            whole.push_back(board());
            one.call(*daemon.operator->());
            whole.push_back(board());
        }
        const unsigned every = std::string(one.what).find("Host") != std::string::npos ? 3 : 2;
        for (unsigned deviceCall = 1;; deviceCall += every) {
            SCOPED_TRACE(std::string(one.what) + ", device call " + std::to_string(deviceCall));
            onu().reset();
            fs::remove(state());
            {
                Daemon first(folder_);
                ASSERT_EQ(first.open(state()), 0);
                one.before(*first.operator->());
                if (!killAt(first, one.call, deviceCall)) break;
            }
            Daemon second(folder_);
            ASSERT_GT(second.open(state()), 0);
            const auto left = board();
            EXPECT_TRUE(left == whole[0] || left == whole[1]) << nlohmann::json::diff(whole[1], left).dump(1);
            if (HasFailure()) return;
            one.call(*second.operator->());
            EXPECT_EQ(board(), whole[1]) << "called again: " << nlohmann::json::diff(whole[1], board()).dump(1);
            if (HasFailure()) return;
            if (deviceCall % 3 == 0) {
                EXPECT_EQ(second.clean(), 0);
                const auto json = onu().toJson();
                EXPECT_TRUE(json["vlan"]["tables"].empty() || onu().ruleCount() == 0);
                EXPECT_TRUE(json["runner"]["objects"].empty()) << json["runner"]["objects"].dump();
            }
        }
    }
}

// ---- what the device does not give up ----

// Each shell command of the removal refused in its turn.
TEST_F(Interrupted, CleaningAnswersWhatStaysInTheRunnerToo) {
    unsigned refused = 0;
    for (int command = 1; command < 100; ++command) {
        SCOPED_TRACE(command);
        onu().reset();
        fs::remove(state());
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            provisionThreePorts(*first.operator->());
            auto byDscp = dscpRow();
            first->vorn_omci_hal_filter_flow_add(&byDscp);
            const auto management = host(false);
            first->vorn_omci_hal_provisionIpHost(&management);
        }
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
    const auto removeUni = [](VornHal& hal) {
        const auto record = service();
        hal.vorn_omci_hal_deprovisionUniSideBridge(&record);
    };
    const auto changeRow = [](VornHal& hal, std::uint16_t etherType, bool add) {
        UniDataProvisioning record = row(true);
        record.etherType = etherType;
        if (!add) {
            record.removeType = 3;
            record.outerTreatmentTpidDe = record.innerTreatmentTpidDe = 7;
            record.outerTreatmentVlanId = record.innerTreatmentVlanId = 8191;
            record.outerTreatmentPrio = record.innerTreatmentPrio = 15;
        }
        hal.vorn_omci_hal_filter_flow_add(&record);
    };
    unsigned kills = 0;
    for (unsigned deviceCall = 1;; deviceCall += 2) {
        SCOPED_TRACE(deviceCall);
        onu().reset();
        fs::remove(state());
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            make(first, 0, kProvisioning);
            if (!killAt(first, removeUni, deviceCall)) break;
        }
        ++kills;
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        UniDataProvisioning other = row(true);
        other.uniPort = 3;  // sid2
        second->vorn_omci_hal_filter_flow_add(&other);
        ASSERT_TRUE(onu().device("sid2.3"));
        removeUni(*second.operator->());
        EXPECT_FALSE(onu().device("sid2.3")) << "the UNI that is on the bridge now";
    }
    for (unsigned deviceCall = 1;; deviceCall += 2) {
        SCOPED_TRACE(deviceCall);
        onu().reset();
        fs::remove(state());
        {
            Daemon first(folder_);
            ASSERT_EQ(first.open(state()), 0);
            make(first, 0, kProvisioning - 1);
            changeRow(*first.operator->(), 1, true);
            changeRow(*first.operator->(), 3, true);
            if (!killAt(
                    first, [&](VornHal& hal) { changeRow(hal, 1, false); }, deviceCall))
                break;
        }
        ++kills;
        Daemon second(folder_);
        ASSERT_GT(second.open(state()), 0);
        changeRow(*second.operator->(), 3, false);
        EXPECT_EQ(onu().rules("sid0", 0, 0).size(), 0U) << "the other row with the same filters";
    }
    EXPECT_GT(kills, 15U);
}

}  // namespace
}  // namespace restart_tests
