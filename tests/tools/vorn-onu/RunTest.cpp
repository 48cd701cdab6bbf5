// vorn-onu run: faults that must come to their call, failing calls into the device kit, several scenarios, warnings.

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/ReadJson.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

const char* const kBridge = R"({"call": "configureBridge", "bridgeId": 3, "uniPort": 0})";

// ---- faults ----

TEST(Run, AFaultThatNeverComesToItsCallFailsUnlessItMay) {
    const ScratchDirectory scratch;
    const std::tuple<std::string, int, const char*> cases[] = {
        {R"({"fault": {"function": "ioctl:SIOCBRADDIF", "nth": 9}}, )" + std::string(kBridge), 0, "as expected"},
        {R"({"fault": {"function": "ioctl:SIOCBRADDIF", "nth": 99}}, )" + std::string(kBridge), 1,
         "expected  call 99 of ioctl:SIOCBRADDIF comes, and fails\n          actual    9 such calls since"},
        {R"({"fault": {"function": "ioctl:SIOCBRADDIF", "nth": 99, "may": true}}, )" + std::string(kBridge), 0, ""},
        {R"({"fault": {"function": "open"}}, {"fault": "clear"}, {"note": "n"})", 1, "✗  2  fault"},
        {R"({"fault": {"call": 100000}})", 1, "call number 100000 comes, and fails"},
        {std::string(kBridge) + R"(, {"fault": {"call": 1}})", 1, "expected  is still to come"},
        {R"({"fault": {"function": "vlanCtl_inserTagRule:sid0"}})", 2,
         "field 'fault.function': no call of the device kit or the C library has the name 'vlanCtl_inserTagRule', did "
         "you mean 'vlanCtl_insertTagRule'?"},
        {R"({"fault": {"function": "ioctl:SIOCSIFMTUX"}})", 2, "did you mean 'ioctl:SIOCSIFMTU'?"},
        {R"({"fault": {"function": "ioctl:4711", "may": true}})", 0, ""},
    };
    for (const auto& [steps, code, reported] : cases) {
        expectTool({"run", scratch.writeSteps("f.json", steps)}, code, {reported});
    }
}

TEST(Run, ABoardStepForAMissingDeviceChangesNothing) {
    const ScratchDirectory scratch;
    const std::string step = R"({"board": {"serialNumber": "VORN00000001", "links": {"sid11": "down"}}})";
    expectTool({"run", scratch.writeSteps("b.json", step), "--json", scratch.file("b.out")}, 1,
               {"there is no device sid11, did you mean 'sid1'?"});
    EXPECT_NE(readJson(scratch.file("b.out")).at("device").at("board").at("serialNumber"), "VORN00000001");
}

TEST(Run, StrictTakesFailingCallsForFailuresButNotThoseThatWereAskedFor) {
    const ScratchDirectory scratch;
    const std::string removal =
        scratch.writeSteps("r.json", R"({"board": {"refuseDeletion": {"gpon3.3": 9}}}, )" + std::string(kBridge) + R"(,
        {"call": "deprovisionAniSideBridge", "bridgeId": 3, "gemPortId": 1001})");
    EXPECT_EQ(runTool({"run", removal}).code, 0);
    expectTool({"run", removal, "--strict"}, 1, {"actual    vlanCtl_deleteVlanInterface(\"gpon3.3\") = 1"});
    const std::string asked = R"({"fault": {"function": "vlanCtl_createVlanInterfaceByName", "code": 5}}, )";
    EXPECT_EQ(runTool({"run", scratch.writeSteps("a.json", asked + kBridge), "--strict"}).code, 0);
}

// ---- several scenarios ----

TEST(Run, SeveralScenariosRunApartAndTellTheirResultsLikeTests) {
    const ScratchDirectory scratch;
    const std::string good = kScenarios + "/bridge.json";
    const std::string wrong = scratch.writeSteps("wrong<&.json", R"({"call": "vorn_test_call", "result": 5})");
    const std::string bad = scratch.write("bad.json", "{");
    const std::string junit = scratch.file("junit.xml");
    const ProgramResult run = expectTool({"run", good, wrong, bad, good, "--jobs", "3", "--junit", junit}, 2, {});
    const auto first = run.output.find("✓ " + good), second = run.output.find("✗ " + wrong + "  1 of 1 step failed");
    const auto third = run.output.find("✗ " + bad + ": line 1, column 2: is not JSON");
    EXPECT_TRUE(first < second && second < third && third < run.output.rfind("✓ " + good)) << run.output;
    expectHas(run.output, {"expected  5", "✗ 2 of 4 scenarios failed"});

    const std::string xml = contentOf(junit);
    expectHas(xml, {"<testsuites tests=\"4\" failures=\"1\" errors=\"1\" time=", "/wrong&lt;&amp;.json\" time=",
                    "<failure message=\"1 of 1 step failed\">", "expected  5", "is not JSON: ", "</testsuites>\n"});
    EXPECT_EQ(runTool({"run", good, wrong, "--quiet"}).code, 1);
    EXPECT_EQ(runTool({"run", good, good, "--quiet"}).output, "");
    EXPECT_EQ(runTool({"run", good, good, "--report", scratch.file("r.html")}).output,
              "vorn-onu: run: --report goes with one scenario, not with 2\n");
}

