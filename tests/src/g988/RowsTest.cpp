// Rows of the extended VLAN tagging table, written as the 16 bytes that an OLT sends, and what becomes of frames. Of
// the rows here chance draws few: two tags that meet, and p-bits that decide. The others: RandomTablesTest.cpp.
#include "src/g988/PlannedBoard.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::VlanTag;

constexpr std::uint16_t kServiceTpid = 0x88A8;

// Four words of a row, most significant bit first.
g988::TaggingRow rowOf(const std::string& text, std::uint16_t bridge = 1) {
    unsigned word[4] = {};
    EXPECT_EQ(std::sscanf(text.c_str(), "%x %x %x %x", &word[0], &word[1], &word[2], &word[3]), 4);
    const auto codes = [](unsigned bits, unsigned pbitsAt, unsigned vidAt, unsigned tpidAt) {
        return g988::TagCodes{static_cast<std::uint8_t>(bits >> pbitsAt & 15),
                              static_cast<std::uint16_t>(bits >> vidAt & 0x1FFF),
                              static_cast<std::uint8_t>(bits >> tpidAt & 7)};
    };
    g988::TaggingRow row;
    row.outerFilter = codes(word[0], 28, 15, 12);
    row.innerFilter = codes(word[1], 28, 15, 12);
    row.extendedCriteria = static_cast<std::uint8_t>(word[1] >> 4 & 0xFF);
    row.etherTypes = static_cast<g988::EtherTypes>(word[1] & 15);
    row.tagsToRemove = static_cast<std::uint8_t>(word[2] >> 30);
    row.outerTreatment = codes(word[2], 16, 3, 0);
    row.innerTreatment = codes(word[3], 16, 3, 0);
    row.bridge = bridge;
    return row;
}

g988::TaggingTable tableOf(const std::vector<const char*>& rows, std::uint8_t mode = 0) {
    g988::TaggingTable table;
    table.outputTpid = kServiceTpid;
    table.downstreamMode = mode;
    for (const char* row : rows) table.set(rowOf(row));
    return table;
}

// Port sid0 in bridge 1, whose PON side passes everything on one GEM port.
g988::Tables tablesWith(std::optional<g988::TaggingTable> tagging) {
    g988::Tables tables;
    tables.uniPorts[0] = {{1}, std::move(tagging)};
    g988::PonPort port;
    port.mapper.places.fill(g988::GemPlace{10, 0});
    tables.bridges[1] = {port};
    return tables;
}

Frame frame(const std::vector<VlanTag>& tags) {
    Frame made;
    made.tags = tags;
    return made;
}

VlanTag tag(unsigned vid, unsigned pbits = 0, std::uint16_t tpid = 0x8100, bool dei = false) {
    return {tpid, static_cast<std::uint8_t>(pbits), dei, static_cast<std::uint16_t>(vid)};
}

constexpr const char* kUntaggedTo321 = "F8000000 F8000000 000F0000 00000A0C";
constexpr const char* k100To321 = "F8000000 80320000 400F0000 00080A0C";
constexpr const char* k100To321P5 = "F8000000 80320000 400F0000 00050A0C";
constexpr const char* kUntaggedByDscp = "F8000000 F8000000 000F0000 000A0A0C";

constexpr const char* kAnyTagIn900 = "F8000000 88000000 000F0000 00081C22";
constexpr const char* kUntaggedIn900Over50 = "F8000000 F8000000 00001C26 00000194";
constexpr const char* kExchange = "88000000 88000000 80088000 00098009";
constexpr const char* k100P3To321P3 = "F8000000 30320000 400F0000 00030A0C";
constexpr const char* k200To321P5 = "F8000000 80640000 400F0000 00050A0C";
constexpr const char* kTwoTagsLoseOuter = "88000000 88000000 400F0000 000F0000";
constexpr const char* kTwoTagsInto321 = "88000000 80320000 800F0000 00090A0C";

class Tagging : public PlannedBoard {
protected:
    std::string goesUp(const Frame& sent) {
        const auto walk = onu().sendFromPort("sid0", sent);
        return walk.exits.empty() ? "" : walk.exits.front().frame.text();
    }
    std::string comesDown(const Frame& sent) {
        const auto walk = onu().sendFromPon(kFirstPortId, sent);
        return walk.exits.empty() ? "" : walk.exits.front().frame.text();
    }
};

