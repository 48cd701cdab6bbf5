// Host kernel mode: what the virtual ONU makes is in a real kernel. Runs in a network namespace of its own and says
// why when there is none to be had.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

namespace {

using virtual_onu::VirtualOnu;
using Texts = std::vector<std::string>;

std::string whyNoNamespace;
std::string whyRefusedOnHost;
bool enteredBefore = false;

// Asked by a program that knows no virtual ONU.
bool kernelMakesVeths() {
    const pid_t child = fork();
    if (child == 0) {
        execlp("sh", "sh", "-c", "ip link add probe type veth peer name p-probe && ip link del probe", nullptr);
        _exit(1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

class HostKernel : public ::testing::Test {
protected:
    void SetUp() override {
        if (!whyNoNamespace.empty()) GTEST_SKIP() << whyNoNamespace;
        onu().reset();
        std::string why;
        if (onu().useHostKernel(true, &why)) return;
        if (kernelMakesVeths()) FAIL() << why;
        GTEST_SKIP() << why;
    }
    void TearDown() override { onu().reset(); }
    static VirtualOnu& onu() { return VirtualOnu::instance(); }

    // The kernel's own word, past the virtual ONU: straight through the system call.
    static bool kernelHas(const std::string& place) {
        return syscall(SYS_access, ("/sys/class/net/" + place).c_str(), F_OK) == 0;
    }
    static std::string kernelSays(const std::string& place) {
        const auto fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, ("/sys/class/net/" + place).c_str(), O_RDONLY));
        char text[64] = {};
        const ssize_t length = read(fd, text, sizeof text - 1);
        close(fd);
        return length > 0 ? std::string(text, static_cast<std::size_t>(length) - 1) : "";
    }
    static int run(const char* command) { return WEXITSTATUS(std::system(command)); }
};

TEST_F(HostKernel, TheNamespaceOfTheHostIsRefused) {
    if (enteredBefore) GTEST_SKIP() << "started in a namespace of its own";
    EXPECT_FALSE(whyRefusedOnHost.empty());
}

TEST_F(HostKernel, TheFactorysDevicesStandInTheKernelUntilReset) {
    const auto devices = onu().devices();
    ASSERT_EQ(devices.size(), 11u);
    for (const auto& device : devices)
        EXPECT_TRUE(kernelHas(device.name + "/ifindex") && device.addresses.empty() && !device.statistics.count("."));
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    char left[] = "p-left";  // by a child of the program, which knows no virtual ONU; the far end of no device
    EXPECT_EQ(syscall(SYS_ioctl, fd, SIOCBRADDBR, left), 0);
    close(fd);
    EXPECT_EQ(onu().devices().size(), 12u);
    EXPECT_TRUE(onu().useHostKernel(false));
    for (const auto& device : devices) EXPECT_FALSE(kernelHas(device.name)) << device.name;
    EXPECT_FALSE(kernelHas(left));
    EXPECT_EQ(onu().devices().size(), 11u) << "back in memory";

    const int later = socket(AF_INET, SOCK_DGRAM, 0);
    char own[] = "own";  // there before
    EXPECT_EQ(syscall(SYS_ioctl, later, SIOCBRADDBR, own), 0);
    EXPECT_TRUE(onu().useHostKernel(true, nullptr));
    onu().reset();
    EXPECT_TRUE(kernelHas(own));
    EXPECT_EQ(syscall(SYS_ioctl, later, SIOCBRDELBR, own), 0);
    close(later);
}

TEST_F(HostKernel, AServicesBridgeOfTheLibraryStandsInTheKernel) {
    EtherSwitchBcm380& engine = *EtherSwitchBcm380::getInstance();
    ASSERT_TRUE(engine.configureBridge(3, 0, false));
    ASSERT_TRUE(engine.configureBridge(3, 2, false));
    EXPECT_EQ(onu().bridge("br3")->members(), (Texts{"gpon3.3", "sid1.3"}));
    for (const char* place : {"br0/brif/sid1", "br3/brif/gpon3.3", "br3/brif/sid1.3"}) {
        EXPECT_TRUE(kernelHas(place)) << place;
    }
    EXPECT_EQ(kernelSays("br3/flags").back(), '3') << "up, broadcast";
    EXPECT_EQ(onu().device("sid1.3")->realDevice, "sid1");
    EXPECT_EQ(onu().device("sid1.3")->operState, "up");
    ASSERT_TRUE(engine.deleteAniInterface(3));
    EXPECT_FALSE(kernelHas("gpon3.3"));
    EXPECT_TRUE(kernelHas("br3/brif/sid1.3"));
}

TEST_F(HostKernel, RequestsOfTheProgramReachTheKernelAndItsRefusalsComeBack) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    char name[] = "br7";
    EXPECT_EQ(ioctl(fd, SIOCBRADDBR, name), 0);
    EXPECT_EQ(ioctl(fd, SIOCBRADDBR, name), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(kernelHas("br7/bridge"));
    ifreq up{};
    std::strcpy(up.ifr_name, name);
    up.ifr_flags = IFF_UP;
    onu().failNext("ioctl:SIOCSIFFLAGS", 1, EIO);
    EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &up), -1);
    EXPECT_EQ(errno, EIO) << "faults work here too";
    EXPECT_EQ(ioctl(fd, SIOCSIFFLAGS, &up), 0);
    EXPECT_EQ(ioctl(fd, SIOCBRDELBR, name), -1);
    EXPECT_EQ(errno, EBUSY);
    close(fd);
}

