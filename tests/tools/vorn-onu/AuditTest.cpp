// vorn-onu audit: differences that are planted, and none where both agree. Its model of the standard is tried against
// the planner of the rules: src/g988/RandomTablesTest.cpp.
#include <nlohmann/json.hpp>

#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

// What is taken away is not named any more.
TEST(Audit, NamesWhatItDoesNotCover) {
    const ScratchDirectory scratch;
    std::string steps = R"({"call": "configureBridge", "bridgeId": 3, "uniPort": 0},
        {"call": "provisionIpHost", "bridgeId": 3, "uniPort": 2, "ipAddress": "10.0.0.5"})";
    const auto notCovered = [&](const char* step) {
        const std::string file = scratch.writeSteps("a service.json", steps);
        return json::parse(runTool({"audit", file, "--json", "--after-step", step}).output)["notCovered"];
    };
    const std::string veip =
        R"("gemPort": 1002, "bridgeId": 0, "filterType": 16, "trafficType": 2, "filterList": [{"vid": 900}]})";
    steps += R"(, {"call": "veip_createRules", )" + veip;
    EXPECT_EQ(notCovered("3"), json({"IP host of step 2", "VEIP service of step 3"}));
    steps += R"(, {"call": "veip_deleteRules", )" + veip;
    EXPECT_EQ(notCovered("4"), json::array({"IP host of step 2"}));
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

}  // namespace
