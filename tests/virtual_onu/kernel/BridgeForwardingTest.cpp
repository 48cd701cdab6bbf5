// The same frames through a bridge of the real kernel and through one of the virtual ONU: they come out at the same
// ports. Runs in a network namespace of its own and says why when there is none to be had.
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <set>

#include "VirtualOnu.h"
#include "support/HexBytes.h"
#include "support/Process.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::GroupMessage;

// The C library's waits are the virtual ONU's and take no time.
void waitReally(long milliseconds) {
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000};
    syscall(SYS_nanosleep, &time, nullptr);
}

constexpr int kPorts = 3;
constexpr std::uint16_t kEtherTypeAll = 0x0003;
std::string whyNoNamespace;

// A program of the host: what goes through system() reaches the virtual ONU's shell.
bool runOnHost(const std::string& command) {
    return inChild([&] {
               const std::string all = "PATH=$PATH:/usr/sbin:/sbin; { " + command + "; } >/dev/null 2>&1";
               return execl("/bin/sh", "sh", "-c", all.c_str(), nullptr);
           }) == 0;
}

// "brk" with ports k0..k2; the far ends f0..f2 send and receive.
class KernelBridge {
public:
    KernelBridge() {
        good_ = runOnHost("ip link add brk type bridge mcast_snooping 1 && ip link set brk up");
        for (int i = 0; i < kPorts && good_; ++i) {
            const std::string n = std::to_string(i);
            good_ = runOnHost("ip link add k" + n + " type veth peer name f" + n + " && ip link set k" + n +
                              " master brk && sysctl -w net.ipv6.conf.f" + n + ".disable_ipv6=1 net.ipv6.conf.k" + n +
                              ".disable_ipv6=1; ip link set k" + n + " up && ip link set f" + n + " mtu 9000 up");
            sockets_[i] =
                static_cast<int>(syscall(SYS_socket, AF_PACKET, SOCK_RAW | SOCK_NONBLOCK, htons(kEtherTypeAll)));
            sockaddr_ll place{};
            place.sll_family = AF_PACKET;
            place.sll_protocol = htons(kEtherTypeAll);
            const std::string name = "f" + n;
            place.sll_ifindex = indexOf(name);
            const int on = 1;
            syscall(SYS_setsockopt, sockets_[i], SOL_PACKET, PACKET_AUXDATA, &on, sizeof on);
            good_ = good_ && sockets_[i] >= 0 && syscall(SYS_bind, sockets_[i], &place, sizeof place) == 0;
        }
        runOnHost("sysctl -w net.ipv6.conf.brk.disable_ipv6=1");
        for (int i = 0; i < kPorts && good_; ++i) good_ = becomes("forwarding", i);
    }
    ~KernelBridge() {
        runOnHost("ip link del brk");
        for (int i = 0; i < kPorts; ++i) {
            runOnHost("ip link del k" + std::to_string(i));
            syscall(SYS_close, sockets_[i]);
        }
    }
    KernelBridge(const KernelBridge&) = delete;
    KernelBridge& operator=(const KernelBridge&) = delete;
    bool good() const { return good_; }
    // A port comes into this state of the spanning tree.
    static bool becomes(const std::string& state, int port) {
        return becomesTrue([&] {
            return runOnHost("ip -d link show dev k" + std::to_string(port) + " | grep -q 'state " + state + "'");
        });
    }

