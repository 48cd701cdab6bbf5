// What the bridge control answers on any kernel: run on the real one and on the virtual ONU, so that the two agree.
// Needs port devices "pa" and "pb" and no bridge.
#ifndef TESTS_BRIDGE_CONTRACT_H
#define TESTS_BRIDGE_CONTRACT_H

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "bridge/BridgeControl.h"

namespace bridge_contract {

inline void setUp(const char* device, bool up) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, device, IFNAMSIZ - 1);
    request.ifr_flags = static_cast<short>(up ? IFF_UP : 0);
    EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &request), 0) << device;
    close(fd);
}

inline br_bridge_info bridgeInfo(const char* bridge) {
    br_bridge_info info{};
    EXPECT_EQ(br_get_bridge_info(bridge, &info), 0);
    return info;
}

using Names = std::vector<std::string>;

inline Names bridges() {
    Names names;
    const auto visit = [](const char* bridge, void* context) {
        static_cast<Names*>(context)->emplace_back(bridge);
        return 0;
    };
    int stopped = -1;
    EXPECT_EQ(br_foreach_bridge(visit, &names, &stopped), 0);
    EXPECT_EQ(stopped, 0);
    return names;
}

inline Names ports(const char* bridge) {
    Names names;
    const auto visit = [](const char* ofBridge, const char* port, void* context) {
        static_cast<Names*>(context)->push_back(std::string(ofBridge) + "/" + port);
        return 0;
    };
    EXPECT_EQ(br_foreach_port(bridge, visit, &names, nullptr), 0);
    return names;
}

inline void requestsNeedTheControlSocket() {
    br_shutdown();
    EXPECT_EQ(br_add_bridge("bra"), EBADF);
    ASSERT_EQ(br_init(), 0);
    ASSERT_EQ(br_init(), 0);
    EXPECT_EQ(br_shutdown(), 0);
    EXPECT_EQ(br_add_bridge("bra"), 0) << "the first br_init is still in force";
    EXPECT_EQ(br_del_bridge("bra"), 0);
    EXPECT_EQ(br_shutdown(), 0);
    EXPECT_EQ(br_add_interface("bra", "pa"), EBADF);
    EXPECT_EQ(br_shutdown(), 0) << "one too many is harmless";
}

inline void bridgesComeAndGo() {
    EXPECT_EQ(br_del_bridge("brb"), ENXIO);
    EXPECT_EQ(br_add_bridge("brb"), 0);
    EXPECT_EQ(br_add_bridge("bra"), 0);
    EXPECT_EQ(br_add_bridge("bra"), EEXIST);
    EXPECT_EQ(br_add_bridge("pa"), EEXIST);
    EXPECT_EQ(br_del_bridge("pa"), EPERM);
    EXPECT_EQ(bridges(), (Names{"bra", "brb"}));

    setUp("brb", true);
    EXPECT_EQ(br_del_bridge("brb"), EBUSY);
    setUp("brb", false);
    EXPECT_EQ(br_del_bridge("brb"), 0);
    EXPECT_EQ(bridges(), Names{"bra"});
    EXPECT_EQ(br_del_bridge("bra"), 0);
}

inline void portsJoinOneBridgeAndLeaveIt() {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_bridge("brb"), 0);
    EXPECT_EQ(br_add_interface("bra", "pb"), 0);
    EXPECT_EQ(br_add_interface("bra", "pa"), 0);
    EXPECT_EQ(ports("bra"), (Names{"bra/pa", "bra/pb"}));

    EXPECT_EQ(br_add_interface("bra", "pa"), EBUSY);
    EXPECT_EQ(br_add_interface("brb", "pa"), EBUSY);
    EXPECT_EQ(br_add_interface("bra", "brb"), ELOOP);
    EXPECT_EQ(br_add_interface("bra", "none"), ENODEV);
    EXPECT_EQ(br_add_interface("none", "pa"), ENODEV);
    EXPECT_EQ(br_del_interface("brb", "pa"), EINVAL);
    EXPECT_EQ(br_del_interface("bra", "none"), ENODEV);
    EXPECT_EQ(br_foreach_port(
                  "pa", [](auto, auto, auto) { return 0; }, nullptr, nullptr),
              ENODEV);

    EXPECT_EQ(br_del_interface("bra", "pa"), 0);
    EXPECT_EQ(br_del_interface("bra", "pa"), EINVAL);
    EXPECT_EQ(ports("bra"), Names{"bra/pb"});
    EXPECT_EQ(br_del_bridge("bra"), 0) << "a bridge may go with its ports on it";
    EXPECT_EQ(br_add_interface("brb", "pb"), 0) << "and its ports are free again";
    EXPECT_EQ(br_del_bridge("brb"), 0);
}

