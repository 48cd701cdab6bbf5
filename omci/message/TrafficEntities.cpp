// The PON side: optics, T-CONTs, GEM ports, queues, schedulers, traffic descriptors.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kPiggyback[] = {{0, "mode 0"}, {1, "modes 0 and 1"}, {4, "none"}};
constexpr CodeWord kPolicies[] = {{0, "null"}, {1, "strict priority"}, {2, "weighted round robin"}};
constexpr CodeWord kDirections[] = {{1, "upstream"}, {2, "downstream"}, {3, "both directions"}};
constexpr CodeWord kEncryption[] = {{0, "clear"}, {1, "AES-128"}};
constexpr CodeWord kKeyRings[] = {
    {0, "none"}, {1, "unicast, both directions"}, {2, "broadcast"}, {3, "unicast, downstream only"}};
constexpr CodeWord kInterworkingOptions[] = {{0, "circuit emulation"},
                                             {1, "MAC bridged LAN"},
                                             {2, "reserved"},
                                             {3, "reserved"},
                                             {4, "video return path"},
                                             {5, "802.1p mapper"},
                                             {6, "downstream broadcast"},
                                             {7, "MPLS pseudowire"}};
constexpr CodeWord kMulticastInterworkingOptions[] = {{0, "any"}, {1, "MAC bridged LAN"}, {5, "802.1p mapper"}};
constexpr CodeWord kQueueOptions[] = {{0, "own buffer"}, {1, "shared buffer"}};
constexpr CodeWord kBackPressure[] = {{0, "on"}, {1, "off"}};
constexpr CodeWord kColourMarkings[] = {{0, "none"},     {1, "internal"}, {2, "DEI"},      {3, "PCP 8P0D"},
                                        {4, "PCP 7P1D"}, {5, "PCP 6P2D"}, {6, "PCP 5P3D"}, {7, "DSCP AF"}};
constexpr CodeWord kColourModes[] = {{0, "colour blind"}, {1, "colour aware"}};
constexpr CodeWord kMeters[] = {{0, "any"}, {1, "RFC 4115"}, {2, "RFC 2698"}};

constexpr AttributeInfo kAniGAttributes[] = {
    {1, "SR indication", 1, kR, kEnumeration, 0, kBooleans},
    {2, "Total T-CONT number", 2, kR, kUnsigned},
    {3, "GEM block length", 2, kRW, kUnsigned, 48},
    {4, "Piggyback DBA reporting", 1, kR, kEnumeration, 0, kPiggyback},
    {5, "Deprecated", 1, kR, kUnsigned},
    {6, "SF threshold", 1, kRW, kUnsigned, 5},
    {7, "SD threshold", 1, kRW, kUnsigned, 9},
    {8, "ARC", 1, kRW | kOptional | kAvc, kEnumeration, 0, kOffOn},
    {9, "ARC interval", 1, kRW | kOptional, kUnsigned},
    {10, "Optical signal level", 2, kR | kOptional, kOpticalLevel},
    {11, "Lower optical threshold", 1, kRW | kOptional, kUnsigned, 0xFF},
    {12, "Upper optical threshold", 1, kRW | kOptional, kUnsigned, 0xFF},
    {13, "ONU response time", 2, kR | kOptional, kUnsigned},
    {14, "Transmit optical level", 2, kR | kOptional, kOpticalLevel},
    {15, "Lower transmit power threshold", 1, kRW | kOptional, kSigned, 0x81},
    {16, "Upper transmit power threshold", 1, kRW | kOptional, kSigned, 0x81},
};
constexpr CodeWord kAniGAlarms[] = {
    {0, "low received power"},  {1, "high received power"}, {2, "SF"}, {3, "SD"}, {4, "low transmit power"},
    {5, "high transmit power"}, {6, "laser bias current"}};

constexpr AttributeInfo kTContAttributes[] = {
    {1, "Alloc-ID", 2, kRW, kUnsigned, 0xFFFF},
    {2, "Deprecated (mode indicator)", 1, kR, kUnsigned, 1},
    {3, "Policy", 1, kRW, kEnumeration, 0, kPolicies},
};

constexpr AttributeInfo kGemPortAttributes[] = {
    {1, "Port-ID", 2, kRWC, kUnsigned},
    {2, "T-CONT pointer", 2, kRWC, kPointer},
    {3, "Direction", 1, kRWC, kEnumeration, 0, kDirections},
    {4, "Traffic management pointer for upstream", 2, kRWC, kPointer},
    {5, "Traffic descriptor profile pointer for upstream", 2, kRWC | kOptional, kPointer, 0xFFFF},
    {6, "UNI counter", 1, kR | kOptional, kUnsigned},
    {7, "Priority queue pointer for downstream", 2, kRWC, kPointer},
    {8, "Encryption state", 1, kR | kOptional, kEnumeration, 0, kEncryption},
    {9, "Traffic descriptor profile pointer for downstream", 2, kRWC | kOptional, kPointer, 0xFFFF},
    {10, "Encryption key ring", 1, kRWC | kOptional, kEnumeration, 0, kKeyRings},
};
constexpr CodeWord kGemPortAlarms[] = {{5, "end-to-end loss of continuity"}};

