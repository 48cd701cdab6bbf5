// The subscriber side: Ethernet ports, virtual Ethernet interface point, port access control.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kExpectedTypes[] = {{0, "autosense"},     {22, "10BASE-T"},    {23, "100BASE-T"},
                                       {24, "10/100BASE-T"}, {34, "GbE optical"}, {47, "10/100/1000BASE-T"},
                                       {48, "VEIP"}};
constexpr CodeWord kAutoDetection[] = {{0x00, "automatic"},
                                       {0x01, "10 full duplex"},
                                       {0x02, "100 full duplex"},
                                       {0x03, "1000 full duplex"},
                                       {0x04, "automatic rate, full duplex"},
                                       {0x05, "10G full duplex"},
                                       {0x06, "2.5G full duplex"},
                                       {0x07, "5G full duplex"},
                                       {0x08, "25G full duplex"},
                                       {0x09, "40G full duplex"},
                                       {0x10, "10, automatic duplex"},
                                       {0x11, "10 half duplex"},
                                       {0x12, "100 half duplex"},
                                       {0x13, "1000 half duplex"},
                                       {0x14, "automatic rate, half duplex"},
                                       {0x20, "1000, automatic duplex"},
                                       {0x30, "100, automatic duplex"}};
constexpr CodeWord kLoopbacks[] = {{0, "none"}, {3, "loop 3"}};
constexpr CodeWord kConfigurations[] = {
    {0x00, "no link"},         {0x01, "10 full duplex"},   {0x02, "100 full duplex"}, {0x03, "1000 full duplex"},
    {0x04, "10G full duplex"}, {0x05, "2.5G full duplex"}, {0x06, "5G full duplex"},  {0x07, "25G full duplex"},
    {0x08, "40G full duplex"}, {0x11, "10 half duplex"},   {0x12, "100 half duplex"}, {0x13, "1000 half duplex"}};
constexpr CodeWord kDteOrDce[] = {{0, "DCE"}, {1, "DTE"}, {2, "automatic"}};
constexpr CodeWord kPortBridgedOrIp[] = {{0, "bridged"}, {1, "IP router"}, {2, "as the circuit pack"}};
constexpr CodeWord kManagement[] = {{0, "OMCI only"}, {1, "non-OMCI only"}, {2, "both"}};
constexpr CodeWord kDot1xActions[] = {{1, "reauthenticate"}, {2, "force unauthenticated"}, {3, "force authenticated"}};
constexpr CodeWord kPaeStates[] = {
    {0, "initialize"}, {1, "disconnected"}, {2, "connecting"},       {3, "authenticating"},     {4, "authenticated"},
    {5, "aborting"},   {6, "held"},         {7, "force authorized"}, {8, "force unauthorized"}, {9, "restart"}};
constexpr CodeWord kBackendStates[] = {{0, "request"}, {1, "response"}, {2, "success"},    {3, "fail"},
                                       {4, "timeout"}, {5, "idle"},     {6, "initialize"}, {7, "ignore"}};
constexpr CodeWord kControlledDirections[] = {{0, "both"}, {1, "upstream only"}};
constexpr CodeWord kPortStatus[] = {{1, "authorized"}, {2, "unauthorized"}};