TEST(Run, OneScenarioTellsItsResultLikeATestToo) {
    const ScratchDirectory scratch;
    EXPECT_EQ(runTool({"run", scratch.write("bad.json", "{"), "--junit", scratch.file("junit.xml")}).code, 2);
    expectHas(contentOf(scratch.file("junit.xml")), {"<testsuites tests=\"1\" failures=\"0\" errors=\"1\""});
}

// ---- warnings ----

// All warnings of a run, a line each.
std::string warningsOf(const std::string& steps) {
    const ScratchDirectory scratch;
    const ProgramResult run = runTool({"run", scratch.writeSteps("w.json", steps), "--json", scratch.file("w.out")});
    const json result = json::parse(contentOf(scratch.file("w.out")), nullptr, false);
    if (result.is_discarded()) return run.output;
    std::string lines;
    for (const json& step : result.at("steps"))
        for (const json& warning : step.at("warnings")) {
            lines += warning.get<std::string>() + "\n";
            expectHas(run.output, {warning.get<std::string>().substr(0, 30)});
        }
    return lines;
}

TEST(RunWarnings, NameTheRowOfAFilterThatNoFrameCanCarry) {
    const auto warnings = [](const char* setting, const char* pbits) {
        return warningsOf(std::string(R"({"board": {"outOfRangeFilters": ")") + setting + R"("}}, )" + kBridge +
                          R"(, {"call": "configureBridge", "bridgeId": 3, "uniPort": 0}, {"call": "filter_flow_add",
                             "bridgeId": 3, "uniPort": 2, "filterType": "single", "tagAction": "translate",
                             "removeType": "outer", "innerFilterVlanId": 20, "innerTreatmentPrio": "copyInner",
                             "innerTreatmentVlanId": 100, "innerFilterPrio": )" +
                          pbits + "}");
    };
    const std::string rule =
        "sid0 sends: 'txdev=sid0.3 pbits0=8 vid0=100 type=0x8100 | vid0:=20' asks "
        "for p-bits 8, which no frame has; ";
    EXPECT_EQ(warnings("any", R"("any")"), rule + "the board lets it match anything\n");
    EXPECT_EQ(warnings("masked", R"("any")"), rule + "the board cuts its upper bits off\n");
    EXPECT_EQ(warnings("never", "5"), "");
}

TEST(RunWarnings, SayWhereTheHalDoesWhatItsCallerMayNotExpect) {
    const std::string bridge = kBridge + std::string(R"(, {"call": "configureBridge", "bridgeId": 3, "uniPort": 2})");
    EXPECT_EQ(warningsOf(R"({"fault": {"function": "ioctl:SIOCBRADDIF", "nth": 3, "code": 16}}, )" + bridge +
                         R"(, {"note": "n"})"),
              "sid2 has not joined br0, and no later call lets it join\n");
    for (const auto& [gemPort, warning] :
         {std::pair("999", "veip0 is gone, and with it the service of GEM port 1001\n"), std::pair("1001", "")}) {
        std::string steps =
            R"({"call": "vorn_omci_hal_init"}, {"call": "configureBridge", "bridgeId": 0, "uniPort": 0})";
        for (const auto& [call, port] : {std::pair("createRules", "1001"), std::pair("deleteRules", gemPort)})
            steps += std::string(R"(, {"call": "veip_)") + call + R"(", "gemPort": )" + port +
                     R"(, "bridgeId": 0, "trafficType": "1-filter", "filterList": [{"vid": 100}]})";
        EXPECT_EQ(warningsOf(steps), std::string("br0 is gone: its 8 members are on no bridge now\n") + warning);
    }
}

TEST(RunWarnings, TellOfRulesThatNoRemovalTakes) {
    std::string steps = std::string(kBridge);
    for (int vid = 1; vid <= 100; ++vid)
        steps +=
            R"(, {"call": "filter_flow_add", "bridgeId": 3, "uniPort": 2, "filterType": "single", "innerFilterPrio": "any",
            "innerFilterVlanId": )" +
            std::to_string(vid) + R"(, "innerTreatmentPrio": 0, "innerTreatmentVlanId": 7})";
    const std::string lines =
        warningsOf(steps + R"(, {"call": "filter_flow_add", "addFlag": false, "bridgeId": 3, "uniPort": 2})");
    expectHas(lines, {" past the 96 that are remembered of a device; no removal takes ",
                      " past the 96 that are remembered of a device stay"});
}

}  // namespace
