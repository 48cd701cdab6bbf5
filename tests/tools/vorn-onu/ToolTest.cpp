// The command-line tool as its users meet it: the real program, its output and its exit codes.
#include <algorithm>
#include <functional>
#include <set>

#include <nlohmann/json.hpp>

#include "running/state/RuleWords.h"
#include "tools/vorn-onu/ReadJson.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

// ---- bad scenarios: nothing runs, one line says where and what ----

TEST(Tool, BadScenarioEndsWithCodeTwoAndOneLineThatNamesThePlace) {
    const std::string files[][2] = {
        {"{\"title\": \"t\",\n \"steps\": [", "line 2, column 12: is not JSON: the file ends too early"},
        {"{\"title\": \"t\",\n \"steps\": [}]}",
         "line 2, column 12: is not JSON: a character that does not belong here"},
        {R"({"title": "t"})", "field 'steps': is missing; it is the list of what happens"}};
    const std::string steps[][2] = {
        // a blank at the end of a line: more follows
        {R"({"call": "vorn_test_call", "a\n\u001b[2Jb": 1})",
         "step 1 (call vorn_test_call): field 'a\\n\\x1b[2Jb': is not known here; no field is allowed"},
        {R"({"advance": 1e999})", "holds a number that is too large for any field"},
        {R"({"call": "configurBridge"})",
         "step 1 (call configurBridge): field 'call': operation 'configurBridge' is not known here, did you mean "
         "'configureBridge'?; the nearest of "},
        {R"({"note": "n"}, {"call": "vorn_omci_hal_configureBrdge"})",
         "step 2 (call vorn_omci_hal_configureBrdge): field 'call': operation 'vorn_omci_hal_configureBrdge' is not "
         "known here, did you mean 'vorn_omci_hal_configureBridge'?; the nearest of "},
        {R"({"advance": 5, "mark": "m"})", "step 1: field 'mark': does not go with 'advance' in one step"},
        {R"({"advance": 5}, {"advance": 5, "advance": 6})", "step 2: field 'advance': occurs twice"},
        {R"({"expect": {"nothingLeftSince": "start"}})",
         "step 1: field 'expect.nothingLeftSince': there is no mark 'start' before this step"},
        {R"({"board": {"links": {"sid1": "dwon"}}})",
         "step 1: field 'board.links.sid1': must be a link state like \"up\" or \"down\", not \"dwon\", did you mean "
         "'down'?"},
        {R"({"frame": {"from": "gem x"}})",
         "step 1: field 'frame.from': must have a GEM port id behind \"gem\", not 'x'"},
        {R"({"frame": {"from": "sid0"}, "expect": {"leaves": []}})",
         "step 1: field 'expect.leaves': must be a list of exits, not []"},
        {R"({"frame": {"from": "sid0"}, "expect": {"dropped": false}})",
         "step 1: field 'expect.dropped': must be true or a part of the reason, not false"},
        {R"({"frame": {"from": "sid0"}, "gateway": "silent"})",
         "step 1: field 'frame': does not go with 'gateway' in one step"},
        {R"({"restart": "later"})", "step 1: field 'restart': must be \"kill\" or \"exit\", not \"later\""},
        {R"({"restart": true})", "step 1: field 'restart': must be a text, not true"},
        {R"({"restart": null})", "step 1: field 'restart': must be a text, not null"},
    };
    const ScratchDirectory scratch;
    const auto expectRefusal = [&](const std::string& file, const std::string& line) {
        const ProgramResult result = runTool({"run", file});
        EXPECT_EQ(result.code, 2) << line;
        const std::string expected = "vorn-onu: " + file + ": " + line + (line.back() == ' ' ? "" : "\n");
        EXPECT_EQ(result.output.substr(0, expected.size()), expected);
        EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    };
    for (const auto& [text, line] : files) expectRefusal(scratch.write("bad.json", text), line);
    for (const auto& [step, line] : steps) expectRefusal(scratch.writeSteps("bad.json", step), line);
}

TEST(Tool, InfoTellsWhatTheHalReportsOfTheBoardThatAScenarioSetsUp) {
    const ScratchDirectory scratch;
    const std::string file =
        scratch.writeSteps("board.json", R"({"board": {"optics": {"receive": 1000, "transmit": 1000}}})");
    const json reported = json::parse(runTool({"info", file, "--json"}).output, nullptr, false);
    ASSERT_FALSE(reported.is_discarded());
    EXPECT_EQ(reported["optics"]["receiveLevelDbm"], -10);
    EXPECT_EQ(reported["optics"]["transmitLevelDbm"], -6.99);
}

// ---- exec ----

TEST(Exec, StateOfADaemonBehindAShellThatIsKilledIsKept) {
    const ScratchDirectory scratch;
    const std::string script = "/bin/ls / >/dev/null; " + kDaemon + " >/dev/null; kill -9 $$";
    const ProgramResult result =
        runTool({"exec", "--quiet", "--json", scratch.file("state.json"), "--", "/bin/sh", "-c", script});
    EXPECT_EQ(result.code, 128 + 9);
    EXPECT_TRUE(hasDevice(readJson(scratch.file("state.json")), "sid1.3"));
}

TEST(Exec, ProgramThatNeverHeardOfADeviceRunsAsAlways) {
#if defined(VORN_EMULATED)
    GTEST_SKIP() << "the host's programs are of another machine than the virtual ONU";
#endif
    const ProgramResult list = expectTool({"exec", "--quiet", "--", "/bin/ls", kScenarios}, 0, {});
    EXPECT_EQ(list.output, runProgram({"/bin/ls", kScenarios}).output);
    EXPECT_EQ(runTool({"exec", "--quiet", "--", "/bin/sh", "-c", "exit 7"}).code, 7);
    EXPECT_EQ(runTool({"exec", "--", "/no/such/program"}).code, 127);
}

TEST(Exec, MisspeltVariableIsRefusedWithTheRightOnes) {
    const ProgramResult result = runProgram({"/usr/bin/env", "VORN_ONU_STAT=x", kTool, "exec", "--", "/bin/true"});
    EXPECT_EQ(result.code, 2);
    expectHas(result.output, {"there is no variable VORN_ONU_STAT; there are VORN_ONU_STATE, VORN_ONU_TRACE"});
}

// ---- schema ----

// The document tells of every member that a state has but those that go by the names of things.
TEST(Schema, StateFormatTellsOfEveryMember) {
    const ScratchDirectory scratch;
    runTool({"run", kScenarios + "/internet.json", "--quiet", "--json", scratch.file("run.json")});
    const std::string document = contentOf(VORN_STATE_FORMAT);
    const std::set<std::string> byName = {"statistics",    "persistent", "contents",
                                          "stackRequests", "attributes", "trace"};
    std::set<std::string> missing;
    const std::function<void(const json&)> look = [&](const json& value) {
        for (const auto& [key, member] : value.items()) {
            if (value.is_object() && document.find(key + "`") == std::string::npos) missing.insert(key);
            if (member.is_structured() && byName.count(key) == 0) look(member);
        }
    };
    look(readJson(scratch.file("run.json")).at("device"));
    EXPECT_EQ(missing, std::set<std::string>());
}

// ---- words ----

TEST(RuleWords, SayWhatARuleDoes) {
    const std::tuple<std::set<unsigned>, std::vector<std::string>, const char*> cases[] = {
        {{2},
         {"rxdev=sid0.3", "vid0=500", "vid1=7", "tagtype0=0x8100", "pop", "pop"},
         "double-tagged frames with outer tag VID 500, second tag VID 7, TPID 0x8100 from sid0: pop 2 tags → sid0.3"},
        {{0},
         {"rxdev=sid0.3", "type=0x8863", "push", "push", "vid0:=5", "vid1:=6", "ipproto=2"},
         "untagged frames with PPPoE discovery, IGMP from sid0: push VID 6, push VID 5 → sid0.3"},
    };
    for (const auto& [tags, terms, sentence] : cases)
        EXPECT_EQ(vorn_onu::ruleWords("sid0", true, tags, terms).sentence(), sentence);
}

}  // namespace
