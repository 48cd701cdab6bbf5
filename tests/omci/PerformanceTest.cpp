// Performance monitoring: intervals, what each class counts, thresholds.
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

class PerformanceTest : public OmciFixture {};

}  // namespace

TEST_F(PerformanceTest, CountersRunInIntervalsOfAQuarterOfAnHour) {
    const EntityKey gemPort{class_id::kGemPort, 5};
    const EntityKey pm{class_id::kGemPortPm, 5};
    ASSERT_EQ(create(gemPort, hex("0400 8000 03 8000")), Result::kSuccess);
    device.gemPorts[0x0400] = {100, 200, 30000, 40000, 0, 0};
    ASSERT_EQ(create(pm, hex("FFFF")), Result::kSuccess);
    const auto counted = [&](MessageType type) {
        const auto answer = ask<GetAnswer>(type, pm, AttributesAsked{0xB000});  // end time, both frame counters
        return std::array<std::uint64_t, 3>{answer.values[0], number32(answer.values, 1), number32(answer.values, 5)};
    };
    using Counts = std::array<std::uint64_t, 3>;
    device.gemPorts[0x0400].transmittedFrames = 107;
    device.gemPorts[0x0400].receivedBytes = 30000 + 0x1'0000'0002;
    EXPECT_EQ(counted(MessageType::kGetCurrentData), (Counts{0, 7, 0}));
    const auto bytes = ask<GetAnswer>(MessageType::kGetCurrentData, pm, AttributesAsked{maskOf(5)}).values;
    EXPECT_EQ((std::pair(number32(bytes, 0), number32(bytes, 4))), (std::pair(1U, 2U))) << "64 bits";
    EXPECT_EQ(counted(MessageType::kGet), (Counts{0, 0, 0}));
    later(kIntervalMs);
    EXPECT_EQ(counted(MessageType::kGet), (Counts{0, 7, 0}));
    EXPECT_EQ(counted(MessageType::kGetCurrentData), (Counts{1, 0, 0}));
    device.gemPorts[0x0400] = {3, 250, 0, 0, 0, 0};  // the port was recreated in the meantime
    EXPECT_EQ(counted(MessageType::kGetCurrentData), (Counts{1, 3, 50}));
    later(3 * kIntervalMs);  // nobody looked for three intervals: the last one is empty
    EXPECT_EQ(counted(MessageType::kGet), (Counts{3, 0, 0}));
    EXPECT_TRUE(
        ask<TimeAnswer>(MessageType::kSynchronizeTime, {class_id::kOnuG, 0}, TimeSet{DateTime{2026, 1, 1}}).taken);
    EXPECT_EQ(counted(MessageType::kGetCurrentData)[0], 0U);
}

