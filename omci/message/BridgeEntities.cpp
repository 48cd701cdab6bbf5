// MAC bridges with what belongs to their ports, and the 802.1p mapper.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kBridgePortTpTypes[] = {{1, "PPTP Ethernet UNI"},
                                           {2, "IW VCC"},
                                           {3, "802.1p mapper"},
                                           {4, "IP host"},
                                           {5, "GEM interworking TP"},
                                           {6, "multicast GEM interworking TP"},
                                           {7, "xDSL"},
                                           {8, "VDSL"},
                                           {9, "Ethernet flow"},
                                           {10, "reserved"},
                                           {11, "VEIP"},
                                           {12, "MoCA"},
                                           {13, "EFM bonding"}};
constexpr CodeWord kPortStates[] = {{0, "disabled"},
                                    {1, "listening"},
                                    {2, "learning"},
                                    {3, "forwarding"},
                                    {4, "blocking"},
                                    {5, "link down"},
                                    {6, "forwarding, no spanning tree"}};
constexpr CodeWord kFiltering[] = {{0, "forward"}, {1, "filter"}};
constexpr CodeWord kUnmarkedFrames[] = {{0, "p-bits from DSCP"}, {1, "default p-bits"}};
constexpr CodeWord kMapperTpTypes[] = {{0, "bridging-mapping"},
                                       {1, "PPTP Ethernet UNI"},
                                       {2, "IP host"},
                                       {3, "Ethernet flow"},
                                       {4, "xDSL"},
                                       {6, "MoCA"},
                                       {7, "VEIP"},
                                       {8, "IW VCC"},
                                       {9, "EFM bonding"}};

constexpr AttributeInfo kBridgeAttributes[] = {
    {1, "Spanning tree ind", 1, kRWC, kEnumeration, 0, kBooleans},
    {2, "Learning ind", 1, kRWC, kEnumeration, 0, kBooleans},
    {3, "Port bridging ind", 1, kRWC, kEnumeration, 0, kBooleans},
    {4, "Priority", 2, kRWC, kUnsigned},
    {5, "Max age", 2, kRWC, kUnsigned},
    {6, "Hello time", 2, kRWC, kUnsigned},
    {7, "Forward delay", 2, kRWC, kUnsigned},
    {8, "Unknown MAC address discard", 1, kRWC, kEnumeration, 0, kBooleans},
    {9, "MAC learning depth", 1, kRWC | kOptional, kUnsigned},
    {10, "Dynamic filtering ageing time", 4, kRWC | kOptional, kUnsigned, 300},
};

constexpr AttributeInfo kBridgeDataAttributes[] = {
    {1, "Bridge MAC address", 6, kR, kMac},          {2, "Bridge priority", 2, kR, kUnsigned},
    {3, "Designated root", 8, kR, kOctets},          {4, "Root path cost", 4, kR, kUnsigned},
    {5, "Bridge port count", 1, kR, kUnsigned},      {6, "Root port num", 2, kR, kUnsigned},
    {7, "Hello time", 2, kR | kOptional, kUnsigned}, {8, "Forward delay", 2, kR | kOptional, kUnsigned},
};

constexpr AttributeInfo kBridgePortAttributes[] = {
    {1, "Bridge id pointer", 2, kRWC, kPointer},
    {2, "Port num", 1, kRWC, kUnsigned},
    {3, "TP type", 1, kRWC, kEnumeration, 0, kBridgePortTpTypes},
    {4, "TP pointer", 2, kRWC, kPointer},
    {5, "Port priority", 2, kRWC | kOptional, kUnsigned},
    {6, "Port path cost", 2, kRWC, kUnsigned},
    {7, "Port spanning tree ind", 1, kRWC, kEnumeration, 0, kBooleans},
    {8, "Deprecated 1 (encapsulation)", 1, kRWC | kOptional, kUnsigned},
    {9, "Deprecated 2 (LAN FCS ind)", 1, kRWC | kOptional, kUnsigned},
    {10, "Port MAC address", 6, kR | kOptional, kMac},
    {11, "Outbound TD pointer", 2, kRW | kOptional, kPointer, 0xFFFF},
    {12, "Inbound TD pointer", 2, kRW | kOptional, kPointer, 0xFFFF},
    {13, "MAC learning depth", 1, kRWC | kOptional, kUnsigned},
    {14, "LASP id pointer", 2, kRWC | kOptional, kPointer},
};
constexpr CodeWord kBridgePortAlarms[] = {{0, "port blocking"}};

