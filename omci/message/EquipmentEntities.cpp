// The ONU itself: identity, slots, software, power.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kTrafficManagement[] = {
    {0, "priority controlled"}, {1, "rate controlled"}, {2, "priority and rate controlled"}};
constexpr CodeWord kCredentials[] = {
    {0, "initial"}, {1, "successful"}, {2, "LOID error"}, {3, "password error"}, {4, "duplicate LOID"}};
constexpr CodeWord kOmccVersions[] = {{0x80, "G.984.4 (2004)"},
                                      {0x81, "G.984.4 (2004) amendment 1"},
                                      {0x82, "G.984.4 (2004) amendment 2"},
                                      {0x83, "G.984.4 (2004) amendment 3"},
                                      {0x84, "G.984.4 (2008)"},
                                      {0x85, "G.984.4 (2008) amendment 1"},
                                      {0x86, "G.984.4 (2008) amendment 2"},
                                      {0x96, "G.984.4 (2008) amendment 2, extended set"},
                                      {0xA0, "G.988 (2010)"},
                                      {0xA1, "G.988 (2010) amendment 1"},
                                      {0xA2, "G.988 (2010) amendment 2"},
                                      {0xA3, "G.988 (2012)"},
                                      {0xB0, "G.988 (2010), extended set"},
                                      {0xB1, "G.988 (2010) amendment 1, extended set"},
                                      {0xB2, "G.988 (2010) amendment 2, extended set"},
                                      {0xB3, "G.988 (2012), extended set"},
                                      {0xB4, "G.988 (2014) amendment 1, extended set"}};
constexpr CodeWord kSecurity[] = {{1, "AES-128"}};
constexpr CodeWord kConnectivityModes[] = {{0, "not chosen"},           {1, "N:1 bridging"},
                                           {2, "1:M mapping"},          {3, "1:P filtering"},
                                           {4, "N:M bridge-mapping"},   {5, "1:MP map-filtering"},
                                           {6, "N:P bridge-filtering"}, {7, "N:MP bridge-map-filtering"}};
constexpr CodeWord kProtectionSwitch[] = {
    {0, "release"}, {1, "operate"}, {2, "first slot protects"}, {3, "second slot protects"}};
constexpr CodeWord kBridgedOrIp[] = {{0, "bridged"}, {1, "IP router"}, {2, "both"}};

constexpr AttributeInfo kOnuDataAttributes[] = {
    {1, "MIB data sync", 1, kRW, kUnsigned},
};

constexpr AttributeInfo kOnuGAttributes[] = {
    {1, "Vendor id", 4, kR, kText},
    {2, "Version", 14, kR, kText},
    {3, "Serial number", 8, kR, kSerialNumber},
    {4, "Traffic management option", 1, kR, kEnumeration, 0, kTrafficManagement},
    {5, "Deprecated", 1, kR | kOptional, kUnsigned},
    {6, "Battery backup", 1, kRW, kEnumeration, 0, kBooleans},
    {7, "Administrative state", 1, kRW, kEnumeration, 0, kAdministrativeStates},
    {8, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 0, kOperationalStates},
    {9, "ONU survival time", 1, kR | kOptional, kUnsigned},
    {10, "Logical ONU id", 24, kR | kOptional | kAvc, kText},
    {11, "Logical password", 12, kR | kOptional | kAvc, kText},
    {12, "Credentials status", 1, kRW | kOptional, kEnumeration, 0, kCredentials},
    {13, "Extended TC-layer options", 2, kR | kOptional, kBitField},
};
constexpr CodeWord kOnuGAlarms[] = {
    {0, "equipment"},          {1, "powering"},           {2, "battery missing"},      {3, "battery failure"},
    {4, "battery low"},        {5, "physical intrusion"}, {6, "self-test failure"},    {7, "dying gasp"},
    {8, "temperature yellow"}, {9, "temperature red"},    {10, "voltage yellow"},      {11, "voltage red"},
    {12, "manual power off"},  {13, "invalid image"},     {14, "PSE overload yellow"}, {15, "PSE overload red"}};

