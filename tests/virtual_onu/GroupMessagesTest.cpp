// IGMP and MLD as hosts and routers send them, byte by byte, and what a bridge learns from each.
#include "support/HexBytes.h"
#include "support/OnuFixture.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

const std::string kIpv4 =
    "01005E010203 020000000010 0800"
    "46C0 0020 0000 0000 0102 0000 0A000010 EF010203 94040000";
const std::string kIpv6 =
    "333300000123 020000000010 86DD"
    "60000000 0024 00 01 FE800000000000000000000000000010 FF020000000000000000000000010123"
    "3A00 0502 0000 0100";
const std::string kGroup4 = " EF010203", kGroup6 = " FF020000000000000000000000010123";

struct Case {
    const char* what;
    std::string message;
    const char* learned;
};

std::string learnedFrom(const Bytes& bytes) {
    virtual_onu::WireFrame read;
    if (!virtual_onu::readFrame(bytes.data(), bytes.size(), bytes.size(), read)) return "no frame";
    if (!read.frame.groupMessage) return "nothing";
    const auto& message = *read.frame.groupMessage;
    if (message.kind != virtual_onu::GroupMessage::Kind::Query) return message.text();
    return message.text() + " within " + std::to_string(message.maxResponseMs) + " ms";
}

TEST(GroupMessages, OfIgmpAreReadAsABridgeReadsThem) {
    const Case kCases[] = {
        {"report, version 1", "1200 0000" + kGroup4, "report 239.1.2.3"},
        {"report, version 2", "1600 0000" + kGroup4, "report 239.1.2.3"},
        {"leave", "1700 0000" + kGroup4, "leave 239.1.2.3"},
        {"general query, version 1", "1100 0000 00000000", "query within 10000 ms"},
        {"general query", "1132 0000 00000000", "query within 5000 ms"},
        {"query for a group", "110A 0000" + kGroup4, "query 239.1.2.3 within 1000 ms"},
        {"version 3, is exclude", "2200 0000 0000 0001 02 00 0000" + kGroup4, "report 239.1.2.3"},
        {"version 3, to exclude", "2200 0000 0000 0001 04 00 0000" + kGroup4, "report 239.1.2.3"},
        {"version 3, to include nothing", "2200 0000 0000 0001 03 00 0000" + kGroup4, "leave 239.1.2.3"},
        {"version 3, is include of nothing", "2200 0000 0000 0001 01 00 0000" + kGroup4, "leave 239.1.2.3"},
        {"version 3, to include a source", "2200 0000 0000 0001 03 00 0001" + kGroup4 + "0A000001", "report 239.1.2.3"},
        {"version 3, block a source", "2200 0000 0000 0001 06 00 0001" + kGroup4 + "0A000001", "report 239.1.2.3"},
        {"version 3, no record", "2200 0000 0000 0000 04 00 0000" + kGroup4, "nothing"},
        {"version 3, cut in the group", "2200 0000 0000 0001 04 00 0000 EF0102", "nothing"},
        {"version 3, of another group's record", "2200 0000 0000 0002 03 00 0000 EF010204 04 00 0000" + kGroup4,
         "leave 239.1.2.4, report 239.1.2.3"},
        {"version 3, behind sources and auxiliary words",
         "2200 0000 0000 0003 05 02 0001 EF010204 0A000001 0A000002 0A000003 06 00 0002 EF010205 0A000001 0A000002"
         "02 00 0000" +
             kGroup4,
         "report 239.1.2.4, report 239.1.2.5, report 239.1.2.3"},
        {"version 3, behind records that say nothing",
         "2200 0000 0000 0004 00 00 0000 EF010204 07 00 0000 EF010205 04 00 0000 0A000001 04 00 0000" + kGroup4,
         "report 239.1.2.3"},
        {"version 3, cut in the second record", "2200 0000 0000 0002 04 00 0000" + kGroup4 + "03 00 0000 EF0102",
         "report 239.1.2.3"},
        {"version 3, cut in the sources", "2200 0000 0000 0002 04 00 0000" + kGroup4 + "04 00 FFFF EF010204 0A000001",
         "report 239.1.2.3"},
        {"version 3, cut in the auxiliary words", "2200 0000 0000 0001 04 FF 0000" + kGroup4 + "00000000", "nothing"},
        {"version 3, more records than there are", "2200 0000 0000 FFFF 04 00 0000" + kGroup4, "report 239.1.2.3"},
        {"another type", "2300 0000" + kGroup4, "nothing"},
        {"cut", "1600 0000 EF0102", "nothing"},
    };
    for (const Case& one : kCases) EXPECT_EQ(learnedFrom(hex(kIpv4 + one.message)), one.learned) << one.what;
}

TEST(GroupMessages, OfMldAreReadAsABridgeReadsThem) {
    const Case kCases[] = {
        {"general query", "82000000 1388 0000 00000000000000000000000000000000", "query within 5000 ms"},
        {"query for a group", "82000000 03E8 0000" + kGroup6, "query ff02::1:123 within 1000 ms"},
        {"report", "83000000 00000000" + kGroup6, "report ff02::1:123"},
        {"done", "84000000 00000000" + kGroup6, "leave ff02::1:123"},
        {"version 2, to exclude", "8F000000 0000 0001 04 00 0000" + kGroup6, "report ff02::1:123"},
        {"version 2, to include nothing", "8F000000 0000 0001 03 00 0000" + kGroup6, "leave ff02::1:123"},
        {"version 2, behind a source and an auxiliary word",
         "8F000000 0000 0002 06 01 0001 FF020000000000000000000000010124 FE800000000000000000000000000001 00000000"
         "03 00 0000" +
             kGroup6,
         "report ff02::1:124, leave ff02::1:123"},
        {"version 2, cut in the second record", "8F000000 0000 0002 04 00 0000" + kGroup6 + "04 00 0000 FF02",
         "report ff02::1:123"},
        {"version 2, no record", "8F000000 0000 0000 04 00 0000" + kGroup6, "nothing"},
        {"a neighbour solicitation", "87000000 00000000" + kGroup6, "nothing"},
        {"cut", "83000000 00000000 FF02", "nothing"},
    };
    for (const Case& one : kCases) EXPECT_EQ(learnedFrom(hex(kIpv6 + one.message)), one.learned) << one.what;
}

class GroupReports : public OnuFixture {};

TEST_F(GroupReports, LetASetTopBoxChangeItsChannelInOneMessage) {
    for (const char* command : {"brctl addbr br3", "brctl addif br3 sid0", "ifconfig br3 up", "ifconfig sid0 up"})
        ASSERT_EQ(std::system(command), 0) << command;
    const auto joinedAfter = [](const std::string& records) {
        onu().carryFromPort("sid0", hex(kIpv4 + "2200 0000 0000" + records));
        std::string groups;
        for (const auto& one : onu().joinedGroups()) groups += std::to_string(one.group[3]) + " ";
        return groups + "after " + std::to_string(onu().joinMessages("sid0"));
    };
    EXPECT_EQ(onu().joinMessages("sid0"), 0U);
    EXPECT_EQ(joinedAfter("0001 04 00 0000" + kGroup4), "3 after 1");
    EXPECT_EQ(joinedAfter("0002 03 00 0000" + kGroup4 + "04 00 0000 EF010204"), "4 after 2");
    EXPECT_EQ(joinedAfter("0002 04 00 0000" + kGroup4 + "03 00 0000 EF010204"), "3 after 3");
    EXPECT_EQ(joinedAfter("0002 03 00 0000" + kGroup4 + "03 00 0000 EF010204"), "after 3")
        << "leaves alone join nothing";
}

}  // namespace
