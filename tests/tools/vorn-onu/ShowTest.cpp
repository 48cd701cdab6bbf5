// How a run looks in a window: nothing is cut, nothing is too wide, and fields are reported in words.
#include <filesystem>
#include <sstream>

#include <nlohmann/json.hpp>

#include "running/state/FieldWords.h"
#include "tools/vorn-onu/RunProgram.h"
#include "views/Terminal.h"

namespace {

using namespace vorn_onu;

std::string runIn(const std::string& columns, const std::string& scenario) {
    return runProgram({"env", "COLUMNS=" + columns, VORN_ONU_BINARY, "run", scenario}).output;
}

TEST(Show, RunOfEveryScenarioFitsItsWindowAndCutsNothing) {
    for (const auto& entry : std::filesystem::directory_iterator(VORN_SCENARIO_DIR)) {
        if (entry.path().extension() != ".json") continue;
        for (const std::size_t width : {80U, 140U}) {
            if (width == 140 && entry.path().stem() != "internet") continue;  // what fits into 80 fits
            std::istringstream lines(runIn(std::to_string(width), entry.path()));
            for (std::string line; std::getline(lines, line);) {
                if (line.find("what the HAL printed") != std::string::npos) continue;  // a path is one word
                EXPECT_LE(widthOf(line), width) << entry.path() << "\n" << line;
                const bool shortened = line.find("… (") != std::string::npos;  // a text that says how long it is
                EXPECT_TRUE(shortened || line.find("…") == std::string::npos) << entry.path() << "\n" << line;
                EXPECT_FALSE(!line.empty() && line.back() == ' ') << entry.path() << "\n" << line;
            }
        }
    }
}

TEST(Show, WhatTheLinkSaysIsInWords) {
    expectHas(runIn("100", kScenarios + "/startup.json"),
              {"\nPON link\n  started, from the initial state (1)\n", "= 0, text \"\"\n"});
}

TEST(Show, OnlyAWindowBreaksTheLinesOfAFailure) {
    const ScratchDirectory folder;
    const std::string file = folder.write("fails.json", R"({"title": "t", "steps": [
        {"expect": {"rules": {"sid0 rx 0": ["rxdev=sid0.3 vid0=100 pbits0=5 vid1=200 pbits1=3 | pop pop push vid0:=7"]}}}]})");
    const std::string whole = "expected  rxdev=sid0.3 vid0=100 pbits0=5 vid1=200 pbits1=3 | pop pop push vid0:=7";
    expectHas(runTool({"run", file}).output, {whole});
    const std::string narrow = runIn("60", file);
    EXPECT_EQ(narrow.find(whole), std::string::npos);
    expectHas(narrow, {"\n                    pbits1=3 | pop"});
}

TEST(Show, FieldsReadLikeASentence) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"vlanTciFilterList": "0064b0c8"})", "vlanTciFilterList (VID 100, VID 200 p5 DEI)"},
        {R"({"vlanTciFilterList": "0064b"})", "vlanTciFilterList 0064b"},
        {R"({"vlanTciFilterList": []})", "vlanTciFilterList (none)"},
        {R"({"phys": {"4": {"link": true, "speed": 10}, "5": {"link": false}}})",
         "phys (4: link true, speed 10; 5: link false)"},
        {R"({"received": {"a": 0, "b": 7, "c": 0, "d": 0}, "sent": {"a": 0, "b": 0, "c": 0, "d": 0}})",
         "received (b 7, the rest 0), sent (all 0)"},
        {R"({"file": "first\nsecond\n"})", "file first… (13 bytes)"},
    };
    for (const auto& [fields, words] : cases) EXPECT_EQ(fieldWords(nlohmann::ordered_json::parse(fields)), words);
    const std::string tooLong(119, 'x');
    EXPECT_EQ(valueWords("text", tooLong + "→tail"), tooLong + "… (126 bytes)") << "no half character";
}

TEST(Show, ANumberStaysWithTheWordInFrontOfIt) {
    const std::vector<std::string> lines = {"leaves at GEM", "port 1001,", "VID 100 +7 rules"};
    EXPECT_EQ(wrapped("leaves at GEM port 1001, VID 100 +7 rules", 16), lines);
    EXPECT_EQ(hanging("one two three", 9, 4), "one\n    two\n    three");
}

TEST(Show, ATableTooWideForItsWindowBreaksItsWidestColumns) {
    Table table({"name", "what", "where"});
    table.row({"→", "one two three four", "five six seven"});
    EXPECT_EQ(table.text(Terminal(false, 28)),
              "  name  what       where\n"
              "  →     one two    five six\n"
              "        three      seven\n"
              "        four\n");
    Table lines;
    lines.row({"  indented", "two\nlines"});
    EXPECT_EQ(lines.text(Terminal(false, 40), 0), "  indented  two lines\n") << "a line end in a cell ends no row";
    EXPECT_FALSE(table.fits(Terminal(false, 41)));
    EXPECT_TRUE(table.fits(Terminal(false, 42)));
}

}  // namespace
