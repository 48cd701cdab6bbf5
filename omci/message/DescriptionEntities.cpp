// What the MIB says about itself, thresholds, wavelength channels.
#include "omci/message/EntityTables.h"

namespace omci::tables {

namespace {

constexpr CodeWord kMakers[] = {{1, "made by the ONU"}, {2, "made by the OLT"}, {3, "made by both"}};
constexpr CodeWord kSupport[] = {{1, "supported"}, {2, "not supported"}, {3, "partly supported"}, {4, "ignored"}};
constexpr CodeWord kAccesses[] = {{1, "read"},
                                  {2, "write"},
                                  {3, "read, write"},
                                  {5, "read, set by create"},
                                  {6, "write, set by create"},
                                  {7, "read, write, set by create"}};
constexpr CodeWord kFormats[] = {{1, "pointer"}, {2, "bit field"},   {3, "signed number"}, {4, "unsigned number"},
                                 {5, "text"},    {6, "enumeration"}, {7, "table"}};

constexpr AttributeInfo kOmciObjectAttributes[] = {
    {1, "ME type table", 2, kR, kTable},
    {2, "Message type table", 1, kR, kTable},
};

constexpr AttributeInfo kEntityObjectAttributes[] = {
    {1, "Name", 25, kR, kText},
    {2, "Attributes table", 2, kR, kTable},
    {3, "Access", 1, kR, kEnumeration, 0, kMakers},
    {4, "Alarms table", 1, kR, kTable},
    {5, "AVCs table", 1, kR, kTable},
    {6, "Actions", 4, kR, kBitField},
    {7, "Instances table", 2, kR, kTable},
    {8, "Support", 1, kR, kEnumeration, 0, kSupport},
};

constexpr AttributeInfo kAttributeObjectAttributes[] = {
    {1, "Name", 25, kR, kText},
    {2, "Size", 2, kR, kUnsigned},
    {3, "Access", 1, kR, kEnumeration, 0, kAccesses},
    {4, "Format", 1, kR, kEnumeration, 0, kFormats},
    {5, "Lower limit", 4, kR, kHex},
    {6, "Upper limit", 4, kR, kHex},
    {7, "Bit field", 4, kR, kBitField},
    {8, "Code points table", 2, kR, kTable},
    {9, "Support", 1, kR, kEnumeration, 0, kSupport},
};

constexpr AttributeInfo kThreshold1Attributes[] = {
    {1, "Threshold value 1", 4, kRWC, kUnsigned}, {2, "Threshold value 2", 4, kRWC, kUnsigned},
    {3, "Threshold value 3", 4, kRWC, kUnsigned}, {4, "Threshold value 4", 4, kRWC, kUnsigned},
    {5, "Threshold value 5", 4, kRWC, kUnsigned}, {6, "Threshold value 6", 4, kRWC, kUnsigned},
    {7, "Threshold value 7", 4, kRWC, kUnsigned},
};

constexpr AttributeInfo kThreshold2Attributes[] = {
    {1, "Threshold value 8", 4, kRWC, kUnsigned},  {2, "Threshold value 9", 4, kRWC, kUnsigned},
    {3, "Threshold value 10", 4, kRWC, kUnsigned}, {4, "Threshold value 11", 4, kRWC, kUnsigned},
    {5, "Threshold value 12", 4, kRWC, kUnsigned}, {6, "Threshold value 13", 4, kRWC, kUnsigned},
    {7, "Threshold value 14", 4, kRWC, kUnsigned},
};

constexpr AttributeInfo kTwdmChannelAttributes[] = {
    {1, "Active channel indication", 1, kR, kEnumeration, 0, kBooleans},
    {2, "Operational channel indication", 1, kR, kEnumeration, 0, kBooleans},
    {3, "Downstream wavelength channel", 1, kR, kUnsigned, 0xFF},
    {4, "Upstream wavelength channel", 1, kR, kUnsigned, 0xFF},
};

constexpr EntityRow kDescriptionEntities[] = {
    {287, "OMCI", Maker::kOnu, kGetGetNext, kOmciObjectAttributes, {}},
    {288, "Managed entity", Maker::kOnu, kGetGetNext, kEntityObjectAttributes, {}},
    {289, "Attribute", Maker::kOnu, kGetGetNext, kAttributeObjectAttributes, {}},
    {273, "Threshold data 1", Maker::kOlt, kOltActions, kThreshold1Attributes, {}},
    {274, "Threshold data 2", Maker::kOlt, kOltActions, kThreshold2Attributes, {}},
    {443, "TWDM channel", Maker::kOnu, bit(MessageType::kGet), kTwdmChannelAttributes, {}},
};

}  // namespace

Rows<EntityRow> descriptionEntities() {
    return kDescriptionEntities;
}

}  // namespace omci::tables
