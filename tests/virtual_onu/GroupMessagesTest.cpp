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
    using Kind = virtual_onu::GroupMessage::Kind;
    const auto& message = *read.frame.groupMessage;
    if (message.kind == Kind::Query)
        return "query " + message.group + " within " + std::to_string(message.maxResponseMs) + " ms";
    return (message.kind == Kind::Report ? "report " : "leave ") + message.group;
}

TEST(GroupMessages, OfIgmpAreReadAsABridgeReadsThem) {
    const Case kCases[] = {
        {"report, version 1", "1200 0000" + kGroup4, "report 239.1.2.3"},
        {"report, version 2", "1600 0000" + kGroup4, "report 239.1.2.3"},
        {"leave", "1700 0000" + kGroup4, "leave 239.1.2.3"},
        {"general query, version 1", "1100 0000 00000000", "query  within 10000 ms"},
        {"general query", "1132 0000 00000000", "query  within 5000 ms"},
        {"query for a group", "110A 0000" + kGroup4, "query 239.1.2.3 within 1000 ms"},
        {"version 3, is exclude", "2200 0000 0000 0001 02 00 0000" + kGroup4, "report 239.1.2.3"},
        {"version 3, to exclude", "2200 0000 0000 0001 04 00 0000" + kGroup4, "report 239.1.2.3"},
        {"version 3, to include nothing", "2200 0000 0000 0001 03 00 0000" + kGroup4, "leave 239.1.2.3"},
        {"version 3, is include of nothing", "2200 0000 0000 0001 01 00 0000" + kGroup4, "leave 239.1.2.3"},
        {"version 3, to include a source", "2200 0000 0000 0001 03 00 0001" + kGroup4 + "0A000001", "report 239.1.2.3"},
        {"version 3, block a source", "2200 0000 0000 0001 06 00 0001" + kGroup4 + "0A000001", "report 239.1.2.3"},
        {"version 3, no record", "2200 0000 0000 0000 04 00 0000" + kGroup4, "nothing"},
        {"version 3, cut in the group", "2200 0000 0000 0001 04 00 0000 EF0102", "nothing"},
        {"another type", "2300 0000" + kGroup4, "nothing"},
        {"cut", "1600 0000 EF0102", "nothing"},
    };
    for (const Case& one : kCases) EXPECT_EQ(learnedFrom(hex(kIpv4 + one.message)), one.learned) << one.what;
}

TEST(GroupMessages, OfMldAreReadAsABridgeReadsThem) {
    const Case kCases[] = {
        {"general query", "82000000 1388 0000 00000000000000000000000000000000", "query  within 5000 ms"},
        {"query for a group", "82000000 03E8 0000" + kGroup6, "query ff02::1:123 within 1000 ms"},
        {"report", "83000000 00000000" + kGroup6, "report ff02::1:123"},
        {"done", "84000000 00000000" + kGroup6, "leave ff02::1:123"},
        {"version 2, to exclude", "8F000000 0000 0001 04 00 0000" + kGroup6, "report ff02::1:123"},
        {"version 2, to include nothing", "8F000000 0000 0001 03 00 0000" + kGroup6, "leave ff02::1:123"},
        {"version 2, no record", "8F000000 0000 0000 04 00 0000" + kGroup6, "nothing"},
        {"a neighbour solicitation", "87000000 00000000" + kGroup6, "nothing"},
        {"cut", "83000000 00000000 FF02", "nothing"},
    };
    for (const Case& one : kCases) EXPECT_EQ(learnedFrom(hex(kIpv6 + one.message)), one.learned) << one.what;
}

}  // namespace
