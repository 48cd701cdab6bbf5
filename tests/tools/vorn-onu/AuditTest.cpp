// vorn-onu audit: the model of the standard by itself, differences that are planted, and none where both agree.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/RunProgram.h"
#include "views/audit/TaggingTable.h"
#include "views/audit/VlanFilter.h"

namespace {

using nlohmann::json;
using namespace vorn_onu::audit;

Frame tagged(std::vector<VlanTag> tags) {
    Frame frame;
    frame.tags = std::move(tags);
    return frame;
}

std::string upAndDown(const TaggingTable& table, const Frame& frame) {
    const Tagging up = table.upstream(frame);
    if (up.fate != Tagging::Fate::Passes) return "dropped";
    Frame there = up.frame;
    const Tagging down = table.downstream(there, 3, Untaken::LeftToTheOnu);
    Frame back = down.frame;
    return there.text() + " / " + (down.fate == Tagging::Fate::Passes ? back.text() : "not passed");
}

TEST(AuditModel, RowsActByTheirOrderAndTheInverseGivesBackWhatWasCopied) {
    TaggingTable table;
    TaggingRow untagged, translate, service;
    untagged.innerTreatment = {0, 321, 4};
    translate.innerFilter = {8, 100, 4};
    translate.tagsToRemove = 1;
    translate.innerTreatment = {8, 322, 4};
    service.innerFilter = {8, 4096, 0};  // behind the one for VID 100, whichever was set first
    service.innerTreatment = {8, 900, 2};
    table.outputTpid = 0x88a8;
    for (const TaggingRow& row : {service, translate, untagged}) table.set(row);
    EXPECT_EQ(upAndDown(table, {}), "VID 321 p0, IPv4 / untagged IPv4");
    EXPECT_EQ(upAndDown(table, tagged({{0x8100, 5, false, 100}})), "VID 322 p5, IPv4 / VID 100 p5, IPv4");
    EXPECT_EQ(upAndDown(table, tagged({{0x8100, 6, false, 7}})),
              "VID 900 p6 TPID 0x88a8, VID 7 p6, IPv4 / VID 7 p6, IPv4");
    TaggingRow both;  // each tag is written again from the one in its place
    both.outerFilter = both.innerFilter = {8, 4096, 0};
    both.tagsToRemove = 2;
    both.outerTreatment = {9, 500, 4};
    both.innerTreatment = {8, 4096, 4};
    table.set(both);
    const Frame two = tagged({{0x8100, 5, false, 10}, {0x8100, 3, false, 20}});
    EXPECT_EQ(table.upstream(two).frame.text(), "VID 500 p5, VID 20 p3, IPv4");
    TaggingRow deletion = service;
    deletion.tagsToRemove = 3;
    deletion.outerTreatment = deletion.innerTreatment = {15, 8191, 7};
    table.set(deletion);
    EXPECT_EQ(upAndDown(table, tagged({{0x8100, 6, false, 7}})), "VID 7 p6, IPv4 / not passed");
}

// The first row that writes a frame's VIDs takes p-bits that no row writes.
TEST(AuditModel, ByG988FramesThatNoRowTakesGoByTheirVidOrAreDropped) {
    TaggingTable table;
    const auto down = [&](std::uint8_t pbits, std::uint16_t vid) {
        const Tagging tagging = table.downstream(tagged({{0x8100, pbits, false, vid}}), 3, Untaken::ByVidOrDropped);
        return tagging.fate == Tagging::Fate::Passes ? tagging.frame.text() : "dropped";
    };
    EXPECT_EQ(down(1, 200), "VID 200 p1, IPv4") << "nobody has set a row";
    for (const unsigned vid : {20U, 30U}) {
        TaggingRow row;
        row.innerFilter = {8, vid, 4};
        row.tagsToRemove = 1;
        row.innerTreatment = {vid / 10, 200, 4};
        table.set(row);
    }
    EXPECT_EQ(down(3, 200), "VID 30 p0, IPv4");
    EXPECT_EQ(down(5, 200), "VID 20 p0, IPv4");
    EXPECT_EQ(down(2, 201), "dropped");
}

TEST(AuditModel, ForwardOperationsCompareWhatTheyName) {
    const std::vector<Frame> frames = {tagged({}), tagged({{0x8100, 5, false, 100}}), tagged({{0x8100, 4, false, 100}}),
                                       tagged({{0x8100, 5, false, 101}})};
    const struct {
        unsigned operation;
        std::string passes;
    } cases[] = {{0x00, "1111"}, {0x01, "1000"}, {0x02, "0111"}, {0x15, "0111"}, {0x03, "1110"},
                 {0x10, "0110"}, {0x05, "1001"}, {0x07, "1101"}, {0x0a, "0010"}, {0x0b, "1100"},
                 {0x0e, "0011"}, {0x17, "0110"}, {0x19, "0101"}, {0x21, "0100"}};
    for (const auto& one : cases) {
        const VlanFilter filter{one.operation, {{5, false, 100}}};
        std::string passes;
        for (const Frame& frame : frames) passes += filter.passes(frame) ? '1' : '0';
        EXPECT_EQ(passes, one.passes) << one.operation;
    }
}

// An untagged service on VID 100, all else dropped by rows.
json plainService() {
    json scenario = json::parse(R"({"title": "Untagged", "records": {
        "untagged": {"bridgeId": 3, "uniPort": 2, "tagAction": "push", "innerTreatmentVlanId": 100,
                     "innerTreatmentPrio": 0},
        "deletion": {"bridgeId": 3, "uniPort": 2, "removeType": "discard", "outerTreatmentTpidDe": 7,
                     "outerTreatmentVlanId": 8191, "outerTreatmentPrio": 15, "innerTreatmentTpidDe": 7,
                     "innerTreatmentVlanId": 8191, "innerTreatmentPrio": 15}}, "steps": [
        {"call": "tcont_set", "allocId": 256, "tContIndex": 1},
        {"call": "gemflow_add", "tContAllocId": 256, "xgemPortId": 1001},
        {"call": "configureBridge", "bridgeId": 3, "uniPort": 0},
        {"call": "configureAniTagRules", "bridgeId": 3, "gemPortId": 1001, "trafficModel": "1-filter",
         "forwardOperation": 4, "vlanTciFilterList": [{"vid": 100}], "pbitMap": [{"pbit": 0, "gemPort": 1001, "queue": 0}]},
        {"call": "filter_flow_add", "record": "untagged"},
        {"call": "filter_flow_add", "bridgeId": 3, "uniPort": 2, "filterType": "single", "innerFilterPrio": "default",
         "removeType": "discard"},
        {"call": "filter_flow_add", "bridgeId": 3, "uniPort": 2, "filterType": "double", "innerFilterPrio": "default",
         "outerFilterPrio": "default", "removeType": "discard"}]})");
    return scenario;
}

