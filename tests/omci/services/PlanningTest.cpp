// What the services ask of a HAL, message by message.
#include <gtest/gtest.h>

#include <algorithm>

#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Services.h"

namespace {

using namespace omci;
using services::MadeCall;
using services::Operation;

class Silent : public services::Performer {
public:
    int perform(const services::HalCall&) override { return 0; }
    std::string hostMac() override { return "02:00:00:00:00:01"; }
};

class Onu : public olt::Line {
public:
    Onu() {
        services.onCall([this](const MadeCall& call) { calls.push_back(call); });
        services.onProblem([this](const services::Problem& problem) { told.push_back(problem); });
    }
    std::optional<Message> exchange(const Message& request) override {
        const auto handled = agent.handle(request);
        services.settle(static_cast<int>(request.type), request.transaction);
        transaction = request.transaction;
        return handled.answer;
    }
    std::vector<Operation> operations() const {
        std::vector<Operation> all;
        for (const auto& call : calls) all.push_back(call.call.operation);
        return all;
    }

    VornHal hal;
    Device device;
    SteadyClock clock;
    Agent agent{Board(), hal, device, clock};
    Silent performer;
    services::Services services{agent.mib(), performer};
    std::vector<MadeCall> calls;
    std::vector<services::Problem> told;
    std::uint16_t transaction = 0;
};

class Planning : public ::testing::Test {
protected:
    void provision(const olt::OperatorService& service) { ASSERT_EQ(olt.send(service.requests), ""); }