inline void timesAreSetInHundredths() {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    struct Case {
        const char* what;
        int (*set)(const char*, timeval*);
        timeval br_bridge_info::*got;
        timeval time;
        int want;
    };
    const Case cases[] = {
        {"hello time", br_set_bridge_hello_time, &br_bridge_info::hello_time, {3, 259999}, 0},
        {"hello time too short", br_set_bridge_hello_time, &br_bridge_info::hello_time, {0, 990000}, ERANGE},
        {"hello time too long", br_set_bridge_hello_time, &br_bridge_info::hello_time, {10, 10000}, ERANGE},
        {"max age", br_set_bridge_max_age, &br_bridge_info::max_age, {40, 0}, 0},
        {"max age too short", br_set_bridge_max_age, &br_bridge_info::max_age, {5, 990000}, ERANGE},
        {"ageing time", br_set_ageing_time, &br_bridge_info::ageing_time, {17, 50000}, 0},
        {"no forward delay", br_set_bridge_forward_delay, &br_bridge_info::forward_delay, {0, 0}, 0},
        {"negative", br_set_bridge_forward_delay, &br_bridge_info::forward_delay, {-1, 0}, EINVAL},
        {"too many microseconds", br_set_bridge_forward_delay, &br_bridge_info::forward_delay, {1, 1000000}, EINVAL},
        {"too long", br_set_bridge_forward_delay, &br_bridge_info::forward_delay, {21474836, 480000}, EINVAL},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const br_bridge_info before = bridgeInfo("bra");
        timeval time = c.time;
        EXPECT_EQ(c.set("bra", &time), c.want);
        const br_bridge_info after = bridgeInfo("bra");
        const timeval want = c.want == 0 ? c.time : before.*c.got;
        EXPECT_EQ((after.*c.got).tv_sec, want.tv_sec);
        // The kernel counts in timer ticks of its own and so may show a hundredth less.
        EXPECT_LE((after.*c.got).tv_usec, want.tv_usec);
        EXPECT_GE((after.*c.got).tv_usec, want.tv_usec / 10000 * 10000 - 10000);
    }
    timeval none{0, 0};
    timeval shortest{2, 0};
    EXPECT_EQ(br_set_stp_state("bra", 7), 0);
    EXPECT_EQ(bridgeInfo("bra").stp_enabled, 1);
    EXPECT_EQ(br_set_bridge_forward_delay("bra", &none), ERANGE) << "spanning tree cannot do without";
    EXPECT_EQ(br_set_bridge_forward_delay("bra", &shortest), 0);
    EXPECT_EQ(br_set_stp_state("bra", 0), 0);
    EXPECT_EQ(bridgeInfo("bra").stp_enabled, 0);
    EXPECT_EQ(br_set_stp_state("pa", 0), ENODEV);
    EXPECT_EQ(br_del_bridge("bra"), 0);
}

inline void prioritiesAndCostsShowInTheIdentifiers() {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pa"), 0);
    ASSERT_EQ(br_add_interface("bra", "pb"), 0);
    EXPECT_EQ(br_set_bridge_priority("bra", 0x1234), 0);
    EXPECT_EQ(br_set_bridge_priority("bra", 65536), EINVAL);
    const br_bridge_info bridge = bridgeInfo("bra");
    EXPECT_EQ(bridge.priority, 0x1234);
    EXPECT_EQ(bridge.bridge_id.priority[0], 0x12);
    EXPECT_EQ(bridge.bridge_id.priority[1], 0x34);
    EXPECT_EQ(std::memcmp(&bridge.designated_root, &bridge.bridge_id, sizeof(br_id)), 0) << "it is its own root";

    EXPECT_EQ(br_set_port_priority("bra", "pb", 63), 0);
    EXPECT_EQ(br_set_port_priority("bra", "pb", 64), ERANGE);
    EXPECT_EQ(br_set_port_priority("bra", "pb", -1), EINVAL);
    EXPECT_EQ(br_set_path_cost("bra", "pb", 65535), 0);
    EXPECT_EQ(br_set_path_cost("bra", "pb", 65536), ERANGE);
    EXPECT_EQ(br_set_path_cost("bra", "pb", 0), ERANGE);
    EXPECT_EQ(br_set_path_cost("bra", "lo", 5), ENODEV) << "no port of this bridge";
    EXPECT_EQ(br_set_port_isolated("bra", "pb", 1), 0);
    EXPECT_EQ(br_set_port_isolated("bra", "lo", 1), ENODEV);
    br_port_info port{};
    EXPECT_EQ(br_get_port_info("bra", "pb", &port), 0);
    EXPECT_EQ(port.priority, 63);
    EXPECT_EQ(port.path_cost, 65535u);
    EXPECT_EQ(port.port_no, 2);
    EXPECT_EQ(port.port_id, 63 << 10 | 2);
    EXPECT_EQ(br_del_bridge("bra"), 0);
}

inline void aWalkStopsWhereTheVisitorSaysAndStandsChanges() {
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_bridge("brb"), 0);
    const auto removeFirst = [](const char* bridge, void* context) {
        EXPECT_STREQ(bridge, "bra");
        return ++*static_cast<int*>(context) == 1 && br_del_bridge(bridge) == 0 ? 42 : 1;
    };
    int visits = 0;
    int stopped = 0;
    EXPECT_EQ(br_foreach_bridge(removeFirst, &visits, &stopped), 0);
    EXPECT_EQ(stopped, 42);
    EXPECT_EQ(bridges(), Names{"brb"});
    EXPECT_EQ(br_del_bridge("brb"), 0);
}

struct Clause {
    const char* name;
    void (*holds)();
};
constexpr Clause kClauses[] = {
    {"RequestsNeedTheControlSocket", requestsNeedTheControlSocket},
    {"BridgesComeAndGo", bridgesComeAndGo},
    {"PortsJoinOneBridgeAndLeaveIt", portsJoinOneBridgeAndLeaveIt},
    {"TimesAreSetInHundredths", timesAreSetInHundredths},
    {"PrioritiesAndCostsShowInTheIdentifiers", prioritiesAndCostsShowInTheIdentifiers},
    {"AWalkStopsWhereTheVisitorSaysAndStandsChanges", aWalkStopsWhereTheVisitorSaysAndStandsChanges},
};
inline std::string nameOf(const ::testing::TestParamInfo<Clause>& tested) {
    return tested.param.name;
}

}  // namespace bridge_contract

#endif
