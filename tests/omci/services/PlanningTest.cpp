// What the services ask of a HAL, message by message.
#include <gtest/gtest.h>

#include <algorithm>

#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Services.h"
#include "tools/vorn-onu/RunProgram.h"

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
    explicit Onu(services::Settings settings = {}) : services(agent.mib(), performer, settings) {
        services.onCall([this](const MadeCall& call) { calls.push_back(call); });
        services.onProblem([this](const services::Problem& problem) { reported.push_back(problem); });
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
    services::Services services;
    std::vector<MadeCall> calls;
    std::vector<services::Problem> reported;
    std::uint16_t transaction = 0;
};

class Planning : public ::testing::Test {
protected:
    void provision(const olt::Requests& requests) { ASSERT_EQ(olt.send(requests), ""); }
    void provision(const char* service) { provision(olt::requestsOf(service)); }
    bool hasProblem(EntityKey entity, const char* words) const {
        const auto problems = onu.services.problems();
        return std::any_of(problems.begin(), problems.end(), [&](const services::Problem& problem) {
            return problem.entity == entity && problem.reason.find(words) != std::string::npos;
        });
    }

    Onu onu;
    olt::Olt olt{onu};
};

const EntityKey kRows{class_id::kExtendedTagging, 0x1101};

olt::Request row(const char* digits) {
    return olt::setBytes(kRows, attr::extended_tagging::kTaggingTable, olt::hex(digits));
}

TEST_F(Planning, AGemPortWaitsForItsTContWithoutAnError) {
    auto requests = olt::requestsOf(olt::kInternet);
    const auto ofTcont = std::find_if(requests.begin(), requests.end(), [](const olt::Request& request) {
        return request.entity.classId == class_id::kTCont;
    });
    const olt::Request allocId = *ofTcont;
    requests.erase(ofTcont);
    ASSERT_EQ(olt.send(requests), "");
    EXPECT_TRUE(onu.calls.empty());
    EXPECT_TRUE(onu.reported.empty());
    ASSERT_EQ(olt.send(allocId), Result::kSuccess);
    const auto made = onu.operations();
    ASSERT_GE(made.size(), 5U);
    EXPECT_EQ(std::vector<Operation>(made.begin(), made.begin() + 5),
              (std::vector<Operation>{Operation::kTContSet, Operation::kGemFlowAdd, Operation::kConfigureBridge,
                                      Operation::kConfigureAniTagRules, Operation::kFilterFlowAdd}));
}

