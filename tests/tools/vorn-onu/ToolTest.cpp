// The command-line tool as its users meet it: the real program, its output and its exit codes.
#include <algorithm>
#include <functional>
#include <set>

#include <nlohmann/json.hpp>

#include "running/state/RuleWords.h"
#include "tools/vorn-onu/ReadJson.h"
#include "tools/vorn-onu/RunProgram.h"
#include "views/Terminal.h"

namespace {

using nlohmann::json;

// ---- bad scenarios: nothing runs, one line says where and what ----

const char* const kTypes =
    R"({"title": "t", "steps": [{"call": "vorn_omci_hal_configureBridge", "bridgeId": "three", "uniPort": 0}]})";
const char* const kUnknownOperation =
    R"({"title": "t", "steps": [{"note": "n"}, {"call": "vorn_omci_hal_configureBrdge"}]})";
const char* const kMissing = R"({"title": "t", "steps": [{"call": "vorn_omci_hal_configureBridge", "bridgeId": 3}]})";
const char* const kRange =
    R"({"title": "t", "steps": [{"call": "vorn_omci_hal_filter_flow_add", "bridgeId": 3, "uniPort": 1, "outerFilterPrio": 16}]})";
const char* const kNested = R"({"title": "t", "steps": [{"call": "vorn_omci_hal_configureAniTagRules", "bridgeId": 3,
    "gemPortId": 1, "pbitMap": [{"pbit": 0, "gemPort": 1, "queue": 0}, {"pbit": 8, "gemPort": 1, "queue": 0}]}]})";
const char* const kUnknownField =
    R"({"title": "t", "steps": [{"call": "vorn_omci_hal_configureBridge", "bridgeID": 3, "uniPort": 0}]})";

const struct {
    const char* name;
    const char* text;
    const char* line;  // without "FILE: "
} kBadFiles[] = {
    {"Truncated", "{\"title\": \"t\",\n \"steps\": [", "line 2, column 12: is not JSON: the file ends too early"},
    {"StrayCharacter", "{\"title\": \"t\",\n \"steps\": [}]}",
     "line 2, column 12: is not JSON: a character that does not belong here"},
    {"LineEndInAField", R"({"title": "t", "steps": [{"call": "vorn_test_call", "a\n\u001b[2Jb": 1}]})",
     "step 1 (call vorn_test_call): field 'a\\n\\x1b[2Jb': is not known here; no field is allowed"},
    {"HugeNumber", R"({"title": "t", "steps": [{"advance": 1e999}]})",
     "holds a number that is too large for any field"},
    {"NoSteps", R"({"title": "t"})", "field 'steps': is missing; it is the list of what happens"},
    {"WrongType", kTypes,
     "step 1 (call vorn_omci_hal_configureBridge): field 'bridgeId': must be a number 0..65535, not \"three\""},
    {"MissingField", kMissing,
     "step 1 (call vorn_omci_hal_configureBridge): field 'uniPort': is missing; it is 0: the bridge with its PON side; "
     "from 1: that UNI port joins it"},
    {"OutOfRange", kRange,
     "step 1 (call vorn_omci_hal_filter_flow_add): field 'outerFilterPrio': must be a number 0..15, \"any\" (8), "
     "\"default\" (14), \"none\" (15), not 16"},
    {"NestedOutOfRange", kNested,
     "step 1 (call vorn_omci_hal_configureAniTagRules): field 'pbitMap[1].pbit': must be a number 0..7, \"others\", "
     "\"untagged\", not 8"},
    {"UnknownField", kUnknownField,
     "step 1 (call vorn_omci_hal_configureBridge): field 'bridgeID': is not known here, did you mean 'bridgeId'?; "
     "allowed: bridgeId, uniPort"},
    {"TwoActions", R"({"title": "t", "steps": [{"advance": 5, "mark": "m"}]})",
     "step 1: field 'mark': does not go with 'advance' in one step"},
    {"FieldTwice", R"({"title": "t", "steps": [{"advance": 5}, {"advance": 5, "advance": 6}]})",
     "step 2: field 'advance': occurs twice"},
    {"UnknownMark", R"({"title": "t", "steps": [{"expect": {"nothingLeftSince": "start"}}]})",
     "step 1: field 'expect.nothingLeftSince': there is no mark 'start' before this step"},
    {"LinkState", R"({"title": "t", "steps": [{"board": {"links": {"sid1": "dwon"}}}]})",
     "step 1: field 'board.links.sid1': must be a link state like \"up\" or \"down\", not \"dwon\", did you mean "
     "'down'?"},
    {"BadTable", R"({"title": "t", "steps": [{"expect": {"rules": {"sid1 up 0": []}}}]})",
     "step 1: field 'expect.rules.sid1 up 0': the name must be device, rx or tx, and number of tags: \"sid1 rx 0\", "
     "\"gpon3 tx 0-2\""},
};

TEST(Tool, BadScenarioEndsWithCodeTwoAndOneLineThatNamesThePlace) {
    const ScratchDirectory scratch;
    for (const auto& bad : kBadFiles) {
        const std::string file = scratch.write("bad.json", bad.text);
        const ProgramResult result = runTool({"run", file});
        EXPECT_EQ(result.code, 2) << bad.name;
        EXPECT_EQ(result.output, "vorn-onu: " + file + ": " + bad.line + "\n") << bad.name;
    }
}

TEST(Tool, UnknownOperationIsAnsweredWithTheOneThatWasMeantAndTheNearest) {
    const ScratchDirectory scratch;
    const std::string whole = scratch.write("whole.json", kUnknownOperation);
    const std::string output = runTool({"run", whole}).output;
    EXPECT_EQ(output.find("vorn-onu: " + whole +
                          ": step 2 (call vorn_omci_hal_configureBrdge): field 'call': operation "
                          "'vorn_omci_hal_configureBrdge' is not known here, did you mean "
                          "'vorn_omci_hal_configureBridge'?; the nearest of "),
              0U)
        << output;
    EXPECT_EQ(std::count(output.begin(), output.end(), ','), 5) << output;
    const std::string brief = scratch.write("short.json", R"({"title": "t", "steps": [{"call": "configurBridge"}]})");
    expectHas(runTool({"run", brief}).output, {"did you mean 'configureBridge'?"});
}

// ---- run ----

TEST(Tool, ExpectationThatFailsShowsBothSidesAndEndsWithCodeOne) {
    const ScratchDirectory scratch;
    scratch.write("wrong.json", R"({"title": "t", "steps": [
        {"call": "vorn_test_call", "result": 5},
        {"call": "vorn_omci_hal_configureBridge", "bridgeId": 3, "uniPort": 0},
        {"expect": {"bridges": {"br3": ["gpon3.3", "sid1.3"]}, "flows": ["a -> b"], "ruleCount": 0}}]})");
    const ProgramResult result =
        expectTool({"run", scratch.file("wrong.json"), "--quiet"}, 1,
                   {"expected  5", "actual    4", "bridge br3, members", "gpon3.3 sid1.3", "a -> b", "(none)"});
    EXPECT_EQ(result.output.find("ruleCount,"), std::string::npos);
}

