// Scenarios in which the HAL's process ends and starts again.
#include <csignal>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "running/scenario/HalProcess.h"
#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

json scenarioOf(json steps) {
    return {{"title", "Restarts"},
            {"records", {{"gem", {{"tContAllocId", 256}, {"xgemPortId", 1001}}}}},
            {"steps", std::move(steps)}};
}

// What there is to go on across the parts: the device, a frame's path, marks, faults, numbers of calls, messages,
// commands, files, the clock.
json everythingGoesOn(const std::string& how) {
    return scenarioOf({
        {{"call", "vorn_omci_hal_init"}},
        {{"expect", {{"messages", {{"contain", {"application up"}}}}}}, {"within", 10000}},
        {{"call", "tcont_set"}, {"tContIndex", 1}, {"allocId", 256}},
        {{"call", "gemflow_add"}, {"record", "gem"}},
        {{"mark", "before"}},
        {{"call", "configureBridge"}, {"bridgeId", 3}, {"uniPort", 0}},
        {{"board", {{"commands", {"ifconfig sid1 up"}}, {"files", {{"/var/mcpd.conf", "a\n"}}}}}},
        {{"gateway", "silent"}},
        {{"fault", {{"function", "gponCtl_configTcontAllocId"}, {"nth", 3}, {"code", 5}}}},
        {{"call", "tcont_set"}, {"tContIndex", 2}, {"allocId", 257}},
        {{"restart", how}},
        {{"expect",
          {{"bridges", {{"br3", {"gpon3.3"}}}},
           {"gemPorts", {{"1001", {{"enabled", true}}}}},
           {"files", {{"/var/mcpd.conf", {"a"}}}},
           {"messages", {{"since", "before"}, {"count", 0}}},
           {"commands", {{"since", "before"}, {"contain", {"ifconfig sid1 up"}}}},
           {"openDescriptors", 0}}}},
        {{"frame", {{"from", "sid1"}, {"source", "02:00:5e:00:00:07"}}}},
        {{"expect", {{"learned", {"br0 02:00:5e:00:00:07 sid1"}}}}},
        {{"call", "tcont_set"}, {"tContIndex", 3}, {"allocId", 258}},
        {{"expect", {{"tconts", {{"1", {{"allocId", 256}}}, {"3", {{"allocId", 258}}}}}}}},
        {{"restart", how}},
        {{"advance", 1000}},
        {{"call", "vorn_omci_hal_init"}},
        {{"expect", {{"learned", {"br0 02:00:5e:00:00:07 sid1"}}, {"messages", {{"contain", {"application up"}}}}}},
         {"within", 10000}},
        {{"show", "at the end"}},
    });
}

TEST(Restart, EverythingButTheHalGoesOn) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP()
        << "the thread sanitizer does not follow threads that start after a fork, as the gateway's listener does";
#endif
    const ScratchDirectory scratch;
    for (const char* how : {"kill", "exit"}) {
        const std::string file = scratch.write("restart.json", everythingGoesOn(how).dump());
        const std::string state = scratch.file("state.json"), report = scratch.file("report.html");
        const ProgramResult run = runTool({"run", file, "--trace", "--hal-output", "--json", state, "--report", report,
                                           "--pcap", scratch.file("frames.pcapng")});
        EXPECT_EQ(run.code, 0) << how << run.output;
        EXPECT_EQ(occurrences(run.output, "The BRCM hal intialized"), 3U) << "a HAL for each part:\n" << run.output;
        const json all = json::parse(contentOf(state));
        EXPECT_TRUE(all["steps"][12]["walk"].is_object());
        EXPECT_EQ(all["steps"][10]["kind"], "restart");
        // One trace, without a gap and without an entry twice, and as many calls as it has.
        std::uint64_t number = 0;
        for (const json& entry : all["device"]["trace"]) EXPECT_EQ(entry["number"], ++number);
        EXPECT_GT(all["device"]["calls"].get<std::uint64_t>(), 100U);
        EXPECT_TRUE(has(run.output, "gponCtl_configTcontAllocId(3, 65535) = 5")) << "the fault waits for its call\n"
                                                                                 << run.output;
        EXPECT_TRUE(has(contentOf(report), "br3"));
        EXPECT_GT(contentOf(scratch.file("frames.pcapng")).size(), 200U);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.file("")), {}), 4) << "nothing else is left";
}