// Each counter of the device in its attribute: the classes, what they count, and in which direction.
TEST_F(PerformanceTest, ACounterIsReadInItsAttribute) {
    for (const auto& [entity, values] : std::vector<std::pair<EntityKey, const char*>>{
             {kBridgeKey, ""},
             {{class_id::kGemPort, 5}, "0400 8000 03 8000"},
             {{class_id::kGemPort, 6}, "0401 8000 03 8000"},
             {{class_id::kGemInterworking, 5}, "0005 05 0010 0000 FFFF"},
             {{class_id::kGemInterworking, 6}, "0006 05 0010 0000 FFFF"},
             {{class_id::kMapper, 0x10}, "FFFF 0005 0005 0006 FFFF FFFF FFFF FFFF FFFF 01"},
             {{class_id::kBridgePort, 9}, "0001 01 01 0101"},
             {{class_id::kBridgePort, 10}, "0001 02 0B 0601"},
             {{class_id::kBridgePort, 11}, "0001 03 03 0010"},
             {{class_id::kBridgePort, 12}, "0001 04 05 0006"},
             {{class_id::kMulticastInterworking, 7}, "0006 00"}})
        ASSERT_EQ(create(entity, hex(values)), Result::kSuccess) << entity.classId;
    const struct {
        EntityKey pm;
        const char* values;
        std::vector<std::uint64_t> counters;  // from the third attribute on
    } kCases[] = {
        {{class_id::kEthernetPm, 0x0101}, "FFFF", {3, 0, 0, 0, 4, 24, 0, 0, 0, 0, 23, 0, 0, 64}},
        {{class_id::kEthernetPm3, 0x0101}, "FFFF", {4, 1, 2, 6, 5, 0, 0, 0, 0, 0, 0, 0, 0, 64}},
        {{class_id::kBridgePortPm, 9}, "FFFF", {22, 0, 0, 2, 4}},
        {{class_id::kBridgePortPm, 10}, "FFFF", {32, 0, 0, 42, 46}},
        {{class_id::kUpstreamFramePm, 9}, "FFFF", {4, 1, 2, 6, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kDownstreamFramePm, 9}, "FFFF", {24, 21, 22, 26, 25, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kUpstreamFramePm, 10}, "FFFF", {46, 41, 42, 44, 43, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kDownstreamFramePm, 10}, "FFFF", {36, 31, 32, 34, 33, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kUpstreamFramePm, 11}, "FFFF", {0, 514, 512, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kDownstreamFramePm, 11}, "FFFF", {516, 515, 513, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kUpstreamFramePm, 12}, "FFFF", {0, 414, 412, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kDownstreamFramePm, 12}, "FFFF", {416, 415, 413, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kExtendedPm, 1}, "FFFF 010C 0005 0000 0000 0002", {100, 100, 100, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kExtendedPm, 2}, "FFFF 010B 0101 0000 0000 0000", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kExtendedPm, 3}, "FFFF 000B 0101 0000 0000 0000", {4, 1, 2, 6, 5, 0, 0, 0, 0, 0, 0, 0, 0, 64}},
        {{class_id::kExtendedPm64, 1},
         "FFFF 000B 0101 0000 0000 0002",
         {24, 21, 22, 26, 25, 0, 0, 0, 0, 0, 0, 0, 0, 64}},
        {{class_id::kExtendedPm64, 2},
         "FFFF 010A 0005 0000 0000 0002",
         {100, 100, 100, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{class_id::kGalPm, 5}, "FFFF", {100}},
        {{class_id::kGemPortPm, 6}, "FFFF", {412, 413, 415, 414, 417}},
        {{class_id::kFecPm, 0x8001}, "FFFF", {0, 0, 0, 0, 65535}},
    };
    for (const auto& one : kCases) ASSERT_EQ(create(one.pm, hex(one.values)), Result::kSuccess) << one.pm.classId;
    device.counters[kPort] = {1, 2, 3, 4, 5, 6, 7, 21, 22, 23, 24, 25, 26, 27, 0, 0};
    hal.gateway = EthernetPmRecord{{31, 32, 33, 34, 35, 36}, {41, 42, 43, 44, 45, 46}};
    device.gemPorts = {{0x0400, {100, 100, 100, 100, 100, 100}}, {0x0401, {412, 413, 415, 414, 417, 416}}};
    device.others = {{{kPort, 16}, 64}, {{{class_id::kAniG, 0x8001}, 7}, 1 << 16}};
    set = MessageSet::kExtended;
    for (const auto& one : kCases) {
        std::vector<std::uint64_t> counters;
        for (const AttributeInfo& attribute : findClass(one.pm.classId)->attributes())
            if (attribute.number > 2)
                counters.push_back(numberOf(
                    ask<GetAnswer>(MessageType::kGetCurrentData, one.pm, AttributesAsked{maskOf(attribute.number)})
                        .values));
        EXPECT_EQ(counters, one.counters) << nameOfClass(one.pm.classId) << " " << one.pm.instance;
    }
}

TEST_F(PerformanceTest, SynchronizedTimeClearsTheRunningAndTheLastInterval) {
    const EntityKey pm{class_id::kEthernetPm3, kPort.instance};
    ASSERT_EQ(create(pm, hex("FFFF")), Result::kSuccess);
    const auto frames = [&](MessageType type) {
        return number32(ask<GetAnswer>(type, pm, AttributesAsked{maskOf(5)}).values, 0);
    };
    device.counters[kPort].rxFrames = 20;
    later(kIntervalMs);
    device.counters[kPort].rxFrames = 27;
    ASSERT_EQ(frames(MessageType::kGet), 20U);
    ASSERT_EQ(frames(MessageType::kGetCurrentData), 7U);
    ask<TimeAnswer>(MessageType::kSynchronizeTime, {class_id::kOnuG, 0}, TimeSet{DateTime{2026, 1, 1}});
    EXPECT_EQ(frames(MessageType::kGet), 0U);
    EXPECT_EQ(frames(MessageType::kGetCurrentData), 0U);
}