TEST_F(Planning, ACallKnowsTheEntitiesAndMessagesBehindIt) {
    provision(olt::kInternet);
    onu.calls.clear();
    ASSERT_EQ(olt.send(row("F8000000 80A00000 400F0000 00080A0C")), Result::kSuccess);
    const auto first = onu.transaction;
    ASSERT_EQ(onu.calls.size(), 1U) << "no other row is touched";
    const MadeCall added = onu.calls.back();
    EXPECT_EQ(std::get<UniDataProvisioning>(added.call.record).innerFilterVlanId, 320);
    EXPECT_EQ(std::get<UniDataProvisioning>(added.call.record).removeType, 1);
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

TEST_F(Planning, WhatTheHalHasBeenAskedForIsListedAsItIsMade) {
    provision(olt::kInternet);
    std::vector<services::PieceKind> kinds;
    for (const services::Piece* piece : onu.services.currentPieces()) kinds.push_back(piece->key.kind);
    using services::PieceKind;
    EXPECT_EQ(kinds, (std::vector<PieceKind>{PieceKind::kTCont, PieceKind::kGemPort, PieceKind::kBridge,
                                             PieceKind::kAniService, PieceKind::kUni}));
}

// A row is a rule up and one down; of PPPoE, which is two types, it is two of each. Two rows are there before.
TEST_F(Planning, APortHas96Rules) {
    for (const auto& [type, tooMany] : {std::pair(1U, 47U), {2U, 24U}}) {
        Onu one;
        olt::Olt other(one);
        ASSERT_EQ(other.send(olt::requestsOf(olt::kInternet)), "");
        unsigned asked = 0;
        for (; asked < 64 && one.services.problems().empty(); ++asked) {
            Bytes filter = olt::hex("F8000000 80000000 400F0000 00000A0C");
            putNumber(filter.data() + 4, 0x80000000U | (1000 + asked) << 15 | type, 4);
            ASSERT_EQ(other.send(olt::setBytes(kRows, attr::extended_tagging::kTaggingTable, filter)),
                      Result::kSuccess);
        }
        EXPECT_EQ(asked, tooMany) << type;
    }
}

TEST_F(Planning, WhatTheHalCannotDoIsToldOnceWithItsEntity) {
    provision(olt::kInternet);
    const auto dhcp = row("F8000000 F8000010 000F0000 00000A0C");
    ASSERT_EQ(olt.send(olt::Requests{dhcp, row("F8000000 F8000010 FFFFFFFF FFFFFFFF"), dhcp}), "");
    ASSERT_EQ(onu.reported.size(), 1U);
    EXPECT_EQ(onu.reported.front().entity, kRows);
    expectHas(onu.reported.front().reason, {"DHCP"});
    EXPECT_EQ(onu.services.problems().size(), 1U);
    ASSERT_EQ(olt.send(row("F8000000 F8000010 FFFFFFFF FFFFFFFF")), Result::kSuccess);
    EXPECT_TRUE(onu.services.problems().empty());
}

// What is accepted and has no effect on the device would look as if it had.
TEST_F(Planning, WhatIsAcceptedWithoutEffectIsToldWithTheEntityThatAskedForIt) {
    provision(olt::kInternet);
    provision(olt::kTelevision);
    onu.reported.clear();
    const auto secondPort = [](std::uint64_t bridge) {
        return olt::create(class_id::kBridgePort, 0x1177,
                           {{attr::bridge_port::kBridgeIdPointer, bridge},
                            {attr::bridge_port::kPortNum, 9},
                            {attr::bridge_port::kTpType, 1},
                            {attr::bridge_port::kTpPointer, 0x0103}});
    };
    const EntityKey addresses{class_id::kBridgePortFilter, 0x1101}, protocols{class_id::kBridgePortPreassign, 0x1001};
    const EntityKey port{class_id::kBridgePort, 0x1001}, profile{class_id::kMulticastProfile, 0x1032};
    const EntityKey uni{class_id::kEthernetUni, 0x0101}, veip{class_id::kVeip, 0x0601};
    const auto set = [](EntityKey entity, AttributeNumber attribute, std::uint64_t value) {
        return olt::set(entity.classId, entity.instance, {{attribute, value}});
    };
    const struct {
        const char* what;
        olt::Request request;
        EntityKey entity;
        const char* words;
    } cases[] = {
        {"port bridging off", secondPort(1), {class_id::kBridge, 1}, "between the ports"},
        {"a filtered address", olt::setBytes(addresses, 1, olt::hex("01 41 021122334455")), addresses, "addresses"},
        {"a filtered protocol", set(protocols, 4, 1), protocols, "protocols"},
        {"PPPoE alone", set(uni, attr::ethernet_uni::kPPPoEFilter, 1), uni, "no PPPoE"},
        {"a limit of addresses", set(port, attr::bridge_port::kMacLearningDepth, 2), port, "learned addresses"},
        {"groups of a list",
         olt::setBytes(profile, attr::multicast_profile::kDynamicAccessTable,
                       olt::hex("4002 FFFE 0136 00000000 E1000000 E1FFFFFF 00000000 0000")),
         profile, "groups outside the lists"},
        {"groups without a join",
         olt::setBytes(profile, attr::multicast_profile::kStaticAccessTable,
                       olt::hex("4001 FFFE 0136 00000000 E1000000 E1FFFFFF 00000000 0000")),
         profile, "static list"},
        {"proxy", set(profile, attr::multicast_profile::kIgmpFunction, 2), profile, "sends none"},
        {"a rate of joins", set(profile, attr::multicast_profile::kUpstreamIgmpRate, 9), profile, "rate of joins"},
        {"a locked VEIP", set(veip, attr::veip::kAdministrativeState, 1), veip, "not locked"},
        {"immediate leave", set(profile, attr::multicast_profile::kImmediateLeave, 1), profile, "not at once"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(olt.send(one.request), Result::kSuccess) << one.what;
        EXPECT_TRUE(hasProblem(one.entity, one.words)) << one.what;
    }
    // Reported as long as it is so.
    ASSERT_EQ(olt.send(olt::erase({class_id::kBridgePort, 0x1177})), Result::kSuccess);
    ASSERT_EQ(olt.send(set(protocols, 4, 0)), Result::kSuccess);
    for (const auto& problem : onu.services.problems()) {
        EXPECT_NE(problem.entity, protocols);
        EXPECT_NE(problem.entity.classId, class_id::kBridge);
    }
}

TEST_F(Planning, OfTwoGemPortsWithOneNumberTheSecondComesWhenTheFirstGoes) {
    provision(olt::kInternet);
    onu.calls.clear();
    auto second = olt::create(class_id::kGemPort, 0x1002,
                              {{attr::gem_port::kPortId, 1001},
                               {attr::gem_port::kTContPointer, 0x8000},
                               {attr::gem_port::kDirection, 3},
                               {attr::gem_port::kUpstreamQueuePointer, 0x8003}});
    ASSERT_EQ(olt.send(second), Result::kSuccess);
    EXPECT_TRUE(onu.calls.empty());
    EXPECT_EQ(onu.reported.size(), 1U);
    ASSERT_EQ(olt.send(olt::erase({class_id::kGemPort, 0x1001})), Result::kSuccess);
    ASSERT_FALSE(onu.calls.empty());
    EXPECT_EQ(onu.calls.back().call.operation, Operation::kGemFlowAdd);
    EXPECT_EQ(std::get<XGEMConfig>(onu.calls.back().call.record).upstreamQueue, 3);
    ASSERT_EQ(olt.send(olt::set(class_id::kGemPort, 0x1002, {{attr::gem_port::kUpstreamQueuePointer, 0xFFFF}})),
              Result::kSuccess);
    EXPECT_EQ(std::get<XGEMConfig>(onu.calls.back().call.record).upstreamQueue, 0) << "no pointer: the first";
}

TEST_F(Planning, APortComesToABridgeAndLeavesItAsOftenAsItIsAsked) {
    provision(olt::kInternet);
    const auto second = olt::create(class_id::kBridgePort, 0x1177,
                                    {{attr::bridge_port::kBridgeIdPointer, 1},
                                     {attr::bridge_port::kPortNum, 9},
                                     {attr::bridge_port::kTpType, 1},
                                     {attr::bridge_port::kTpPointer, 0x0103}});
    ASSERT_EQ(
        olt.send(olt::Requests{olt::create(class_id::kExtendedTagging, 7,
                                           {{attr::extended_tagging::kAssociationType, 2},
                                            {attr::extended_tagging::kAssociatedMePointer, 0x0103}}),
                               olt::setBytes({class_id::kExtendedTagging, 7}, attr::extended_tagging::kTaggingTable,
                                             olt::hex("F8000000 F8000000 000F0000 00000A0C"))}),
        "");
    for (unsigned round = 0; round < 2; ++round) {
        for (const std::size_t added : {1U, 0U}) {
            onu.calls.clear();
            ASSERT_EQ(olt.send(added == 1 ? second : olt::erase(second.entity)), Result::kSuccess);
            ASSERT_EQ(onu.calls.size(), added == 1 ? 3U : 1U);
            for (const MadeCall& call : onu.calls) {
                const auto& record = std::get<UniDataProvisioning>(call.call.record);
                EXPECT_EQ((std::pair<std::size_t, unsigned>(record.addFlag, record.uniPort)), std::pair(added, 3U));
            }
        }
    }
}

// The last record of an operation among the calls since the last clear; null without one.
template <class Record>
const Record* lastOf(const Onu& onu, Operation operation) {
    const Record* found = nullptr;
    for (const auto& made : onu.calls)
        if (made.call.operation == operation) found = &std::get<Record>(made.call.record);
    return found;
}

TEST_F(Planning, AManagementHostGetsItsAddressAsItsOptionsSay) {
    provision(olt::kManagement);
    constexpr unsigned kDhcp = 0x01, kPing = 0x02, kStack = 0x08;
    const struct {
        unsigned options;
        std::uint64_t address;
        bool made;
        unsigned dhcp;
        const char* text;
    } kCases[] = {
        {kStack | kDhcp, 0, true, 1, ""},
        {kStack | kPing, 0x0A0000FE, true, 0, "10.0.0.254"},
        {kStack | kDhcp, 0x0A0000FE, true, 1, ""},
        {kDhcp, 0x0A0000FE, false, 0, ""},  // the stack is off
        {kStack, 0, false, 0, ""},          // no address
    };
    for (const auto& one : kCases) {
        onu.calls.clear();
        ASSERT_EQ(
            olt.send(olt::set(class_id::kIpHost, 0,
                              {{attr::ip_host::kIpOptions, one.options}, {attr::ip_host::kIpAddress, one.address}})),
            Result::kSuccess);
        const auto* record = lastOf<IpHostProvision>(onu, Operation::kProvisionIpHost);
        ASSERT_EQ(record != nullptr, one.made) << one.options;
        if (record == nullptr) continue;
        EXPECT_EQ(record->dhcpEnabled, one.dhcp) << one.options;
        EXPECT_EQ(record->ipAddress, one.text) << one.options;
    }
}

// A tagging entity points at the port itself or at its bridge port, by codes that differ between the two classes.
TEST_F(Planning, TaggingIsFoundWhereverAnOltLetsItPoint) {
    auto all = olt::requestsOf(olt::kInternet);
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const auto& each) { return each.entity.classId == class_id::kExtendedTagging; }),
              all.end());
    provision(all);
    constexpr InstanceId kPort = 0x0101, kBridgePort = 0x1101, kNowhere = 0x0102;
    const struct {
        EntityKey entity;
        unsigned association;
        InstanceId pointer;
        bool found;
    } kCases[] = {
        {{class_id::kExtendedTagging, 7}, 2, kPort, true},     {{class_id::kExtendedTagging, 7}, 0, kBridgePort, true},
        {{class_id::kExtendedTagging, 7}, 0, kNowhere, false}, {{class_id::kVlanTagging, kPort}, 0, 0, true},
        {{class_id::kVlanTagging, 7}, 10, kPort, true},        {{class_id::kVlanTagging, 7}, 3, kBridgePort, true},
        {{class_id::kVlanTagging, kNowhere}, 0, 0, false},
    };
    for (const auto& one : kCases) {
        onu.calls.clear();
        if (one.entity.classId == class_id::kExtendedTagging) {
            ASSERT_EQ(olt.send(olt::Requests{olt::create(one.entity.classId, one.entity.instance,
                                                         {{attr::extended_tagging::kAssociationType, one.association},
                                                          {attr::extended_tagging::kAssociatedMePointer, one.pointer}}),
                                             olt::setBytes(one.entity, attr::extended_tagging::kTaggingTable,
                                                           olt::hex("F8000000 F8000000 000F0000 00000A0C"))}),
                      "");
        } else {
            ASSERT_EQ(olt.send(olt::create(one.entity.classId, one.entity.instance,
                                           {{attr::vlan_tagging::kUpstreamMode, 1},
                                            {attr::vlan_tagging::kUpstreamTci, 321},
                                            {attr::vlan_tagging::kDownstreamMode, 1},
                                            {attr::vlan_tagging::kAssociationType, one.association},
                                            {attr::vlan_tagging::kAssociatedMePointer, one.pointer}})),
                      Result::kSuccess);
        }
        const bool found = std::any_of(onu.calls.begin(), onu.calls.end(), [](const MadeCall& made) {
            const auto* record = std::get_if<UniDataProvisioning>(&made.call.record);
            return record != nullptr && record->addFlag == 1 && record->innerTreatmentVlanId == 321;
        });
        EXPECT_EQ(found, one.found) << nameOfClass(one.entity.classId) << " " << one.association;
        ASSERT_EQ(olt.send(olt::erase(one.entity)), Result::kSuccess);
    }
}