TEST_F(HostKernel, ShellCommandsChangeTheKernel) {
    EXPECT_EQ(run("brctl addbr br3 && brctl addif br3 sid1 && brctl stp br3 on && brctl setfd br3 4"), 0);
    EXPECT_EQ(run("brctl addif br3 sid1"), 1);
    EXPECT_EQ(kernelSays("br3/bridge/forward_delay"), "400");
    EXPECT_EQ(run("brctl setageing br3 100; brctl sethello br3 3; brctl setmaxage br3 30; brctl setbridgeprio br3 7"),
              0);
    const auto bridge = *onu().bridge("br3");
    EXPECT_EQ(bridge.members(), Texts{"sid1"});
    EXPECT_TRUE(bridge.stp);
    EXPECT_EQ(
        (std::vector<long>{bridge.forwardDelay, bridge.ageingTime, bridge.helloTime, bridge.maxAge, bridge.priority}),
        (std::vector<long>{400, 10000, 300, 3000, 7}));
    EXPECT_EQ(
        run("ifconfig sid2 10.0.0.5 netmask 255.255.255.0 broadcast 10.0.0.5 mtu 1400 hw ether 02:00:00:00:aa:01 up"),
        0);
    EXPECT_EQ(kernelSays("sid2/address"), "02:00:00:00:aa:01");
    EXPECT_EQ(kernelSays("sid2/mtu"), "1400");
    const auto device = onu().device("sid2");
    EXPECT_EQ(device->addresses, Texts{"10.0.0.5 netmask 255.255.255.0 broadcast 10.0.0.5"});
    EXPECT_EQ(device->operState, "up");
    EXPECT_EQ(run("ip rule add from 10.0.0.5 table 12"), 0);
    EXPECT_EQ(run("ip route replace default via 10.0.0.1 dev sid2 table 12"), 0);
    EXPECT_EQ(run("ip route replace default via 192.0.2.1 dev sid2 table 13"), 2) << "the kernel knows no way there";
    EXPECT_EQ(onu().ipRoutes(), Texts{"default via 10.0.0.1 dev sid2 table 12"});
    EXPECT_EQ(run("ip route del default table 12"), 0);
    EXPECT_EQ(run("ip route add default via 10.0.0.1 dev sid2 table 12"), 0) << "the kernel would know it";
    EXPECT_EQ(run("echo 1 > /proc/sys/net/ipv6/conf/sid2/disable_ipv6"), 0);
    EXPECT_TRUE(onu().device("sid2")->ipv6Disabled);
    EXPECT_EQ(run("ip rule del from 10.0.0.5 table 12"), 0);
    EXPECT_EQ(run("ifconfig br3 down; brctl delbr br3"), 0);
    EXPECT_FALSE(kernelHas("br3"));
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    enteredBefore = VirtualOnu::instance().useHostKernel(true, &whyRefusedOnHost);
    VirtualOnu::instance().useHostKernel(false);
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) {
        whyNoNamespace = std::string("no network namespace to be had: ") + std::strerror(errno);
    } else if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
               mount("sysfs", "/sys", "sysfs", 0, nullptr) != 0) {
        whyNoNamespace = std::string("no sysfs of the new namespace: ") + std::strerror(errno);
    }
    return RUN_ALL_TESTS();
}
