// VLAN filters and tagging operations.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kForwardOperations[] = {{0x00, "all tagged pass, untagged pass"},
                                           {0x01, "tagged dropped, untagged pass"},
                                           {0x02, "all tagged pass, untagged dropped"},
                                           {0x03, "tagged pass by VID, untagged pass"},
                                           {0x04, "tagged pass by VID, untagged dropped"},
                                           {0x05, "tagged dropped by VID, untagged pass"},
                                           {0x06, "tagged dropped by VID, untagged dropped"},
                                           {0x07, "tagged pass by p-bits, untagged pass"},
                                           {0x08, "tagged pass by p-bits, untagged dropped"},
                                           {0x09, "tagged dropped by p-bits, untagged pass"},
                                           {0x0A, "tagged dropped by p-bits, untagged dropped"},
                                           {0x0B, "tagged pass by TCI, untagged pass"},
                                           {0x0C, "tagged pass by TCI, untagged dropped"},
                                           {0x0D, "tagged dropped by TCI, untagged pass"},
                                           {0x0E, "tagged dropped by TCI, untagged dropped"},
                                           {0x0F, "tagged pass by VID, untagged pass"},
                                           {0x10, "tagged pass by VID, untagged dropped"},
                                           {0x11, "tagged pass by p-bits, untagged pass"},
                                           {0x12, "tagged pass by p-bits, untagged dropped"},
                                           {0x13, "tagged pass by TCI, untagged pass"},
                                           {0x14, "tagged pass by TCI, untagged dropped"},
                                           {0x15, "all tagged pass, untagged dropped"},
                                           {0x16, "tagged pass by VID, untagged pass"},
                                           {0x17, "tagged pass by VID, untagged dropped"},
                                           {0x18, "tagged pass by p-bits, untagged pass"},
                                           {0x19, "tagged pass by p-bits, untagged dropped"},
                                           {0x1A, "tagged pass by TCI, untagged pass"},
                                           {0x1B, "tagged pass by TCI, untagged dropped"},
                                           {0x1C, "tagged pass by VID, untagged pass"},
                                           {0x1D, "tagged pass by VID, untagged dropped"},
                                           {0x1E, "tagged pass by p-bits, untagged pass"},
                                           {0x1F, "tagged pass by p-bits, untagged dropped"},
                                           {0x20, "tagged pass by TCI, untagged pass"},
                                           {0x21, "tagged pass by TCI, untagged dropped"}};
constexpr CodeWord kUpstreamTagging[] = {{0, "as it is"}, {1, "one tag always"}, {2, "one more tag"}};
constexpr CodeWord kDownstreamTagging[] = {{0, "as it is"}, {1, "outer tag taken off"}};
constexpr CodeWord kTaggingAssociations[] = {{0, "PPTP Ethernet UNI"},
                                             {1, "IP host"},
                                             {2, "802.1p mapper"},
                                             {3, "MAC bridge port"},
                                             {4, "xDSL"},
                                             {5, "GEM interworking TP"},
                                             {6, "multicast GEM interworking TP"},
                                             {7, "MoCA"},
                                             {9, "Ethernet flow"},
                                             {10, "PPTP Ethernet UNI"},
                                             {11, "VEIP"},
                                             {12, "MPLS pseudowire"},
                                             {13, "EFM bonding"}};
constexpr CodeWord kExtendedTaggingAssociations[] = {{0, "MAC bridge port"},
                                                     {1, "802.1p mapper"},
                                                     {2, "PPTP Ethernet UNI"},
                                                     {3, "IP host"},
                                                     {4, "xDSL"},
                                                     {5, "GEM interworking TP"},
                                                     {6, "multicast GEM interworking TP"},
                                                     {7, "MoCA"},
                                                     {8, "reserved"},
                                                     {9, "Ethernet flow"},
                                                     {10, "VEIP"},
                                                     {11, "MPLS pseudowire"},
                                                     {12, "EFM bonding"}};
constexpr CodeWord kDownstreamModes[] = {{0, "inverse"},
                                         {1, "all pass"},
                                         {2, "inverse by VID and p-bits, else pass"},
                                         {3, "inverse by VID, else pass"},
                                         {4, "inverse by p-bits, else pass"},
                                         {5, "inverse by VID and p-bits, else drop"},
                                         {6, "inverse by VID, else drop"},
                                         {7, "inverse by p-bits, else drop"},
                                         {8, "all dropped"}};

constexpr AttributeInfo kVlanFilterAttributes[] = {
    {1, "VLAN filter list", 24, kRWC, kTciList},
    {2, "Forward operation", 1, kRWC, kEnumeration, 0, kForwardOperations},
    {3, "Number of entries", 1, kRWC, kUnsigned},
};

constexpr AttributeInfo kVlanTaggingAttributes[] = {
    {1, "Upstream VLAN tagging operation mode", 1, kRWC, kEnumeration, 0, kUpstreamTagging},
    {2, "Upstream VLAN tag TCI value", 2, kRWC, kTci},
    {3, "Downstream VLAN tagging operation mode", 1, kRWC, kEnumeration, 0, kDownstreamTagging},
    {4, "Association type", 1, kRWC | kOptional, kEnumeration, 0, kTaggingAssociations},
    {5, "Associated ME pointer", 2, kRWC | kOptional, kPointer},
};

constexpr AttributeInfo kExtendedTaggingAttributes[] = {
    {1, "Association type", 1, kRWC, kEnumeration, 0, kExtendedTaggingAssociations},
    {2, "Table max size", 2, kR, kUnsigned},
    {3, "Input TPID", 2, kRW, kHex},  // not certain: the default; no edition gives one, 0x88A8 is in use
    {4, "Output TPID", 2, kRW, kHex},
    {5, "Downstream mode", 1, kRW, kEnumeration, 0, kDownstreamModes},
    {6, "Received frame VLAN tagging operation table", 16, kRW, kTable},
    {7, "Associated ME pointer", 2, kRWC, kPointer},
    {8, "DSCP to p-bit mapping", 24, kRW | kOptional, kDscpMap},
    {9, "Enhanced mode", 1, kRC | kOptional, kEnumeration, 0, kBooleans},
    {10, "Enhanced classification and processing table", 28, kRW | kOptional,
     kTable},  // not certain: the layout of the row
};

constexpr EntityRow kVlanEntities[] = {
    {84, "VLAN tagging filter data", Maker::kOlt, kOltActions, kVlanFilterAttributes, {}},
    {78, "VLAN tagging operation configuration data", Maker::kOlt, kOltActions, kVlanTaggingAttributes, {}},
    {171,
     "Extended VLAN tagging operation configuration data",
     Maker::kOlt,
     kOltTableActions,
     kExtendedTaggingAttributes,
     {}},
};

}  // namespace

Rows<EntityRow> vlanEntities() {
    return kVlanEntities;
}

}  // namespace omci::tables
