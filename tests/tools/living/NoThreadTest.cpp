// A system that has no thread for the tool: it says so and ends, and leaves nothing behind.
#include <sched.h>

#include <filesystem>
#include <set>

#include "support/Emulated.h"
#include "support/Sanitized.h"
#include "tools/living/LivingBoards.h"

namespace {

// With a network namespace of its own.
bool makesTaps() {
    static const bool makes =
        runProgram({"unshare", "-n", "sh", "-c", "exec 3<>/dev/net/tun && ip tuntap add dev try0 mode tap"}).code == 0;
    return makes;
}

struct Start {
    std::vector<std::string> words;
    std::vector<int> threads;  // those of the tool's own threads that are missing, one a time
    bool taps = false;
};

class NoThread : public ::testing::Test {
protected:
    void SetUp() override {
        SKIP_WHEN_EMULATED(kHostPrograms);
        if (kSanitized) GTEST_SKIP() << "sanitizers start threads by functions of their own";
    }
    std::string file(const std::string& name) const { return scratch_.file(name); }
    // A log of the HAL stays from run to run.
    std::set<std::string> leftBehind() const {
        std::set<std::string> found;
        for (const std::string& place : {runtime_.path(), file("tmp")})
            for (const auto& entry : std::filesystem::recursive_directory_iterator(place))
                if (!entry.is_directory() && entry.path().extension() != ".log") found.insert(entry.path().string());
        return found;
    }
    std::vector<std::string> toolWithout(int thread, const std::vector<std::string>& command) const {
        std::vector<std::string> words{"env", "TMPDIR=" + file("tmp"), "LD_PRELOAD=" NO_THREAD_LIBRARY,
                                       "VORN_NO_THREAD=" + std::to_string(thread), kTool};
        words.insert(words.end(), command.begin(), command.end());
        return words;
    }
    void expectRefusal(const Start& start, int thread) const {
        std::vector<std::string> words = toolWithout(thread, start.words);
        if (start.taps) words.insert(words.begin(), {"unshare", "-n"});
        const auto before = leftBehind();
        BackgroundProgram run(std::move(words), file("output"));
        EXPECT_TRUE(run.prints("cannot start a thread: Resource temporarily unavailable\n")) << run.output();
        EXPECT_EQ(run.exitCode(), 2) << run.output();
        EXPECT_EQ(leftBehind(), before);
    }
    ScratchDirectory scratch_;
    RuntimeDirectory runtime_;
};

TEST_F(NoThread, IsSaidInALineAndLeavesNothingBehind) {
    const std::string scenario = kScenarios + "/internet.json";
    const Start starts[] = {
        {{"omci", "--listen", "udp:127.0.0.1:0", "--name", "lab", "--metrics", "0", "--json", file("state.json")},
         {2, 3, 4, 5}},  // the first one is the HAL's
        {{"run", "--quiet", scenario, "--stay", "--name", "lab", "--metrics", "0"}, {1, 2, 3}},
        {{"exec", "--name", "lab", "--metrics", "0", "--", "touch", file("tmp/ran")}, {1, 2, 3, 4}},
        {{"at", "other", "serve"}, {1, 2, 32, 33}},
        {{"exec", "--tap", "sid0=lan0", "--", "touch", file("tmp/ran")}, {1}, true},
        {{"exec", "--tap", "sid0=lan0@/proc/self/ns/net", "--", "touch", file("tmp/ran")}, {1, 2}, true},
        {{"omci", "--listen", "udp:127.0.0.1:0", "--tap", "sid0=lan0"}, {2}, true},
    };
    std::filesystem::create_directory(file("tmp"));
    BackgroundProgram other({kTool, "exec", "--name", "other", "--", "sleep", "1000"}, file("other"));
    ASSERT_TRUE(becomesTrue([&] { return BoardClient(runtime_.socket("other")).connected(); })) << other.output();
    for (const Start& start : starts)
        for (const int thread : start.threads) {
            if (start.taps && !makesTaps()) continue;
            SCOPED_TRACE(start.words[0] + " " + start.words[1] + ", thread " + std::to_string(thread));
            expectRefusal(start, thread);
        }
}

// The first thread is the HAL's.
TEST_F(NoThread, ForTheGatewayMakesItsMessagesFail) {
    std::filesystem::create_directory(file("tmp"));
    const auto run = runProgram(toolWithout(2, {"run", "--quiet", "--strict", kScenarios + "/veip.json"}));
    EXPECT_EQ(run.code, 1) << run.output;
    expectHas(run.output, {"cmsMsg_send(60, type 0x10002254 to 21 flags 2, 60 bytes) = 11"});
}

}  // namespace