struct Audited {
    int code;
    json answer;
};
Audited audited(const json& scenario) {
    const ScratchDirectory scratch;
    const std::string file = scratch.write("a service.json", scenario.dump());
    const std::string steps = std::to_string(scenario["steps"].size());
    const ProgramResult result = runProgram({kTool, "audit", file, "--json", "--strict", "--after-step", steps});
    return {result.code, json::parse(result.output)};
}

TEST(Audit, FindsNothingWhereBothAgree) {
    const Audited same = audited(plainService());
    EXPECT_EQ(same.code, 0) << same.answer.dump(1);
    EXPECT_EQ(same.answer["differing"], 0);
    EXPECT_GT(same.answer["frames"], 100);
}

TEST(Audit, FindsPlantedDifferencesWithTheRowOrFilterThatDecides) {
    json again = plainService();  // an untagged row that is deleted and added again has no upstream path
    again["steps"].push_back({{"call", "filter_flow_add"}, {"record", "deletion"}});
    again["steps"].push_back({{"call", "filter_flow_add"}, {"record", "untagged"}});
    json open = plainService();  // a negative list, under which everything comes down
    open["steps"][3]["forwardOperation"] = 6;
    const struct {
        json scenario;
        std::string direction, difference, subject;
    } cases[] = {{again, "up", "dropped", "row of step 9: untagged"},
                 {open, "down", "passes", "filter of step 4: forward operation 6"}};
    for (const auto& one : cases) {
        const Audited found = audited(one.scenario);
        EXPECT_EQ(found.code, 1);
        const auto& groups = found.answer["groups"];
        const auto is = [&](const json& group) {
            return group["differs"] == true && group["direction"] == one.direction &&
                   group["difference"] == one.difference &&
                   group["subject"].get<std::string>().rfind(one.subject, 0) == 0;
        };
        EXPECT_TRUE(std::any_of(groups.begin(), groups.end(), is)) << found.answer.dump(1);
    }
}

