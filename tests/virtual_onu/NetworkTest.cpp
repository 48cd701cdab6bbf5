// Addresses that programs give to interfaces, and groups that hosts leave at a bridge.
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#include "support/OnuFixture.h"

namespace {

class NetworkModel : public OnuFixture {
protected:
    static int ask(unsigned long number, void* argument) {
        const int fd = socket(AF_INET, SOCK_DGRAM, 0);
        const int error = ioctl(fd, number, argument) == 0 ? 0 : errno;
        close(fd);
        return error;
    }
    static ifreq request(const char* name, sa_family_t family, in_addr_t address) {
        ifreq made{};
        std::strncpy(made.ifr_name, name, IFNAMSIZ - 1);
        sockaddr_in socketAddress{};
        socketAddress.sin_family = family;
        socketAddress.sin_addr.s_addr = htonl(address);
        std::memcpy(&made.ifr_addr, &socketAddress, sizeof socketAddress);
        return made;
    }
    static in_addr_t addressIn(const sockaddr& given) {
        sockaddr_in socketAddress{};
        std::memcpy(&socketAddress, &given, sizeof socketAddress);
        return ntohl(socketAddress.sin_addr.s_addr);
    }
};

TEST_F(NetworkModel, AddressesAreSetAndReadAsTheKernelDoesIt) {
    const struct {
        unsigned long number;
        const char* name;
        sa_family_t family;
        in_addr_t address;
        int error;
        const char* after;  // of sid1
    } kSteps[] = {
        {SIOCSIFNETMASK, "sid1", AF_INET, 0xFFFFFF00, EADDRNOTAVAIL, ""},
        {SIOCSIFADDR, "nothing", AF_INET, 0x0A000005, ENODEV, ""},
        {SIOCSIFADDR, "sid1", AF_INET6, 0x0A000005, EINVAL, ""},
        // The mask is that of the address's class until another one is set.
        {SIOCSIFADDR, "sid1", AF_INET, 0x0A000005, 0, "10.0.0.5 netmask 255.0.0.0 broadcast 10.255.255.255"},
        {SIOCSIFNETMASK, "sid1", AF_INET, 0xFFFFFF00, 0, "10.0.0.5 netmask 255.255.255.0 broadcast 10.255.255.255"},
        {SIOCSIFBRDADDR, "sid1", AF_INET, 0x0A0000FF, 0, "10.0.0.5 netmask 255.255.255.0 broadcast 10.0.0.255"},
        {SIOCSIFADDR, "sid1", AF_INET, 0xC0A80101, 0, "192.168.1.1 netmask 255.255.255.0 broadcast 192.168.1.255"},
    };
    for (const auto& step : kSteps) {
        ifreq asked = request(step.name, step.family, step.address);
        EXPECT_EQ(ask(step.number, &asked), step.error) << step.after;
        const auto found = onu().device("sid1")->addresses;
        EXPECT_EQ(found.empty() ? "" : found.front(), step.after);
    }
    ifreq read = request("sid1", AF_INET, 0);
    EXPECT_EQ(ask(SIOCGIFADDR, &read), 0);
    EXPECT_EQ(addressIn(read.ifr_addr), 0xC0A80101U);
    read = request("sid0", AF_INET, 0);
    EXPECT_EQ(ask(SIOCGIFADDR, &read), EADDRNOTAVAIL);
}

TEST_F(NetworkModel, TheInterfaceListHasThoseWithAnAddressAndStaysInItsBuffer) {
    for (const char* name : {"sid1", "sid2", "sid3"}) {
        ifreq asked = request(name, AF_INET, 0x0A000000U + static_cast<in_addr_t>(name[3]));
        ASSERT_EQ(ask(SIOCSIFADDR, &asked), 0);
    }
    ifreq entries[5];
    constexpr int kSize = sizeof(ifreq);
    const std::pair<int, int> kCases[] = {
        {5 * kSize, 3 * kSize}, {3 * kSize, 3 * kSize}, {3 * kSize - 1, 2 * kSize}, {kSize - 1, 0}, {0, 0}};
    for (const auto& [room, used] : kCases) {
        std::memset(static_cast<void*>(entries), 0x5A, sizeof entries);
        ifconf list{};
        list.ifc_len = room;
        list.ifc_req = entries;
        EXPECT_EQ(ask(SIOCGIFCONF, &list), 0);
        ASSERT_EQ(list.ifc_len, used) << room;
        std::set<std::string> names;
        for (int at = 0; at < used / kSize; ++at) {
            names.insert(entries[at].ifr_name);
            EXPECT_EQ(addressIn(entries[at].ifr_addr), 0x0A000000U + static_cast<in_addr_t>(entries[at].ifr_name[3]));
        }
        EXPECT_EQ(names.size(), static_cast<std::size_t>(used / kSize));
        EXPECT_EQ(reinterpret_cast<const unsigned char*>(entries)[used], 0x5A) << room;
    }
    ifconf length{};  // without a buffer only the length is asked for
    EXPECT_EQ(ask(SIOCGIFCONF, &length), 0);
    EXPECT_EQ(length.ifc_len, 3 * kSize);
}

TEST_F(NetworkModel, AnIndexLeadsBackToItsName) {
    onu().addDevice("fifteen-letters");
    for (const char* device : {"sid1", "fifteen-letters"}) {
        char name[IF_NAMESIZE];
        std::memset(name, 'x', sizeof name);
        EXPECT_STREQ(if_indextoname(if_nametoindex(device), name), device);
    }
}

// What they do otherwise: the tool's record of commands by chance.
TEST_F(NetworkModel, CommandsOfIpAreReadAsAShellReadsThem) {
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
        EXPECT_EQ(WEXITSTATUS(std::system(step.command)), step.status) << step.command;
        EXPECT_EQ(onu().shellCommands().back().understood, step.status != 127) << step.command;
    }
    EXPECT_EQ(onu().device("sid1")->master, "");
    EXPECT_FALSE(onu().device("sid1")->up || onu().deviceExists("brl"));
}