    // The ports where the frame comes out again; on a busy machine a moment later where it is expected. The kernel may
    // refuse one that is too long at once.
    std::set<int> send(int port, const std::vector<std::uint8_t>& bytes, const std::set<int>& expected) {
        std::set<int> outs;
        if (syscall(SYS_write, sockets_[port], bytes.data(), bytes.size()) < 0) return outs;
        becomesTrue([&] {
            for (int i = 0; i < kPorts; ++i)
                if (i != port && heard(i, bytes)) outs.insert(i);
            return std::includes(outs.begin(), outs.end(), expected.begin(), expected.end());
        });
        return outs;
    }

private:
    static int indexOf(const std::string& name) {
        const auto fd = static_cast<int>(syscall(SYS_socket, AF_INET, SOCK_DGRAM, 0));
        ifreq request{};
        std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", name.c_str());
        const long result = syscall(SYS_ioctl, fd, SIOCGIFINDEX, &request);
        syscall(SYS_close, fd);
        return result == 0 ? request.ifr_ifindex : 0;
    }
    // Reads all that has come; veth hands frames on within the write, most of the time. The kernel cuts the padding off
    // messages that it has looked into, and hands the outermost tag over beside the frame.
    bool heard(int port, const std::vector<std::uint8_t>& wanted) {
        bool found = false;
        std::vector<std::uint8_t> buffer(10000);
        while (true) {
            iovec part{buffer.data(), buffer.size()};
            alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
            msghdr message{};
            message.msg_iov = &part;
            message.msg_iovlen = 1;
            message.msg_control = control;
            message.msg_controllen = sizeof control;
            const long length = syscall(SYS_recvmsg, sockets_[port], &message, 0);
            if (length <= 0) return found;
            std::vector<std::uint8_t> frame(buffer.begin(), buffer.begin() + length);
            const cmsghdr* beside = CMSG_FIRSTHDR(&message);
            tpacket_auxdata data{};
            if (beside != nullptr) std::memcpy(&data, CMSG_DATA(beside), sizeof data);
            if ((data.tp_status & TP_STATUS_VLAN_VALID) != 0)
                frame.insert(
                    frame.begin() + 12,
                    {static_cast<std::uint8_t>(data.tp_vlan_tpid >> 8), static_cast<std::uint8_t>(data.tp_vlan_tpid),
                     static_cast<std::uint8_t>(data.tp_vlan_tci >> 8), static_cast<std::uint8_t>(data.tp_vlan_tci)});
            found |= frame.size() <= wanted.size() && std::equal(frame.begin(), frame.end(), wanted.begin());
        }
    }

    bool good_ = false;
    int sockets_[kPorts] = {-1, -1, -1};
};

class BridgeForwarding : public ::testing::Test {
protected:
    void SetUp() override {
        if (!whyNoNamespace.empty()) GTEST_SKIP() << whyNoNamespace;
        kernel_ = std::make_unique<KernelBridge>();
        if (!kernel_->good()) GTEST_SKIP() << "the kernel has no veth or bridge devices here";
        onu().reset();
        for (const char* command : {"brctl addbr brv", "ifconfig brv up"}) ASSERT_EQ(std::system(command), 0);
        for (int i = 0; i < kPorts; ++i) {
            const std::string name = "v" + std::to_string(i);
            ASSERT_TRUE(onu().addDevice(name));
            ASSERT_EQ(std::system(("ifconfig " + name + " up").c_str()), 0);
            ASSERT_EQ(std::system(("brctl addif brv " + name).c_str()), 0);
        }
    }
    void TearDown() override { onu().reset(); }
    static virtual_onu::VirtualOnu& onu() { return virtual_onu::VirtualOnu::instance(); }

    static std::set<int> throughModel(int port, const Frame& frame) {
        std::set<int> outs;
        for (const auto& exit : onu().sendFromPort("v" + std::to_string(port), frame).exits)
            outs.insert(exit.device.back() - '0');
        return outs;
    }
    // Both directions at once; what differs is a failure.
    std::set<int> both(int port, const Frame& frame) { return both(port, frame, frame.bytes()); }
    std::set<int> both(int port, const std::vector<std::uint8_t>& bytes) {
        virtual_onu::WireFrame read;
        EXPECT_TRUE(readFrame(bytes.data(), bytes.size(), bytes.size(), read));
        return both(port, read.frame, bytes);
    }
    std::set<int> both(int port, const Frame& frame, const std::vector<std::uint8_t>& bytes) {
        const std::set<int> model = throughModel(port, frame);
        const std::set<int> kernel = kernel_->send(port, bytes, model);
        EXPECT_EQ(model, kernel) << frame.source << " to " << frame.destination << " at port " << port << ": "
                                 << frame.text();
        return kernel;
    }
    static Frame frame(const std::string& source, const std::string& destination, std::uint16_t type = 0x88B5) {
        Frame made;
        made.source = source;
        made.destination = destination;
        made.etherType = type;
        return made;
    }

    std::unique_ptr<KernelBridge> kernel_;
};

const char* const kStation = "02:00:5e:10:00:01";

