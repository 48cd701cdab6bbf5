// vorn-onu run: faults that must come to their call, failing calls into the device kit, several scenarios, warnings.

#include <nlohmann/json.hpp>

#include "tools/vorn-onu/ReadJson.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

const char* const kBridge = R"({"call": "configureBridge", "bridgeId": 3, "uniPort": 0})";

std::string scenario(const std::string& steps) {
    return R"({"title": "t", "steps": [)" + steps + "]}";
}

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
        expectTool({"run", scratch.write("f.json", scenario(steps))}, code, {reported});
    }
}

TEST(Run, ABoardStepForAMissingDeviceChangesNothing) {
    const ScratchDirectory scratch;
    const std::string step = R"({"board": {"serialNumber": "VORN00000001", "links": {"sid11": "down"}}})";
    expectTool({"run", scratch.write("b.json", scenario(step)), "--json", scratch.file("b.out")}, 1,
               {"there is no device sid11, did you mean 'sid1'?"});
    EXPECT_NE(readJson(scratch.file("b.out")).at("device").at("board").at("serialNumber"), "VORN00000001");
}

TEST(Run, StrictTakesFailingCallsForFailuresButNotThoseThatWereAskedFor) {
    const ScratchDirectory scratch;
    const std::string removal = scratch.write(
        "r.json", scenario(R"({"board": {"refuseDeletion": {"gpon3.3": 9}}}, )" + std::string(kBridge) + R"(,
        {"call": "deprovisionAniSideBridge", "bridgeId": 3, "gemPortId": 1001})"));
    EXPECT_EQ(runTool({"run", removal}).code, 0);
    expectTool({"run", removal, "--strict"}, 1, {"actual    vlanCtl_deleteVlanInterface(\"gpon3.3\") = 1"});
    const std::string asked = R"({"fault": {"function": "vlanCtl_createVlanInterfaceByName", "code": 5}}, )";
    EXPECT_EQ(runTool({"run", scratch.write("a.json", scenario(asked + kBridge)), "--strict"}).code, 0);
}

// ---- several scenarios ----

TEST(Run, SeveralScenariosRunApartAndTellTheirResultsLikeTests) {
    const ScratchDirectory scratch;
    const std::string good = kScenarios + "/bridge.json";
    const std::string wrong = scratch.write("wrong<&.json", scenario(R"({"call": "vorn_test_call", "result": 5})"));
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
    const std::string junit = scratch.file("junit.xml");
    runTool({"run", kScenarios + "/bridge.json", "--junit", junit});
    expectHas(contentOf(junit), {"<testsuites tests=\"1\" failures=\"0\" errors=\"0\""});
    EXPECT_EQ(runTool({"run", scratch.write("bad.json", "{"), "--junit", junit}).code, 2);
    expectHas(contentOf(junit), {"errors=\"1\""});
}

// ---- warnings ----

// All warnings of a run, a line each.
std::string warningsOf(const std::string& steps) {
    const ScratchDirectory scratch;
    const ProgramResult run =
        runTool({"run", scratch.write("w.json", scenario(steps)), "--json", scratch.file("w.out")});
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

std::string veip(const char* call, int gemPort) {
    return std::string(R"({"call": "veip_)") + call + R"(", "gemPort": )" + std::to_string(gemPort) +
           R"(, "bridgeId": 0, "trafficType": "1-filter", "filterList": [{"vid": 100}]})";
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
    EXPECT_EQ(warnings("never", R"("any")"), rule + "it never matches\n");
    EXPECT_EQ(warnings("any", R"("any")"), rule + "the board lets it match anything\n");
    EXPECT_EQ(warnings("masked", R"("any")"), rule + "the board cuts its upper bits off\n");
    EXPECT_EQ(warnings("never", "5"), "");
}

TEST(RunWarnings, AndLearnedAddressesStandInTheReport) {
    const ScratchDirectory scratch;
    const std::pair<const char*, const char*> cases[] = {
        {"out-of-range-filters", "asks for p-bits 8, which no frame has; it never matches"},
        {"bridge-forwarding", "<code>br5</code></td><td><code>02:00:5e:00:00:0d</code></td><td><code>sid2.5</code>"}};
    for (const auto& [name, reported] : cases) {
        runTool({"run", kScenarios + "/" + name + ".json", "--quiet", "--report", scratch.file("r.html")});
        const std::string page = contentOf(scratch.file("r.html"));
        EXPECT_NE(page.find(reported), std::string::npos) << reported << page.substr(page.find("learned address"), 900);
    }
}

TEST(RunWarnings, SayWhereTheHalDoesWhatItsCallerMayNotExpect) {
    const std::string bridge =
        std::string(kBridge) + ", " + R"({"call": "configureBridge", "bridgeId": 3, "uniPort": 2}, )";
    EXPECT_EQ(warningsOf(bridge + R"({"call": "veip_createRules", "gemPort": 1001, "bridgeId": 3,
                         "trafficType": "1-filter", "filterList": [{"vid": 100}]})"),
              "br3 is gone: its 2 members are on no bridge now\n");
    EXPECT_EQ(warningsOf(R"({"fault": {"function": "ioctl:SIOCBRADDIF", "nth": 3, "code": 16}}, )" + bridge +
                         R"({"note": "n"})"),
              "sid2 has not joined br0, and no later call lets it join\n");
    EXPECT_EQ(warningsOf(std::string(kBridge) + R"(,
                         {"call": "deprovisionAniSideBridge", "bridgeId": 3, "gemPortId": 1001})"),
              "the multicast count goes from 0 to -1: the removal of any bridge lowers it\n");
    const std::string host = R"(, {"call": "@", "bridgeId": 3, "uniPort": 2, "macAddress": "02:10:20:30:40:52",
                             "ipAddress": "10.0.0.5", "subnetMask": "255.255.255.0", "gateway": "10.0.0.1"})";
    std::string ipHost = std::string(kBridge) + host + host;
    ipHost.replace(ipHost.find('@'), 1, "provisionIpHost");
    ipHost.replace(ipHost.find('@'), 1, "deprovisionIpHost");
    EXPECT_EQ(warningsOf(ipHost),
              "br3 is gone: its member is on no bridge now\n"
              "br3.2 stays without br3 under it, and keeps its address 10.0.0.5\n");
    const std::string init =
        R"({"call": "vorn_omci_hal_init"}, {"call": "configureBridge", "bridgeId": 0, "uniPort": 0}, )";
    const std::string veipTakesThePorts = "br0 is gone: its 8 members are on no bridge now\n";
    EXPECT_EQ(warningsOf(init + veip("createRules", 1001) + ", " + veip("deleteRules", 999)),
              veipTakesThePorts + "veip0 is gone, and with it the service of GEM port 1001\n");
    EXPECT_EQ(warningsOf(init + veip("createRules", 1001) + ", " + veip("deleteRules", 1001)), veipTakesThePorts);
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
