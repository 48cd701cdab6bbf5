// Groups that are joined behind a bridge port, and stations there, as the OLT reads them.
#include "tests/omci/OmciFixture.h"

namespace {

using namespace omci;

constexpr EntityKey kBridgePort{class_id::kBridgePort, 9};

class MulticastGroupsTest : public OmciFixture {
protected:
    void SetUp() override {
        ASSERT_EQ(create(kBridgeKey), Result::kSuccess);
        ASSERT_EQ(create(kBridgePort, hex("0001 01 01 0101 0000 0001 00 00 00 00 00 00 00 00")), Result::kSuccess);
    }

    Bytes table(EntityKey entity, AttributeNumber number) {
        const std::uint32_t size = number32(get(entity, maskOf(number)).values, 0);
        Bytes rows;
        for (std::uint16_t part = 0; rows.size() < size; ++part) {
            const auto answer =
                ask<TablePartAnswer>(MessageType::kGetNext, entity, TablePartAsked{maskOf(number), part});
            if (answer.part.empty()) break;
            rows.insert(rows.end(), answer.part.begin(), answer.part.end());
        }
        return ByteView(rows).part(0, size).copy();
    }
};

TEST_F(MulticastGroupsTest, AMonitorListsTheGroupsThatAreJoinedBehindItsBridgePort) {
    const EntityKey monitor{class_id::kMulticastMonitor, kBridgePort.instance};
    ASSERT_EQ(create(monitor, hex("00")), Result::kSuccess);
    EXPECT_TRUE(table(monitor, 5).empty()) << "the device tells nothing";
    JoinedGroups& joined = device.joined[{kBridgeKey.instance, kPort}];
    joined = {{{310, 0, 0xE1000001, 0xC0A80007, 12, 500'000, {}}}, {}, 3};
    joined.ipv6.push_back({311, {}, {0xFF, 0x3E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}, {}, 7, 1, {}});
    EXPECT_EQ(table(monitor, 5), hex("0136 00000000 E1000001 0007A120 C0A80007 0000000C 0000"));
    EXPECT_EQ(table(monitor, 6), hex("0137 00000000000000000000000000000000 FF3E0000000000000000000000000009 00000001"
                                     "00000000000000000000000000000000 00000007"));
    EXPECT_EQ(ByteView(get(monitor, maskOf(2) | maskOf(3)).values).part(0, 8), ByteView(hex("0007A121 00000003")));
}

TEST_F(MulticastGroupsTest, ABridgePortListsTheStationsBehindIt) {
    const EntityKey stations{class_id::kBridgePortTable, kBridgePort.instance};
    EXPECT_EQ(table(stations, 1), Bytes{});
    device.stations[{kBridgeKey.instance, kPort}] = {
        {{2, 0, 0, 0, 0, 1}, 0}, {{2, 0, 0, 0, 0, 2}, 7}, {{2, 0, 0, 0, 0, 3}, 5000}};
    EXPECT_EQ(table(stations, 1), hex("0014 020000000001  0074 020000000002  FFF4 020000000003"))
        << "a second at least";
}

TEST_F(MulticastGroupsTest, AProfileListsItsGroupsThatAreJoinedAndDoNotComeDown) {
    const EntityKey profile{class_id::kMulticastProfile, 3};
    const EntityKey subscriber{class_id::kMulticastSubscriber, kBridgePort.instance};
    ASSERT_EQ(create(profile, hex("03 00 00 0000 00 00000000 00 00000000 00000000 00000000 000000")), Result::kSuccess);
    ASSERT_EQ(create(subscriber, hex("00 0003 0000 00000000 00")), Result::kSuccess);
    ASSERT_EQ(setMany(profile, maskOf(7), hex("4001 0FFF 0136 00000000 E1000001 E1000004 00000000 0000")).result,
              Result::kSuccess);
    const auto silent = [](std::uint32_t group, std::optional<std::uint32_t> seconds) {
        return JoinedGroupIpv4{0, 0, group, 0, 60, 0, seconds};
    };
    device.joined[{kBridgeKey.instance, kPort}].ipv4 = {silent(0xE1000001, 0),  silent(0xE1000002, 30),
                                                        silent(0xE1000003, {}), silent(0xE1000004, 10),
                                                        silent(0xE1000005, 30), silent(0xE1000004, 10)};
    EXPECT_EQ(table(profile, 9), hex("0136 00000000 E1000002  0136 00000000 E1000004"));
    // Another profile's groups now.
    ASSERT_EQ(setMany(subscriber, maskOf(6), hex("4001 FFFF 0000 00000000 0004 0000000000000000")).result,
              Result::kSuccess);
    EXPECT_EQ(table(profile, 9), Bytes{});
}

}  // namespace