olt::Requests withGemPort4095(const char* service, InstanceId gemPort) {
    auto requests = olt::requestsOf(service);
    for (auto& request : requests) {
        if (request.entity != EntityKey{class_id::kGemPort, gemPort}) continue;
        for (auto& value : request.values)
            if (value.attribute == attr::gem_port::kPortId) value.bytes = olt::hex("0FFF");
    }
    return requests;
}

// On the bridge with the VEIP, and in the GEM port that a map of p-bits cannot name, a VLAN becomes a filter on its
// tag.
TEST_F(Planning, MulticastComesDownInTheVlanOfItsProfile) {
    const auto television = withGemPort4095(olt::kTelevision, 0x1031);
    const struct {
        const char* row;
        unsigned tags, vid, priorities;
    } kCases[] = {
        {"4001 0FFF 0137 00000000 E0000000 EFFFFFFF 00000000 0000", 1, 0x137, TagFilter::kAnyPriority},
        {"4001 0FFF 0000 00000000 E0000000 EFFFFFFF 00000000 0000", 0, 0, TagFilter::kNoTag},
    };
    provision(television);
    for (const auto& one : kCases) {
        onu.calls.clear();
        ASSERT_EQ(olt.send(olt::setBytes({class_id::kMulticastProfile, 0x1032},
                                         attr::multicast_profile::kDynamicAccessTable, olt::hex(one.row))),
                  Result::kSuccess);
        const auto* record = lastOf<BridgeServiceProvisioning>(onu, Operation::kConfigureAniTagRules);
        ASSERT_NE(record, nullptr) << one.row;
        EXPECT_EQ(record->gemPortId, 0x0FFF);
        EXPECT_EQ(record->isMulticast, 1);
        EXPECT_EQ(record->filterTagCount, one.tags) << one.row;
        EXPECT_EQ(record->innerVlanIdFilter, one.vid) << one.row;
        EXPECT_EQ(record->innerVlanPrioFilter, one.priorities) << one.row;
        EXPECT_EQ(record->tagTreatment, 3) << "frames stay as they are";
    }
    EXPECT_TRUE(hasProblem({class_id::kGemPort, 0x1031}, "no other way for GEM port 4095"));
    EXPECT_FALSE(hasProblem({class_id::kVlanFilter, 0x1031}, ""));
    ASSERT_EQ(
        olt.send(olt::create(class_id::kVlanFilter, 0x1031,
                             {{attr::vlan_filter::kForwardOperation, 0x10}, {attr::vlan_filter::kNumberOfEntries, 0}})),
        Result::kSuccess);
    EXPECT_TRUE(hasProblem({class_id::kVlanFilter, 0x1031}, "every VLAN of GEM port 4095 comes down"));
}