constexpr AttributeInfo kGemInterworkingAttributes[] = {
    {1, "GEM port network CTP connectivity pointer", 2, kRWC, kPointer},
    {2, "Interworking option", 1, kRWC, kEnumeration, 0, kInterworkingOptions},
    {3, "Service profile pointer", 2, kRWC, kPointer},
    {4, "Interworking termination point pointer", 2, kRWC, kPointer},
    {5, "PPTP counter", 1, kR | kOptional, kUnsigned},
    {6, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 0, kOperationalStates},
    {7, "GAL profile pointer", 2, kRWC, kPointer},
    {8, "GAL loopback configuration", 1, kRW, kEnumeration, 0, kOffOn},
};
constexpr CodeWord kGemInterworkingAlarms[] = {{0, "deprecated"}};

constexpr AttributeInfo kMulticastInterworkingAttributes[] = {
    {1, "GEM port network CTP connectivity pointer", 2, kRWC, kPointer},
    {2, "Interworking option", 1, kRWC, kEnumeration, 0, kMulticastInterworkingOptions},
    {3, "Service profile pointer", 2, kRWC, kPointer},
    {4, "Not used 1", 2, kRWC, kUnsigned},
    {5, "PPTP counter", 1, kR | kOptional, kUnsigned, 0xFF},
    {6, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 0, kOperationalStates},
    {7, "GAL profile pointer", 2, kRWC, kPointer},
    {8, "Not used 2", 1, kRWC, kUnsigned},
    {9, "IPv4 multicast address table", 12, kRW, kTable},
    {10, "IPv6 multicast address table", 24, kRW | kOptional, kTable},
};
constexpr CodeWord kMulticastInterworkingAlarms[] = {{0, "deprecated"}};

constexpr AttributeInfo kGalProfileAttributes[] = {
    {1, "Maximum GEM payload size", 2, kRWC, kUnsigned},
};

constexpr AttributeInfo kPriorityQueueAttributes[] = {
    {1, "Queue configuration option", 1, kR, kEnumeration, 0, kQueueOptions},
    {2, "Maximum queue size", 2, kR, kUnsigned},
    {3, "Allocated queue size", 2, kRW, kUnsigned},
    {4, "Discard-block counter reset interval", 2, kRW | kOptional, kUnsigned},
    {5, "Threshold for discarded blocks", 2, kRW | kOptional, kUnsigned},
    {6, "Related port", 4, kRW, kHex},
    {7, "Traffic scheduler pointer", 2, kRW, kPointer},
    {8, "Weight", 1, kRW, kUnsigned, 1},
    {9, "Back pressure operation", 2, kRW, kEnumeration, 0, kBackPressure},
    {10, "Back pressure time", 4, kRW, kUnsigned},
    {11, "Back pressure occur queue threshold", 2, kRW, kUnsigned},
    {12, "Back pressure clear queue threshold", 2, kRW, kUnsigned},
    {13, "Packet drop queue thresholds", 8, kRW | kOptional, kOctets},
    {14, "Packet drop max_p", 2, kRW | kOptional, kUnsigned, 0xFFFF},
    {15, "Queue drop w_q", 1, kRW | kOptional, kUnsigned, 9},
    {16, "Drop precedence colour marking", 1, kRW | kOptional, kEnumeration, 0, kColourMarkings},
};
constexpr CodeWord kPriorityQueueAlarms[] = {{0, "block loss"}};

constexpr AttributeInfo kTrafficSchedulerAttributes[] = {
    {1, "T-CONT pointer", 2, kRW, kPointer},
    {2, "Traffic scheduler pointer", 2, kR, kPointer},
    {3, "Policy", 1, kRW, kEnumeration, 0, kPolicies},
    {4, "Priority/weight", 1, kRW, kUnsigned},
};

constexpr AttributeInfo kTrafficDescriptorAttributes[] = {
    {1, "CIR", 4, kRWC | kOptional, kUnsigned},
    {2, "PIR", 4, kRWC | kOptional, kUnsigned},
    {3, "CBS", 4, kRWC | kOptional, kUnsigned},
    {4, "PBS", 4, kRWC | kOptional, kUnsigned},
    {5, "Colour mode", 1, kRWC | kOptional, kEnumeration, 0, kColourModes},
    {6, "Ingress colour marking", 1, kRWC | kOptional, kEnumeration, 0, kColourMarkings},
    {7, "Egress colour marking", 1, kRWC | kOptional, kEnumeration, 0, kColourMarkings},
    {8, "Meter type", 1, kRC | kOptional, kEnumeration, 0, kMeters},
};

constexpr EntityRow kTrafficEntities[] = {
    {263, "ANI-G", Maker::kOnu, kGetSet | bit(MessageType::kTest), kAniGAttributes, kAniGAlarms},
    {262, "T-CONT", Maker::kOnu, kGetSet, kTContAttributes, {}},
    {268, "GEM port network CTP", Maker::kOlt, kOltActions, kGemPortAttributes, kGemPortAlarms},
    {266, "GEM interworking termination point", Maker::kOlt, kOltActions, kGemInterworkingAttributes,
     kGemInterworkingAlarms},
    {281, "Multicast GEM interworking termination point", Maker::kOlt, kOltTableActions,
     kMulticastInterworkingAttributes, kMulticastInterworkingAlarms},
    {272, "GAL Ethernet profile", Maker::kOlt, kOltActions, kGalProfileAttributes, {}},
    {277, "Priority queue", Maker::kOnu, kGetSet, kPriorityQueueAttributes, kPriorityQueueAlarms},
    {278, "Traffic scheduler", Maker::kOnu, kGetSet, kTrafficSchedulerAttributes, {}},
    {280, "Traffic descriptor", Maker::kOlt, kOltActions, kTrafficDescriptorAttributes, {}},
};

}  // namespace

Rows<EntityRow> trafficEntities() {
    return kTrafficEntities;
}

}  // namespace omci::tables
