#include "omci/mib/Relations.h"

#include <algorithm>
#include <iterator>

#include "omci/message/Lookup.h"

namespace omci {

namespace {

// Pointers whose target's class is fixed. Attribute 0: same instance number.
struct FixedPointer {
    ClassId from;
    AttributeNumber attribute;
    ClassId to;
};
constexpr FixedPointer kFixedPointers[] = {
    {class_id::kCircuitPack, 0, class_id::kCardholder},
    {class_id::kEthernetPm, 0, class_id::kEthernetUni},
    {class_id::kEthernetPm, 2, class_id::kThreshold1},
    {class_id::kBridgeData, 0, class_id::kBridge},
    {class_id::kBridgePort, attr::bridge_port::kBridgeIdPointer, class_id::kBridge},
    {class_id::kBridgePort, attr::bridge_port::kOutboundTdPointer, class_id::kTrafficDescriptor},
    {class_id::kBridgePort, attr::bridge_port::kInboundTdPointer, class_id::kTrafficDescriptor},
    {class_id::kBridgePortDesignation, 0, class_id::kBridgePort},
    {class_id::kBridgePortFilter, 0, class_id::kBridgePort},
    {class_id::kBridgePortTable, 0, class_id::kBridgePort},
    {class_id::kBridgePm, 0, class_id::kBridge},
    {class_id::kBridgePm, 2, class_id::kThreshold1},
    {class_id::kBridgePortPm, 0, class_id::kBridgePort},
    {class_id::kBridgePortPm, 2, class_id::kThreshold1},
    {class_id::kBridgePortPreassign, 0, class_id::kBridgePort},
    {class_id::kVlanFilter, 0, class_id::kBridgePort},
    {class_id::kEthernetPm2, 0, class_id::kEthernetUni},
    {class_id::kEthernetPm2, 2, class_id::kThreshold1},
    {class_id::kIpHost, attr::ip_host::kRelayAgentOptions, class_id::kLargeString},
    {class_id::kTcpUdp, attr::tcp_udp::kIpHostPointer, class_id::kIpHost},
    {class_id::kNetworkAddress, 1, class_id::kAuthenticationMethod},
    {class_id::kNetworkAddress, 2, class_id::kLargeString},
    {class_id::kUniG, attr::uni_g::kNonOmciManagementIdentifier, class_id::kVeip},
    {class_id::kUniG, attr::uni_g::kRelayAgentOptions, class_id::kLargeString},
    {class_id::kGemInterworking, attr::gem_interworking::kGemPortPointer, class_id::kGemPort},
    {class_id::kGemInterworking, attr::gem_interworking::kGalProfilePointer, class_id::kGalProfile},
    {class_id::kGemPort, attr::gem_port::kTContPointer, class_id::kTCont},
    {class_id::kGemPort, attr::gem_port::kUpstreamQueuePointer, class_id::kPriorityQueue},
    {class_id::kGemPort, attr::gem_port::kUpstreamQueuePointer, class_id::kTCont},
    {class_id::kGemPort, attr::gem_port::kUpstreamDescriptorPointer, class_id::kTrafficDescriptor},
    {class_id::kGemPort, attr::gem_port::kDownstreamQueuePointer, class_id::kPriorityQueue},
    {class_id::kGemPort, attr::gem_port::kDownstreamDescriptorPointer, class_id::kTrafficDescriptor},
    {class_id::kThreshold2, 0, class_id::kThreshold1},
    {class_id::kGalPm, 0, class_id::kGemInterworking},
    {class_id::kGalPm, 2, class_id::kThreshold1},
    {class_id::kPriorityQueue, attr::priority_queue::kTrafficSchedulerPointer, class_id::kTrafficScheduler},
    {class_id::kTrafficScheduler, attr::traffic_scheduler::kTContPointer, class_id::kTCont},
    {class_id::kTrafficScheduler, attr::traffic_scheduler::kTrafficSchedulerPointer, class_id::kTrafficScheduler},
    {class_id::kMulticastInterworking, attr::multicast_interworking::kGemPortPointer, class_id::kGemPort},
    {class_id::kMulticastInterworking, attr::multicast_interworking::kGalProfilePointer, class_id::kGalProfile},
    {class_id::kDot1x, 0, class_id::kEthernetUni},
    {class_id::kEthernetPm3, 0, class_id::kEthernetUni},
    {class_id::kEthernetPm3, 2, class_id::kThreshold1},
    {class_id::kMulticastSubscriber, attr::multicast_subscriber::kProfilePointer, class_id::kMulticastProfile},
    {class_id::kFecPm, 0, class_id::kAniG},
    {class_id::kFecPm, 2, class_id::kThreshold1},
    {class_id::kDownstreamFramePm, 0, class_id::kBridgePort},
    {class_id::kDownstreamFramePm, 2, class_id::kThreshold1},
    {class_id::kUpstreamFramePm, 0, class_id::kBridgePort},
    {class_id::kUpstreamFramePm, 2, class_id::kThreshold1},
    {class_id::kVeip, attr::veip::kTcpUdpPointer, class_id::kTcpUdp},
    {class_id::kGemPortPm, 0, class_id::kGemPort},
    {class_id::kGemPortPm, 2, class_id::kThreshold1},
};

constexpr bool isSorted() {
    for (std::size_t at = 1; at < std::size(kFixedPointers); ++at) {
        if (kFixedPointers[at].from < kFixedPointers[at - 1].from) return false;
    }
    return true;
}
static_assert(isSorted(), "the search below takes the rows for sorted");

bool isBefore(const FixedPointer& row, ClassId from) {
    return row.from < from;
}

void add(std::vector<Pointer>& pointers, AttributeNumber attribute, ClassId target, InstanceId instance) {
    if (target != 0 && instance != kNullPointer) pointers.push_back({attribute, {target, instance}});
}

// The class that a code of another attribute stands for.
using Target = std::pair<std::uint8_t, ClassId>;

ClassId serviceProfileTarget(std::uint8_t interworkingOption) {
    if (interworkingOption == 1) return class_id::kBridge;
    return interworkingOption == 5 ? ClassId{class_id::kMapper} : ClassId{0};
}

ClassId subscriberTarget(std::uint8_t type) {
    return type == 0 ? class_id::kBridgePort : class_id::kMapper;
}

// Pointers whose target's class another attribute says.
void addChosen(std::vector<Pointer>& pointers, const Entity& entity) {
    const auto follow = [&](AttributeNumber attribute, ClassId target) {
        add(pointers, attribute, target, entity.number16(attribute));
    };
    switch (entity.classId()) {
        case class_id::kBridgePort:
            follow(attr::bridge_port::kTpPointer, bridgePortTarget(entity.number8(attr::bridge_port::kTpType)));
            break;
        case class_id::kMapper:
            for (AttributeNumber gem = attr::mapper::kInterworkingPointer0; gem <= attr::mapper::kInterworkingPointer7;
                 ++gem)
                follow(gem, class_id::kGemInterworking);
            follow(attr::mapper::kTpPointer, mapperTarget(entity.number8(attr::mapper::kTpType)));
            break;
        case class_id::kVlanTagging: {
            // Without an association the port or IP host with the same number is meant.
            const std::uint8_t association = entity.number8(attr::vlan_tagging::kAssociationType);
            if (association == 0) {
                add(pointers, 0, class_id::kEthernetUni, entity.instance());
                add(pointers, 0, class_id::kIpHost, entity.instance());
            } else {
                follow(attr::vlan_tagging::kAssociatedMePointer, vlanTaggingTarget(association));
            }
            break;
        }
        case class_id::kExtendedTagging:
            follow(attr::extended_tagging::kAssociatedMePointer,
                   extendedTaggingTarget(entity.number8(attr::extended_tagging::kAssociationType)));
            break;
        case class_id::kGemInterworking:
            follow(attr::gem_interworking::kServiceProfilePointer,
                   serviceProfileTarget(entity.number8(attr::gem_interworking::kInterworkingOption)));
            break;
        case class_id::kMulticastInterworking:
            follow(attr::multicast_interworking::kServiceProfilePointer,
                   serviceProfileTarget(entity.number8(attr::multicast_interworking::kInterworkingOption)));
            break;
        case class_id::kMulticastSubscriber:
            add(pointers, 0, subscriberTarget(entity.number8(attr::multicast_subscriber::kMeType)), entity.instance());
            break;
        case class_id::kMulticastMonitor:
            add(pointers, 0, subscriberTarget(entity.number8(attr::multicast_monitor::kMeType)), entity.instance());
            break;
        case class_id::kUniG:
            add(pointers, 0, class_id::kEthernetUni, entity.instance());
            add(pointers, 0, class_id::kVeip, entity.instance());
            break;
        case class_id::kPriorityQueue:
            // Upstream the related port begins with a T-CONT, downstream with a port.
            if ((entity.instance() & 0x8000U) != 0) {
                add(pointers, attr::priority_queue::kRelatedPort, class_id::kTCont,
                    number16(entity.bytes(attr::priority_queue::kRelatedPort), 0));
            }
            break;
        case class_id::kExtendedPm:
        case class_id::kExtendedPm64:
            // The control block names thresholds and parent.
            add(pointers, 2, class_id::kThreshold1, number16(entity.bytes(2), 0));
            add(pointers, 2, number16(entity.bytes(2), 2), number16(entity.bytes(2), 4));
            break;
        default:
            break;
    }
}

}  // namespace

ClassId bridgePortTarget(std::uint8_t tpType) {
    static constexpr Target kTargets[] = {
        {1, class_id::kEthernetUni},
        {3, class_id::kMapper},
        {4, class_id::kIpHost},
        {5, class_id::kGemInterworking},
        {6, class_id::kMulticastInterworking},
        {11, class_id::kVeip},
    };
    return lookUp(kTargets, tpType, ClassId{0});
}

ClassId mapperTarget(std::uint8_t tpType) {
    static constexpr Target kTargets[] = {{1, class_id::kEthernetUni}, {2, class_id::kIpHost}, {7, class_id::kVeip}};
    return lookUp(kTargets, tpType, ClassId{0});
}

ClassId vlanTaggingTarget(std::uint8_t associationType) {
    static constexpr Target kTargets[] = {
        {0, class_id::kEthernetUni},  {1, class_id::kIpHost},          {2, class_id::kMapper},
        {3, class_id::kBridgePort},   {5, class_id::kGemInterworking}, {6, class_id::kMulticastInterworking},
        {10, class_id::kEthernetUni}, {11, class_id::kVeip},
    };
    return lookUp(kTargets, associationType, ClassId{0});
}

ClassId extendedTaggingTarget(std::uint8_t associationType) {
    static constexpr Target kTargets[] = {
        {0, class_id::kBridgePort}, {1, class_id::kMapper},          {2, class_id::kEthernetUni},
        {3, class_id::kIpHost},     {5, class_id::kGemInterworking}, {6, class_id::kMulticastInterworking},
        {10, class_id::kVeip},
    };
    return lookUp(kTargets, associationType, ClassId{0});
}

std::vector<Pointer> pointersOf(const Entity& entity) {
    std::vector<Pointer> pointers;
    const FixedPointer* row =
        std::lower_bound(std::begin(kFixedPointers), std::end(kFixedPointers), entity.classId(), isBefore);
    for (; row != std::end(kFixedPointers) && row->from == entity.classId(); ++row) {
        add(pointers, row->attribute, row->to,
            row->attribute == 0 ? entity.instance() : entity.number16(row->attribute));
    }
    addChosen(pointers, entity);
    return pointers;
}

}  // namespace omci