// What is taken away is not named any more.
TEST(Audit, NamesWhatItDoesNotCover) {
    const json host = {{"call", "provisionIpHost"}, {"bridgeId", 3}, {"uniPort", 2}, {"ipAddress", "10.0.0.5"}};
    json other = plainService();
    json veip = {{"call", "veip_createRules"}, {"gemPort", 1002},      {"bridgeId", 0},   {"filterType", 16},
                 {"numberOfEntries", 1},       {"filterList", "0384"}, {"trafficType", 2}};
    for (const json& step : {host, veip}) other["steps"].push_back(step);
    const auto steps = plainService()["steps"].size();
    const json named = {"IP host of step " + std::to_string(steps + 1),
                        "VEIP service of step " + std::to_string(steps + 2)};
    EXPECT_EQ(audited(other).answer["notCovered"], named);
    veip["call"] = "veip_deleteRules";
    other["steps"].push_back(veip);
    EXPECT_EQ(audited(other).answer["notCovered"], json::array({named[0]}));
    EXPECT_EQ(audited(plainService()).answer["notCovered"], json::array());
}

TEST(Audit, GivesAFrameToTryThatSendTakesAndThatFaresAsTold) {
    const ProgramResult result = runProgram({kTool, "audit", kInternet, "--json"});
    ASSERT_EQ(result.code, 0) << result.output;  // differences are no failure without --strict
    std::size_t tried = 0;
    const json answer = json::parse(result.output);
    for (const json& group : answer["groups"]) {
        if (group["differs"] == false) continue;
        const std::string line = kTool.substr(0, kTool.rfind('/') + 1) + group["try"].get<std::string>() + " --json";
        const ProgramResult sent = runProgram({"sh", "-c", line});
        ASSERT_EQ(sent.code, group["difference"] == "dropped" ? 1 : 0) << line << "\n" << sent.output;
        ++tried;
    }
    EXPECT_EQ(tried, 3u);
    EXPECT_EQ(runProgram({kTool, "audit", kInternet, "--strict"}).code, 1);
}

TEST(Audit, IsAPartOfTheReportWhereItIsAskedFor) {
    const ScratchDirectory scratch;
    const std::string page = scratch.file("page.html");
    EXPECT_EQ(runProgram({kTool, "run", kInternet, "--quiet", "--report", page, "--audit"}).code, 0);
    expectHas(contentOf(page), {"The device beside the standard", "VID 20 p5"});
    EXPECT_EQ(runProgram({kTool, "run", kInternet, "--quiet", "--report", page}).code, 0);
    EXPECT_EQ(contentOf(page).find("The device beside the standard"), std::string::npos);
    EXPECT_EQ(runProgram({kTool, "run", kInternet, "--audit"}).code, 2);
}

}  // namespace
