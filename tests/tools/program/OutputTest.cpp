// What `vorn-onu exec` writes, and where.
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "support/Emulated.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using nlohmann::json;

const std::string kOfTheHal = "RECEIVED  TCONT PROVISIONING";
const std::string kOfItsFactory = "The BRCM hal intialized";  // printed by other means
const std::string kOfTheDaemon = "daemon: the service is up";

// Standard output alone.
ProgramResult outputOf(const std::string& options) {
    return runProgram({"/bin/sh", "-c", kTool + " exec " + options + " -- " + kDaemon + " 2>/dev/null"});
}

TEST(ExecOutput, WhatTheHalPrintsGoesWhereItIsWanted) {
    const ScratchDirectory scratch;
    const ProgramResult plain = outputOf("");
    EXPECT_TRUE(has(plain.output, kOfTheDaemon));
    EXPECT_FALSE(has(plain.output, kOfTheHal) || has(plain.output, kOfItsFactory)) << plain.output;
    const std::string word = "what the HAL printed: ";
    const auto named = plain.output.find(word);
    ASSERT_NE(named, std::string::npos) << plain.output;
    const auto start = named + word.size();
    EXPECT_TRUE(has(contentOf(plain.output.substr(start, plain.output.find(" (", start) - start)), kOfTheHal));

    const std::string file = scratch.file("hal.log");
    const ProgramResult apart = outputOf("--hal-output " + file);
    EXPECT_FALSE(has(apart.output, kOfTheHal));
    EXPECT_TRUE(has(apart.output, file)) << apart.output;
    EXPECT_TRUE(has(contentOf(file), kOfTheHal) && has(contentOf(file), kOfItsFactory));
    EXPECT_FALSE(has(contentOf(file), kOfTheDaemon));

    const ProgramResult mixed = outputOf("--hal-output -");
    expectHas(mixed.output, {kOfTheHal, kOfTheDaemon});
    EXPECT_FALSE(has(mixed.output, word));
}

TEST(ExecOutput, OldLogsThatNobodyWritesToMakePlace) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    const ScratchDirectory scratch;
    const std::string logs = scratch.file("vorn-onu.*/*.hal.log");
    const std::string run = "TMPDIR=" + scratch.file("") + " " + kTool + " exec --quiet -- ";
    const std::string age = "; touch -d '2 hours ago' " + logs + "; ", count = "; ls " + logs + " | wc -l";
    const auto output = [](const std::string& script) { return runProgram({"/bin/sh", "-c", script}).output; };
    EXPECT_EQ(output(run + "/bin/true; " + run + "/bin/true" + count), "2\n") << "a reader has an hour";
    EXPECT_EQ(output(":" + age + run + "/bin/true" + count), "1\n");
    scratch.write("inner.sh", ":" + age + run + "/bin/sh -c true" + count);
    EXPECT_EQ(output(run + "/bin/sh " + scratch.file("inner.sh")), "3\n") << "that of a run that goes on stays";
}

TEST(ExecOutput, ADashIsStandardOutput) {
    const json state = json::parse(outputOf("--json -").output, nullptr, false);
    ASSERT_TRUE(state.is_object()) << "the state is all there is";
    EXPECT_EQ(state["pon"]["gemPorts"].size(), 1u);
    const ProgramResult traced = outputOf("--quiet --trace -");
    expectHas(traced.output, {"\ngponCtl_configGemPort(", kOfTheDaemon});
    EXPECT_NE(access("-", F_OK), 0);
    EXPECT_EQ(outputOf("--json - --trace -").code, 2);
}

TEST(ExecOutput, AReaderThatHasSeenEnoughIsNoFailure) {
    const ScratchDirectory scratch;
    for (const std::string options : {"", "--json -", "--trace -"}) {
        const std::string errors = scratch.file("errors");
        runProgram({"/bin/sh", "-c", kTool + " exec " + options + " -- " + kDaemon + " 2>" + errors + " | head -1"});
        EXPECT_EQ(contentOf(errors).find("vorn-onu: "), std::string::npos) << options << ": " << contentOf(errors);
    }
}

TEST(ExecOutput, ARecordingReplacesAFileOnlyWhenThereIsOne) {
    const ScratchDirectory scratch;
    const std::string file = scratch.write("calls.json", "kept");
    const ProgramResult none = runTool({"exec", "--record", file, "--", "/bin/true"});
    EXPECT_EQ(contentOf(file), "kept");
    EXPECT_TRUE(has(none.output, "nothing is recorded, the program has not called the HAL")) << none.output;
    EXPECT_EQ(runTool({"exec", "--record", "/dev/null", "--", "/bin/true"}).code, 2);
    EXPECT_EQ(runTool({"exec", "--quiet", "--record", file, "--", kDaemon}).code, 0);
    EXPECT_TRUE(has(contentOf(file), "configureBridge"));
    EXPECT_EQ(runProgram({"/bin/ls", scratch.file("")}).output, "calls.json\n") << "nothing is left beside it";
}

}  // namespace