// The seven thresholds of each of two entities, in the order of the counters that have an alarm.
TEST_F(PerformanceTest, ACrossedThresholdIsAnAlarmUntilTheIntervalEnds) {
    Bytes limits[2];
    for (unsigned place = 0; place < 14; ++place) appendNumber(limits[place / 7], 10 * (place + 1), 4);
    ASSERT_EQ(create({class_id::kThreshold1, 1}, limits[0]), Result::kSuccess);
    ASSERT_EQ(create({class_id::kThreshold2, 1}, limits[1]), Result::kSuccess);
    const struct {
        EntityKey pm;
        const char* values;
        std::uint16_t silent;  // attributes without an alarm
    } kCases[] = {
        {{class_id::kEthernetPm, 0x0101}, "0001", 0},
        {{class_id::kExtendedPm, 1}, "0001 000B 0101 0000 0020", maskOf(8)},
        {{class_id::kExtendedPm, 2}, "0001 000B 0101 0000 4000", 0xFFFF},
        {{class_id::kExtendedPm, 3}, "0001 000B 0101 0001 0000", maskOf(3)},  // not counted
    };
    for (const auto& one : kCases) {
        device.others.clear();
        ASSERT_EQ(create(one.pm, hex(one.values)), Result::kSuccess);
        std::uint64_t limit = 0;
        for (const AttributeInfo& counter : findClass(one.pm.classId)->attributes()) {
            if (counter.thresholdAlarm < 0) continue;
            limit += 10;
            for (const std::uint64_t count : {limit - 1, limit}) {
                device.others[{kPort, counter.number}] = count;
                later(1000);
                EXPECT_EQ(agent.alarms().isRaised(one.pm, static_cast<unsigned>(counter.thresholdAlarm)),
                          count == limit && (one.silent & maskOf(counter.number)) == 0)
                    << one.pm.classId << " " << one.pm.instance << " " << counter.name << " " << count;
            }
        }
        const Lines raised = lines();
        EXPECT_EQ(raised.empty(), one.silent == 0xFFFF);
        // It stands until the interval ends, or as long as there is what counts.
        if (one.silent == 0)
            later(kIntervalMs);
        else
            ASSERT_EQ(erase(one.pm), Result::kSuccess);
        EXPECT_EQ(ask<CommandNumber>(MessageType::kGetAllAlarms, kOnuDataKey, Flags{0}).number, 0) << "gone";
        EXPECT_EQ(lines().empty(), one.silent != 0);
        later(kIntervalMs);
    }
}

TEST_F(PerformanceTest, AControlBlockSaysWhatIsCounted) {
    const EntityKey pm{class_id::kExtendedPm, 1};
    // No thresholds, the port's downstream, continuous; multicast frames (bit 5) off.
    ASSERT_EQ(create(pm, hex("FFFF 000B 0101 0010 0000 0003 0000 0000")), Result::kSuccess);
    device.counters[kPort].txFrames = 50;
    device.counters[kPort].rxFrames = 7;
    device.counters[kPort].txMulticastFrames = 9;
    later(kIntervalMs);
    const auto frames = [&] {
        const auto answer = ask<GetAnswer>(MessageType::kGetCurrentData, pm, AttributesAsked{maskOf(5) | maskOf(7)});
        return std::pair(number32(answer.values, 0), number32(answer.values, 4));
    };
    EXPECT_EQ(frames(), std::pair(50U, 0U));
    ASSERT_EQ(set1(pm, 2, hex("FFFF 000B 0101 8010 0000 0003 0000 0000")), Result::kSuccess);  // start again
    EXPECT_EQ(frames(), std::pair(0U, 0U));
    EXPECT_EQ(number16(agent.mib().find(pm)->bytes(2), 6), 0x0010);
}

}  // namespace omci