constexpr AttributeInfo kOnu2GAttributes[] = {
    {1, "Equipment id", 20, kR | kOptional, kText},
    {2, "OMCC version", 1, kR | kAvc, kEnumeration, 0, kOmccVersions},
    {3, "Vendor product code", 2, kR | kOptional, kHex},
    {4, "Security capability", 1, kR, kEnumeration, 1, kSecurity},
    {5, "Security mode", 1, kRW, kEnumeration, 1, kSecurity},
    {6, "Total priority queue number", 2, kR, kUnsigned},
    {7, "Total traffic scheduler number", 1, kR, kUnsigned},
    {8, "Deprecated", 1, kR, kUnsigned, 1},
    {9, "Total GEM port-ID number", 2, kR | kOptional, kUnsigned},
    {10, "SysUpTime", 4, kR | kOptional, kUnsigned},
    {11, "Connectivity capability", 2, kR | kOptional, kBitField},
    {12, "Current connectivity mode", 1, kRW | kOptional, kEnumeration, 0, kConnectivityModes},
    {13, "QoS configuration flexibility", 2, kR | kOptional, kBitField},
    {14, "Priority queue scale factor", 2, kRW | kOptional, kUnsigned, 1},
};

constexpr AttributeInfo kOnu3GAttributes[] = {
    {1, "Flash memory performance value", 1, kR | kOptional | kAvc, kUnsigned},
    {2, "Latest restart reason", 1, kR, kUnsigned},  // not certain: the codes
    {3, "Total number of status snapshots", 2, kR, kUnsigned},
    {4, "Number of valid status snapshots", 2, kR | kAvc, kUnsigned},
    {5, "Next status snapshot index", 2, kR | kAvc, kUnsigned},
    {6, "Status snapshot record table", 0, kR, kTable},
    {7, "Snap action", 1, kW, kUnsigned},
    {8, "Most recent status snapshot", 0, kR, kTable},
    {9, "Reset action", 1, kW, kUnsigned},
    {10, "Enhanced mode", 1, kR | kOptional, kEnumeration, 0, kBooleans},
};
constexpr CodeWord kOnu3GAlarms[] = {{0, "flash yellow"},
                                     {1, "flash red"},
                                     {2, "loss of redundant supply"},
                                     {3, "loss of redundant feed"},
                                     {4, "ground fault"}};

constexpr AttributeInfo kCardholderAttributes[] = {
    {1, "Actual plug-in unit type", 1, kR | kAvc, kEnumeration, 0, kUnitTypes},
    {2, "Expected plug-in unit type", 1, kRW, kEnumeration, 0, kUnitTypes},
    {3, "Expected port count", 1, kRW | kOptional, kUnsigned},
    {4, "Expected equipment id", 20, kRW | kOptional, kText, ' '},
    {5, "Actual equipment id", 20, kR | kOptional | kAvc, kText, ' '},
    {6, "Protection profile pointer", 1, kR | kOptional, kUnsigned},
    {7, "Invoke protection switch", 1, kRW | kOptional, kEnumeration, 0, kProtectionSwitch},
    {8, "ARC", 1, kRW | kOptional | kAvc, kEnumeration, 0, kOffOn},
    {9, "ARC interval", 1, kRW | kOptional, kUnsigned},
};
constexpr CodeWord kCardholderAlarms[] = {{0, "pack missing"},
                                          {1, "type mismatch"},
                                          {2, "improper removal"},
                                          {3, "equipment id mismatch"},
                                          {4, "protection switch"}};

constexpr AttributeInfo kCircuitPackAttributes[] = {
    {1, "Type", 1, kRC, kEnumeration, 0, kUnitTypes},
    {2, "Number of ports", 1, kR | kOptional, kUnsigned},
    {3, "Serial number", 8, kR, kSerialNumber},
    {4, "Version", 14, kR, kText},
    {5, "Vendor id", 4, kR | kOptional, kText},
    {6, "Administrative state", 1, kRW, kEnumeration, 0, kAdministrativeStates},
    {7, "Operational state", 1, kR | kOptional | kAvc, kEnumeration, 2, kOperationalStates},
    {8, "Bridged or IP ind", 1, kRW | kOptional, kEnumeration, 0, kBridgedOrIp},
    {9, "Equipment id", 20, kR | kOptional, kText, ' '},
    {10, "Card configuration", 1, kRWC | kOptional, kUnsigned},
    {11, "Total T-CONT buffer number", 1, kR | kOptional, kUnsigned},
    {12, "Total priority queue number", 1, kR | kOptional, kUnsigned},
    {13, "Total traffic scheduler number", 1, kR | kOptional, kUnsigned},
    {14, "Power shed override", 4, kRW | kOptional, kBitField},
};
constexpr CodeWord kCircuitPackAlarms[] = {{0, "equipment"},          {1, "powering"},
                                           {2, "self-test failure"},  {3, "laser end of life"},
                                           {4, "temperature yellow"}, {5, "temperature red"}};

