// `vorn-onu exec --board FILE`: the board outlives the program.
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

class ExecBoard : public ::testing::Test {
protected:
    // A shell's script as the program.
    ProgramResult exec(const std::string& script, const std::string& options = "") const {
        return runProgram(
            {"/bin/sh", "-c", kTool + " exec --board " + board_ + " " + options + " -- /bin/sh -c '" + script + "'"});
    }
    json state() const {
        const std::string file = scratch_.file("state.json");
        EXPECT_EQ(exec("true", "--quiet --json " + file).code, 0);
        return json::parse(contentOf(file));
    }
    std::size_t rules() const {
        std::size_t count = 0;
        const json all = state();
        for (const json& table : all["vlan"]["tables"]) count += table["rules"].size();
        return count;
    }
    const ScratchDirectory scratch_;
    const std::string board_ = scratch_.file("board");
};

TEST_F(ExecBoard, TheSecondProgramFindsWhatTheFirstHasLeft) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    EXPECT_EQ(exec(kDaemon).code, 0);
    const std::size_t once = rules();
    EXPECT_GT(once, 5U);
    const ProgramResult second = exec(kDaemon, "--json " + scratch_.file("second.json"));
    EXPECT_TRUE(has(second.output, "rule occurs twice")) << second.output;
    EXPECT_GT(rules(), once) << "a HAL that begins with empty maps adds its rules again";
    const json reported = json::parse(contentOf(scratch_.file("second.json"))), kept = state();
    EXPECT_EQ(reported["vlan"], kept["vlan"]);
    EXPECT_EQ(reported["network"]["devices"], kept["network"]["devices"]);
    EXPECT_GT(reported["trace"].size(), 100U) << "what the program has done is reported, too";
    EXPECT_TRUE(kept["trace"].empty());
    // Nobody has touched it: it is shown all the same.
    const ProgramResult shown = exec("true");
    EXPECT_TRUE(has(shown.output, "br3")) << shown.output;
    EXPECT_NE(access((board_ + ".lock").c_str(), F_OK), 0);
}

TEST_F(ExecBoard, ADaemonWithAStateFileFindsItsService) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    const std::string daemon = kDaemon + " --state " + scratch_.file("hal.state");
    EXPECT_TRUE(has(exec(daemon).output, "the service is up"));
    const json before = state();
    const ProgramResult second = exec(daemon);
    EXPECT_TRUE(has(second.output, "0 leftovers of the last run removed")) << second.output;
    EXPECT_TRUE(has(second.output, "the service is up")) << second.output;
    EXPECT_EQ(state()["vlan"], before["vlan"]);
    EXPECT_EQ(state()["pon"], before["pon"]);
}

TEST_F(ExecBoard, AllProcessesOfAProgramWorkOnTheOneBoard) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    const ProgramResult both = exec(kDaemon + "; " + kDaemon);
    EXPECT_EQ(both.code, 0) << both.output;
    EXPECT_FALSE(has(both.output, "a board of its own")) << both.output;
    EXPECT_TRUE(has(both.output, "rule occurs twice")) << both.output;
    EXPECT_EQ(state()["network"]["bridges"].size(), 2U);
}

TEST_F(ExecBoard, ABadFileIsRefusedBeforeAnythingRuns) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    scratch_.write("board", "{\"format\":\"vorn-onu board\",\"version\":3}\n");
    const ProgramResult newer = exec("echo it runs");
    EXPECT_EQ(newer.code, 2);
    EXPECT_TRUE(has(newer.output, board_ + ": is a board of version 3")) << newer.output;
    EXPECT_FALSE(has(newer.output, "it runs"));
    EXPECT_EQ(runTool({"exec", "--board", "/nowhere/board", "--", "/bin/true"}).code, 2);
    EXPECT_EQ(runTool({"run", std::string(VORN_SCENARIO_DIR) + "/bridge.json", "--board", board_}).code, 2);
}

}  // namespace
