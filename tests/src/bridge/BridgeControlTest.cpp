#include "bridge/BridgeControl.h"
#include "src/bridge/BridgeContract.h"
#include "support/OnuFixture.h"

namespace {

// The same answers as the real kernel's (kernel/KernelBridgeTest.cpp).
class BridgeControl : public OnuFixture {
protected:
    void SetUp() override {
        OnuFixture::SetUp();
        onu().addDevice("pa");
        onu().addDevice("pb");
        ASSERT_EQ(br_init(), 0);
        onu().clearTrace();
    }
    void TearDown() override {
        br_shutdown();
        OnuFixture::TearDown();
    }
};

class BridgeControlContract : public BridgeControl, public ::testing::WithParamInterface<bridge_contract::Clause> {};
TEST_P(BridgeControlContract, HoldsHere) {
    GetParam().holds();
}
INSTANTIATE_TEST_SUITE_P(Bridge, BridgeControlContract, ::testing::ValuesIn(bridge_contract::kClauses),
                         bridge_contract::nameOf);

TEST_F(BridgeControl, WhatCannotBeADeviceNameIsRefusedBeforeAnythingIsTouched) {
    timeval time{2, 0};
    br_bridge_info info{};
    br_port_info port{};
    br_fdb_entry entry{};
    std::size_t count = 0;
    const auto visit = [](const char*, const char*, void*) { return 0; };
    for (const char* name : {static_cast<const char*>(nullptr), "", ".", "..", "../br0", "br0/x", "br 0", "br%d", "a:b",
                             "sixteen-letters-"}) {
        SCOPED_TRACE(name == nullptr ? "null" : name);
        EXPECT_EQ(br_add_bridge(name), EINVAL);
        EXPECT_EQ(br_del_bridge(name), EINVAL);
        EXPECT_EQ(br_add_interface(name, "pa"), EINVAL);
        EXPECT_EQ(br_add_interface("br0", name), EINVAL);
        EXPECT_EQ(br_del_interface("br0", name), EINVAL);
        EXPECT_EQ(br_set_stp_state(name, 0), EINVAL);
        EXPECT_EQ(br_set_bridge_forward_delay(name, &time), EINVAL);
        EXPECT_EQ(br_set_path_cost("br0", name, 1), EINVAL);
        EXPECT_EQ(br_set_port_priority(name, "pa", 1), EINVAL);
        EXPECT_EQ(br_get_bridge_info(name, &info), EINVAL);
        EXPECT_EQ(br_get_port_info("br0", name, &port), EINVAL);
        EXPECT_EQ(br_read_fdb(name, &entry, 1, 0, &count), EINVAL);
        EXPECT_EQ(br_foreach_port(name, visit, nullptr, nullptr), EINVAL);
    }
    EXPECT_EQ(br_add_bridge("fifteen-letters"), 0);
    EXPECT_EQ(br_set_bridge_forward_delay("fifteen-letters", nullptr), EINVAL);
    EXPECT_EQ(br_get_bridge_info("fifteen-letters", nullptr), EINVAL);
    EXPECT_EQ(br_foreach_bridge(nullptr, nullptr, nullptr), EINVAL);
    EXPECT_EQ(onu().traceTexts(), std::vector<std::string>{R"(ioctl(SIOCBRADDBR, "fifteen-letters") = 0)"});
}

TEST_F(BridgeControl, ARefusedRequestIsAnsweredWithItsErrorAndLeavesTheBridgeAlone) {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    onu().failNext("ioctl:SIOCBRADDIF", 1, EPERM);
    EXPECT_EQ(br_add_interface("bra", "pa"), EPERM);
    onu().failNext("ioctl:SIOCGIFINDEX", 1, EIO);
    EXPECT_EQ(br_add_interface("bra", "pa"), EIO);
    onu().denyFile("/sys/class/net/bra/bridge/stp_state");
    EXPECT_EQ(br_set_stp_state("bra", 1), EACCES);
    br_bridge_info info{};
    info.priority = 7;
    EXPECT_EQ(br_get_bridge_info("bra", &info), EACCES);
    EXPECT_EQ(info.priority, 7) << "the record is written only on success";
    EXPECT_EQ(members("bra"), std::vector<std::string>{});
}

TEST_F(BridgeControl, AnAttributeThatIsNoNumberIsAnIoError) {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pa"), 0);
    br_port_info info{};
    for (const char* content : {"", "x", "65536", "99999999999999999999"}) {
        onu().writeFile("/sys/class/net/bra/brif/pa/port_no", content);
        EXPECT_EQ(br_get_port_info("bra", "pa", &info), EIO) << content;
    }
}

// Times are told in hundredths of a second.
TEST_F(BridgeControl, EachFieldComesFromItsOwnAttribute) {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pa"), 0);
    const auto fill = [](const std::string& folder, std::initializer_list<const char*> names) {
        int value = 0;
        for (const char* name : names) onu().writeFile(folder + name, std::to_string(++value) + "\n");
    };
    const auto ticks = [](const timeval& time) { return std::int64_t{time.tv_usec} / 10000; };
    fill("/sys/class/net/bra/bridge/",
         {"stp_state", "root_path_cost", "root_port", "priority", "topology_change", "topology_change_detected",
          "forward_delay", "hello_time", "max_age", "ageing_time", "hello_timer", "tcn_timer", "topology_change_timer",
          "gc_timer"});
    br_bridge_info bridge{};
    ASSERT_EQ(br_get_bridge_info("bra", &bridge), 0);
    EXPECT_EQ((std::vector<std::int64_t>{bridge.stp_enabled, bridge.root_path_cost, bridge.root_port, bridge.priority,
                                         bridge.topology_change, bridge.topology_change_detected,
                                         ticks(bridge.forward_delay), ticks(bridge.hello_time), ticks(bridge.max_age),
                                         ticks(bridge.ageing_time), ticks(bridge.hello_timer), ticks(bridge.tcn_timer),
                                         ticks(bridge.topology_change_timer), ticks(bridge.gc_timer)}),
              (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    fill("/sys/class/net/bra/brif/pa/", {"port_no", "port_id", "priority", "state", "path_cost", "designated_port",
                                         "designated_cost", "message_age_timer", "forward_delay_timer", "hold_timer"});
    br_port_info port{};
    ASSERT_EQ(br_get_port_info("bra", "pa", &port), 0);
    EXPECT_EQ((std::vector<std::int64_t>{port.port_no, port.port_id, port.priority, port.state, port.path_cost,
                                         port.designated_port, port.designated_cost, ticks(port.message_age_timer),
                                         ticks(port.forward_delay_timer), ticks(port.hold_timer)}),
              (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(BridgeControl, TheForwardingDatabaseHoldsThePortsOwnAddresses) {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pb"), 0);
    br_fdb_entry entries[4] = {};
    std::size_t count = 0;
    ASSERT_EQ(br_read_fdb("bra", entries, 4, 0, &count), 0);
    ASSERT_EQ(count, 1u);
    char text[18];
    const std::uint8_t* mac = entries[0].mac;
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    EXPECT_EQ(text, onu().device("pb")->mac);
    EXPECT_EQ(entries[0].port_no, 1);
    EXPECT_EQ(entries[0].is_local, 1);
}

}  // namespace
