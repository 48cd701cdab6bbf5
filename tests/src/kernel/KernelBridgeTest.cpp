// The bridge control on the real kernel, in a network and mount namespace of its own.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>

#include "src/bridge/BridgeContract.h"
#include "support/Wait.h"

namespace {

std::string skipReason;  // the kernel or the rights are missing

bool run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

std::string because(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// sysfs shows the network namespace that it was mounted from, so the new one needs a mount of its own.
std::string enterNamespaces() {
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) return because("no network and mount namespace of its own");
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return because("mounts cannot be made private");
    if (mount("sysfs", "/sys", "sysfs", 0, nullptr) != 0) return because("sysfs cannot be mounted");
    // Devices that speak IPv6 of their own accord would be learned in the middle of a test.
    run("echo 1 > /proc/sys/net/ipv6/conf/default/disable_ipv6");
    if (!run("ip link add pa type veth peer name xa") || !run("ip link add pb type veth peer name xb")) {
        return "no veth pairs: the ip command or the kernel's support is missing";
    }
    br_init();
    const int error = br_add_bridge("probe");
    br_del_bridge("probe");
    br_shutdown();
    if (error != 0) return std::string("no bridges: ") + std::strerror(error);
    return "";
}

class KernelBridge : public ::testing::Test {
protected:
    void SetUp() override {
        if (!skipReason.empty()) GTEST_SKIP() << skipReason;
        ASSERT_EQ(br_init(), 0);
    }
    void TearDown() override {
        br_shutdown();
        if (!skipReason.empty()) return;
        EXPECT_EQ(bridge_contract::bridges(), bridge_contract::Names{}) << "a bridge was left behind";
    }
};

class KernelBridgeContract : public KernelBridge, public ::testing::WithParamInterface<bridge_contract::Clause> {};
TEST_P(KernelBridgeContract, HoldsHere) {
    GetParam().holds();
}
INSTANTIATE_TEST_SUITE_P(Bridge, KernelBridgeContract, ::testing::ValuesIn(bridge_contract::kClauses),
                         bridge_contract::nameOf);

// True once the kernel has taken the port into the forwarding state; it does so a moment after the link is up.
bool forwards(const std::string& port) {
    constexpr int kForwarding = 3;
    return becomesTrue([&] {
        int state = 0;
        std::ifstream("/sys/class/net/" + port + "/brport/state") >> state;
        return state == kForwarding;
    });
}

double secondsOf(timeval time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// What a timer tells is the time that is left: the periods are set so that no two timers can be taken for each other.
TEST_F(KernelBridge, SpanningTreesTimersRunWhileThePortListens) {
    constexpr double kHello = 2, kForwardDelay = 29;
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pa"), 0);
    timeval forwardDelay{29, 0};
    EXPECT_EQ(br_set_bridge_forward_delay("bra", &forwardDelay), 0);
    br_port_info port{};
    const br_bridge_info off = bridge_contract::bridgeInfo("bra");
    ASSERT_EQ(br_get_port_info("bra", "pa", &port), 0);
    EXPECT_EQ(secondsOf(off.hello_timer) + secondsOf(off.tcn_timer) + secondsOf(off.topology_change_timer), 0);
    EXPECT_EQ(secondsOf(port.message_age_timer) + secondsOf(port.forward_delay_timer) + secondsOf(port.hold_timer), 0);
    EXPECT_EQ(br_set_stp_state("bra", 1), 0);
    for (const char* device : {"bra", "pa", "xa"}) bridge_contract::setUp(device, true);
    EXPECT_TRUE(becomesTrue(
        [&] { return br_get_port_info("bra", "pa", &port) == 0 && secondsOf(port.forward_delay_timer) > 0; }));
    const br_bridge_info on = bridge_contract::bridgeInfo("bra");
    EXPECT_GT(secondsOf(on.hello_timer), 0);
    EXPECT_LE(secondsOf(on.hello_timer), kHello);
    EXPECT_EQ(secondsOf(on.tcn_timer), 0) << "it is the root";
    EXPECT_GT(secondsOf(port.forward_delay_timer), kForwardDelay / 2);
    EXPECT_LE(secondsOf(port.forward_delay_timer), kForwardDelay);
    EXPECT_EQ(secondsOf(port.message_age_timer), 0) << "nobody else speaks";
    for (const char* device : {"bra", "pa", "xa"}) bridge_contract::setUp(device, false);
    EXPECT_EQ(br_del_bridge("bra"), 0);
}

// More addresses than the kernel hands out with one read.
TEST_F(KernelBridge, TheForwardingDatabaseIsReadWholeAndInPieces) {
    constexpr std::size_t kLearned = 600;
    constexpr std::array<unsigned char, 4> kLearntPrefix = {0x02, 0xaa, 0x00, 0x00};
    ASSERT_EQ(br_add_bridge("bra"), 0);
    ASSERT_EQ(br_add_interface("bra", "pa"), 0);
    ASSERT_EQ(br_add_interface("bra", "pb"), 0);
    for (const char* device : {"bra", "pa", "pb", "xa", "xb"}) bridge_contract::setUp(device, true);
    ASSERT_TRUE(forwards("pb")) << "the kernel takes no addresses on a port that is not forwarding yet";
    char batch[] = "/tmp/fdb.XXXXXX";
    close(mkstemp(batch));
    std::ofstream commands(batch);
    for (std::size_t i = 0; i < kLearned; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "fdb add 02:aa:00:00:%02zx:%02zx dev pb master dynamic\n", i / 256, i % 256);
        commands << line;
    }
    commands.close();
    const bool added = run(std::string("bridge -batch ") + batch);
    std::remove(batch);
    ASSERT_TRUE(added);

    std::array<br_fdb_entry, kLearned + 10> all{};
    std::size_t count = 0;
    ASSERT_EQ(br_read_fdb("bra", all.data(), all.size(), 0, &count), 0);
    std::size_t learned = 0;
    std::size_t local = 0;
    for (std::size_t i = 0; i < count; ++i) {
        local += all[i].is_local;
        // The far ends of the veth pairs speak too, from addresses of their own.
        if (all[i].is_local != 0 || !std::equal(kLearntPrefix.begin(), kLearntPrefix.end(), all[i].mac)) continue;
        ++learned;
        EXPECT_EQ(all[i].port_no, 2);
        EXPECT_LT(all[i].age.tv_sec, 60);
    }
    EXPECT_EQ(learned, kLearned);
    EXPECT_EQ(local, 2u) << "the two ports' own addresses";

    br_fdb_entry one{};
    for (const std::size_t skip : {std::size_t{0}, std::size_t{257}, count - 1}) {
        std::size_t got = 0;
        ASSERT_EQ(br_read_fdb("bra", &one, 1, skip, &got), 0);
        EXPECT_EQ(got, 1u);
        EXPECT_EQ(std::memcmp(one.mac, all[skip].mac, sizeof one.mac), 0) << skip;
    }
    std::size_t past = 99;
    EXPECT_EQ(br_read_fdb("bra", &one, 1, all.size(), &past), 0) << "a far end may have spoken in the meantime";
    EXPECT_EQ(past, 0u);
    EXPECT_EQ(br_read_fdb("pa", &one, 1, 0, &past), ENODEV);
    bridge_contract::setUp("bra", false);
    EXPECT_EQ(br_del_bridge("bra"), 0);
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    skipReason = enterNamespaces();
    return RUN_ALL_TESTS();
}
