#include "frames/Snooping.h"

#include <algorithm>
#include <iterator>

namespace virtual_onu::datapath {

namespace {

// The kernel's defaults.
constexpr std::uint64_t kMembershipMs = 260000, kQuerierMs = 255000;
constexpr std::uint64_t kLastMemberCount = 2, kLastMemberMs = 1000;

constexpr Mac kLinkLocalIpv4 = 0x01005E000000;  // 224.0.0.0 to 224.0.0.255
constexpr Mac kAllNodesIpv6 = 0x333300000001;
constexpr Mac kIgmpv3Reports = 0x01005E000016, kMldv2Reports = 0x333300000016;

bool goesEverywhere(const Multicast& frame, Mac group) {
    return frame.ipv6 ? group == kAllNodesIpv6 : group >> 8 == kLinkLocalIpv4 >> 8;
}

bool isPending(const std::map<int, std::uint64_t>& ports, int port, std::uint64_t nowMs) {
    const auto found = ports.find(port);
    return found != ports.end() && found->second > nowMs;
}

}  // namespace

void Snooping::take(const Multicast& message, int port, std::uint64_t nowMs) {
    hear(message, port, nowMs);
    bool joins = message.kind == Multicast::Kind::Report;
    if (message.more != nullptr)
        for (const GroupMessage::Record& record : *message.more) {
            Multicast one = message;
            one.kind = kindOf(record.kind);
            one.group = groupMac(record.group.data(), message.ipv6);
            one.ipGroup = record.group;
            hear(one, port, nowMs);
            joins |= one.kind == Multicast::Kind::Report;
        }
    if (joins) ++joins_[port];
}

void Snooping::hear(const Multicast& message, int port, std::uint64_t nowMs) {
    switch (message.kind) {
        case Multicast::Kind::Query:
            return hearQuery(message, port, nowMs);
        case Multicast::Kind::Report:
            if (message.group == 0 || goesEverywhere(message, message.group)) return;
            members_[message.group][port] = nowMs + kMembershipMs;
            join(message, port, nowMs);
            return;
        case Multicast::Kind::Leave:
            return hearLeave(message, port, nowMs);
        default:
            return;
    }
}

void Snooping::join(const Multicast& report, int port, std::uint64_t nowMs) {
    streams_.emplace(report.group, 0);
    Join& join = joined_[{report.ipGroup, port}];
    const bool isNew = join.group == 0 || join.lastMs + kMembershipMs <= nowMs;
    join = {report.ipv6, report.group, isNew ? nowMs : join.firstMs, nowMs};
}

void Snooping::seeStream(Mac group, std::uint64_t nowMs) {
    const auto stream = streams_.find(group);
    if (stream != streams_.end()) stream->second = nowMs;
}

void Snooping::hearQuery(const Multicast& query, int port, std::uint64_t nowMs) {
    if (query.group == 0) {
        Querier& querier = queriers_[query.ipv6 ? 1 : 0];
        if (querier.untilMs <= nowMs) querier.fromMs = nowMs + query.maxResponseMs;
        querier.untilMs = nowMs + kQuerierMs;
        routers_[port] = nowMs + kQuerierMs;
        return;
    }
    const auto members = members_.find(query.group);
    if (members == members_.end()) return;
    for (auto& [member, untilMs] : members->second)
        untilMs = std::min(untilMs, nowMs + kLastMemberCount * query.maxResponseMs);
}

// While a querier is there, it asks whether others want the group, and nothing happens until then.
void Snooping::hearLeave(const Multicast& leave, int port, std::uint64_t nowMs) {
    joined_.erase({leave.ipGroup, port});
    if (queriers_[leave.ipv6 ? 1 : 0].untilMs > nowMs) return;
    const auto members = members_.find(leave.group);
    if (members == members_.end() || members->second.count(port) == 0) return;
    std::uint64_t& untilMs = members->second[port];
    untilMs = std::min(untilMs, nowMs + kLastMemberCount * kLastMemberMs);
}

bool Snooping::narrows(const Multicast& frame, Mac destination, std::uint64_t nowMs) const {
    const Querier& querier = queriers_[frame.ipv6 ? 1 : 0];
    if (querier.untilMs <= nowMs || querier.fromMs > nowMs) return false;
    // Reports of the newer protocols have an address of their own, and that one goes everywhere.
    if (frame.kind == Multicast::Kind::Report) return destination != kIgmpv3Reports && destination != kMldv2Reports;
    if (frame.kind != Multicast::Kind::Data) return false;
    return !goesEverywhere(frame, frame.group);
}

bool Snooping::wants(const Multicast& frame, int port, std::uint64_t nowMs) const {
    if (isPending(routers_, port, nowMs)) return true;
    const auto members = members_.find(frame.group);
    return frame.kind == Multicast::Kind::Data && members != members_.end() && isPending(members->second, port, nowMs);
}

Snooping::Memory Snooping::memory() const {
    Memory memory;
    for (const Querier& querier : queriers_) memory.queriers.push_back({querier.fromMs, querier.untilMs});
    for (const auto& [group, ports] : members_) memory.groups.push_back({group, ports});
    memory.routers = routers_;
    return memory;
}

void Snooping::remember(const Memory& memory) {
    for (std::size_t i = 0; i < queriers_.size() && i < memory.queriers.size(); ++i)
        queriers_[i] = {memory.queriers[i].fromMs, memory.queriers[i].untilMs};
    members_.clear();
    for (const Group& group : memory.groups) members_[group.group] = group.members;
    routers_ = memory.routers;
}

void Snooping::forgetPort(int port) {
    routers_.erase(port);
    for (auto& entry : members_) entry.second.erase(port);
    joins_.erase(port);
    for (auto entry = joined_.begin(); entry != joined_.end();)
        entry = entry->first.second == port ? joined_.erase(entry) : std::next(entry);
}

std::vector<Snooping::Joined> Snooping::joined(std::uint64_t nowMs) const {
    std::vector<Joined> all;
    for (const auto& [key, join] : joined_) {
        if (join.lastMs + kMembershipMs <= nowMs) continue;
        const std::uint64_t silentFromMs = std::max(streams_.at(join.group), join.firstMs);
        all.push_back({join.ipv6, key.first, key.second, join.lastMs, silentFromMs});
    }
    return all;
}

std::uint32_t Snooping::joins(int port) const {
    const auto found = joins_.find(port);
    return found == joins_.end() ? 0 : found->second;
}

}  // namespace virtual_onu::datapath
