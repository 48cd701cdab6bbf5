// A daemon that detaches itself from the terminal, under the tool, and signals.
#include "support/Emulated.h"
#include "tools/program/Terminal.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

constexpr char kCtrlC = 3;
constexpr char kCtrlBackslash = 28;

// A shell that tells its number, and becomes the daemon.
std::vector<std::string> detachedDaemon(const std::string& before = "") {
    return {kTool, "exec", "--", "/bin/sh", "-c", before + "echo daemon is $$; exec " + kDaemon + " --stay"};
}

void expectSummary(TerminalSession& session) {
    expectHas(session.output(), {"1001", "what the HAL printed: "});
}

TEST(Signals, EachReachesADetachedDaemonAndTheSummaryIsShown) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        TerminalSession session(detachedDaemon());
        ASSERT_TRUE(session.shows("the service is up")) << session.output();
        kill(session.process(), signal);
        EXPECT_EQ(session.exitCode(), 128 + signal) << session.output();
        expectSummary(session);
        EXPECT_TRUE(isGone(session.numberBehind("daemon is "))) << signal;
    }
}

TEST(Signals, TheKeyboardReachesADetachedDaemon) {
    for (const auto& [key, signal] : {std::pair(kCtrlC, SIGINT), std::pair(kCtrlBackslash, SIGQUIT)}) {
        TerminalSession session(detachedDaemon());
        ASSERT_TRUE(session.shows("the service is up")) << session.output();
        session.type(key);
        EXPECT_EQ(session.exitCode(), 128 + signal) << session.output();
        expectSummary(session);
    }
}

// Programs that tell their group and themselves come as two signals, which is one request.
TEST(Signals, TheSameSignalFromTheSameSenderAtOnceIsOneRequest) {
    TerminalSession session({kTool, "exec", "--quiet", "--", "/bin/sh", "-c",
                             "trap 'echo asked; exit 3' INT; echo ready; while :; do sleep 0.1; done"});
    ASSERT_TRUE(session.shows("ready"));
    kill(session.process(), SIGINT);
    kill(session.process(), SIGINT);
    EXPECT_EQ(session.exitCode(), 3) << session.output();
}

TEST(Signals, NothingIsLeftOfAProgramWithSeveralProcesses) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    TerminalSession session(
        {kTool, "exec", "--quiet", "--", "/bin/sh", "-c",
         kDaemon + " --stay & echo one is $!; setsid sh -c 'trap \"\" TERM; echo two is $$; while :; do sleep "
                   "0.1; done' & wait"});
    ASSERT_TRUE(session.shows("one is "));
    ASSERT_TRUE(session.shows("two is "));
    ASSERT_TRUE(session.shows("the service is up"));
    kill(session.process(), SIGTERM);
    EXPECT_EQ(session.exitCode(), 128 + SIGTERM);
    EXPECT_TRUE(isGone(session.numberBehind("one is ")));
    EXPECT_TRUE(isGone(session.numberBehind("two is "))) << "it does not listen, and is killed in the end";
}

TEST(Signals, AProgramDiesWithTheTool) {
    TerminalSession session(detachedDaemon());
    ASSERT_TRUE(session.shows("the service is up")) << session.output();
    const pid_t daemon = session.numberBehind("daemon is ");
    kill(session.process(), SIGKILL);
    session.exitCode();
    EXPECT_TRUE(becomesTrue([&] { return isGone(daemon); }));
}

TEST(Background, AProgramThatGoesThereIsNamedWithItsFiles) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    const ScratchDirectory scratch;
    const ProgramResult result = expectTool({"exec", "--record", scratch.file("calls.json"), "--", "/bin/sh", "-c",
                                             kDaemon + " --stay >/dev/null 2>&1 & echo daemon is $!"},
                                            0, {});
    const auto behind = [&](const std::string& word, const std::string& end) {
        const auto start = result.output.find(word) + word.size();
        return result.output.substr(start, result.output.find(end, start) - start);
    };
    ASSERT_NE(result.output.find("goes on in the background: process "), std::string::npos) << result.output;
    const pid_t daemon = std::stoi(behind("daemon is ", "\n"));
    EXPECT_EQ(behind("background: process ", " "), std::to_string(daemon)) << result.output;
    EXPECT_EQ(result.output.find("has not touched the device"), std::string::npos) << result.output;
    const std::string state = behind("the state of its device: ", ",");
    EXPECT_TRUE(becomesTrue([&] { return contentOf(state).find("\"name\": \"sid1.3\"") != std::string::npos; }))
        << state;
    const std::string recording = behind("on: ", "\n");
    expectHas(contentOf(recording), {"configureBridge"});
    kill(daemon, SIGKILL);
    EXPECT_TRUE(becomesTrue([&] { return isGone(daemon); }));
    runProgram({"rm", "-r", state.substr(0, state.rfind('/'))});
}

}  // namespace
