// Locked entities and what depends on them: they report nothing by themselves, and nothing false when they are
// unlocked.
#include "omci/agent/Locks.h"
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

constexpr EntityKey kOnu{class_id::kOnuG, 0};
constexpr EntityKey kPack{class_id::kCircuitPack, 0x0101};

class LockTest : public OmciFixture {
protected:
    LockTest() { device.ports[kPort.instance] = {true, 3}; }

    Result administer(EntityKey key, bool locked) {
        const AttributeNumber attribute = administrativeState(key.classId);
        return set1(key, attribute, hex(locked ? "01" : "00"));
    }
    std::size_t reported(MessageType type) {
        std::size_t count = 0;
        for (const Message& message : autonomous()) count += message.type == type ? 1 : 0;
        return count;
    }
    std::uint16_t alarmsStanding() {
        return ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number;
    }
};

}  // namespace

TEST_F(LockTest, APortThatIsLockedAndUnlockedWithItsCableInRaisesNothing) {
    for (const EntityKey locked : {kPort, kOnu, kPack}) {
        later(1000);
        autonomous();
        ASSERT_EQ(administer(locked, true), Result::kSuccess);
        device.ports[kPort.instance] = {false, 0};  // the port goes down with the lock
        later(1000);
        EXPECT_TRUE(autonomous().empty()) << locked.classId;
        EXPECT_EQ(value(kPort, attr::ethernet_uni::kOperationalState), 1U) << "the state itself is reported when asked";
        ASSERT_EQ(administer(locked, false), Result::kSuccess);
        device.ports[kPort.instance] = {true, 3};  // and comes up behind the answer
        later(1000);
        EXPECT_EQ(reported(MessageType::kAlarm), 0U) << locked.classId;
        EXPECT_EQ(value(kPort, attr::ethernet_uni::kOperationalState), 0U);
    }
}

TEST_F(LockTest, AVeipThatIsLockedSaysNothingOfItsConnection) {
    device.veip = true;
    later(1000);
    ASSERT_EQ(administer({class_id::kVeip, 0x0601}, true), Result::kSuccess);
    autonomous();
    device.veip = false;
    later(10'000);
    EXPECT_TRUE(autonomous().empty());
}

TEST_F(LockTest, AnAlarmThatStandsGoesSilentlyWithTheLockAndComesBackWithoutIt) {
    for (const EntityKey locked : {kPort, kOnu, kPack}) {
        device.ports[kPort.instance] = {false, 0};
        later(1000);
        ASSERT_TRUE(agent.alarms().isRaised(kPort, 0)) << locked.classId;
        autonomous();
        ASSERT_EQ(administer(locked, true), Result::kSuccess);
        later(1000);
        EXPECT_TRUE(autonomous().empty()) << locked.classId;
        EXPECT_EQ(alarmsStanding(), 0) << locked.classId;
        ASSERT_EQ(administer(locked, false), Result::kSuccess);
        later(1000);
        EXPECT_EQ(reported(MessageType::kAlarm), 1U) << locked.classId;
    }
}

TEST_F(LockTest, ThresholdsOfALockedPortRaiseNothingUntilItIsUnlocked) {
    const EntityKey port{class_id::kBridgePort, 9};
    ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
    ASSERT_EQ(create(port, hex("0001 01 01 0101 0000 0001 00 00 00 00 00 00 00 00")), Result::kSuccess);
    ASSERT_EQ(create({class_id::kThreshold1, 1}, hex("00000001")), Result::kSuccess);
    ASSERT_EQ(create({class_id::kEthernetPm3, kPort.instance}, hex("0001")), Result::kSuccess);
    ASSERT_EQ(create({class_id::kUpstreamFramePm, port.instance}, hex("0001")), Result::kSuccess);
    ASSERT_EQ(administer(kPort, true), Result::kSuccess);
    device.counters[kPort].rxDiscards = 5;
    later(1000);
    EXPECT_EQ(reported(MessageType::kAlarm), 0U);
    ASSERT_EQ(administer(kPort, false), Result::kSuccess);
    later(1000);
    EXPECT_EQ(reported(MessageType::kAlarm), 2U);
}

// Where nobody reports the port's state but by portChanged(), the last one reported counts.
TEST_F(LockTest, APortWhoseStateIsOnlyPushedHasItsAlarmWhenItIsUnlocked) {
    device.ports.clear();
    agent.portChanged(kPort.instance, {false, 0});
    ASSERT_EQ(reported(MessageType::kAlarm), 1U);
    ASSERT_EQ(administer(kPort, true), Result::kSuccess);
    ASSERT_EQ(administer(kPort, false), Result::kSuccess);
    EXPECT_EQ(reported(MessageType::kAlarm), 1U);
}

}  // namespace omci
