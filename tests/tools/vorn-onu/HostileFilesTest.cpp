// Files that mean ill, and outputs that are full: what reaches the terminal, what is refused, what the exit code tells.
#include <algorithm>

#include "running/io/Printed.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

// A title bar, a C1 sequence, a turned reading direction and a line of its own.
const char* const kIll = "a\\u001b]0;x\\u0007b\\u009b2Jc\\u202ed\\nEVERYTHING AS EXPECTED";

bool actsOnATerminal(const std::string& text) {
    if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return (c < 0x20 && c != '\n') || c == 0x7F; }))
        return true;
    return text.find("\xc2\x9b") != std::string::npos || text.find("\xe2\x80\xae") != std::string::npos ||
           text.find("\nEVERYTHING") != std::string::npos;
}

TEST(HostileFiles, ControlCharactersOfAFileAreShownEscaped) {
    const ScratchDirectory scratch;
    std::string scenario = R"({"title": "#", "description": "#", "steps": [
        {"note": "#"}, {"board": {"serialNumber": "#", "persistent": {"#": "#"}}, "note": "#"},
        {"board": {"devices": {"e#": true}, "processes": {"7": "#"}}}, {"mark": "#"}, {"show": "#"},
        {"call": "vorn_omci_hal_nvram_info_get"}, {"call": "vorn_omci_hal_sn_get", "output": {"text": "#"}},
        {"expect": {"devices": {"#": true}, "processes": ["#"]}}, {"frame": {"from": "sid1"}, "note": "#"}]})";
    for (std::size_t at = 0; (at = scenario.find('#', at)) != std::string::npos;) scenario.replace(at, 1, kIll);
    const std::string file = scratch.write("ill.json", scenario);
    const std::string state = scratch.file("state.json");
    const ProgramResult run = expectTool({"run", file, "--trace", "--hal-output", "--json", state}, 1,
                                         {"a\\x1b]0;x\\x07b\\u009b2Jc\\u202ed\\nEVERYTHING"});
    const std::string clean = scratch.file("clean.json");
    runTool({"run", kScenarios + "/bridge.json", "--json", clean});
    for (const std::string& output :
         {run.output, runTool({"diff", clean, state}).output, runTool({"info", file}).output,
          runTool({"send", file, "--from", "sid1"}).output, runTool({"run", file, "--json", "-"}).output,
          runTool({"run", file + kIll}).output})
        EXPECT_FALSE(actsOnATerminal(output)) << output;
}

TEST(HostileFiles, WhatIsNoUtf8AndWhatTurnsTextIsEscapedAndPaintIsNot) {
    const std::pair<const char*, const char*> cases[] = {
        {"plain\ttext\n", "plain\ttext\n"},
        {"grün ✓ 漢", "grün ✓ 漢"},
        {"\x9b"
         "2J \xc2 \xff",
         "\\x9b2J \\xc2 \\xff"},
        {"\xc0\x9b \xe0\x80\x9b \xed\xa0\x80", "\\xc0\\x9b \\xe0\\x80\\x9b \\xed\\xa0\\x80"},
        {"\xe2\x80\xa8 \xe2\x81\xa6 \xe2\x80\x8f", "\\u2028 \\u2066 \\u200f"},
        {"\x1b[31mred", "\\x1b[31mred"},
    };
    for (const auto& [text, shown] : cases) EXPECT_EQ(vorn_onu::printable(text), shown);
    EXPECT_EQ(vorn_onu::printable(vorn_onu::painted("31", "a\x1b[2Jb")), "\x1b[31ma\\x1b[2Jb\x1b[0m");
    EXPECT_EQ(vorn_onu::unpainted(vorn_onu::painted("31", "ab") + "c"), "abc");
}

TEST(HostileFiles, DepthAndSizeHaveLimitsThatAreNamed) {
    const ScratchDirectory scratch;
    const std::string brackets(60000, '[');
    const std::string deep = scratch.write("deep.json", R"({"title": "t", "steps": )" + brackets);
    const std::string zero = "/dev/zero", tooDeep = "vorn-onu: " + deep + ": is nested deeper than 64 levels\n";
    EXPECT_EQ(expectTool({"run", deep}, 2, {}).output, tooDeep);
    EXPECT_EQ(expectTool({"run", zero}, 2, {}).output, "vorn-onu: " + zero + ": is larger than 32 MB\n");
    EXPECT_EQ(runTool({"diff", deep, deep}).output, tooDeep);
}

// The JSON library's way to watch over the reading looks at all of a list again for each of its objects.
TEST(HostileFiles, ALongListIsReadInATimeThatGrowsWithItsLength) {
    const ScratchDirectory scratch;
    std::string steps;
    for (int i = 0; i < 400000; ++i) steps += "{},";
    const std::string file = scratch.write("long.json", R"({"title": "t", "steps": [)" + steps + "{}]}");
    const ProgramResult run = runProgram({"/usr/bin/timeout", "100", kTool, "run", file});
    EXPECT_EQ(run.code, 2);
    expectHas(run.output, {"step 1: must have one of the fields"});
}

TEST(HostileFiles, StandardOutputThatIsFullIsNoSuccess) {
    for (const std::string& words :
         {"run " + kScenarios + "/bridge.json", "run " + kScenarios + "/bridge.json --json -", std::string("schema"),
          std::string("info"), std::string("help"), std::string("--version"),
          "send " + kScenarios + "/internet.json --from sid0", "send " + kScenarios + "/bridge.json --from sid1"}) {
        const ProgramResult result = runProgram({"/bin/sh", "-c", kTool + " " + words + " >/dev/full"});
        EXPECT_EQ(result.code, 2) << words;
        EXPECT_EQ(result.output, "vorn-onu: standard output cannot be written: No space left on device\n");
    }
}

TEST(HostileFiles, OutputThatCannotBeWrittenIsFoundBeforeTheRun) {
    const ScratchDirectory scratch;
    const std::string scenario = kScenarios + "/bridge.json";
    for (const char* option : {"--json", "--report", "--pcap"}) {
        const std::string nowhere = scratch.file("none/out");
        EXPECT_EQ(runTool({"run", scenario, option, nowhere}).output,
                  "vorn-onu: " + nowhere + ": cannot be written: No such file or directory\n");
        const ProgramResult folder = expectTool({"run", scenario, option, scratch.file("")}, 2, {});
        EXPECT_EQ(folder.output, "vorn-onu: " + scratch.file("") + ": cannot be written: is a directory\n");
    }
}

}  // namespace