constexpr AttributeInfo kSoftwareImageAttributes[] = {
    {1, "Version", 14, kR | kAvc, kText},
    {2, "Is committed", 1, kR | kAvc, kEnumeration, 0, kBooleans},
    {3, "Is active", 1, kR | kAvc, kEnumeration, 0, kBooleans},
    {4, "Is valid", 1, kR | kAvc, kEnumeration, 0, kBooleans},
    {5, "Product code", 25, kR | kOptional | kAvc, kText},
    {6, "Image hash", 16, kR | kOptional | kAvc, kOctets},
};

constexpr AttributeInfo kOltGAttributes[] = {
    {1, "OLT vendor id", 4, kRW, kText, ' '},
    {2, "Equipment id", 20, kRW, kText, ' '},
    {3, "Version", 14, kRW, kText, '0'},
    {4, "Time of day information", 14, kRW | kOptional, kOctets},
};

constexpr AttributeInfo kPowerSheddingAttributes[] = {
    {1, "Restore power timer reset interval", 2, kRW, kUnsigned},
    {2, "Data class shedding interval", 2, kRW, kUnsigned},
    {3, "Voice class shedding interval", 2, kRW, kUnsigned},
    {4, "Video overlay class shedding interval", 2, kRW, kUnsigned},
    {5, "Video return class shedding interval", 2, kRW, kUnsigned},
    {6, "DSL class shedding interval", 2, kRW, kUnsigned},
    {7, "ATM class shedding interval", 2, kRW, kUnsigned},
    {8, "CES class shedding interval", 2, kRW, kUnsigned},
    {9, "Frame class shedding interval", 2, kRW, kUnsigned},
    {10, "SDH/SONET class shedding interval", 2, kRW, kUnsigned},
    {11, "Shedding status", 2, kR | kOptional | kAvc, kUnsigned},
};

constexpr EntityRow kEquipmentEntities[] = {
    {2,
     "ONU data",
     Maker::kOnu,
     kGetSet | bit(MessageType::kMibReset) | bit(MessageType::kMibUpload) | bit(MessageType::kMibUploadNext) |
         bit(MessageType::kGetAllAlarms) | bit(MessageType::kGetAllAlarmsNext),
     kOnuDataAttributes,
     {}},
    {256, "ONU-G", Maker::kOnu,
     kGetSet | bit(MessageType::kReboot) | bit(MessageType::kSynchronizeTime) | bit(MessageType::kTest),
     kOnuGAttributes, kOnuGAlarms},
    {257, "ONU2-G", Maker::kOnu, kGetSet, kOnu2GAttributes, {}},
    {441, "ONU3-G", Maker::kOnu, kGetSet | bit(MessageType::kGetNext), kOnu3GAttributes, kOnu3GAlarms},
    {5, "Cardholder", Maker::kOnu, kGetSet, kCardholderAttributes, kCardholderAlarms},
    {6, "Circuit pack", Maker::kBoth, kOltActions | bit(MessageType::kTest), kCircuitPackAttributes,
     kCircuitPackAlarms},
    {7,
     "Software image",
     Maker::kOnu,
     bit(MessageType::kGet) | bit(MessageType::kStartSoftwareDownload) | bit(MessageType::kDownloadSection) |
         bit(MessageType::kEndSoftwareDownload) | bit(MessageType::kActivateImage) | bit(MessageType::kCommitImage),
     kSoftwareImageAttributes,
     {}},
    {131, "OLT-G", Maker::kOnu, kGetSet, kOltGAttributes, {}},
    {133, "ONU power shedding", Maker::kOnu, kGetSet, kPowerSheddingAttributes, {}},
};

}  // namespace

Rows<EntityRow> equipmentEntities() {
    return kEquipmentEntities;
}

}  // namespace omci::tables