    Onu onu;
    olt::Olt olt{onu};
};

const EntityKey kRows{class_id::kExtendedTagging, 0x1101};

olt::Request row(const char* digits) {
    return olt::setBytes(kRows, attr::extended_tagging::kTaggingTable, olt::hex(digits));
}

TEST_F(Planning, AGemPortWaitsForItsTContWithoutAnError) {
    auto requests = olt::internet().requests;
    const auto allocId = requests.front();
    requests.erase(requests.begin());
    ASSERT_EQ(olt.send(requests), "");
    EXPECT_TRUE(onu.calls.empty());
    EXPECT_TRUE(onu.told.empty());
    ASSERT_EQ(olt.send(allocId), Result::kSuccess);
    const auto made = onu.operations();
    ASSERT_GE(made.size(), 5U);
    EXPECT_EQ(std::vector<Operation>(made.begin(), made.begin() + 5),
              (std::vector<Operation>{Operation::kTContSet, Operation::kGemFlowAdd, Operation::kConfigureBridge,
                                      Operation::kConfigureAniTagRules, Operation::kFilterFlowAdd}));
}

TEST_F(Planning, ACallKnowsTheEntitiesAndMessagesBehindIt) {
    provision(olt::internet());
    onu.calls.clear();
    ASSERT_EQ(olt.send(row("F8000000 80A00000 400F0000 00080A0C")), Result::kSuccess);
    const auto first = onu.transaction;
    ASSERT_FALSE(onu.calls.empty());
    const MadeCall added = onu.calls.back();
    const auto& entities = added.cause.entities;
    for (const EntityKey key : {kRows, EntityKey{class_id::kEthernetUni, 0x0101},
                                EntityKey{class_id::kBridgePort, 0x1101}, EntityKey{class_id::kBridge, 1}})
        EXPECT_EQ(std::count(entities.begin(), entities.end(), key), 1) << nameOfClass(key.classId);
    ASSERT_EQ(added.cause.messages.size(), 1U) << "the row's own message, not those of its neighbours";
    EXPECT_EQ(added.cause.messages.front().transaction, first);

    // Taken back: because of the message that set it and the one that deletes it.
    onu.calls.clear();
    ASSERT_EQ(olt.send(row("F8000000 80A00000 FFFFFFFF FFFFFFFF")), Result::kSuccess);
    ASSERT_EQ(onu.calls.size(), 1U);
    ASSERT_EQ(onu.calls.front().cause.messages.size(), 2U);
    EXPECT_EQ(onu.calls.front().cause.messages.front().transaction, first);
    EXPECT_EQ(onu.calls.front().cause.messages.back().transaction, onu.transaction);
}

TEST_F(Planning, ANewRowOnALivePortTouchesNoOtherRow) {
    provision(olt::internet());
    onu.calls.clear();
    ASSERT_EQ(olt.send(row("F8000000 80A00000 400F0000 00080A0C")), Result::kSuccess);
    ASSERT_EQ(onu.calls.size(), 1U);
    const auto& record = std::get<UniDataProvisioning>(onu.calls.front().call.record);
    EXPECT_EQ(record.innerFilterVlanId, 320);
    EXPECT_EQ(record.removeType, 1);
}

TEST_F(Planning, ARowThatMustBeTriedFirstComesInFrontOfWhatItOverlaps) {
    provision(olt::internet());
    // Any VLAN, then one of them: the wide row is taken back and recreated behind it.
    ASSERT_EQ(olt.send(row("F8000000 88000000 400F0000 00000A0C")), Result::kSuccess);
    onu.calls.clear();
    ASSERT_EQ(olt.send(row("F8000000 80A00000 400F0000 0008190C")), Result::kSuccess);
    std::vector<std::pair<unsigned, unsigned>> vidsAndRemovals;
    for (const auto& call : onu.calls) {
        const auto& record = std::get<UniDataProvisioning>(call.call.record);
        vidsAndRemovals.emplace_back(record.innerFilterVlanId, record.removeType);
    }
    EXPECT_EQ(vidsAndRemovals, (std::vector<std::pair<unsigned, unsigned>>{{4096, 3}, {320, 1}, {4096, 1}}));
}

TEST_F(Planning, AMessageThatChangesNothingAsksForNothing) {
    provision(olt::internet());
    onu.calls.clear();
    ASSERT_EQ(olt.send(olt::Requests{row("F8000000 F8000000 000F0000 00000324"),
                                     olt::set(class_id::kEthernetUni, 0x0101, {{attr::ethernet_uni::kArc, 1}}),
                                     olt::create(class_id::kMulticastMonitor, 0x1101, {})}),
              "");
    EXPECT_TRUE(onu.calls.empty());
}

TEST_F(Planning, WhatTheHalCannotDoIsToldOnceWithItsEntity) {
    provision(olt::internet());
    const auto dhcp = row("F8000000 F8000010 000F0000 00000A0C");
    ASSERT_EQ(olt.send(olt::Requests{dhcp, row("F8000000 F8000010 FFFFFFFF FFFFFFFF"), dhcp}), "");
    ASSERT_EQ(onu.told.size(), 1U);
    EXPECT_EQ(onu.told.front().entity, kRows);
    EXPECT_NE(onu.told.front().reason.find("DHCP"), std::string::npos);
    EXPECT_EQ(onu.services.problems().size(), 1U);
    ASSERT_EQ(olt.send(row("F8000000 F8000010 FFFFFFFF FFFFFFFF")), Result::kSuccess);
    EXPECT_TRUE(onu.services.problems().empty());
}

// What is accepted and has no effect on the device would look as if it had.
TEST_F(Planning, WhatIsAcceptedWithoutEffectIsToldWithTheEntityThatAskedForIt) {
    provision(olt::internet());
    provision(olt::television());
    onu.told.clear();
    const auto secondPort = [](std::uint64_t bridge) {
        return olt::create(class_id::kBridgePort, 0x1177,
                           {{attr::bridge_port::kBridgeIdPointer, bridge},
                            {attr::bridge_port::kPortNum, 9},
                            {attr::bridge_port::kTpType, 1},
                            {attr::bridge_port::kTpPointer, 0x0103}});
    };
    struct Case {
        const char* what;
        olt::Request request;
        EntityKey entity;
        const char* words;
    };
    const EntityKey addresses{class_id::kBridgePortFilter, 0x1101}, protocols{class_id::kBridgePortPreassign, 0x1001};
    const Case cases[] = {
        {"port bridging off", secondPort(1), {class_id::kBridge, 1}, "between the ports"},
        {"a filtered address", olt::setBytes(addresses, 1, olt::hex("01 41 021122334455")), addresses, "addresses"},
        {"a filtered protocol", olt::set(protocols.classId, protocols.instance, {{4, 1}}), protocols, "protocols"},
        {"groups of a list",
         olt::setBytes({class_id::kMulticastProfile, 0x1032}, attr::multicast_profile::kDynamicAccessTable,
                       olt::hex("4002 FFFE 0136 00000000 E1000000 E1FFFFFF 00000000 0000")),
         {class_id::kMulticastProfile, 0x1032},
         "groups outside the lists"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(olt.send(one.request), Result::kSuccess) << one.what;
        const auto problems = onu.services.problems();
        EXPECT_TRUE(std::any_of(problems.begin(), problems.end(), [&](const services::Problem& problem) {
            return problem.entity == one.entity && problem.reason.find(one.words) != std::string::npos;
        })) << one.what;
    }
    // Reported as long as it is so.
    ASSERT_EQ(olt.send(olt::erase({class_id::kBridgePort, 0x1177})), Result::kSuccess);
    ASSERT_EQ(olt.send(olt::set(protocols.classId, protocols.instance, {{4, 0}})), Result::kSuccess);
    for (const auto& problem : onu.services.problems()) {
        EXPECT_NE(problem.entity, protocols);
        EXPECT_NE(problem.entity.classId, class_id::kBridge);
    }
}

TEST_F(Planning, OfTwoGemPortsWithOneNumberTheSecondComesWhenTheFirstGoes) {
    provision(olt::internet());
    onu.calls.clear();
    auto second = olt::create(class_id::kGemPort, 0x1002,
                              {{attr::gem_port::kPortId, 1001},
                               {attr::gem_port::kTContPointer, 0x8000},
                               {attr::gem_port::kDirection, 3},
                               {attr::gem_port::kUpstreamQueuePointer, 0x8003}});
    ASSERT_EQ(olt.send(second), Result::kSuccess);
    EXPECT_TRUE(onu.calls.empty());
    EXPECT_EQ(onu.told.size(), 1U);
    ASSERT_EQ(olt.send(olt::erase({class_id::kGemPort, 0x1001})), Result::kSuccess);
    ASSERT_FALSE(onu.calls.empty());
    EXPECT_EQ(onu.calls.back().call.operation, Operation::kGemFlowAdd);
    EXPECT_EQ(std::get<XGEMConfig>(onu.calls.back().call.record).upstreamQueue, 3);
}

TEST_F(Planning, AGemPortThatIsMadeAnewTakesItsRulesAlong) {
    provision(olt::internet());
    onu.calls.clear();
    ASSERT_EQ(olt.send(olt::set(class_id::kPriorityQueue, 0x8000, {{attr::priority_queue::kWeight, 50}})),
              Result::kSuccess);
    EXPECT_EQ(onu.operations(), (std::vector<Operation>{Operation::kUnsetPbitData, Operation::kGemFlowDel,
                                                        Operation::kGemFlowAdd, Operation::kConfigureAniTagRules}));
}

TEST_F(Planning, PortsAreLockedAndSetToASpeed) {
    const EntityKey port{class_id::kEthernetUni, 0x0102};
    const auto state = [&](std::uint64_t locked) {
        return olt::set(port.classId, port.instance, {{attr::ethernet_uni::kAdministrativeState, locked}});
    };
    ASSERT_EQ(olt.send(olt::Requests{
                  state(1), state(0),
                  olt::set(port.classId, port.instance, {{attr::ethernet_uni::kAutoDetectionConfiguration, 0x12}})}),
              "");
    ASSERT_EQ(onu.calls.size(), 3U);
    EXPECT_FALSE(std::get<services::PortStatus>(onu.calls[0].call.record).up);
    EXPECT_TRUE(std::get<services::PortStatus>(onu.calls[1].call.record).up);
    const auto& mode = std::get<services::PortMode>(onu.calls[2].call.record);
    EXPECT_EQ(mode.port, 2);
    EXPECT_EQ(mode.speed, 100);
    EXPECT_EQ(mode.duplex, 1);
}

}  // namespace