constexpr AttributeInfo kEthernetUniAttributes[] = {
    {1, "Expected type", 1, kRW, kEnumeration, 0, kExpectedTypes},
    {2, "Sensed type", 1, kR | kAvc, kEnumeration, 0, kUnitTypes},
    {3, "Auto detection configuration", 1, kRW, kEnumeration, 0, kAutoDetection},  // not certain: the codes 06 to 09
    {4, "Ethernet loopback configuration", 1, kRW, kEnumeration, 0, kLoopbacks},
    {5, "Administrative state", 1, kRW, kEnumeration, 0, kAdministrativeStates},
    {6, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 0, kOperationalStates},
    {7, "Configuration ind", 1, kR, kEnumeration, 0, kConfigurations},
    {8, "Max frame size", 2, kRW, kUnsigned, 1518},
    {9, "DTE or DCE ind", 1, kRW, kEnumeration, 0, kDteOrDce},
    {10, "Pause time", 2, kRW | kOptional, kUnsigned},
    {11, "Bridged or IP ind", 1, kRW | kOptional, kEnumeration, 2, kPortBridgedOrIp},
    {12, "ARC", 1, kRW | kOptional | kAvc, kEnumeration, 0, kOffOn},
    {13, "ARC interval", 1, kRW | kOptional, kUnsigned},
    {14, "PPPoE filter", 1, kRW | kOptional, kEnumeration, 0, kOffOn},
    {15, "Power control", 1, kRW | kOptional, kEnumeration, 0, kOffOn},
};
constexpr CodeWord kEthernetUniAlarms[] = {{0, "LAN-LOS"}};

constexpr AttributeInfo kUniGAttributes[] = {
    {1, "Deprecated", 2, kRW, kUnsigned},
    {2, "Administrative state", 1, kRW, kEnumeration, 0, kAdministrativeStates},
    {3, "Management capability", 1, kR | kOptional, kEnumeration, 0, kManagement},
    {4, "Non-OMCI management identifier", 2, kRW | kOptional, kPointer},
    {5, "Relay agent options", 2, kRW | kOptional, kPointer, 0xFFFF},
};

constexpr AttributeInfo kVeipAttributes[] = {
    {1, "Administrative state", 1, kRW, kEnumeration, 0, kAdministrativeStates},
    {2, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 0, kOperationalStates},
    {3, "Interdomain name", 25, kRW | kOptional, kText},
    {4, "TCP/UDP pointer", 2, kRW | kOptional, kPointer, 0xFFFF},
    {5, "IANA assigned port", 2, kR, kUnsigned, 0xFFFF},
};
constexpr CodeWord kVeipAlarms[] = {{0, "connecting function fail"}};

constexpr AttributeInfo kDot1xAttributes[] = {
    {1, "Dot1X enable", 1, kRW, kEnumeration, 0, kOffOn},
    {2, "Action register", 1, kW, kEnumeration, 0, kDot1xActions},
    {3, "Authenticator PAE state", 1, kR | kOptional, kEnumeration, 0, kPaeStates},
    {4, "Backend authentication state", 1, kR | kOptional, kEnumeration, 0, kBackendStates},
    {5, "Admin controlled directions", 1, kRW | kOptional, kEnumeration, 0, kControlledDirections},
    {6, "Operational controlled directions", 1, kR | kOptional, kEnumeration, 0, kControlledDirections},
    {7, "Authenticator controlled port status", 1, kR | kOptional, kEnumeration, 0, kPortStatus},
    {8, "Quiet period", 2, kRW | kOptional, kUnsigned},
    {9, "Server timeout period", 2, kRW | kOptional, kUnsigned, 30},
    {10, "Reauthentication period", 2, kR | kOptional, kUnsigned},
    {11, "Reauthentication enabled", 1, kR | kOptional, kEnumeration, 0, kBooleans},
    {12, "Key transmission enabled", 1, kRW | kOptional, kEnumeration, 0, kBooleans},
};
constexpr CodeWord kDot1xAlarms[] = {{0, "local authentication allowed"}, {1, "local authentication denied"}};

constexpr EntityRow kSubscriberEntities[] = {
    {11, "PPTP Ethernet UNI", Maker::kOnu, kGetSet, kEthernetUniAttributes, kEthernetUniAlarms},
    {264, "UNI-G", Maker::kOnu, kGetSet, kUniGAttributes, {}},
    {329, "Virtual Ethernet interface point", Maker::kOnu, kGetSet, kVeipAttributes, kVeipAlarms},
    {290, "Dot1X port extension package", Maker::kOnu, kGetSet, kDot1xAttributes, kDot1xAlarms},
};

}  // namespace

Rows<EntityRow> subscriberEntities() {
    return kSubscriberEntities;
}

}  // namespace omci::tables
