// Recording a daemon and replaying what it asked of the HAL, with the programs as a user starts them.
#include <algorithm>
#include <csignal>

#include <nlohmann/json.hpp>

#include "running/scenario/RecordedFile.h"
#include "running/scenario/operations/Operations.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using Json = nlohmann::ordered_json;

class Recorder : public ::testing::Test {
protected:
    ProgramResult record(const std::vector<std::string>& program, const std::string& recording) {
        return runTool({"exec", "--quiet", "--json", file("daemon.json"), "--record", recording, "--"}, program);
    }
    ProgramResult recordDaemon(const std::string& mode) {
        return record({TEST_DAEMON_BINARY, "record", mode}, file("recording.json"));
    }
    // A replay goes well and leaves the device as the daemon did.
    void expectTheSameReplayed() {
        const auto replayed = replay();
        EXPECT_EQ(replayed.code, 0) << replayed.output;
        expectTool({"diff", file("daemon.json"), file("replay.json")}, 0, {});
    }
    ProgramResult replay() {
        return runTool({"run", "--quiet", "--json", file("replay.json"), file("recording.json")});
    }
    Json recording(const std::string& name = "recording.json") const {
        return Json::parse(contentOf(file(name)), nullptr, false);
    }
    Json steps() const { return recording()["steps"]; }
    std::vector<std::string> calls() const {
        std::vector<std::string> names;
        for (const Json& step : steps()) names.push_back(step["call"]);
        return names;
    }
    std::string file(const std::string& name) const { return directory_.file(name); }

private:
    ScratchDirectory directory_;
};

// The recording goes by it wherever it is run; what is typed counts more, and the environment less.
TEST_F(Recorder, ARecordingSaysWhatItsServicesGoBy) {
    const auto recorded = [&](const char* forwarding) {
        expectTool({"exec", "--quiet", "--json", file("daemon.json"), "--forwarding", forwarding, "--record",
                    file("recording.json"), "--", EXAMPLE_DAEMON_BINARY},
                   0, {});
        expectTheSameReplayed();
        return recording();
    };
    EXPECT_FALSE(recorded("contract").contains("forwarding"));
    EXPECT_EQ(recorded("g988")["forwarding"], "g988");
    const std::string byG988 = "Forwarding as G.988 says", byContract = "Forwarding by the HAL's contract";
    const auto heading = [&](const std::vector<std::string>& words) {
        return runTool({"run", file("recording.json")}, words).output;
    };
    expectHas(heading({}), {byG988});
    expectHas(heading({"--forwarding", "contract"}), {byContract});
    setenv("VORN_HAL_FORWARDING", "contract", 1);
    expectHas(heading({}), {byG988});
    setenv("VORN_HAL_FORWARDING", "G988", 1);
    EXPECT_EQ(runTool({"run", VORN_SCENARIO_DIR "/bridge.json"}).code, 2);
    unsetenv("VORN_HAL_FORWARDING");
}

TEST_F(Recorder, EveryCallReplaysWithTheArgumentsAndAnswersItHad) {
    ASSERT_EQ(recordDaemon("everything").code, 0);
    const auto recorded = calls();
    for (const auto& operation : vorn_onu::operationNames()) {
        if (operation == "EtherSwitchBcm380::iPhost_Stag") continue;  // a variable: nobody can see it being set
        EXPECT_NE(std::count(recorded.begin(), recorded.end(), operation), 0) << operation;
    }
    expectTheSameReplayed();

    // The replay, recorded in its turn, asks for the same.
    ASSERT_EQ(record({VORN_ONU_BINARY, "run", "--quiet", file("recording.json")}, file("again.json")).code, 0);
    Json first = steps(), second = recording("again.json")["steps"];
    ASSERT_EQ(first.size(), second.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        for (Json* step : {&first[i], &second[i]}) {
            step->erase("note");
            step->erase("output");  // not recorded where the daemon's own value stays
        }
        EXPECT_EQ(first[i], second[i]);
    }
}