constexpr AttributeInfo kBridgePortDesignationAttributes[] = {
    {1, "Designated bridge root cost port", 24, kR, kOctets},
    {2, "Port state", 1, kR, kEnumeration, 0, kPortStates},
};

constexpr AttributeInfo kBridgePortFilterAttributes[] = {
    {1, "MAC filter table", 8, kRW, kTable},
};

constexpr AttributeInfo kBridgePortTableAttributes[] = {
    {1, "Bridge table", 8, kR, kTable},
};

constexpr AttributeInfo kBridgePortPreassignAttributes[] = {
    {1, "IPv4 multicast filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {2, "IPv6 multicast filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {3, "IPv4 broadcast filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {4, "RARP filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {5, "IPX filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {6, "NetBEUI filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {7, "AppleTalk filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {8, "Bridge management information filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {9, "ARP filtering", 1, kRW, kEnumeration, 0, kFiltering},
    {10, "PPPoE broadcast filtering", 1, kRW, kEnumeration, 0, kFiltering},
};

constexpr AttributeInfo kMapperAttributes[] = {
    {1, "TP pointer", 2, kRWC, kPointer},
    {2, "IW TP pointer for p-bit 0", 2, kRWC, kPointer},
    {3, "IW TP pointer for p-bit 1", 2, kRWC, kPointer},
    {4, "IW TP pointer for p-bit 2", 2, kRWC, kPointer},
    {5, "IW TP pointer for p-bit 3", 2, kRWC, kPointer},
    {6, "IW TP pointer for p-bit 4", 2, kRWC, kPointer},
    {7, "IW TP pointer for p-bit 5", 2, kRWC, kPointer},
    {8, "IW TP pointer for p-bit 6", 2, kRWC, kPointer},
    {9, "IW TP pointer for p-bit 7", 2, kRWC, kPointer},
    {10, "Unmarked frame option", 1, kRWC, kEnumeration, 0, kUnmarkedFrames},
    {11, "DSCP to p-bit mapping", 24, kRW, kDscpMap},
    {12, "Default p-bit assumption", 1, kRWC, kUnsigned},
    {13, "TP type", 1, kRWC | kOptional, kEnumeration, 0, kMapperTpTypes},
};

constexpr EntityRow kBridgeEntities[] = {
    {45, "MAC bridge service profile", Maker::kOlt, kOltActions, kBridgeAttributes, {}},
    {46, "MAC bridge configuration data", Maker::kOnu, bit(MessageType::kGet), kBridgeDataAttributes, {}},
    {47, "MAC bridge port configuration data", Maker::kOlt, kOltActions, kBridgePortAttributes, kBridgePortAlarms},
    {48, "MAC bridge port designation data", Maker::kOnu, bit(MessageType::kGet), kBridgePortDesignationAttributes, {}},
    {49,
     "MAC bridge port filter table data",
     Maker::kOnu,
     kGetSet | bit(MessageType::kGetNext) | bit(MessageType::kSetTable),
     kBridgePortFilterAttributes,
     {}},
    {50, "MAC bridge port bridge table data", Maker::kOnu, kGetGetNext, kBridgePortTableAttributes, {}},
    {79, "MAC bridge port filter preassign table", Maker::kOnu, kGetSet, kBridgePortPreassignAttributes, {}},
    {130, "802.1p mapper service profile", Maker::kOlt, kOltActions, kMapperAttributes, {}},
};

}  // namespace

Rows<EntityRow> bridgeEntities() {
    return kBridgeEntities;
}

}  // namespace omci::tables