TEST_F(Planning, NothingElseGoesThroughGemPort4095) {
    provision(withGemPort4095(olt::kInternet, 0x1001));
    provision(withGemPort4095(olt::kTransparent, 0x1020));
    for (const InstanceId port : {InstanceId{0x1001}, InstanceId{0x1020}})
        EXPECT_TRUE(hasProblem({class_id::kBridgePort, port}, "nothing goes through GEM port 4095")) << port;
    EXPECT_EQ(lastOf<BridgeServiceProvisioning>(onu, Operation::kConfigureAniTagRules), nullptr);
}

// The map has 64 p-bits of three bits, DSCP 0 first; the HAL knows one GEM port for untagged frames.
TEST_F(Planning, AMappersDscpsMustGoUpInOneGemPort) {
    const auto requests = olt::requestsOf(olt::kPriorities);
    provision(requests);
    const EntityKey mapper = std::find_if(requests.begin(), requests.end(), [](const olt::Request& request) {
                                 return request.entity.classId == class_id::kMapper;
                             })->entity;
    const auto problemWith = [&](unsigned dscp, unsigned pbits) {
        Bytes map(24);
        for (unsigned bit = 0; bit < 3; ++bit)
            if ((pbits >> (2 - bit) & 1U) != 0) map[(3 * dscp + bit) / 8] |= 0x80U >> (3 * dscp + bit) % 8;
        EXPECT_EQ(olt.send(olt::setBytes(mapper, attr::mapper::kDscpMap, map)), Result::kSuccess);
        return hasProblem(mapper, "every DSCP");
    };
    ASSERT_EQ(olt.send(olt::set(class_id::kMapper, mapper.instance, {{attr::mapper::kUnmarkedFrameOption, 0}})),
              Result::kSuccess);
    for (const unsigned dscp : {0U, 1U, 2U, 21U, 46U, 62U, 63U}) {
        EXPECT_TRUE(problemWith(dscp, 2)) << dscp << ": the GEM port of p-bits 2 and 3";
        EXPECT_FALSE(problemWith(dscp, 1)) << dscp << ": the same GEM port as p-bits 0";
    }
}

}  // namespace