TEST_F(BridgeForwarding, WhatIsForTheEndsOfALinkStaysThere) {
    for (unsigned last = 0; last <= 0x11; ++last) {
        char destination[18];
        std::snprintf(destination, sizeof destination, "01:80:c2:00:00:%02x", last);
        const bool passes = last == 0 || last > 0x0f;  // without a spanning tree that of others passes
        EXPECT_EQ(both(0, frame(kStation, destination)).size(), passes ? 2u : 0u) << destination;
    }
}

TEST_F(BridgeForwarding, GroupAndZeroSourcesAreNeitherForwardedNorLearned) {
    for (const char* source : {"01:00:5e:00:00:01", "00:00:00:00:00:00", "ff:ff:ff:ff:ff:ff"}) {
        EXPECT_TRUE(both(0, frame(source, kStation)).empty());
        both(1, frame(kStation, source));
    }
}

TEST_F(BridgeForwarding, AThousandFramesByChanceComeOutWhereTheKernelLetsThem) {
    std::mt19937 chance{5};
    const auto upTo = [&](unsigned most) { return static_cast<unsigned>(chance()) % (most + 1); };
    const auto station = [&] { return "02:00:5e:10:00:0" + std::to_string(upTo(5)); };
    unsigned narrow = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::string destination = upTo(9) == 0   ? "ff:ff:ff:ff:ff:ff"
                                        : upTo(9) == 0 ? "01:00:5e:00:01:01"
                                                       : station();
        narrow += both(static_cast<int>(upTo(2)), frame(station(), destination)).size() == 1 ? 1 : 0;
    }
    EXPECT_GT(narrow, 300u) << "addresses are learned, and move";
}

// The kernel's ports are waited for. It looks for old addresses now and then.
TEST_F(BridgeForwarding, AddressesAgeAndPortsListenBeforeTheyForward) {
    const std::string other = "02:00:5e:10:00:02";
    ASSERT_TRUE(runOnHost("ip link set brk type bridge ageing_time 100"));
    ASSERT_EQ(std::system("brctl setageing brv 1"), 0);
    both(0, frame(kStation, other));
    EXPECT_EQ(both(1, frame(other, kStation)), std::set<int>{0});
    ASSERT_TRUE(becomesTrue([] { return runOnHost("! bridge fdb show br brk | grep -q " + std::string(kStation)); }));
    onu().advance(3000);
    EXPECT_EQ(both(1, frame(other, kStation)).size(), 2u) << "forgotten";

    ASSERT_TRUE(
        runOnHost("ip link set brk down && ip link set brk type bridge stp_state 1 forward_delay 200 && "
                  "ip link set brk up"));
    for (const char* command : {"ifconfig brv down", "brctl stp brv on", "brctl setfd brv 2", "ifconfig brv up"})
        ASSERT_EQ(std::system(command), 0) << command;
    EXPECT_TRUE(both(0, frame(kStation, other)).empty()) << "listening";
    ASSERT_TRUE(KernelBridge::becomes("learning", 0));
    onu().advance(3000);
    EXPECT_TRUE(both(0, frame(kStation, other)).empty()) << "learning";
    for (int port = 0; port < kPorts; ++port) ASSERT_TRUE(KernelBridge::becomes("forwarding", port));
    onu().advance(2000);
    const std::string unknown = "02:00:5e:10:00:0f";
    EXPECT_EQ(both(1, frame(other, unknown)).size(), 2u) << "forwarding";

    // One port starts again among others that forward.
    ASSERT_TRUE(runOnHost("ip link set k2 down && ip link set k2 up"));
    for (const char* command : {"ifconfig v2 down", "ifconfig v2 up"}) ASSERT_EQ(std::system(command), 0) << command;
    EXPECT_EQ(both(0, frame(kStation, unknown)), std::set<int>{1}) << "listening";
    EXPECT_TRUE(both(2, frame(other, unknown)).empty()) << "listening";
    ASSERT_TRUE(KernelBridge::becomes("learning", 2));
    onu().advance(3000);
    EXPECT_EQ(both(0, frame(kStation, unknown)), std::set<int>{1}) << "learning";
    EXPECT_TRUE(both(2, frame(other, unknown)).empty()) << "learning";
}