// Of every GEM index an opened state file asks whether there is a port.
TEST(Restart, ThatThereIsNoGemPortIsAnAnswerAndNoFailedCall) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
    const ProgramResult run = expectTool({"run", std::string(VORN_SCENARIO_DIR) + "/restart.json", "--strict"}, 0, {});
    EXPECT_FALSE(has(run.output, "gponCtl_getGemPort")) << run.output;
}

// A HAL that crashes is what a scenario with restarts may come upon.
TEST(Restart, AHalThatCrashesFailsItsStepsUntilItIsStartedAnew) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const ScratchDirectory scratch;
    onu.openBoard(scratch.file("board"), virtual_onu::VirtualOnu::BoardUse::Run);
    vorn_onu::Scenario scenario;
    vorn_onu::Step sets, crashes;
    sets.run = [](vorn_onu::RunContext& context) {
        context.onu.setSerialNumber("set");
        return vorn_onu::StepResult{{}, "done"};
    };
    crashes.run = [](vorn_onu::RunContext& context) {
        context.onu.setPartNumber("on the way");
        raise(SIGKILL);
        return vorn_onu::StepResult{};
    };
    for (const auto* step : {&sets, &crashes, &sets}) {
        scenario.steps.push_back(*step);
        scenario.steps.back().number = scenario.steps.size();
    }
    vorn_onu::HalProcess process(scenario, "");
    process.begin();
    EXPECT_EQ(process.run(scenario.steps[0]).result.answer, "done");
    EXPECT_EQ(onu.toJson()["board"]["serialNumber"], "set");
    for (const std::size_t place : {std::size_t{1}, std::size_t{2}}) {
        const auto failures = process.run(scenario.steps[place]).result.failures;
        ASSERT_EQ(failures.size(), 1U);
        EXPECT_EQ(failures[0].what, "the HAL's process");
        EXPECT_EQ(failures[0].actual, std::vector<std::string>{"ended by signal 9 (Killed)"});
    }
    EXPECT_EQ(onu.toJson()["board"]["partNumber"], "on the way");
    process.begin();
    EXPECT_EQ(process.run(scenario.steps[2]).result.answer, "done");
    onu.reset();
}

TEST(Restart, AScenarioGoesOnWithTheBoardOfAFile) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
    const ScratchDirectory scratch;
    const std::string board = scratch.file("board");
    const auto run = [&](const json& steps) {
        return runTool({"run", scratch.write("part.json", scenarioOf(steps).dump()), "--board", board});
    };
    const json bridge = {{"call", "configureBridge"}, {"bridgeId", 3}, {"uniPort", 0}};
    const json isThere = {{"expect", {{"bridges", {{"br3", {"gpon3.3"}}}}}}};
    EXPECT_EQ(run(json::array({bridge, isThere})).code, 0);
    EXPECT_EQ(run(json::array({isThere})).code, 0) << "the board of the first run";
    const json tcont = {{"call", "tcont_set"}, {"tContIndex", 1}, {"allocId", 256}};
    const json parts = json::array({isThere, json{{"restart", "kill"}}, isThere, tcont});
    EXPECT_EQ(run(parts).code, 0);
    const json tcontIsThere = {{"expect", {{"tconts", {{"1", {{"allocId", 256}}}}}}}};
    EXPECT_EQ(run(json::array({tcontIsThere})).code, 0) << "also in parts";
    EXPECT_FALSE(has(contentOf(board), "\"run."));
    EXPECT_FALSE(std::filesystem::exists(board + ".lock"));
}

}  // namespace
