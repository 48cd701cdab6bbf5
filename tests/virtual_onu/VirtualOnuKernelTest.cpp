// What programs see of the virtual ONU through the C library.
#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <thread>

#include <nlohmann/json.hpp>

#include "platform/kit_numbers.h"
#include "support/OnuFixture.h"

namespace {

using virtual_onu::CallKind;
using Texts = std::vector<std::string>;

class VirtualKernel : public OnuFixture {
protected:
    static ifreq named(const char* name) {
        ifreq request{};
        std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
        return request;
    }
    // 0 or errno of one request on a fresh socket.
    static int ask(unsigned long number, void* argument) {
        const int fd = socket(AF_INET, SOCK_DGRAM, 0);
        const int error = ioctl(fd, number, argument) == 0 ? 0 : errno;
        close(fd);
        return error;
    }
    static int run(const char* command) { return WEXITSTATUS(std::system(command)); }
    static std::string firstLine(const char* path) {
        std::ifstream file(path);
        std::string line;
        std::getline(file, line);
        return line;
    }
};

TEST_F(VirtualKernel, InterfaceRequestsActOnTheModelAndFailAsTheKernelDoes) {
    ifreq request = named("sid2");
    request.ifr_flags = static_cast<short>(0xFFFF);
    EXPECT_EQ(ask(SIOCSIFFLAGS, &request), 0);
    EXPECT_TRUE(onu().device("sid2")->up);
    EXPECT_EQ(onu().device("sid2")->flags, 0xFFFFu);
    request.ifr_mtu = 67;
    EXPECT_EQ(ask(SIOCSIFMTU, &request), EINVAL);
    EXPECT_EQ(onu().device("sid2")->mtu, 1500);
    request = named("nobody");
    EXPECT_EQ(ask(SIOCGIFINDEX, &request), ENODEV);
    EXPECT_EQ(ask(SIOCGIFINDEX, nullptr), EFAULT);
    EXPECT_EQ(ask(SIOCETHTOOL, &request), EOPNOTSUPP) << "an unknown request is no silent success";
    EXPECT_EQ(ioctl(-1, SIOCGIFINDEX, &request), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(if_nametoindex("sid2"), static_cast<unsigned>(onu().device("sid2")->index));
    EXPECT_EQ(onu().traceTexts(CallKind::Ioctl).front(), R"(ioctl(SIOCSIFFLAGS, "sid2", 65535) = 0)");
}

TEST_F(VirtualKernel, ANameThatFillsTheRequestIsNotReadPastItsEnd) {
    onu().addDevice("fifteen-letters");
    EXPECT_FALSE(onu().addDevice("sixteen-letters-"));
    ifreq request{};
    std::memset(&request, 'x', sizeof request);
    std::memcpy(request.ifr_name, "fifteen-letters!", IFNAMSIZ);  // the sixteenth is taken for the end
    EXPECT_EQ(ask(SIOCGIFINDEX, &request), 0);
    EXPECT_EQ(request.ifr_ifindex, onu().device("fifteen-letters")->index);
}

TEST_F(VirtualKernel, SuccessLeavesErrnoAlone) {
    ifreq request = named("sid0");
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    errno = ERANGE;
    EXPECT_EQ(ioctl(fd, SIOCGIFINDEX, &request), 0);
    EXPECT_EQ(std::system("brctl addbr br3"), 0);
    EXPECT_EQ(close(open("/sys/class/net/br3/mtu", O_RDONLY)), 0);
    EXPECT_EQ(sleep(1), 0u);
    EXPECT_EQ(errno, ERANGE);
    close(fd);
}

TEST_F(VirtualKernel, SysfsShowsTheModelAndItsDirectoriesCanBeWalked) {
    run("brctl addbr br3; brctl addif br3 sid1");
    std::size_t walked = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net")) walked += entry.exists();
    EXPECT_EQ(walked, onu().devices().size());
    DIR* folder = opendir("/sys/class/net");
    EXPECT_EQ(onu().openDescriptors(), 1) << "an open directory is a leak too";
    closedir(folder);
    struct stat status {};
    EXPECT_EQ(stat("/sys/class/net/sid1", &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    for (const auto& [attribute, mode] : {std::pair("sid1/mtu", 0644U), std::pair("sid1/ifindex", 0444U)}) {
        ASSERT_EQ(stat((std::string("/sys/class/net/") + attribute).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | mode) << attribute;
    }
}

TEST_F(VirtualKernel, AProgramMayHaveClosedItsStandardInput) {
    close(0);
    struct stat status {};
    EXPECT_EQ(stat("/sys/class/net/sid1/mtu", &status), 0);
    EXPECT_TRUE(engine().configureBridge(3, 0, false));
    EXPECT_EQ(members("br3"), Texts{"gpon3.3"});
    EXPECT_EQ(fcntl(0, F_GETFD), -1) << "left open";
    int (*const openings[])() = {[] { return open("/sys/class/net/sid1/mtu", O_RDWR); },
                                 [] { return open("/var/mcpd.conf", O_RDWR | O_CREAT, 0600); },
                                 [] { return open("/dev/laser_dev", O_RDWR); },
                                 [] { return open("/sys/class/net", O_RDONLY | O_DIRECTORY); }};
    for (const auto opened : openings) {
        EXPECT_EQ(opened(), 0);
        EXPECT_EQ(onu().openDescriptors(), 1);
        close(0);
    }
    std::FILE* stream = std::fopen("/var/mcpd.conf", "w");
    EXPECT_EQ(fileno(stream), 0);
    std::fclose(stream);
    DIR* folder = opendir("/sys/class/net");
    EXPECT_EQ(dirfd(folder), 0);
    EXPECT_EQ(onu().openDescriptors(), 1);
    closedir(folder);
    EXPECT_EQ(socket(AF_PACKET, SOCK_RAW, 0), 0);
    EXPECT_EQ(bind(0, nullptr, 0), -1);
    EXPECT_EQ(errno, EINVAL);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = 999;
    EXPECT_EQ(bind(0, reinterpret_cast<sockaddr*>(&address), sizeof address), -1);
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(VirtualKernel, TheBoardWritesWhatAProgramMayNotWriteToSysfs) {
    for (const auto& [leaf, text] :
         {std::pair("sid1/statistics/rx_packets", "17\n"), std::pair("sid1/operstate", "down\n"),
          std::pair("sid1/statistics/tx_packets", "1x\n"), std::pair("later", "x")}) {
        onu().writeFile(std::string("/sys/class/net/") + leaf, text);
        EXPECT_EQ(onu().readFile(std::string("/sys/class/net/") + leaf), text);
    }
    EXPECT_EQ(onu().device("sid1")->statistics["rx_packets"], 17u);
    EXPECT_EQ(onu().device("sid1")->operState, "down");
}

TEST_F(VirtualKernel, AStreamWritesAnAttributeWhenItIsFlushedOrClosed) {
    run("brctl addbr br3");
    FILE* file = std::fopen("/sys/class/net/br3/bridge/ageing_time", "w");
    std::fprintf(file, "%d\n", 500);
    EXPECT_EQ(onu().bridge("br3")->ageingTime, 30000);
    EXPECT_EQ(std::fflush(file), 0);
    EXPECT_EQ(onu().bridge("br3")->ageingTime, 500);
    std::fputs("soon", file);
    EXPECT_EQ(std::fclose(file), EOF);
    EXPECT_EQ(errno, EINVAL);
    std::ofstream("/sys/class/net/br3/bridge/ageing_time") << 700 << std::endl;
    EXPECT_EQ(onu().bridge("br3")->ageingTime, 700);
}

// What they do otherwise: the tool's record of commands by chance.
TEST_F(VirtualKernel, ShellCommandsActOnTheModelOrAreFlagged) {
    const struct {
        const char* command;
        int status;
    } cases[] = {
        {"brctl addbr br3", 0},
        {"brctl addif brv ", 1},
        {"ifconfig br3 hw ether  up", 1},
        {"ifconfig br3  netmask  broadcast  mtu 1500", 1},
        {"ifconfig br3 promisc", 127},
        {"ip route replace default via  dev br3 table 12 2>/dev/null", 1},
        {"ip route replace default via 10.0.0.1 dev nobody table 12 2>/dev/null", 1},
        {"echo 1 > /proc/sys/net/ipv6/conf/br3/disable_ipv6", 0},
        {"echo 1 > /proc/sys/net/ipv6/conf/nobody/disable_ipv6", 1},
        {"dhcpc -i br3 -B -l 3600  &", 0},
        {"kill -9 4711", 1},
        {"bs /bdmf/attr/add ingress_class/dir=us,index=12 flow string key={etype=0x800},result={a={b/c=1}}", 0},
        {"bs /b/d vlan_action/dir=us,index=1", 0},  // in vain
        {"bs /b/zap all", 127},
        {"iq addkey --dstmac 02:00:00:00:aa:01 --prio 1", 0},
        {"iq remkey --dstmac 02:00:00:00:aa", 0},  // another address, in vain
        {"iq explode", 127},
        {"echo $HOME", 127},
        {"true || mcpctl stop; mcpctl reload", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.command), c.status) << c.command;
        EXPECT_EQ(onu().shellCommands().back().understood, c.status != 127) << c.command;
    }
    EXPECT_TRUE(onu().device("br3")->ipv6Disabled);
    EXPECT_EQ(onu().ingressQueueKeys(), Texts{"key --dstmac 02:00:00:00:aa:01 --prio 1"});
    EXPECT_EQ(onu().toJson()["runner"]["remarks"].size(), 3u) << "of what was not there";
}

TEST_F(VirtualKernel, CommandsOfIpAreReadAsAShellReadsThem) {
    const struct {
        const char* command;
        int status;
    } kSteps[] = {
        {"ip", 127},
        {"ip link", 127},
        {"ip link set", 127},
        {"ip link set dev sid1", 127},
        {"ip link add brl type", 127},
        {"ip link add brl type dummy", 127},
        {"ip link add brl kind bridge", 127},
        {"ip link add brl type bridge", 0},
        {"ip link set \"sid1\" 'master' brl", 0},
        {"ip link set '$1' up", 1},
        {"ip link set \"$1\" up", 127},
        {"ip link set \"sid1\\\" up", 127},
        {"ip link delete brl", 0},
        {"ip link frobnicate brl", 127},
    };
    for (const auto& step : kSteps) {
        EXPECT_EQ(run(step.command), step.status) << step.command;
        EXPECT_EQ(onu().shellCommands().back().understood, step.status != 127) << step.command;
    }
    EXPECT_EQ(onu().device("sid1")->master, "");
    EXPECT_FALSE(onu().device("sid1")->up || onu().deviceExists("brl"));
}

TEST_F(VirtualKernel, TheHostsShellAndFilesAreOutOfReach) {
    const std::string victim = testing::TempDir() + "untouched-by-the-virtual-onu";
    EXPECT_EQ(run(("echo x > " + victim).c_str()), 127);
    EXPECT_EQ(run(("touch " + victim).c_str()), 127);
    EXPECT_EQ(access(victim.c_str(), F_OK), -1);
    EXPECT_EQ(run("cat /etc/passwd"), 127);

    const std::string marker = "only the virtual ONU has this";
    onu().writeFile("/tmp/dhclient_interface", marker);
    EXPECT_EQ(firstLine("/tmp/dhclient_interface"), marker);
    // A file name that the virtual ONU does not look at leads to the host's file.
    std::ifstream host("/tmp/../tmp/dhclient_interface");
    std::string line;
    std::getline(host, line);
    EXPECT_NE(line, marker);
    EXPECT_EQ(std::rename("/var/mcpd.conf", victim.c_str()), -1);
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(VirtualKernel, FilesOfTheDeviceAreWrittenRenamedAndRemoved) {
    EXPECT_EQ(open("/var/mcpd.conf", O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
    std::ofstream("/var/mcpdTmp.conf") << "igmp\n";
    EXPECT_EQ(std::rename("/var/mcpdTmp.conf", "/var/mcpd.conf"), 0);
    EXPECT_EQ(onu().readFile("/var/mcpd.conf"), "igmp\n");
    struct stat status {};
    EXPECT_EQ(lstat("/var/mcpd.conf", &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_EQ(status.st_size, 5);
    std::ofstream("/var/mcpd.conf", std::ios::app) << "mld\n";
    EXPECT_EQ(open("/var/mcpd.conf", O_WRONLY | O_CREAT | O_EXCL, 0600), -1);
    EXPECT_EQ(errno, EEXIST);
    // A file that is open when it is renamed is written under its new name.
    FILE* file = std::fopen("/var/mcpd.conf", "a");
    EXPECT_EQ(std::rename("/var/mcpd.conf", "/var/mcpdTmp.conf"), 0);
    std::fputs("end\n", file);
    EXPECT_EQ(std::fclose(file), 0);
    EXPECT_EQ(onu().readFile("/var/mcpdTmp.conf"), "igmp\nmld\nend\n");
    EXPECT_EQ(std::remove("/var/mcpdTmp.conf"), 0);
    EXPECT_EQ(std::remove("/var/mcpdTmp.conf"), -1);
    onu().denyFile("/var/mcpd.conf");
    EXPECT_FALSE(std::ofstream("/var/mcpd.conf").is_open());
    EXPECT_EQ(onu().traceTexts(CallKind::File).back(), R"(fopen("/var/mcpd.conf") = -13)");
    onu().removeFile("/sys/class/net/eth1/operstate");
    EXPECT_FALSE(std::ifstream("/sys/class/net/eth1/operstate").is_open());
}

TEST_F(VirtualKernel, WaitsEndAtOnceAndIdleWaitsWithTheDevicesClock) {
    sleep(3600);
    usleep(1500);
    timespec second{1, 0};
    nanosleep(&second, nullptr);
    std::thread clock([] { onu().advance(3 * 3600 * 1000); });
    for (int round = 0; round < 3; ++round) {
        timeval hour{3600, 0};
        EXPECT_EQ(select(0, nullptr, nullptr, nullptr, &hour), 0);
    }
    clock.join();
    EXPECT_EQ(onu().slept(), 3601002u) << "idle waits are no sleep";
    EXPECT_EQ(onu().traceTexts(CallKind::Wait).front(), "sleep(3600) = 0");
    onu().sleepForReal(true);
    const std::clock_t before = std::clock();
    usleep(200'000);
    onu().sleepForReal(false);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "a wait takes no processor time";
}

TEST_F(VirtualKernel, FaultsNarrowedToOneRequestOrFileHitNothingElse) {
    onu().failNext("ioctl:SIOCGIFMTU", 2, EPERM);
    onu().failNext("fopen:/var/mcpd.conf", 1, EMFILE);
    for (const char* other : {"loctl:SIOCGIFMTU", "ioctl.SIOCGIFMTU", "ioctl:SIOCGIFMTUS", "ioctl:SIOCGIFMT", "ioctl:"})
        onu().failNext(other, 1, EACCES);
    ifreq request = named("sid0");
    EXPECT_EQ(ask(SIOCGIFINDEX, &request), 0);
    EXPECT_EQ(ask(SIOCGIFMTU, &request), 0);
    EXPECT_EQ(ask(SIOCGIFMTU, &request), EPERM);
    EXPECT_EQ(ask(SIOCGIFMTU, &request), 0);
    std::ofstream("/var/mcpdTmp.conf") << "x";
    EXPECT_EQ(onu().readFile("/var/mcpdTmp.conf"), "x");
    EXPECT_EQ(std::fopen("/var/mcpd.conf", "w"), nullptr);
    EXPECT_EQ(errno, EMFILE);
    onu().failNext("system", 1, 256);
    EXPECT_EQ(std::system("brctl addbr br3"), 256);
    EXPECT_FALSE(onu().deviceExists("br3"));
}

}  // namespace