TEST_F(BridgeForwarding, IsolatedPortsReachTheOthersAlone) {
    for (const char* port : {"0", "1"}) {
        ASSERT_TRUE(runOnHost(std::string("ip link set k") + port + " type bridge_slave isolated on"));
        std::ofstream file("/sys/class/net/v" + std::string(port) + "/brport/isolated");
        ASSERT_TRUE(file << 1 << std::flush);
    }
    const std::string other = "02:00:5e:10:00:02";
    EXPECT_EQ(both(0, frame(kStation, other)), std::set<int>{2});
    EXPECT_EQ(both(2, frame(other, "01:00:5e:00:01:01")).size(), 2u);
    EXPECT_TRUE(both(1, frame("02:00:5e:10:00:03", kStation)).empty()) << "a learned address does not help";
}

// The port where they come in lets them all in, so that the bridge decides.
TEST_F(BridgeForwarding, LengthsCountAsTheKernelCountsThem) {
    ASSERT_TRUE(runOnHost("ip link set k0 mtu 9000"));
    ASSERT_EQ(std::system("ifconfig v0 mtu 9000"), 0);
    unsigned tooLong = 0;
    for (const std::size_t tags : {0u, 1u, 2u})
        for (const std::size_t payload : {1490u, 1496u, 1500u, 1501u, 1504u, 1505u, 1508u, 1509u}) {
            Frame sent = frame(kStation, "02:00:5e:10:00:09");
            sent.tags.assign(tags, virtual_onu::VlanTag{0x8100, 0, false, 5});
            sent.payloadSize = payload;
            tooLong += both(0, sent).empty() ? 1 : 0;
        }
    EXPECT_GT(tooLong, 3u);
}

Frame message(const char* source, const char* destination, GroupMessage::Kind kind, const char* group) {
    Frame made;
    made.source = source;
    made.destination = destination;
    made.ipProtocol = 2;
    made.groupMessage = GroupMessage{kind, group, 100};
    return made;
}

TEST_F(BridgeForwarding, MulticastGoesWhereItIsWantedOnceAQuerierIsHeard) {
    const char *router = "02:00:5e:10:00:10", *host = "02:00:5e:10:00:11", *group = "01:00:5e:01:02:03";
    const auto data = [&] {
        Frame made = frame(router, group, 0x0800);
        made.ipProtocol = 17;
        made.payloadSize = 60;
        return made;
    };
    const auto report = message(host, group, GroupMessage::Kind::Report, "239.1.2.3");
    EXPECT_EQ(both(0, data()).size(), 2u) << "nobody asks: everywhere";
    both(1, report);
    EXPECT_EQ(both(0, data()).size(), 2u);
    both(0, message(router, "01:00:5e:00:00:01", GroupMessage::Kind::Query, ""));
    waitReally(300);
    onu().advance(300);
    both(1, report);
    EXPECT_EQ(both(0, data()), std::set<int>{1});
    Frame unwanted = data();
    unwanted.destination = "01:00:5e:04:05:06";
    EXPECT_TRUE(both(0, unwanted).empty());
    both(2, hex("01005E000016 02005E100012 0800 46C0003C 00000000 0102 39D5 0A000011 E0000016 94040000"
                "2200 EBD9 0000 0003 05000001 EF040506 0A000001 03000000 EF010203 04000000 EF070809"));
    EXPECT_EQ(both(0, unwanted), std::set<int>{2}) << "the first of a report of IGMPv3";
    unwanted.destination = "01:00:5e:07:08:09";
    EXPECT_EQ(both(0, unwanted), std::set<int>{2}) << "the last";
    EXPECT_EQ(both(0, data()), std::set<int>{1}) << "the querier asks first whether others want it";
    unwanted.destination = "01:00:5e:00:00:05";
    EXPECT_EQ(both(0, unwanted).size(), 2u) << "224.0.0.x goes everywhere";
    EXPECT_EQ(both(2, report), std::set<int>{0}) << "a report is for the router";
    ASSERT_TRUE(onu().setMulticastSnooping("brv", false));
    EXPECT_EQ(throughModel(0, data()).size(), 2u) << "the switch turns it off";
}

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (unshare(CLONE_NEWNET) != 0) whyNoNamespace = std::string("no network namespace: ") + std::strerror(errno);
    return RUN_ALL_TESTS();
}
