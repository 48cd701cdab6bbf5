// What becomes of one row of extended VLAN tagging and of one VLAN filter, by the HAL's contract.
#include <gtest/gtest.h>

#include <sstream>

#include "omci/services/AniRules.h"
#include "omci/services/contract/UniRecords.h"
#include "tests/support/HexBytes.h"

namespace {

using namespace omci;
using namespace omci::services;

// p-bits.VID.code of the TPID
std::string tagText(unsigned priority, unsigned vid, unsigned tpid) {
    return std::to_string(priority) + "." + std::to_string(vid) + "." + std::to_string(tpid) + " ";
}

// Filters outer, inner: tags removed, action; treatments outer, inner; input and output TPID.
std::string textOf(const UniDataProvisioning& record) {
    std::ostringstream text;
    text << tagText(record.outerFilterPrio, record.outerFilterVlanId, record.outerFilterTpidDe)
         << tagText(record.innerFilterPrio, record.innerFilterVlanId, record.innerFilterTpidDe) << ": "
         << record.removeType << " " << record.tagAction << " "
         << tagText(record.outerTreatmentPrio, record.outerTreatmentVlanId, record.outerTreatmentTpidDe)
         << tagText(record.innerTreatmentPrio, record.innerTreatmentVlanId, record.innerTreatmentTpidDe) << std::hex
         << record.inputTpid << " " << record.outputTpid;
    return text.str();
}

// The first and the last of the records, where there are eight, and the problems.
std::string textOf(const UniRule& rule) {
    std::string text = rule.records.empty() ? "none" : textOf(rule.records.front());
    if (rule.records.size() > 1) text += " to " + textOf(rule.records.back());
    for (const auto& problem : rule.problems) text += "; " + problem;
    return text;
}

UniRule ruleOf(const std::string& row, std::uint8_t downstreamMode = 0) {
    return contract::uniRule(decodeTaggingRow(hex(row)), {0x88A8, 0x9100, downstreamMode, false, false}, {1, 2});
}

TEST(Rules, OfARowByTheContract) {
    const struct {
        const char* what;
        const char* row;
        const char* text;
    } kRows[] = {
        {"untagged; a TPID of a tag that is not there", "F8000000 F8000000 000F0000 00088000",
         "8.4096.0 15.4096.0 : 0 1 15.0.0 0.0.4 8100 8100"},
        {"one more tag, its TPID that of any", "F8000000 80320000 000F0000 00030A08",
         "15.4096.0 8.100.0 : 0 1 15.0.0 3.321.4 8100 8100"},
        {"one more, p-bits for each of any", "F8000000 80325000 000F0000 00080A08",
         "15.4096.0 0.100.5 : 0 1 15.0.0 0.321.6 88a8 88a8 to 15.4096.0 7.100.5 : 0 1 15.0.0 7.321.6 88a8 88a8"},
        {"one more, VID of any", "F8000000 28006000 000F0000 00088004",
         "15.4096.0 2.4096.6 : 0 1 15.0.0 2.4096.4 88a8 8100; nothing comes down: a VID copied from any VID is not "
         "found again"},
        {"another tag in its place, all kept", "F8000000 88000000 400F0000 00088000",
         "15.4096.0 8.4096.0 : 1 6 15.0.0 9.4097.0 8100 8100"},
        {"another in its place, with the input TPID", "F8000000 50325000 400F0000 00088000",
         "15.4096.0 5.100.5 : 1 6 15.0.0 5.100.0 88a8 8100"},
        {"another in its place, output TPID with its DEI", "F8000000 80324000 400F0000 000A8002",
         "15.4096.0 8.100.4 : 1 6 15.0.0 10.100.3 8100 9100; p-bits from DSCP are DSCP / 8, whatever the DSCP map "
         "says"},
        {"taken off", "F8000000 80324000 400F0000 000F0000",
         "15.4096.0 8.100.4 : 1 2 15.0.0 15.0.0 8100 8100; tags that are only taken off are not put back downstream"},
        {"the outer of two replaced by what it was", "80195000 801E4000 400F0000 00098009",
         "8.50.5 8.60.4 : 1 6 15.0.0 9.50.0 88a8 8100"},
        {"the outer of two replaced by the inner", "88005000 88007000 400F0000 00088000",
         "8.4096.5 0.4096.7 : 1 6 15.0.0 0.0.7 88a8 88a8 to 8.4096.5 7.4096.7 : 1 6 15.0.0 7.0.7 88a8 88a8; a VID is "
         "not copied from any VID into this tag: it is 0"},
        {"two for one", "80195000 801E4000 800F0000 00088000",
         "8.50.5 8.60.4 : 2 2 15.0.0 9.60.0 88a8 8100; the inner tag is not put back downstream"},
        {"two for two, the other way round", "88004000 88004000 80088000 00098009",
         "8.4096.4 8.4096.4 : 2 6 8.4096.4 9.4097.4 8100 8100"},
        {"two above one, p-bits of it", "F8000000 88004000 00088003 00080236",
         "15.4096.0 0.4096.4 : 0 4 0.0.6 0.70.6 8100 9100 to 15.4096.0 7.4096.4 : 0 4 7.0.6 7.70.6 8100 9100; a VID is "
         "not copied from any VID into this tag: it is 0"},
        {"two above two, p-bits of both", "80194000 801E4000 00090234 00080284",
         "0.50.4 8.60.4 : 0 4 0.70.4 0.80.4 8100 8100 to 7.50.4 8.60.4 : 0 4 7.70.4 0.80.4 8100 8100; p-bits are "
         "copied from one of the two tags only"},
        {"a priority tag beside another", "80004000 801E4000 000F0000 00000284",
         "8.0.4 8.60.4 : 0 1 15.0.0 0.80.4 8100 8100; nothing comes down: a filter on a priority tag beside another "
         "tag gets no downstream rule"},
        {"PPPoE of VID 1", "F8000000 8000C002 400F0000 00000287",
         "15.4096.0 8.1.4 : 1 6 15.0.0 0.80.7 8100 9100; nothing comes down: a filter on VID 1 gets no downstream "
         "rule"},
        {"one default rule, dropped", "F8000000 E8000000 C00F0000 000F0000", "none"},
    };
    for (const auto& one : kRows) EXPECT_EQ(textOf(ruleOf(one.row)), one.text) << one.what;
}

// The downstream modes that have a rule (*: with a problem), of a row that adds p-bits 3 and VID 321, and of one that
// lets all pass.
TEST(Rules, OfARowForDownstream) {
    for (const auto& [row, modes] : {std::pair("F8000000 F8000000 000F0000 00030A0C", "023*4*56*7*"),
                                     std::pair("F8000000 F8000000 000F0000 000F0000", "01234")}) {
        std::string found;
        for (std::uint8_t mode = 0; mode <= 8; ++mode) {
            const UniRule rule = ruleOf(row, mode);
            EXPECT_EQ(rule.records.front().downstreamMode, rule.downstream ? 0 : 1);
            if (rule.downstream) found += std::to_string(mode);
            if (!rule.problems.empty()) found += "*";
        }
        EXPECT_EQ(found, modes) << row;
    }
}

// The gateway is told of VLANs with p-bits that go up in the GEM port: here 2 and 3.
TEST(Rules, AnnouncedTcis) {
    const struct {
        std::uint8_t operation, priorities;
        const char* tcis;
    } kFilters[] = {
        {0x00, 0x0C, ""},          // all pass
        {0x01, 0x0C, ""},          // none
        {0x03, 0x0C, "40646065"},  // by VID: with the lowest p-bits of the GEM port, or those that the list names
        {0x10, 0x0C, "40646065"}, {0x10, 0x00, ""},         {0x05, 0x0C, ""},  // all but these
        {0x07, 0x0C, ""},                                                      // by p-bits alone
        {0x0B, 0x0C, "6065"},                                                  // by VID and p-bits: those of the list
        {0x0D, 0x0C, ""},         {0x21, 0xFF, "00646065"},
    };
    for (const auto& one : kFilters) {
        const GemService gem{1001, 0, one.priorities, false};
        EXPECT_EQ(tciText(announcedTcis(gem, {one.operation, {0x0064, 0x6065}})), one.tcis) << int{one.operation};
    }
}

}  // namespace
