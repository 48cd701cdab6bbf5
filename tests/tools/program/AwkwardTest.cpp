// The virtual ONU inside of programs that close, fork, load and change what they like.
#include <unistd.h>

#include "support/Emulated.h"
#include "support/Sanitized.h"
#include "support/Wait.h"
#include "tools/vorn-onu/ReadJson.h"

namespace {

using nlohmann::json;

class Awkward : public ::testing::Test {
protected:
    // The program may wait for itself.
    ProgramResult run(const std::string& mode, const std::vector<std::string>& options = {}) {
        std::vector<std::string> words = {
            "/usr/bin/timeout", std::to_string(kHang.count()), kTool, "exec", "--json", state(), "--trace", trace()};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {"--", kTestDaemon, "awkward", mode, scratch_.file("own")});
        return runProgram(words);
    }
    std::string state() const { return scratch_.file("state.json"); }
    std::string trace() const { return scratch_.file("trace.txt"); }
    json stateJson(const std::string& behind = "") const { return readJson(state() + behind); }

    ScratchDirectory scratch_;
};

TEST_F(Awkward, TheTraceFindsItsFileAgainWhenAllDescriptorsWereTaken) {
    const ProgramResult result = run("close-all");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_TRUE(has(contentOf(trace()), "\"gpon4\"")) << "a call after all had been closed";
}

TEST_F(Awkward, ADescriptorIsTheDevicesOnlyWhileItIsTheSame) {
    for (const char* mode : {"vfork", "numbers"}) {
        const ProgramResult result = run(mode);
        EXPECT_EQ(result.code, 0) << mode << ": " << result.output;
    }
}

TEST_F(Awkward, ASignalHandlerMayWorkWithFiles) {
    const ProgramResult result = run("handler", {"--quiet"});
    EXPECT_EQ(result.code, 0) << "124: it hangs; " << result.output;
}

TEST_F(Awkward, AHelperThatLeavesItsBoardAloneWritesNothing) {
    const ProgramResult result = run("helper");
    EXPECT_EQ(result.code, 128 + SIGKILL) << result.output;
    EXPECT_TRUE(hasDevice(stateJson(), "br4"));
    EXPECT_FALSE(has(result.output, "a board of its own")) << result.output;
}

TEST_F(Awkward, ASecondBoardIsKeptAndToldOf) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
    if (kThreadsEndWithFork) GTEST_SKIP() << kWhyNoFork;
    const ProgramResult result = run("two-boards");
    EXPECT_EQ(result.code, 0) << result.output;
    const auto reported = result.output.find("the other's state is in " + state() + ".");
    ASSERT_NE(reported, std::string::npos) << result.output;
    const auto start = reported + std::string("the other's state is in " + state()).size();
    const json other = stateJson(result.output.substr(start, result.output.find('\n', start) - start));
    EXPECT_NE(hasDevice(stateJson(), "br4"), hasDevice(stateJson(), "br5")) << "one of them is shown";
    EXPECT_EQ(hasDevice(stateJson(), "br4"), hasDevice(other, "br5")) << "and the other one kept";
}

TEST_F(Awkward, ABoardThatGoesOnInAChildIsOne) {
    SKIP_WHEN_EMULATED(kEmulatedFork);
    if (kThreadsEndWithFork) GTEST_SKIP() << kWhyNoFork;
    const ProgramResult result = run("moves");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_TRUE(hasDevice(stateJson(), "br4"));
    EXPECT_FALSE(has(result.output, "a board of its own")) << result.output;
}

// A shell's commands have a board each; one that merely looks does not hide what another one has done.
TEST_F(Awkward, AProgramThatOnlyLooksAtTheDeviceHidesNothing) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    const std::string script =
        std::string(EXAMPLE_DAEMON_BINARY) + " >/dev/null; cat /sys/class/net/sid0/mtu >/dev/null";
    const ProgramResult result = expectTool({"exec", "--json", state(), "--", "/bin/sh", "-c", script}, 0, {});
    EXPECT_TRUE(hasDevice(stateJson(), "sid1.3"));
    EXPECT_FALSE(has(result.output, "a board of its own")) << result.output;
}

TEST_F(Awkward, StateThatCanNoLongerBeWrittenIsToldOfOnce) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const ProgramResult result = run("user");
    const std::string complaint = "virtual ONU: the device's state can no longer be written to " + state();
    EXPECT_EQ(occurrences(result.output, complaint), 1U) << result.output;
    EXPECT_TRUE(hasDevice(stateJson(), "br3"));
}

// ---- a HAL that is loaded while the program runs ----

class Loader : public ::testing::Test {
protected:
    ProgramResult load(const std::vector<std::string>& options, const std::string& how) {
        std::vector<std::string> words = {kTool, "exec", "--json", state_};
        // A sanitizer's runtime interposes dlopen, and the linker takes it for the one that asks.
        if (std::string(VORN_SANITIZERS) != "")
            words.insert(words.begin(), {"/usr/bin/env", "LD_LIBRARY_PATH=" HAL_FOLDER});
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {"--", LOADER_BINARY, how});
        return runProgram(words);
    }
    bool bridgeStands() const { return hasDevice(readJson(state_), "br3"); }

    ScratchDirectory scratch_;
    std::string state_ = scratch_.file("state.json");
};

TEST_F(Loader, FindsItsLibraryAlongItsOwnPathAndItsOutputIsKeptApart) {
    const ProgramResult result = load({"--hal-output", scratch_.file("hal.log")}, "plainly");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_TRUE(bridgeStands());
    EXPECT_FALSE(has(result.output, "Configuring default bridge")) << result.output;
    EXPECT_TRUE(has(contentOf(scratch_.file("hal.log")), "Configuring default bridge"));
}

TEST_F(Loader, MeetsTheVirtualOnuWithDeepBindingToo) {
    if (std::string(VORN_SANITIZERS) != "") GTEST_SKIP() << "the sanitizers do not let a library be bound deeply";
    const ProgramResult result = load({}, "deep");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_TRUE(bridgeStands());
    EXPECT_TRUE(has(result.output, "without RTLD_DEEPBIND")) << result.output;
}

TEST_F(Loader, IsToldWhyItsCallsAreNotRecorded) {
    const ProgramResult result = load({"--record", scratch_.file("calls.json")}, "plainly");
    EXPECT_EQ(result.code, 0) << result.output;
    EXPECT_TRUE(has(result.output, "nothing is recorded, the program loads libvorn_hal with dlopen")) << result.output;
}

}  // namespace
