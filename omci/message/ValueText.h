// Attributes of managed entities in words.
#ifndef OMCI_MESSAGE_VALUE_TEXT_H
#define OMCI_MESSAGE_VALUE_TEXT_H

#include <string>
#include <vector>

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"

namespace omci {

// "unlocked", "0x8001", "VORN12345678", "VID 100 p-bits 3". A value that is shorter than the attribute is reported as
// bytes, of a table its rows are reported (rowText()), separated by semicolons; bytes left over at the end are reported
// as bytes.
std::string valueText(ClassId classId, const AttributeInfo& attribute, ByteView value);
// One row of a table; as bytes where this library has no words for it.
std::string rowText(ClassId classId, AttributeNumber table, ByteView row);

std::string hexText(ByteView bytes);                              // "0a1b"
int hexDigit(char digit);                                         // -1 for a character that is none
std::string hexNumber(std::uint64_t number, std::size_t digits);  // "0x0A1B"
// "GEM port network CTP 0x0401"
std::string entityText(EntityKey entity);
// The names of the attributes of a mask, separated by commas; numbers for those that the class does not have.
std::string attributeNames(ClassId classId, AttributeMask mask);

// One attribute out of the values that a message carries behind its mask.
struct AttributeValue {
    const AttributeInfo* attribute = nullptr;
    ByteView value;
};
struct SplitValues {
    std::vector<AttributeValue> values;
    AttributeMask unknown = 0;  // attributes that the class does not have: nobody knows their sizes
    bool tooShort = false;      // the bytes end before the last attribute does
};
// What a table has among the values.
enum class Tables : std::uint8_t {
    kRow,    // one row: set in the baseline set
    kRows,   // a table that is alone in the mask has all the bytes, any other one row: set, set table in the extended
             // set
    kSizes,  // four bytes with its length: answers to get
};
// The values of the mask's attributes, one after another.
SplitValues splitValues(const ClassInfo& info, AttributeMask mask, ByteView values, Tables tables);

}  // namespace omci

#endif
