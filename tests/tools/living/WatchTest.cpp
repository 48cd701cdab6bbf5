// The full-screen view, drawn into a terminal: what it shows in windows of different sizes, and how it leaves them.
#include <sys/ioctl.h>
#include <termios.h>

#include <algorithm>
#include <memory>
#include <regex>
#include <sstream>

#include "support/Emulated.h"
#include "tools/living/LivingBoards.h"
#include "tools/program/Terminal.h"

namespace {

// The last whole drawing: from the top of the window to the next time that it begins there, without colours.
struct Drawing {
    explicit Drawing(const std::string& output) {
        const std::size_t end = output.rfind("\x1b[H");
        const std::size_t begin = end == 0 || end == std::string::npos ? end : output.rfind("\x1b[H", end - 1);
        std::istringstream drawn(begin == std::string::npos ? "" : output.substr(begin, end - begin));
        for (std::string line; std::getline(drawn, line); ++rows) {
            EXPECT_TRUE(has(line, "\x1b[K")) << "what was there stays: " << line;
            line = std::regex_replace(line, std::regex("\x1b\\[[0-9;?]*[a-zA-Z]|\r"), "");
            widest = std::max(
                widest, std::count_if(line.begin(), line.end(), [](unsigned char c) { return (c & 0xC0U) != 0x80; }));
            text += line + "\n";
        }
    }
    std::string text;
    std::ptrdiff_t widest = 0, rows = 0;
};

// The other screen is left, and the cursor shown again.
bool isBack(const std::string& output) {
    const auto last = [&](const char* what) { return static_cast<std::ptrdiff_t>(output.rfind(what)); };  // -1: never
    return last("\x1b[?1049l") > last("\x1b[?1049h") && last("\x1b[?25h") > last("\x1b[?25l");
}

pid_t childOf(pid_t parent) {
    const ProgramResult found = runProgram({"pgrep", "-P", std::to_string(parent)});
    return found.code == 0 ? std::stoi(found.output) : 0;
}

class Watching : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        SKIP_WHEN_EMULATED(kHostPrograms);
        run_ = std::make_unique<BackgroundProgram>(
            std::vector<std::string>{kTool, "exec", "--quiet", "--name", "lab", "--", kTestDaemon, "cycle"},
            scratch_.file("output"));
        ASSERT_TRUE(boardAnswers(runtime_.socket("lab"))) << run_->output();
    }
    static winsize sizeOf(int columns, int rows) {
        winsize size{};
        size.ws_col = static_cast<unsigned short>(columns);
        size.ws_row = static_cast<unsigned short>(rows);
        return size;
    }
    ScratchDirectory scratch_;
    RuntimeDirectory runtime_;
    std::unique_ptr<BackgroundProgram> run_;
};

TEST_P(Watching, FitsTheWindowFollowsItsSizeAndLeavesItClean) {
    const int columns = GetParam();
    BoardClient client(runtime_.socket("lab"));
    client.step({{"board", {{"gemPorts", {{{"gemPort", 2000}, {"index", 77}}}}}}});
    client.step({{"gateway", "silent"}});
    client.step({{"fault", {{"function", "tmctl_setQueueCfg"}, {"nth", 2}, {"may", true}}}});
    TerminalSession session({kTool, "at", "lab", "watch"}, sizeOf(columns, 30));
    ASSERT_TRUE(becomesTrue([&] {
        const std::string text = Drawing(session.output()).text;
        return has(text, "vlanCtl_") && has(text, "2000") && has(text, "q ends");  // all of it has been drawn
    })) << session.output();
    const Drawing whole(session.output());
    expectHas(session.output(), {"\x1b[?1049h", "\x1b[?25l"});
    EXPECT_FALSE(isBack(session.output()));
    EXPECT_LE(whole.widest, columns);
    EXPECT_LE(whole.rows, 30);
    expectHas(whole.text, {"lab: exec", "Services", "Ports", "GEM ports", "Warnings", "the gateway is silent",
                           "Armed faults", "call 2 of tmctl_setQueueCfg", "Last calls", "q ends"});

    // Rates: frames that come in, once there are two looks at the counters.
    const std::regex onlyIn("\n  sid1  up [^-\n]* [1-9][0-9]* +0 +[0-9]+ *\n");
    EXPECT_TRUE(becomesTrue([&] {
        client.ask({{"do", "send"}, {"frame", {{"from", "sid1"}}}});
        return std::regex_search(Drawing(session.output()).text, onlyIn);
    })) << session.output();

    session.resize(sizeOf(60, 13));
    ASSERT_TRUE(becomesTrue([&] { return Drawing(session.output()).rows == 13; })) << session.output();
    const Drawing small(session.output());
    EXPECT_LE(small.widest, 60);
    expectHas(small.text, {"Last calls"});

    const auto showsNow = [&session](const std::string& wanted, const std::string& unwanted) {
        return becomesTrue([&] {
            const std::string text = Drawing(session.output()).text;
            return has(text, wanted) && (unwanted.empty() || !has(text, unwanted));
        });
    };
    EXPECT_TRUE(showsNow("GEM ports (1 to 1 of 2)", "")) << small.text;
    session.type('j');
    EXPECT_TRUE(showsNow("GEM ports (2 to 2 of 2)", ""));
    for (const char key : {'k', '/', '2', '0', '0', '0', '\n', 's'}) session.type(key);
    EXPECT_TRUE(showsNow("  2000", "  sid1  up")) << session.output();
    EXPECT_TRUE(showsNow("sorts by name", ""));

    session.type('q');
    EXPECT_EQ(session.exitCode(), 0);
    EXPECT_TRUE(isBack(session.output()));
}
INSTANTIATE_TEST_SUITE_P(Columns, Watching, ::testing::Values(80, 120, 140),
                         [](const auto& one) { return std::to_string(one.param); });

class Leaving : public Watching {};
// The terminal's settings are its own: looked at from the side that stays.
TEST_P(Leaving, GivesTheTerminalBack) {
    TerminalSession session(
        {"/bin/sh", "-c", "trap : INT; " + kTool + " at lab watch; echo back $?; stty -a; echo all is said; read rest"},
        sizeOf(80, 24));
    ASSERT_TRUE(session.shows("Services"));
    const pid_t watching = childOf(session.process());
    ASSERT_GT(watching, 0);
    switch (GetParam()) {
        case 0:
            session.type(3);
            break;
        case SIGHUP:
        case SIGTERM:
            kill(watching, GetParam());
            break;
        default:  // the board goes
            run_->signal(SIGTERM);
    }
    ASSERT_TRUE(session.shows("all is said")) << session.output();
    session.type('\n');
    EXPECT_EQ(session.exitCode(), 0);
    EXPECT_TRUE(isBack(session.output()));
    const std::string after = session.output().substr(session.output().find("back "));
    expectHas(after, {" icanon", " echo "});
}
INSTANTIATE_TEST_SUITE_P(By, Leaving, ::testing::Values(0, SIGTERM, SIGHUP, -1), [](const auto& one) {
    return one.param == 0         ? "CtrlC"
           : one.param == SIGTERM ? "Sigterm"
           : one.param == SIGHUP  ? "Sighup"
                                  : "TheBoardsEnd";
});

}  // namespace