virtual_onu::Frame message(const char* destination, virtual_onu::GroupMessage::Kind kind, const char* group) {
    virtual_onu::Frame made;
    made.source = "02:00:5e:10:00:10";
    made.destination = destination;
    made.ipProtocol = 2;
    made.groupMessage = virtual_onu::GroupMessage{kind, group, 100};
    return made;
}

// A host that leaves ends its own membership only: of this group, at this port, and while no querier asks the others.
TEST_F(NetworkModel, ALeaveEndsTheMembershipThatItNames) {
    using Kind = virtual_onu::GroupMessage::Kind;
    const char *group = "01:00:5e:01:02:03", *address = "239.1.2.3", *others = "239.7.7.7";
    const auto query = message("01:00:5e:00:00:01", Kind::Query, "");
    const struct {
        const char* what;
        const char* port;
        const char* left;
        bool querierFirst;
        std::set<std::string> reached;
    } kCases[] = {
        {"its group", "v1", address, false, {}},
        {"a group that nobody has joined", "v1", others, false, {"v1"}},
        {"the group, at a port without a member", "v2", address, false, {"v1"}},
        {"its group, which a querier will ask for", "v1", address, true, {"v1"}},
    };
    for (const auto& one : kCases) {
        onu().reset();
        ASSERT_EQ(std::system("brctl addbr brv"), 0);
        for (const char* port : {"v0", "v1", "v2"}) {
            ASSERT_TRUE(onu().addDevice(port));
            ASSERT_EQ(std::system(("ifconfig " + std::string(port) + " up; brctl addif brv " + port).c_str()), 0);
        }
        ASSERT_EQ(std::system("ifconfig brv up"), 0);
        onu().sendFromPort("v1", message(group, Kind::Report, address));
        if (one.querierFirst) onu().sendFromPort("v0", query);
        onu().sendFromPort(one.port, message("01:00:5e:00:00:02", Kind::Leave, one.left));
        onu().advance(2500);
        onu().sendFromPort("v0", query);
        onu().advance(300);
        virtual_onu::Frame data;
        data.source = "02:00:5e:10:00:11";
        data.destination = group;
        data.ipProtocol = 17;
        std::set<std::string> reached;
        for (const auto& exit : onu().sendFromPort("v0", data).exits) reached.insert(exit.device);
        EXPECT_EQ(reached, one.reached) << one.what;
    }
}

}  // namespace
