// IGMP and MLD snooping of one bridge, as the kernel's bridge does it by default: it listens, and asks nothing itself.
// Until a querier is heard, multicast goes to every port.
#ifndef VIRTUAL_ONU_SNOOPING_H
#define VIRTUAL_ONU_SNOOPING_H

#include <array>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "frames/Packet.h"

namespace virtual_onu::datapath {

class Snooping {
public:
    // A message that came in at a port.
    void take(const Multicast& message, int port, std::uint64_t nowMs);

    // Whether the frame goes to some ports only; which, says wants().
    bool narrows(const Multicast& frame, Mac destination, std::uint64_t nowMs) const;
    bool wants(const Multicast& frame, int port, std::uint64_t nowMs) const;
    // A frame to a group came in.
    void seeStream(Mac group, std::uint64_t nowMs);

    void forgetPort(int port);

    // A group that a port wants, when it was joined last, and since when no frame to it has come: the join counts as
    // one.
    struct Joined {
        bool ipv6 = false;
        IpAddress ipGroup{};
        int port = 0;
        std::uint64_t joinedMs = 0;
        std::uint64_t silentFromMs = 0;
    };
    std::vector<Joined> joined(std::uint64_t nowMs) const;
    std::uint32_t joins(int port) const;  // reports that have come in there

    // As a board that is kept says it: lists, each with times in virtual milliseconds.
    struct Query {
        std::uint64_t fromMs = 0, untilMs = 0;
    };
    using Ports = std::map<int, std::uint64_t>;  // until when
    struct Group {
        Mac group = 0;
        Ports members;
    };
    struct Memory {
        std::vector<Query> queriers;  // of IPv4 and IPv6
        std::vector<Group> groups;
        Ports routers;
    };
    Memory memory() const;
    void remember(const Memory& memory);

private:
    struct Querier {
        std::uint64_t fromMs = 0;  // when its first answers are in
        std::uint64_t untilMs = 0;
    };

    void hear(const Multicast& message, int port, std::uint64_t nowMs);  // of one group
    void hearQuery(const Multicast& query, int port, std::uint64_t nowMs);
    void join(const Multicast& report, int port, std::uint64_t nowMs);
    void hearLeave(const Multicast& leave, int port, std::uint64_t nowMs);

    std::array<Querier, 2> queriers_;  // of IPv4 and IPv6
    std::map<Mac, Ports> members_;
    // Not kept in a file: by address and port, what is joined; by group, when a frame to it came last.
    struct Join {
        bool ipv6 = false;
        Mac group = 0;
        std::uint64_t firstMs = 0, lastMs = 0;
    };
    std::map<std::pair<IpAddress, int>, Join> joined_;
    std::map<Mac, std::uint64_t> streams_;
    std::map<int, std::uint32_t> joins_;
    Ports routers_;
};

}  // namespace virtual_onu::datapath

#endif