TEST_F(Tagging, RowsDoToFramesWhatTheySay) {
    const VlanTag service = tag(900, 1, kServiceTpid);
    const struct {
        std::vector<const char*> rows;
        bool goesUp;
        std::vector<VlanTag> sent;
        const char* leaves;
    } cases[] = {
        {{kAnyTagIn900}, true, {tag(7, 3, 0x8100, true)}, "VID 900 p3 DEI TPID 0x88a8, VID 7 p3 DEI, IPv4"},
        {{kAnyTagIn900}, false, {service, tag(7, 3)}, "VID 7 p3, IPv4"},
        {{kUntaggedIn900Over50}, true, {}, "VID 900 p0 TPID 0x88a8, VID 50 p0, IPv4"},
        {{kUntaggedIn900Over50}, false, {tag(900, 0, kServiceTpid), tag(50)}, "untagged IPv4"},
        {{kExchange}, true, {tag(10, 1), tag(20, 2)}, "VID 20 p2, VID 10 p1, IPv4"},
        {{kExchange}, false, {tag(20, 2), tag(10, 1)}, "VID 10 p1, VID 20 p2, IPv4"},
        {{k100P3To321P3}, true, {tag(100, 1)}, "VID 100 p1, IPv4"},
        {{k100P3To321P3, k200To321P5}, false, {tag(321, 5)}, "VID 200 p0, IPv4"},
        {{k100P3To321P3, k200To321P5}, false, {tag(321, 1)}, "VID 100 p3, IPv4"},
        {{kTwoTagsLoseOuter}, true, {tag(5), tag(6, 2)}, "VID 6 p2, IPv4"},
        {{kTwoTagsLoseOuter}, false, {tag(6, 2)}, "VID 0 p0, VID 6 p2, IPv4"},
        {{kTwoTagsInto321}, true, {tag(5, 6), tag(100, 2)}, "VID 321 p6, IPv4"},
        {{kTwoTagsInto321}, false, {tag(321, 6)}, "VID 0 p6, VID 100 p0, IPv4"},
    };
    for (const auto& one : cases) {
        carryOut(g988::planOf(tablesWith(tableOf(one.rows))));
        EXPECT_EQ(one.goesUp ? goesUp(frame(one.sent)) : comesDown(frame(one.sent)), one.leaves) << one.rows.front();
    }
}

// What becomes of VID 321 p5, VID 321 p3 and VID 500 p5 where VID 100 has become VID 321 p5, by modes.
TEST_F(Tagging, DownstreamModesCompareAndTakeBackWhatTheySay) {
    const struct {
        const char *same, *otherPbits, *otherVid;
    } modes[] = {{"VID 100 p0, IPv4", "VID 100 p0, IPv4", ""},
                 {"VID 321 p5, IPv4", "VID 321 p3, IPv4", "VID 500 p5, IPv4"},
                 {"VID 100 p0, IPv4", "VID 321 p3, IPv4", "VID 500 p5, IPv4"},
                 {"VID 100 p5, IPv4", "VID 100 p3, IPv4", "VID 500 p5, IPv4"},
                 {"VID 321 p0, IPv4", "VID 321 p3, IPv4", "VID 500 p0, IPv4"},
                 {"VID 100 p0, IPv4", "", ""},
                 {"VID 100 p5, IPv4", "VID 100 p3, IPv4", ""},
                 {"VID 321 p0, IPv4", "", "VID 500 p0, IPv4"},
                 {"", "", ""}};
    for (std::uint8_t mode = 0; mode < std::size(modes); ++mode) {
        SCOPED_TRACE(int{mode});
        carryOut(g988::planOf(tablesWith(tableOf({k100To321P5}, mode))));
        EXPECT_EQ(comesDown(frame({tag(321, 5)})), modes[mode].same);
        EXPECT_EQ(comesDown(frame({tag(321, 3)})), modes[mode].otherPbits);
        EXPECT_EQ(comesDown(frame({tag(500, 5)})), modes[mode].otherVid);
    }
}

// Codes in fields that nobody looks at are no second row.
TEST_F(Tagging, RowsAreKnownByTheirFilters) {
    g988::TaggingTable table = tableOf({kUntaggedTo321});
    const std::size_t rows = table.rows().size();
    table.set(rowOf("F0327000 F7FF7000 000F0000 00000014"));  // untagged too, to VID 2
    EXPECT_EQ(table.rows().size(), rows);
    carryOut(g988::planOf(tablesWith(table)));
    EXPECT_EQ(goesUp(frame({})), "VID 2 p0, IPv4");
}

// ---- refusals ----

TEST(Refusals, NameTheRowAndTheReason) {
    using Tables = g988::Tables;
    const struct {
        std::vector<const char*> row;  // none for what the change does
        const char* reason;
        void (*change)(Tables& tables);
    } cases[] = {
        {{"F8000000 F8000010 000F0000 00000A0C"}, "UDP ports", [](Tables&) {}},
        {{"80320000 F8000000 400F0000 00080A0C"}, "no inner one", [](Tables&) {}},
        {{kUntaggedByDscp}, "no other map", [](Tables& t) { t.uniPorts[0].tagging->dscpMap[46] = 6; }},
        {{k100To321}, "not in its bridge", [](Tables& t) { t.uniPorts[0].bridges = {2}; }},
        {{}, "12 entries", [](Tables& t) { t.bridges[1][0].filter.list.resize(13); }},
        {{}, "default p-bits", [](Tables& t) { t.bridges[1][0].mapper.defaultPbits = 8; }},
        {{},
         "by their DSCP",
         [](Tables& t) {
             t.bridges[1][0].mapper.unmarked = g988::PbitMapper::Unmarked::FromDscp;
             t.bridges[1][0].mapper.places[5] = g988::GemPlace{11, 0};
         }},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.reason);
        Tables tables = tablesWith(tableOf(one.row));
        one.change(tables);
        const auto refusals = g988::planOf(tables).refusals;
        ASSERT_EQ(refusals.size(), 1u);
        EXPECT_TRUE(contains(refusals.front().text(), one.reason)) << refusals.front().text();
        EXPECT_EQ(contains(refusals.front().origin, "sid0 row"), !one.row.empty()) << refusals.front().origin;
    }
}

}  // namespace
