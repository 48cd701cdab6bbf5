// vorn-onu audit: differences that are planted, and none where both agree. Its model of the standard is tried against
// the planner of the rules: src/g988/RandomTablesTest.cpp.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

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
    const ProgramResult result = runTool({"audit", file, "--json", "--strict", "--after-step", steps});
    return {result.code, json::parse(result.output)};
}

TEST(Audit, FindsNothingWhereBothAgree) {
    const Audited same = audited(plainService());
    EXPECT_EQ(same.code, 0) << same.answer.dump(1);
    EXPECT_EQ(same.answer["differing"], 0);
    EXPECT_GT(same.answer["frames"], 100);
    EXPECT_GT(same.answer["open"], 0) << "what comes down and no row has written";
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
    const ProgramResult result = runTool({"audit", kInternet, "--json"});
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
    EXPECT_EQ(runTool({"audit", kInternet, "--strict"}).code, 1);
}

TEST(Audit, IsAPartOfTheReportWhereItIsAskedFor) {
    const ScratchDirectory scratch;
    const std::string page = scratch.file("page.html");
    EXPECT_EQ(runTool({"run", kInternet, "--quiet", "--report", page, "--audit"}).code, 0);
    expectHas(contentOf(page), {"The device beside the standard", "VID 20 p5"});
    EXPECT_EQ(runTool({"run", kInternet, "--quiet", "--report", page}).code, 0);
    EXPECT_EQ(contentOf(page).find("The device beside the standard"), std::string::npos);
    EXPECT_EQ(runTool({"run", kInternet, "--audit"}).code, 2);
}

}  // namespace
