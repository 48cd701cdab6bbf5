// Each class of managed entities as the standard defines it. A byte too many shifts everything behind it in a create, a
// get and an upload; a right too few is a request that every other ONU takes.
#include <gtest/gtest.h>

#include <string>

#include "omci/message/ManagedEntities.h"

namespace omci {

namespace {

const char* const kGetOnly = "get";
const char* const kGetTable = "get, get next";
const char* const kSetGet = "set, get";
const char* const kOlt = "create, delete, set, get";
const char* const kOltTable = "create, delete, set, get, get next, set table";
const char* const kPm = "create, delete, set, get, get current data";

struct StandardClass {
    ClassId id;
    std::size_t bytes;        // of all attributes that are no table
    std::size_t rowBytes;     // of a row of each table
    std::size_t createBytes;  // that a create carries
    AttributeMask readable, writable, setByCreate, optional, reportedByItself;
    std::string actions;
};
const StandardClass kClasses[] = {
    {2, 1, 0, 0, 0x8000, 0x8000, 0, 0, 0,
     "set, get, get all alarms, get all alarms next, MIB upload, MIB upload next, MIB reset"},
    {5, 47, 0, 0, 0xFF80, 0x7380, 0, 0x3F80, 0x8900, kSetGet},
    {6, 59, 0, 2, 0xFFFC, 0x0544, 0x8040, 0x4BFC, 0x0200, "create, delete, set, get, test"},
    {7, 58, 0, 0, 0xFC00, 0, 0, 0x0C00, 0xFC00,
     "get, start software download, download section, end software download, activate image, commit image"},
    {11, 17, 0, 0, 0xFFFE, 0xB9FE, 0, 0x047E, 0x4410, kSetGet},
    {24, 59, 0, 2, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {45, 17, 0, 17, 0xFFC0, 0xFFC0, 0xFFC0, 0x00C0, 0, kOlt},
    {46, 27, 0, 0, 0xFF00, 0, 0, 0x0300, 0, kGetOnly},
    {47, 26, 0, 16, 0xFFFC, 0xFFBC, 0xFF8C, 0x09FC, 0, kOlt},
    {48, 25, 0, 0, 0xC000, 0, 0, 0, 0, kGetOnly},
    {49, 0, 8, 0, 0x8000, 0x8000, 0, 0, 0, "set, get, get next, set table"},
    {50, 0, 8, 0, 0x8000, 0, 0, 0, 0, kGetTable},
    {51, 7, 0, 2, 0xE000, 0x4000, 0x4000, 0, 0, kPm},
    {52, 23, 0, 2, 0xFE00, 0x4000, 0x4000, 0, 0, kPm},
    {78, 7, 0, 7, 0xF800, 0xF800, 0xF800, 0x1800, 0, kOlt},
    {79, 10, 0, 0, 0xFFC0, 0xFFC0, 0, 0, 0, kSetGet},
    {84, 26, 0, 26, 0xE000, 0xE000, 0xE000, 0, 0, kOlt},
    {89, 7, 0, 2, 0xE000, 0x4000, 0x4000, 0, 0, kPm},
    {130, 45, 0, 21, 0xFFF8, 0xFFF8, 0xFFD8, 0x0008, 0, kOlt},
    {131, 52, 0, 0, 0xF000, 0xF000, 0, 0x1000, 0, kSetGet},
    {133, 22, 0, 0, 0xFFE0, 0xFFC0, 0, 0x0020, 0x0020, kSetGet},
    {134, 124, 0, 0, 0xFFFF, 0xBF01, 0, 0x00F9, 0x00FE, "set, get, test"},
    {136, 6, 0, 6, 0xF000, 0xF000, 0xF000, 0, 0, kOlt},
    {137, 4, 0, 4, 0xC000, 0xC000, 0xC000, 0, 0, kOlt},
    {148, 101, 0, 0, 0xF800, 0xF800, 0, 0x0800, 0, kOlt},
    {157, 376, 0, 0, 0xFFFF, 0xFFFF, 0, 0, 0xFFFF, kOlt},
    {171, 35, 44, 4, 0xFFC0, 0xBF40, 0x8280, 0x01C0, 0, kOltTable},
    {256, 71, 0, 0, 0xFFF8, 0x0610, 0, 0x09F8, 0x0160, "set, get, test, synchronize time, reboot"},
    {257, 42, 0, 0, 0xFFFC, 0x0814, 0, 0xA0FC, 0x4000, kSetGet},
    {262, 4, 0, 0, 0xE000, 0xA000, 0, 0, 0, kSetGet},
    {263, 21, 0, 0, 0xFFFF, 0x27B3, 0, 0x01FF, 0x0100, "set, get, test"},
    {264, 8, 0, 0, 0xF800, 0xD800, 0, 0x3800, 0, kSetGet},
    {266, 12, 0, 9, 0xFF00, 0xF300, 0xF200, 0x0C00, 0x0400, kOlt},
    {268, 16, 0, 14, 0xFFC0, 0xFAC0, 0xFAC0, 0x0DC0, 0, kOlt},
    {272, 2, 0, 2, 0x8000, 0x8000, 0x8000, 0, 0, kOlt},
    {273, 28, 0, 28, 0xFE00, 0xFE00, 0xFE00, 0, 0, kOlt},
    {274, 28, 0, 28, 0xFE00, 0xFE00, 0xFE00, 0, 0, kOlt},
    {276, 7, 0, 2, 0xE000, 0x4000, 0x4000, 0, 0, kPm},
    {277, 38, 0, 0, 0xFFFF, 0x3FFF, 0, 0x180F, 0, kSetGet},
    {278, 6, 0, 0, 0xF000, 0xB000, 0, 0, 0, kSetGet},
    {280, 20, 0, 20, 0xFF00, 0xFE00, 0xFF00, 0xFF00, 0, kOlt},
    {281, 12, 36, 10, 0xFFC0, 0xF3C0, 0xF300, 0x0C40, 0x0400, kOltTable},
    {287, 0, 3, 0, 0xC000, 0, 0, 0, 0, kGetTable},
    {288, 31, 6, 0, 0xFF00, 0, 0, 0, 0, kGetTable},
    {289, 42, 2, 0, 0xFF80, 0, 0, 0, 0, kGetTable},
    {290, 15, 0, 0, 0xBFF0, 0xC990, 0, 0x3FF0, 0, kSetGet},
    {296, 59, 0, 2, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {309, 31, 58, 26, 0xFFFF, 0xFF7F, 0xFC79, 0x1CFF, 0, kOltTable},
    {310, 10, 42, 10, 0xFE00, 0xFE00, 0xF800, 0x3C00, 0, kOltTable},
    {311, 13, 82, 1, 0xFC00, 0x8000, 0x8000, 0x7400, 0, "create, delete, set, get, get next"},
    {312, 21, 0, 2, 0xFE00, 0x4000, 0x4000, 0, 0, kPm},
    {321, 59, 0, 2, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {322, 59, 0, 2, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {329, 31, 0, 0, 0xF800, 0xB000, 0, 0x7000, 0x4000, kSetGet},
    {332, 38, 84, 0, 0x7FF0, 0xE320, 0, 0x0030, 0x0C80, "set, get, get next, set table"},
    {334, 73, 0, 16, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {341, 31, 0, 2, 0xFE00, 0x4000, 0x4000, 0x0200, 0, kPm},
    {425, 129, 0, 16, 0xFFFF, 0x4000, 0x4000, 0, 0, kPm},
    {441, 11, 0, 0, 0xFD40, 0x0280, 0, 0x8040, 0x9800, "set, get, get next"},
    {443, 4, 0, 0, 0xF000, 0, 0, 0, 0, kGetOnly},
};

std::string actionsOf(const ClassInfo& info) {
    std::string text;
    for (unsigned type = 0; type < 32; ++type) {
        if (!info.takes(static_cast<MessageType>(type))) continue;
        text += (text.empty() ? "" : ", ") + std::string(nameOf(static_cast<MessageType>(type)));
    }
    return text;
}

}  // namespace

TEST(ManagedEntities, AreThoseOfTheStandard) {
    ASSERT_EQ(managedEntities().size(), std::size(kClasses));
    for (const StandardClass& wanted : kClasses) {
        SCOPED_TRACE(nameOfClass(wanted.id));
        const ClassInfo* info = findClass(wanted.id);
        ASSERT_NE(info, nullptr);
        std::size_t rowBytes = 0;
        AttributeMask optional = 0, reportedByItself = 0;
        AttributeNumber next = 1;
        for (const AttributeInfo& attribute : info->attributes()) {
            EXPECT_EQ(attribute.number, next++);
            EXPECT_LE(attribute.isTable() ? 0 : attribute.size, 30) << "a set of it fits into no baseline message";
            if (attribute.isTable()) rowBytes += attribute.size;
            if (attribute.optional()) optional |= maskOf(attribute.number);
            if ((attribute.access & kAvc) != 0) reportedByItself |= maskOf(attribute.number);
        }
        EXPECT_EQ(info->size(), wanted.bytes);
        EXPECT_EQ(rowBytes, wanted.rowBytes);
        EXPECT_EQ(info->createSize(), wanted.createBytes);
        EXPECT_EQ(info->readable(), wanted.readable);
        EXPECT_EQ(info->writable(), wanted.writable);
        EXPECT_EQ(info->setByCreate(), wanted.setByCreate);
        EXPECT_EQ(optional, wanted.optional);
        EXPECT_EQ(reportedByItself, wanted.reportedByItself);
        EXPECT_EQ(actionsOf(*info), wanted.actions);
    }
}

}  // namespace omci