TEST(Tool, OutputOfTheHalIsKeptApartUnlessItIsAskedFor) {
    const std::string scenario = kScenarios + "/bridge.json";
    const std::string line = "Configuring default bridge:br0!!!";
    const ScratchDirectory scratch;  // runs of one scenario share the file's name
    const ProgramResult plain = runProgram({"/usr/bin/env", "TMPDIR=" + scratch.file(""), kTool, "run", scenario});
    EXPECT_EQ(plain.output.find(line), std::string::npos);
    const auto named = plain.output.find("what the HAL printed: ");
    ASSERT_NE(named, std::string::npos);
    const auto start = named + std::string("what the HAL printed: ").size();
    const std::string file = plain.output.substr(start, plain.output.find(" (", start) - start);
    expectHas(contentOf(file), {line});
    expectHas(runTool({"run", scenario, "--hal-output"}).output, {line});
}

TEST(Tool, TraceShowsTheCallsBelowTheStepThatMadeThem) {
    const ProgramResult result = runTool({"run", kScenarios + "/bridge.json", "--trace"});
    const auto step = result.output.find("bridgeId 3, uniPort 0");
    const auto call = result.output.find("vlanCtl_createVlanInterfaceByName(\"gpondef\", \"gpon3\", 0, 1) = 0");
    EXPECT_NE(call, std::string::npos);
    EXPECT_LT(step, call);
    EXPECT_LT(call, result.output.find("bridgeId 3, uniPort 3"));
}

TEST(Tool, InfoTellsWhatTheHalReportsOfTheBoardThatAScenarioSetsUp) {
    const ScratchDirectory scratch;
    scratch.write("board.json", R"({"title": "t", "steps": [{"board": {
        "baseMac": "00:11:22:ff:ff:fe", "serialNumber": "VORN00000042", "optics": {"receive": 1000, "transmit": 1000}}}]})");
    const ProgramResult result = runTool({"info", scratch.file("board.json"), "--json"});
    ASSERT_EQ(result.code, 0) << result.output;
    const json reported = json::parse(result.output, nullptr, false);
    ASSERT_FALSE(reported.is_discarded()) << result.output;
    EXPECT_EQ(reported["identity"]["serialNumber"], "VORN00000042");
    EXPECT_EQ(reported["identity"]["ipHostMac"], "00:11:22:00:00:00") << "the carry stays in the last three bytes";
    EXPECT_EQ(reported["optics"]["receiveLevelDbm"], -10);
    EXPECT_EQ(reported["optics"]["transmitLevelDbm"], -6.99);
    EXPECT_EQ(runTool({"info", scratch.file("none.json")}).code, 2);
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
    EXPECT_EQ(runTool({"exec", "--", "/bin/true"}).output, "/bin/true: has not touched the device\n");
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

