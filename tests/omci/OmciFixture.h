// An ONU's agent on a HAL and a device of the test's own, and the OLT that talks to it.
#ifndef TESTS_OMCI_OMCI_FIXTURE_H
#define TESTS_OMCI_OMCI_FIXTURE_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "hal/VornHal.h"
#include "omci/agent/Agent.h"
#include "omci/message/Contents.h"
#include "omci/message/MessageText.h"
#include "tests/support/HexBytes.h"

namespace omci {

class ManualClock : public Clock {
public:
    std::uint64_t nowMs() override { return ms; }
    std::uint64_t ms = 5'000'000;
};

class OpticsHal : public VornHal {
public:
    int vorn_omci_hal_rx_laser_power_get(int* level) override {
        if (received) *level = *received;
        return 0;
    }
    int vorn_omci_hal_tx_laser_power_get(int* level) override {
        *level = transmitted;
        return refuses ? -1 : 0;
    }
    int vorn_omci_hal_pm_get(void* /*request*/, void* result) override {
        if (!gateway) return -1;
        *static_cast<EthernetPmRecord*>(result) = *gateway;
        return 0;
    }
    std::optional<EthernetPmRecord> gateway;
    std::optional<int> received = -10000;  // -20 dBm
    bool refuses = false;
    int transmitted = 1000;  // 2 dBm
};

class TestDevice : public Device {
public:
    std::optional<IntfStats> portCounters(EntityKey port) override { return in(counters, port); }
    std::optional<GemPortCounters> gemPortCounters(std::uint16_t gemPort) override { return in(gemPorts, gemPort); }
    std::optional<std::uint64_t> counter(ClassId, AttributeNumber number, EntityKey key) override {
        return in(others, {key, number});
    }
    std::optional<PortState> portState(InstanceId port) override { return in(ports, port); }
    std::optional<JoinedGroups> joinedGroups(InstanceId bridge, EntityKey port) override {
        return in(joined, {bridge, port});
    }
    std::optional<std::vector<LearnedStation>> learnedStations(InstanceId bridge, EntityKey port) override {
        return in(stations, {bridge, port});
    }
    std::optional<HostAddresses> hostAddresses(InstanceId) override { return host; }
    std::optional<bool> veipConnected(InstanceId) override { return veip; }
    std::optional<double> bitErrorRatio() override { return bitErrors; }
    ModuleReading module() override { return reading; }
    bool callInProgress(bool) override { return calling; }
    std::string imageVersion(ByteView image) override { return "V" + std::to_string(image.size()); }
    void restart(InstanceId image) override { restarts.push_back(image); }

    std::map<EntityKey, IntfStats> counters;
    std::map<std::uint16_t, GemPortCounters> gemPorts;
    std::map<std::pair<EntityKey, AttributeNumber>, std::uint64_t> others;
    std::map<InstanceId, PortState> ports;  // those whose state the device tells
    std::map<std::pair<InstanceId, EntityKey>, JoinedGroups> joined;
    std::map<std::pair<InstanceId, EntityKey>, std::vector<LearnedStation>> stations;
    std::optional<HostAddresses> host;
    std::optional<bool> veip;
    std::optional<double> bitErrors;
    ModuleReading reading{3.3, 12.0, 40.5};
    bool calling = false;
    std::vector<InstanceId> restarts;

private:
    template <class Map>
    static std::optional<typename Map::mapped_type> in(const Map& map, const typename Map::key_type& key) {
        const auto found = map.find(key);
        return found == map.end() ? std::nullopt : std::optional<typename Map::mapped_type>(found->second);
    }
};

class OmciFixture : public ::testing::Test {
protected:
    static Board board() {
        Board described;
        described.equipmentId = "ONU";
        described.version = "V1";
        described.tConts = 2;
        return described;
    }

    // A request of the next transaction.
    Message request(MessageType type, EntityKey entity, const Content& content, bool answerWanted = true) {
        Message message;
        message.transaction = ++transaction;
        message.type = type;
        message.answerWanted = answerWanted;
        message.set = set;
        message.entity = entity;
        encodeContent(message, content);
        return message;
    }

    // The answer's content; a test failure where there is none of that kind.
    template <class Answer>
    Answer ask(MessageType type, EntityKey entity, const Content& content) {
        const Handled handled = agent.handle(request(type, entity, content));
        if (!handled.answer) {
            ADD_FAILURE() << nameOf(type) << ": " << nameOf(handled.dropped);
            return {};
        }
        const DecodedContent decoded = decodeContent(*handled.answer);
        const Answer* answer = std::get_if<Answer>(&decoded.content);
        if (answer == nullptr) {
            ADD_FAILURE() << nameOf(type) << ": another kind of answer, " << nameOf(decoded.error);
            return {};
        }
        return *answer;
    }

    Result create(EntityKey entity, const Bytes& values = {}) {
        return ask<CreateAnswer>(MessageType::kCreate, entity, CreateValues{values}).result;
    }
    Result erase(EntityKey entity) { return ask<ResultAnswer>(MessageType::kDelete, entity, NoContent{}).result; }
    SetAnswer setMany(EntityKey entity, AttributeMask mask, const Bytes& values) {
        return ask<SetAnswer>(MessageType::kSet, entity, AttributeValues{mask, values});
    }
    Result set1(EntityKey entity, AttributeNumber attribute, const Bytes& value) {
        return setMany(entity, maskOf(attribute), value).result;
    }
    GetAnswer get(EntityKey entity, AttributeMask mask) {
        return ask<GetAnswer>(MessageType::kGet, entity, AttributesAsked{mask});
    }
    std::uint64_t value(EntityKey entity, AttributeNumber attribute) {
        return agent.mib().find(entity)->number(attribute);
    }
    unsigned sync() { return static_cast<unsigned>(value({class_id::kOnuData, 0}, 1)); }

    // What the ONU has sent by itself; as lines.
    std::vector<Message> autonomous() { return agent.takeAutonomous(); }
    using Lines = std::vector<std::string>;
    Lines lines() {
        Lines reported;
        for (const Message& message : autonomous()) {
            const std::string line = lineOf(textOf(message));
            reported.push_back(line.substr(line.find("  ") + 2));
        }
        return reported;
    }
    void later(std::uint64_t ms) {
        clock.ms += ms;
        agent.tick();
    }

    MessageSet set = MessageSet::kBaseline;
    std::uint16_t transaction = 0;
    ManualClock clock;
    OpticsHal hal;
    TestDevice device;
    Agent agent{board(), hal, device, clock};
};

// Keys that many tests use.
constexpr EntityKey kOnuDataKey{class_id::kOnuData, 0};
constexpr EntityKey kPort{class_id::kEthernetUni, 0x0101};
constexpr EntityKey kBridgeKey{class_id::kBridge, 1};
constexpr EntityKey kTagging{class_id::kExtendedTagging, 7};

}  // namespace omci

#endif