TEST_F(Recorder, AnAnswerThatIsAnotherOneIsNoticed) {
    const std::tuple<const char*, const char*, Json, const char*> cases[] = {
        {"vorn_test_call", "/result", 5, "result"},
        {"vorn_omci_hal_sn_get", "/output/text", "another one", "output text"},
        {"vorn_omci_hal_port_enable_get", "/output/enabled", 1, "output enabled"},
        {"vorn_hal_get_mac_ip_host", "/result", "00:00:00:00:00:00", "result"},
    };
    ASSERT_EQ(recordDaemon("everything").code, 0);
    const Json before = recording();
    for (const auto& [call, where, value, reported] : cases) {
        Json changed = before;
        for (Json& step : changed["steps"])
            if (step["call"] == call) {
                step[Json::json_pointer(where)] = value;
                break;
            }
        std::ofstream(file("recording.json")) << changed;
        const auto replayed = replay();
        EXPECT_EQ(replayed.code, 1) << call;
        expectHas(replayed.output, {reported});
    }
}

TEST_F(Recorder, AKilledDaemonLeavesItsCalls) {
    EXPECT_EQ(recordDaemon("killed").code, 128 + SIGKILL);
    const std::vector<std::string> expected = {"vorn_omci_hal_tcont_set",
                                               "vorn_omci_hal_gemflow_add",
                                               "vorn_omci_hal_set_gemPortStatus",
                                               "vorn_omci_hal_configureBridge",
                                               "vorn_omci_hal_configureAniTagRules",
                                               "vorn_omci_hal_filter_flow_add",
                                               "setEthernetUniStatus",
                                               "updateEthernetUniSpeed"};
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(steps()[5]["uniPort"], 1) << "as the daemon gave it: the HAL changes the record";
    const auto replayed = replay();
    EXPECT_EQ(replayed.code, 0) << replayed.output;
}

TEST_F(Recorder, ThreadsDoNotMixTheirCalls) {
    ASSERT_EQ(recordDaemon("threads").code, 0);
    EXPECT_EQ(calls(), std::vector<std::string>(400, "vorn_test_call"));
    for (const Json& step : steps()) EXPECT_EQ(step["result"], 4);
}

TEST_F(Recorder, GoesOnInAChildAndWithClosedDescriptors) {
    for (const char* mode : {"forks", "closes"}) {
        ASSERT_EQ(recordDaemon(mode).code, 0);
        EXPECT_EQ(calls(), std::vector<std::string>(2, "vorn_test_call")) << mode;
    }
}

TEST_F(Recorder, AFullDiskLeavesTheCallsThatFitted) {
    const std::string limited =
        std::string("ulimit -f 4; trap '' XFSZ; exec ") + TEST_DAEMON_BINARY + " record everything >/dev/null";
    const auto result = record({"bash", "-c", limited}, file("recording.json"));
    expectHas(result.output, {"nothing more is recorded"});
    EXPECT_GT(calls().size(), 10u);
    EXPECT_EQ(replay().code, 0);
}

// A signal can stop the kernel between two pages of one write.
TEST_F(Recorder, AHalfWrittenCallIsLeftOut) {
    const std::string start =
        "{\"version\": 1, \"title\": \"t\", \"steps\": [\n{\"call\":\"vorn_test_call\",\"result\":4}";
    const std::tuple<const char*, std::size_t, bool> cases[] = {
        {"\n]}\n", 1, false},
        {"\n]}\n    ", 1, false},
        {",\n{\"call\":\"vorn_te", 1, true},
        {",\n{\"call\":\"vorn_test_call\",\"resdid not return\"}\n]}\n", 1, true},
        {",\n{\"call\":\"vorn_test_call\"}", 2, true},
        {",", 1, true}};
    for (const auto& [rest, calls, truncated] : cases) {
        std::ofstream(file("torn.json")) << start << rest;
        const auto finished = vorn_onu::finishRecording(file("torn.json"));
        ASSERT_TRUE(finished) << rest;
        EXPECT_EQ(finished->calls, calls) << rest;
        EXPECT_EQ(finished->truncated, truncated) << rest;
        EXPECT_EQ(recording("torn.json")["steps"].size(), calls) << rest;
    }
}

}  // namespace
