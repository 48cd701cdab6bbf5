#include "omci/mib/Limits.h"

#include <cstdint>

namespace omci {

namespace {

// Codes of these go on where the standard's list here ends: vendors and later editions have more.
constexpr struct {
    ClassId classId;
    AttributeNumber attribute;
} kOpenLists[] = {
    {class_id::kCardholder, attr::cardholder::kExpectedPlugInUnitType},
    {class_id::kCircuitPack, attr::circuit_pack::kType},
    {class_id::kEthernetUni, attr::ethernet_uni::kExpectedType},
    {class_id::kEthernetUni, attr::ethernet_uni::kAutoDetectionConfiguration},
    {class_id::kTcpUdp, attr::tcp_udp::kProtocol},
};

// Numbers with a range. Many OLTs leave the spanning tree's timers 0 where no spanning tree runs.
constexpr struct {
    ClassId classId;
    AttributeNumber attribute;
    std::uint32_t least;
    std::uint32_t most;
    bool zeroToo;
} kRanges[] = {
    {class_id::kAniG, attr::ani_g::kSfThreshold, 3, 8, false},
    {class_id::kAniG, attr::ani_g::kSdThreshold, 4, 10, false},
    {class_id::kBridge, attr::bridge::kMaxAge, 0x0600, 0x2800, true},
    {class_id::kBridge, attr::bridge::kHelloTime, 0x0100, 0x0A00, true},
    {class_id::kBridge, attr::bridge::kForwardDelay, 0x0400, 0x1E00, true},
    {class_id::kBridgePort, attr::bridge_port::kPortPriority, 0, 255, false},
    {class_id::kVlanFilter, attr::vlan_filter::kNumberOfEntries, 0, 12, false},
    {class_id::kMulticastProfile, attr::multicast_profile::kDownstreamIgmpAndMulticastTci, 0, 0x07FFFF, false},
    {class_id::kIpHost, attr::ip_host::kIpOptions, 0, 0x0F, false},
};

// Where a class's instances are numbered freely, 0xFFFF is no number: it is the pointer at nothing.
constexpr ClassId kNeverZero[] = {class_id::kMulticastProfile};

}  // namespace

bool isAllowed(ClassId classId, const AttributeInfo& attribute, ByteView value) {
    const std::uint64_t number = numberOf(value);
    if (attribute.format == kEnumeration && attribute.wordOf(static_cast<std::uint32_t>(number)) == nullptr) {
        for (const auto& [openClass, open] : kOpenLists) {
            if (openClass == classId && open == attribute.number) return true;
        }
        return false;
    }
    for (const auto& range : kRanges) {
        if (range.classId != classId || range.attribute != attribute.number) continue;
        return (number >= range.least && number <= range.most) || (range.zeroToo && number == 0);
    }
    return true;
}

bool isAllowedInstance(EntityKey key) {
    for (const ClassId classId : kNeverZero) {
        if (classId == key.classId && key.instance == 0) return false;
    }
    return key.instance != kNullPointer;
}

std::uint16_t flexibilityNeeded(ClassId classId, AttributeNumber attribute) {
    switch (classId) {
        case class_id::kTCont:
            return attribute == attr::t_cont::kPolicy ? 0x0010 : 0;
        case class_id::kPriorityQueue:
            if (attribute == attr::priority_queue::kRelatedPort) return 0x0021;
            return attribute == attr::priority_queue::kTrafficSchedulerPointer ? 0x0002 : 0;
        case class_id::kTrafficScheduler:
            if (attribute == attr::traffic_scheduler::kTContPointer) return 0x0004;
            return attribute == attr::traffic_scheduler::kPolicy ? 0x0008 : 0;
        default:
            return 0;
    }
}

}  // namespace omci