// The schema's way to write one operation, or null.
json callSchema(const json& schema, const std::string& operation) {
    for (const json& step : schema.at("properties").at("steps").at("items").at("anyOf")) {
        if (!step.at("properties").contains("call")) continue;
        const json& names = step["properties"]["call"].at("enum");
        if (std::find(names.begin(), names.end(), operation) != names.end()) return step;
    }
    return nullptr;
}

TEST(Schema, KnowsEveryFieldThatTheScenariosUse) {
    const json schema = json::parse(runTool({"schema"}).output, nullptr, false);
    ASSERT_FALSE(schema.is_discarded());
    EXPECT_EQ(schema.at("$schema"), "https://json-schema.org/draft/2020-12/schema");
    std::set<std::string> seen;
    for (const char* name : {"bridge", "internet", "qinq", "tcont-gem", "change-and-remove"}) {
        const json scenario = readJson(kScenarios + "/" + name + ".json");
        for (const json& step : scenario.at("steps")) {
            if (!step.contains("call")) continue;
            const json call = callSchema(schema, step["call"]);
            ASSERT_FALSE(call.is_null()) << step["call"];
            seen.insert(step["call"].get<std::string>());
            for (const auto& [key, value] : step.items())
                EXPECT_TRUE(call.at("properties").contains(key)) << step["call"] << ": " << key;
        }
    }
    EXPECT_GE(seen.size(), 10u);
    EXPECT_EQ(callSchema(schema, "configureBridge"), callSchema(schema, "vorn_omci_hal_configureBridge"));
    const json ways = callSchema(schema, "vorn_omci_hal_configureBridge").at("anyOf");
    EXPECT_NE(std::find(ways.begin(), ways.end(), json{{"required", {"bridgeId", "uniPort"}}}), ways.end()) << ways;
}

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

struct RuleCase {
    std::set<unsigned> tags;
    std::vector<std::string> terms;
    const char* sentence;
};

TEST(RuleWords, SayWhatARuleDoes) {
    const RuleCase cases[] = {
        {{0}, {"rxdev=sid0.3", "push", "vid0:=100"}, "untagged frames from sid0: push VID 100 → sid0.3"},
        {{0},
         {"rxdev=sid0.3", "push", "pbits0:=dscp", "vid0:=7", "type:=0x8100"},
         "untagged frames from sid0: push VID 7, p-bits from DSCP → sid0.3"},
        {{1},
         {"rxdev=sid0.3", "type=0x8100", "push", "pbits0:=pbits1", "vid0:=500", "type:=0x88a8"},
         "single-tagged frames with TPID 0x8100 from sid0: push VID 500, p-bits of the second tag, TPID 0x88a8 → "
         "sid0.3"},
        {{0, 1, 2}, {"rxdev=gpon3", "gem=7"}, "any frames with GEM index 7 from sid0: as they are → gpon3"},
        {{1, 2},
         {"rxdev=sid0.3", "pbits0=5", "vid0=100", "drop"},
         "tagged frames with VID 100, p-bits 5 from sid0: drop"},
        {{2},
         {"rxdev=sid0.3", "vid0=500", "vid1=7", "tagtype0=0x8100", "pop", "pop"},
         "double-tagged frames with outer tag VID 500, second tag VID 7, TPID 0x8100 from sid0: pop 2 tags → sid0.3"},
        {{0},
         {"rxdev=sid0.3", "type=0x8863", "push", "push", "vid0:=5", "vid1:=6"},
         "untagged frames with PPPoE discovery from sid0: push VID 6, push VID 5 → sid0.3"},
    };
    for (const RuleCase& one : cases)
        EXPECT_EQ(vorn_onu::ruleWords("sid0", true, one.tags, one.terms).sentence(), one.sentence);
    EXPECT_EQ(vorn_onu::ruleWords("gpon3", false, {1}, {"txdev=gpon3.3", "ipproto=2", "mark-gem:=7", "mark-queue:=2"})
                  .sentence(),
              "single-tagged frames with IGMP from gpon3.3: to GEM index 7, queue 2 → gpon3");
}

TEST(Table, BreaksOnlyTheLastColumnAndLinesUpNonAsciiText) {
    vorn_onu::Table table({"a", "b"});
    table.row({"→→", "one two three four five six"});
    table.row({"x", "y"});
    EXPECT_EQ(table.text(vorn_onu::Terminal(false, 26)),
              "  a   b\n"
              "  →→  one two three four\n"
              "      five six\n"
              "  x   y\n");
}

}  // namespace
