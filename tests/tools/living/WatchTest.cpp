// The full-screen view, drawn into a terminal: what it shows in windows of different sizes, and how it leaves them.
#include <sys/ioctl.h>
#include <termios.h>

#include <map>
#include <memory>
#include <regex>

#include "support/Emulated.h"
#include "tools/living/LivingBoards.h"
#include "tools/program/Terminal.h"

namespace {

// As much of a terminal as the view uses: lines of text, the place to write at, the other screen.
class Window {
public:
    void take(const std::string& bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (bytes[i] == '\x1b')
                i = takeSequence(bytes, i + 1);
            else if (bytes[i] == '\r')
                column_ = 0;
            else if (bytes[i] == '\n')
                ++row_;
            else if ((static_cast<unsigned char>(bytes[i]) & 0xC0U) != 0x80)
                put(bytes[i]);
        }
    }
    std::string text() const {
        std::string all;
        for (const auto& [number, line] : lines_) all += line + "\n";
        return all;
    }
    std::size_t widest = 0, lowest = 0;  // ever written to
    bool other = false, cursor = true;   // the other screen is shown, the cursor is

private:
    void put(char c) {
        std::string& line = lines_[row_];
        if (line.size() <= column_) line.resize(column_ + 1, ' ');
        line[column_++] = c;
        widest = std::max(widest, column_);
        lowest = std::max(lowest, row_);
    }
    std::size_t takeSequence(const std::string& bytes, std::size_t i) {
        const std::size_t end = bytes.find_first_of("HJKmhl", i);
        if (end == std::string::npos) return bytes.size();
        const std::string sequence = bytes.substr(i, end - i + 1);
        if (sequence == "[H") row_ = column_ = 0;
        if (sequence == "[K") lines_[row_].resize(std::min(lines_[row_].size(), column_));
        if (sequence == "[J") lines_.erase(lines_.upper_bound(row_), lines_.end());
        if (sequence == "[?1049h" || sequence == "[?1049l") other = sequence.back() == 'h';
        if (sequence == "[?25h" || sequence == "[?25l") cursor = sequence.back() == 'h';
        return end;
    }
    std::map<std::size_t, std::string> lines_;
    std::size_t row_ = 0, column_ = 0;
};

pid_t childOf(pid_t parent) {
    const ProgramResult found = runProgram({"pgrep", "-P", std::to_string(parent)});
    return found.code == 0 ? std::stoi(found.output) : 0;
}

std::string lineOf(const std::string& text, const std::string& start) {
    const std::size_t at = text.find(start);
    return at == std::string::npos ? "" : text.substr(at, text.find('\n', at) - at);
}

// From the top of the window to the next time that it begins there.
std::string lastDrawing(const std::string& output) {
    const std::size_t end = output.rfind("\x1b[H");
    const std::size_t begin = end == 0 || end == std::string::npos ? end : output.rfind("\x1b[H", end - 1);
    return begin == std::string::npos ? "" : output.substr(begin, end - begin);
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
    static Window windowOf(TerminalSession& session) {
        Window window;
        window.take(session.output());
        return window;
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
        const std::string text = windowOf(session).text();
        return text.find("vlanCtl_") != std::string::npos && text.find("2000") != std::string::npos &&
               text.find("q ends") != std::string::npos;  // all of it has been drawn
    })) << session.output();
    Window window = windowOf(session);
    EXPECT_TRUE(window.other);
    EXPECT_FALSE(window.cursor);
    EXPECT_LE(window.widest, static_cast<std::size_t>(columns));
    EXPECT_LT(window.lowest, 30U);
    expectHas(window.text(), {"lab: exec", "Services", "Ports", "GEM ports", "Warnings", "the gateway is silent",
                              "Armed faults", "call 2 of tmctl_setQueueCfg", "Last calls", "q ends"});
    EXPECT_EQ(window.text().find("bit/s") != std::string::npos, columns >= 110);

    // Rates: frames that come in, once there are two looks at the counters.
    EXPECT_TRUE(becomesTrue([&] {
        client.ask({{"do", "send"}, {"frame", {{"from", "sid1"}}}});
        const std::string line = lineOf(windowOf(session).text(), "  sid1  up ");
        const bool onlyIn = std::regex_search(line, std::regex(" [1-9][0-9]* +0 +[0-9]+ *$"));
        return onlyIn && line.find(" - ") == std::string::npos;
    })) << windowOf(session).text();

    session.resize(sizeOf(60, 13));
    Window small;
    ASSERT_TRUE(becomesTrue([&] {
        small = Window();
        small.take(lastDrawing(session.output()));
        return small.lowest == 12;
    })) << small.text();
    EXPECT_LE(small.widest, 60U);
    expectHas(small.text(), {"Last calls"});

    const auto showsNow = [&session](const std::string& wanted, const std::string& unwanted) {
        return becomesTrue([&] {
            Window now;
            now.take(lastDrawing(session.output()));
            return now.text().find(wanted) != std::string::npos &&
                   (unwanted.empty() || now.text().find(unwanted) == std::string::npos);
        });
    };
    EXPECT_TRUE(showsNow("GEM ports (1 to 1 of 2)", "")) << small.text();
    session.type('j');
    EXPECT_TRUE(showsNow("GEM ports (2 to 2 of 2)", ""));
    for (const char key : {'k', '/', '2', '0', '0', '0', '\n', 's'}) session.type(key);
    EXPECT_TRUE(showsNow("  2000", "  sid1  up")) << session.output();
    EXPECT_TRUE(showsNow("sorts by name", ""));

    session.type('q');
    EXPECT_EQ(session.exitCode(), 0);
    window = windowOf(session);
    EXPECT_FALSE(window.other);
    EXPECT_TRUE(window.cursor);
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
    const Window window = windowOf(session);
    EXPECT_FALSE(window.other);
    EXPECT_TRUE(window.cursor);
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
