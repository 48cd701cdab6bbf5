// The words of the command line: what is refused, what is meant instead, help and manual page.
#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "commands/BoardChoice.h"
#include "tools/vorn-onu/RunProgram.h"
#include "views/Terminal.h"

namespace {

using vorn_onu::widthOf;

TEST(CommandLine, WhatMakesNoSenseIsRefusedInOneLineThatSaysWhatIsMeant) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        // how the line starts, behind the tool's name
        {{}, "say what to do: run, send, "},
        {{"help", "snd"}, "there is no command 'snd', did you mean 'send'?"},
        {{"run"}, "run: FILE is required: vorn-onu run FILE\n"},
        {{"diff", "none.json", "none.json"}, "none.json: cannot be opened: "},
        {{"info", "none.json"}, "none.json: cannot be opened: "},
        {{"audit", "none.json"}, "none.json: cannot be opened: "},
        {{"omci", "none.pcap"}, "none.pcap: cannot be opened: "},
        {{"omci"}, "omci: say which FILE to play, "},
        {{"at", "nobody", "show"}, "at: no board with the name 'nobody' runs"},
        {{"at", "lab", "st"}, "at: there is no command 'st', did you mean 'step'?; "},
        {{"diff", "onu.board"}, "diff: AFTER is required: vorn-onu diff BEFORE AFTER\n"},
        {{"at", "lab"}, "at: say what to do: "},
        {{"at", "lab", "frme"}, "at: there is no command 'frme', did you mean 'frame'?; there are "},
        {{"send", "a.json", "--from", "sid0", "--after-step", "0"},
         "send: --after-step: must be a number from 1 on, not '0'"},
        {{"send", kInternet, "--from", "sid0", "--source", "02:00"},
         "the frame: field 'source': must be a MAC address such as 02:00:5e:00:00:01, not '02:00'"},
        {{"send", kInternet, "--from", "sid0", "--after-step", "999"},
         kInternet + ": has 35 steps, there is no step 999"},
        {{"omci", "--listen", "udp:192.0.2.1:7000"}, "udp:192.0.2.1:7000: others reach it; that needs --peer ADDRESS"},
    };
    for (const auto& [words, line] : cases) {
        const ProgramResult result = runTool(words);
        EXPECT_EQ(result.code, 2) << line;
        EXPECT_EQ(result.output.rfind("vorn-onu: " + line, 0), 0u) << result.output;
        EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    }
}

TEST(CommandLine, HelpIsAnsweredAsACommandAndAsAnOption) {
    EXPECT_EQ(runTool({"help"}).output, runTool({"--help"}).output);
    EXPECT_EQ(runTool({"help", "send"}).output, runTool({"send", "--help"}).output);
    for (const ProgramResult& at : {runTool({"at", "--help"}), runTool({"at", "lab"})})
        EXPECT_EQ(at.output.find("restart"), std::string::npos) << "every board refuses it: " << at.output;
}

// The library names its variables where it refuses one that it does not know.
TEST(CommandLine, EveryVariableThatIsReadIsInHelpEnvironmentAndTheManualPage) {
    const std::string refused = runProgram({"env", "VORN_ONU_NONE=1", kTool, "help"}).output;
    const std::string help = runProgram({"env", "COLUMNS=1000", kTool, "help", "environment"}).output;
    const std::string page = runTool({"help", "--man"}).output;
    std::size_t names = 0;
    const std::regex variable("VORN_[A-Z_]+[A-Z]");
    for (std::sregex_iterator one(refused.begin(), refused.end(), variable), end; one != end; ++one) {
        if (one->str() == "VORN_ONU_NONE") continue;
        ++names;
        expectHas(help, {"\n  " + one->str() + "  "});
        expectHas(page, {"\n.TP\n\\fB" + one->str() + "\\fR\n"});
    }
    EXPECT_GE(names, 8u) << refused;
    expectHas(help, {"\n  VORN_HAL_STATE ", "\n  VORN_HAL_FORWARDING ", "\n  XDG_RUNTIME_DIR "});
}

TEST(CommandLine, ABoardIsNumberedByItsHostName) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        // "": refused
        {"onu-0", "VORN00000000", "02:10:00:00:00:00"},
        {"onu-17", "VORN00000011", "02:10:00:00:01:10"},
        {"rack2-onu-0255", "VORN000000FF", "02:10:00:00:0f:f0"},
        {"4294967295", "VORNFFFFFFFF", "02:1f:ff:ff:ff:f0"},
        {"onu-4294967296", "", ""},
        {"onu-99999999999999999999", "", ""},
        {"onu-1a", "", ""},
        {"", "", ""}};
    for (const auto& [host, serialNumber, baseMac] : cases) {
        SCOPED_TRACE(host);
        if (serialNumber.empty()) {
            EXPECT_THROW(vorn_onu::boardOfHost(host, "VORN"), std::invalid_argument);
            continue;
        }
        const vorn_onu::BoardStart start = vorn_onu::boardOfHost(host, "VORN");
        EXPECT_EQ(start.serialNumber, serialNumber);
        EXPECT_EQ(start.baseMac, baseMac);
    }
}

TEST(CommandLine, AProgramOfExecHasTheIdentityThatIsTypedOrInTheEnvironment) {
    const std::vector<std::string> rest = {"--quiet", "--json", "-", "--", kDaemon};
    std::vector<std::string> words = {
        "env",         "VORN_ONU_SERIAL=ABCD0000000f", "VORN_ONU_MAC=02:10:00:00:00:f0", kTool, "exec", "--serial",
        "VORN0000000a"};
    words.insert(words.end(), rest.begin(), rest.end());
    const std::string typed = runProgram(words).output;
    expectHas(typed, {"\"serialNumber\": \"VORN0000000a\"", "\"baseMac\": \"02:10:00:00:00:f0\""});
    for (const char* wrong : {"VORN_ONU_SERIAL=VORN000000", "VORN_ONU_MAC=03:10:00:00:00:f0", "VORN_ONU_MAC=no"}) {
        words = {"env", wrong, kTool, "exec"};
        words.insert(words.end(), rest.begin(), rest.end());
        const ProgramResult result = runProgram(words);
        EXPECT_EQ(result.code, 2) << wrong;
        expectHas(result.output, {std::string_view(wrong).substr(0, std::string_view(wrong).find('='))});
    }
}

// Descriptions are broken in their column. Only a command to copy may be wider.
TEST(CommandLine, HelpIsNoWiderThanTheWindow) {
    for (const std::string command : {"run", "send", "audit", "omci", "exec", "ls", "at", "diff", "info", "schema"}) {
        const ProgramResult help = runProgram({"env", "COLUMNS=60", kTool, command, "--help"});
        ASSERT_EQ(help.code, 0) << help.output;
        std::istringstream lines(help.output);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(widthOf(line) <= 60 || line.rfind("  vorn-onu", 0) == 0) << command << ": " << line;
    }
}

}  // namespace
