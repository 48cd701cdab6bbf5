// The IP host, addresses, texts and keys of management.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kProtocols[] = {{6, "TCP"}, {17, "UDP"}};
constexpr CodeWord kValidations[] = {{0, "off"}, {1, "MD5 digest"}, {3, "basic"}};
constexpr CodeWord kAuthentication[] = {{0, "indeterminate"}, {3, "success"}, {4, "failure"}};

constexpr AttributeInfo kIpHostAttributes[] = {
    {1, "IP options", 1, kRW, kBitField},
    {2, "MAC address", 6, kR, kMac},
    {3, "ONU identifier", 25, kRW, kText},
    {4, "IP address", 4, kRW, kIpv4},
    {5, "Mask", 4, kRW, kIpv4},
    {6, "Gateway", 4, kRW, kIpv4},
    {7, "Primary DNS", 4, kRW, kIpv4},
    {8, "Secondary DNS", 4, kRW, kIpv4},
    {9, "Current address", 4, kR | kOptional | kAvc, kIpv4},
    {10, "Current mask", 4, kR | kOptional | kAvc, kIpv4},
    {11, "Current gateway", 4, kR | kOptional | kAvc, kIpv4},
    {12, "Current primary DNS", 4, kR | kOptional | kAvc, kIpv4},
    {13, "Current secondary DNS", 4, kR | kOptional | kAvc, kIpv4},
    {14, "Domain name", 25, kR | kAvc, kText},
    {15, "Host name", 25, kR | kAvc, kText},
    {16, "Relay agent options", 2, kRW | kOptional, kPointer, 0xFFFF},
};

constexpr AttributeInfo kTcpUdpAttributes[] = {
    {1, "Port id", 2, kRWC, kUnsigned},
    {2, "Protocol", 1, kRWC, kEnumeration, 0, kProtocols},
    {3, "TOS/diffserv field", 1, kRWC, kHex},
    {4, "IP host pointer", 2, kRWC, kPointer},
};

constexpr AttributeInfo kNetworkAddressAttributes[] = {
    {1, "Security pointer", 2, kRWC, kPointer},
    {2, "Address pointer", 2, kRWC, kPointer},
};

constexpr AttributeInfo kAuthenticationMethodAttributes[] = {
    {1, "Validation scheme", 1, kRW, kEnumeration, 0, kValidations},
    {2, "Username 1", 25, kRW, kText},
    {3, "Password", 25, kRW, kText},
    {4, "Realm", 25, kRW, kText},
    {5, "Username 2", 25, kRW | kOptional, kText},
};

constexpr AttributeInfo kLargeStringAttributes[] = {
    {1, "Number of parts", 1, kRW | kAvc, kUnsigned},
    {2, "Part 1", 25, kRW | kAvc, kText},
    {3, "Part 2", 25, kRW | kAvc, kText},
    {4, "Part 3", 25, kRW | kAvc, kText},
    {5, "Part 4", 25, kRW | kAvc, kText},
    {6, "Part 5", 25, kRW | kAvc, kText},
    {7, "Part 6", 25, kRW | kAvc, kText},
    {8, "Part 7", 25, kRW | kAvc, kText},
    {9, "Part 8", 25, kRW | kAvc, kText},
    {10, "Part 9", 25, kRW | kAvc, kText},
    {11, "Part 10", 25, kRW | kAvc, kText},
    {12, "Part 11", 25, kRW | kAvc, kText},
    {13, "Part 12", 25, kRW | kAvc, kText},
    {14, "Part 13", 25, kRW | kAvc, kText},
    {15, "Part 14", 25, kRW | kAvc, kText},
    {16, "Part 15", 25, kRW | kAvc, kText},
};

constexpr AttributeInfo kSecurityAttributes[] = {
    {1, "OLT crypto capabilities", 16, kW, kOctets},
    {2, "OLT random challenge table", 17, kRW, kTable},
    {3, "OLT challenge status", 1, kRW, kUnsigned},
    {4, "ONU selected crypto capabilities", 1, kR, kUnsigned},
    {5, "ONU random challenge table", 16, kR | kAvc, kTable},
    {6, "ONU authentication result table", 16, kR | kAvc, kTable},
    {7, "OLT authentication result table", 17, kRW, kTable},
    {8, "OLT result status", 1, kRW, kUnsigned},
    {9, "ONU authentication status", 1, kR | kAvc, kEnumeration, 0, kAuthentication},
    {10, "Master session key name", 16, kR, kOctets},
    {11, "Broadcast key table", 18, kRW | kOptional, kTable},
    {12, "Effective key length", 2, kR | kOptional, kUnsigned},
};

constexpr EntityRow kManagementEntities[] = {
    {134, "IP host config data", Maker::kOnu, kGetSet | bit(MessageType::kTest), kIpHostAttributes, {}},
    {136, "TCP/UDP config data", Maker::kOlt, kOltActions, kTcpUdpAttributes, {}},
    {137, "Network address", Maker::kBoth, kOltActions, kNetworkAddressAttributes, {}},
    {148, "Authentication security method", Maker::kOlt, kOltActions, kAuthenticationMethodAttributes, {}},
    {157, "Large string", Maker::kBoth, kOltActions, kLargeStringAttributes, {}},
    {332,
     "Enhanced security control",
     Maker::kOnu,
     kGetSet | bit(MessageType::kGetNext) | bit(MessageType::kSetTable),
     kSecurityAttributes,
     {}},
};

}  // namespace

Rows<EntityRow> managementEntities() {
    return kManagementEntities;
}

}  // namespace omci::tables
