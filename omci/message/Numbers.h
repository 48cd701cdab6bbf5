// Numbers of the managed entities and attributes that the code names (ITU-T G.988, clause 9).
#ifndef OMCI_MESSAGE_NUMBERS_H
#define OMCI_MESSAGE_NUMBERS_H

#include <cstdint>

namespace omci {

using ClassId = std::uint16_t;         // number of a class of managed entities
using InstanceId = std::uint16_t;      // number of an instance within its class
using AttributeNumber = std::uint8_t;  // 1..16

namespace class_id {
enum : ClassId {
    kOnuData = 2,
    kCardholder = 5,
    kCircuitPack = 6,
    kSoftwareImage = 7,
    kEthernetUni = 11,
    kEthernetPm = 24,
    kBridge = 45,
    kBridgeData = 46,
    kBridgePort = 47,
    kBridgePortDesignation = 48,
    kBridgePortFilter = 49,
    kBridgePortTable = 50,
    kBridgePm = 51,
    kBridgePortPm = 52,
    kVlanTagging = 78,
    kBridgePortPreassign = 79,
    kVlanFilter = 84,
    kEthernetPm2 = 89,
    kMapper = 130,
    kOltG = 131,
    kPowerShedding = 133,
    kIpHost = 134,
    kTcpUdp = 136,
    kNetworkAddress = 137,
    kAuthenticationMethod = 148,
    kLargeString = 157,
    kExtendedTagging = 171,
    kOnuG = 256,
    kOnu2G = 257,
    kTCont = 262,
    kAniG = 263,
    kUniG = 264,
    kGemInterworking = 266,
    kGemPort = 268,
    kGalProfile = 272,
    kThreshold1 = 273,
    kThreshold2 = 274,
    kGalPm = 276,
    kPriorityQueue = 277,
    kTrafficScheduler = 278,
    kTrafficDescriptor = 280,
    kMulticastInterworking = 281,
    kOmciObject = 287,
    kEntityObject = 288,
    kAttributeObject = 289,
    kDot1x = 290,
    kEthernetPm3 = 296,
    kMulticastProfile = 309,
    kMulticastSubscriber = 310,
    kMulticastMonitor = 311,
    kFecPm = 312,
    kDownstreamFramePm = 321,
    kUpstreamFramePm = 322,
    kVeip = 329,
    kSecurity = 332,
    kExtendedPm = 334,
    kGemPortPm = 341,
    kExtendedPm64 = 425,
    kOnu3G = 441,
    kTwdmChannel = 443,
};
}

namespace attr::onu_data {
enum : AttributeNumber { kMibDataSync = 1 };
}

namespace attr::onu_g {
enum : AttributeNumber {
    kVendorId = 1,
    kVersion = 2,
    kSerialNumber = 3,
    kTrafficManagementOption = 4,
    kAdministrativeState = 7,
    kLogicalOnuId = 10,
    kLogicalPassword = 11,
    kExtendedTcLayerOptions = 13
};
}

namespace attr::onu2_g {
enum : AttributeNumber {
    kEquipmentId = 1,
    kOmccVersion = 2,
    kVendorProductCode = 3,
    kTotalPriorityQueueNumber = 6,
    kTotalTrafficSchedulerNumber = 7,
    kTotalGemPortIdNumber = 9,
    kSysUpTime = 10,
    kConnectivityCapability = 11,
    kQosConfigurationFlexibility = 13
};
}

namespace attr::cardholder {
enum : AttributeNumber {
    kActualPlugInUnitType = 1,
    kExpectedPlugInUnitType = 2,
    kExpectedPortCount = 3,
    kProtectionProfilePointer = 6,
    kInvokeProtectionSwitch = 7,
    kArc = 8,
    kArcInterval = 9
};
}

namespace attr::circuit_pack {
enum : AttributeNumber {
    kType = 1,
    kNumberOfPorts = 2,
    kSerialNumber = 3,
    kVersion = 4,
    kVendorId = 5,
    kAdministrativeState = 6,
    kOperationalState = 7,
    kEquipmentId = 9,
    kCardConfiguration = 10,
    kTotalTContBufferNumber = 11,
    kTotalPriorityQueueNumber = 12,
    kTotalTrafficSchedulerNumber = 13,
    kPowerShedOverride = 14
};
}

namespace attr::software_image {
enum : AttributeNumber {
    kVersion = 1,
    kIsCommitted = 2,
    kIsActive = 3,
    kIsValid = 4,
    kProductCode = 5,
    kImageHash = 6
};
}

namespace attr::ethernet_uni {
enum : AttributeNumber {
    kExpectedType = 1,
    kSensedType = 2,
    kAutoDetectionConfiguration = 3,
    kEthernetLoopbackConfiguration = 4,
    kAdministrativeState = 5,
    kOperationalState = 6,
    kConfigurationInd = 7,
    kMaxFrameSize = 8,
    kPauseTime = 10,
    kArc = 12,
    kArcInterval = 13,
    kPPPoEFilter = 14,
    kPowerControl = 15
};
}

namespace attr::bridge {
enum : AttributeNumber {
    kSpanningTreeInd = 1,
    kLearningInd = 2,
    kPortBridgingInd = 3,
    kPriority = 4,
    kMaxAge = 5,
    kHelloTime = 6,
    kForwardDelay = 7,
    kUnknownMacAddressDiscard = 8,
    kMacLearningDepth = 9,
    kDynamicFilteringAgeingTime = 10
};
}

namespace attr::bridge_data {
enum : AttributeNumber {
    kBridgeMacAddress = 1,
    kBridgePriority = 2,
    kBridgePortCount = 5,
    kHelloTime = 7,
    kForwardDelay = 8
};
}

namespace attr::bridge_port {
enum : AttributeNumber {
    kBridgeIdPointer = 1,
    kPortNum = 2,
    kTpType = 3,
    kTpPointer = 4,
    kPortPriority = 5,
    kPortPathCost = 6,
    kPortMacAddress = 10,
    kOutboundTdPointer = 11,
    kInboundTdPointer = 12,
    kMacLearningDepth = 13
};
}

namespace attr::bridge_port_designation {
enum : AttributeNumber { kPortState = 2 };
}

namespace attr::bridge_port_filter {
enum : AttributeNumber { kMacFilterTable = 1 };
}

namespace attr::bridge_port_table {
enum : AttributeNumber { kBridgeTable = 1 };
}

namespace attr::vlan_tagging {
enum : AttributeNumber {
    kUpstreamMode = 1,
    kUpstreamTci = 2,
    kDownstreamMode = 3,
    kAssociationType = 4,
    kAssociatedMePointer = 5
};
}

namespace attr::vlan_filter {
enum : AttributeNumber { kFilterList = 1, kForwardOperation = 2, kNumberOfEntries = 3 };
}

namespace attr::mapper {
enum : AttributeNumber {
    kTpPointer = 1,
    kInterworkingPointer0 = 2,
    kInterworkingPointer1 = 3,
    kInterworkingPointer2 = 4,
    kInterworkingPointer3 = 5,
    kInterworkingPointer4 = 6,
    kInterworkingPointer5 = 7,
    kInterworkingPointer6 = 8,
    kInterworkingPointer7 = 9,
    kUnmarkedFrameOption = 10,
    kDscpMap = 11,
    kDefaultPBitAssumption = 12,
    kTpType = 13
};
}

namespace attr::ip_host {
enum : AttributeNumber {
    kIpOptions = 1,
    kMacAddress = 2,
    kIpAddress = 4,
    kMask = 5,
    kGateway = 6,
    kCurrentAddress = 9,
    kRelayAgentOptions = 16
};
}

namespace attr::tcp_udp {
enum : AttributeNumber { kPortId = 1, kProtocol = 2, kIpHostPointer = 4 };
}

namespace attr::extended_tagging {
enum : AttributeNumber {
    kAssociationType = 1,
    kTableMaxSize = 2,
    kInputTpid = 3,
    kOutputTpid = 4,
    kDownstreamMode = 5,
    kTaggingTable = 6,
    kAssociatedMePointer = 7,
    kDscpMap = 8,
    kEnhancedMode = 9
};
}

namespace attr::t_cont {
enum : AttributeNumber { kAllocId = 1, kPolicy = 3 };
}

namespace attr::ani_g {
enum : AttributeNumber {
    kSrIndication = 1,
    kTotalTContNumber = 2,
    kSfThreshold = 6,
    kSdThreshold = 7,
    kArc = 8,
    kArcInterval = 9,
    kOpticalSignalLevel = 10,
    kLowerOpticalThreshold = 11,
    kUpperOpticalThreshold = 12,
    kTransmitOpticalLevel = 14,
    kLowerTransmitPowerThreshold = 15,
    kUpperTransmitPowerThreshold = 16
};
}

namespace attr::uni_g {
enum : AttributeNumber { kNonOmciManagementIdentifier = 4, kRelayAgentOptions = 5 };
}

namespace attr::gem_interworking {
enum : AttributeNumber {
    kGemPortPointer = 1,
    kInterworkingOption = 2,
    kServiceProfilePointer = 3,
    kTerminationPointPointer = 4,
    kGalProfilePointer = 7
};
}

namespace attr::gem_port {
enum : AttributeNumber {
    kPortId = 1,
    kTContPointer = 2,
    kDirection = 3,
    kUpstreamQueuePointer = 4,
    kUpstreamDescriptorPointer = 5,
    kDownstreamQueuePointer = 7,
    kDownstreamDescriptorPointer = 9,
    kEncryptionKeyRing = 10
};
}

namespace attr::priority_queue {
enum : AttributeNumber {
    kMaximumQueueSize = 2,
    kAllocatedQueueSize = 3,
    kRelatedPort = 6,
    kTrafficSchedulerPointer = 7,
    kWeight = 8,
    kPacketDropQueueThresholds = 13
};
}

namespace attr::traffic_scheduler {
enum : AttributeNumber { kTContPointer = 1, kTrafficSchedulerPointer = 2, kPolicy = 3 };
}

namespace attr::traffic_descriptor {
enum : AttributeNumber { kCir = 1, kPir = 2 };
}

namespace attr::multicast_interworking {
enum : AttributeNumber {
    kGemPortPointer = 1,
    kInterworkingOption = 2,
    kServiceProfilePointer = 3,
    kGalProfilePointer = 7,
    kIpv4Table = 9
};
}

namespace attr::multicast_profile {
enum : AttributeNumber {
    kIgmpVersion = 1,
    kIgmpFunction = 2,
    kImmediateLeave = 3,
    kUpstreamIgmpTagControl = 5,
    kUpstreamIgmpRate = 6,
    kDynamicAccessTable = 7,
    kStaticAccessTable = 8,
    kLostGroupsListTable = 9,
    kDownstreamIgmpAndMulticastTci = 16
};
}

namespace attr::multicast_subscriber {
enum : AttributeNumber {
    kMeType = 1,
    kProfilePointer = 2,
    kMaxSimultaneousGroups = 3,
    kMaxMulticastBandwidth = 4,
    kPackageTable = 6,
    kPreviewTable = 7
};
}

namespace attr::multicast_monitor {
enum : AttributeNumber {
    kMeType = 1,
    kCurrentMulticastBandwidth = 2,
    kJoinMessagesCounter = 3,
    kIpv4ActiveGroupListTable = 5,
    kIpv6ActiveGroupListTable = 6
};
}

// Where values begin in rows of the multicast tables.
namespace access_row {
constexpr std::size_t kVlan = 4, kFirstGroup = 10, kLastGroup = 14;
}
namespace package_row {
constexpr std::size_t kProfile = 10;
}

namespace attr::veip {
enum : AttributeNumber { kAdministrativeState = 1, kOperationalState = 2, kTcpUdpPointer = 4 };
}

}  // namespace omci

#endif
