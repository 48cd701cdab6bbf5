// Multicast operations: profiles, subscribers, monitors.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kIgmpVersions[] = {{1, "IGMPv1"}, {2, "IGMPv2"}, {3, "IGMPv3"}, {16, "MLDv1"}, {17, "MLDv2"}};
constexpr CodeWord kIgmpFunctions[] = {{0, "snooping"}, {1, "snooping with proxy reporting"}, {2, "proxy"}};
constexpr CodeWord kIgmpTagControl[] = {
    {0, "transparent"}, {1, "add a tag"}, {2, "replace the TCI"}, {3, "replace the VID"}};
constexpr CodeWord kUnauthorizedJoins[] = {{0, "drop"}, {1, "forward upstream"}};
constexpr CodeWord kSubscriberTypes[] = {{0, "MAC bridge port"}, {1, "802.1p mapper"}};
constexpr CodeWord kBandwidthEnforcement[] = {{0, "count"}, {1, "deny"}};

constexpr AttributeInfo kMulticastProfileAttributes[] = {
    {1, "IGMP version", 1, kRWC, kEnumeration, 0, kIgmpVersions},
    {2, "IGMP function", 1, kRWC, kEnumeration, 0, kIgmpFunctions},
    {3, "Immediate leave", 1, kRWC, kEnumeration, 0, kBooleans},
    {4, "Upstream IGMP TCI", 2, kRWC | kOptional, kTci},
    {5, "Upstream IGMP tag control", 1, kRWC | kOptional, kEnumeration, 0, kIgmpTagControl},
    {6, "Upstream IGMP rate", 4, kRWC | kOptional, kUnsigned},
    {7, "Dynamic access control list table", 24, kRW, kTable},
    {8, "Static access control list table", 24, kRW, kTable},
    {9, "Lost groups list table", 10, kR | kOptional, kTable},
    {10, "Robustness", 1, kRWC | kOptional, kUnsigned},
    {11, "Querier IP address", 4, kRWC | kOptional, kIpv4},
    {12, "Query interval", 4, kRWC | kOptional, kUnsigned},
    {13, "Query max response time", 4, kRWC | kOptional, kUnsigned},
    {14, "Last member query interval", 4, kRW | kOptional, kUnsigned,
     10},  // not certain: some tools take it for 1 byte
    {15, "Unauthorized join request behaviour", 1, kRW | kOptional, kEnumeration, 0, kUnauthorizedJoins},
    {16, "Downstream IGMP and multicast TCI", 3, kRWC | kOptional, kHex},
};
constexpr CodeWord kMulticastProfileAlarms[] = {{0, "lost multicast group"}};  // not certain

constexpr AttributeInfo kMulticastSubscriberAttributes[] = {
    {1, "ME type", 1, kRWC, kEnumeration, 0, kSubscriberTypes},
    {2, "Multicast operations profile pointer", 2, kRWC, kPointer},
    {3, "Max simultaneous groups", 2, kRWC | kOptional, kUnsigned},
    {4, "Max multicast bandwidth", 4, kRWC | kOptional, kUnsigned},
    {5, "Bandwidth enforcement", 1, kRWC | kOptional, kEnumeration, 0, kBandwidthEnforcement},
    {6, "Multicast service package table", 20, kRW | kOptional, kTable},
    {7, "Allowed preview groups table", 22, kRW, kTable},  // not certain: some tools take the row for 24 bytes
};

constexpr AttributeInfo kMulticastMonitorAttributes[] = {
    {1, "ME type", 1, kRWC, kEnumeration, 0, kSubscriberTypes},
    {2, "Current multicast bandwidth", 4, kR | kOptional, kUnsigned},
    {3, "Join messages counter", 4, kR | kOptional, kUnsigned},
    {4, "Bandwidth exceeded counter", 4, kR | kOptional, kUnsigned},
    {5, "IPv4 active group list table", 24, kR, kTable},
    {6, "IPv6 active group list table", 58, kR | kOptional, kTable},
};

constexpr EntityRow kMulticastEntities[] = {
    {309, "Multicast operations profile", Maker::kOlt, kOltTableActions, kMulticastProfileAttributes,
     kMulticastProfileAlarms},
    {310, "Multicast subscriber config info", Maker::kOlt, kOltTableActions, kMulticastSubscriberAttributes, {}},
    {311,
     "Multicast subscriber monitor",
     Maker::kOlt,
     kGetSet | bit(MessageType::kCreate) | bit(MessageType::kDelete) | bit(MessageType::kGetNext),
     kMulticastMonitorAttributes,
     {}},
};

}  // namespace

Rows<EntityRow> multicastEntities() {
    return kMulticastEntities;
}

}  // namespace omci::tables
