// vorn-onu exec -- PROGRAM: runs a program with the virtual ONU in front of the C library.
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "BoardIdentity.h"
#include "VirtualOnu.h"
#include "commands/Commands.h"
#include "commands/ExecSummary.h"
#include "commands/Forwarding.h"
#include "hal/HalForwarding.h"
#include "living/ProgramBoard.h"
#include "living/Server.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/program/KeptBoard.h"
#include "running/program/Launch.h"
#include "running/program/LogFile.h"
#include "running/program/RecordingFile.h"
#include "running/program/RunFolder.h"
#include "running/program/Supervisor.h"
#include "running/program/Tail.h"
#include "running/program/TapLender.h"
#include "running/program/TapOption.h"
#include "views/page/MetricServer.h"

namespace vorn_onu {

namespace {

constexpr int kCannotStart = 127;
constexpr const char* kStandardOutput = "-";

// A file name that the program can use from any directory.
std::string absolute(const std::string& path) {
    return path.empty() ? path : std::filesystem::absolute(path).string();
}

// Throws a FileProblem when the file cannot be written.
void checkPlace(const std::string& path) {
    if (path != kStandardOutput) checkWritable(path);
}

// What the program writes is empty until it does.
void empty(const std::string& path) {
    if (!path.empty()) writeFile(path, "");
}

// What this run writes, and where.
struct Files {
    Files(const ExecCommand& command, const RunFolder& folder)
        : state(command.jsonFile.empty() || command.jsonFile == kStandardOutput ? folder.file("state.json")
                                                                                : absolute(command.jsonFile)),
          trace(command.traceFile == kStandardOutput ? folder.file("trace") : absolute(command.traceFile)),
          halOutput(command.halOutput.empty()              ? newLogOf(command.program[0])
                    : command.halOutput == kStandardOutput ? ""
                                                           : absolute(command.halOutput)),
          recording(command.recordFile) {}

    std::string state, trace, halOutput;  // "" for none; halOutput: mixed with what the program prints
    RecordingFile recording;
};

// Throws a FileProblem: nothing is run.
void prepare(const ExecCommand& command, const Files& files) {
    if (command.jsonFile == kStandardOutput && command.traceFile == kStandardOutput)
        throw FileProblem("-", "the state and the trace cannot both go to standard output");
    for (const std::string& path : {command.jsonFile, command.traceFile, command.halOutput, command.reportFile,
                                    command.pcapFile, command.recordFile})
        checkPlace(path);
    if (!command.recordFile.empty()) files.recording.check();
    for (const std::string& path : {files.state, files.trace, files.halOutput}) empty(path);
}

bool setUp(const ExecCommand& command, const BoardStart& board, const Files& files, const RunFolder& folder,
           Environment& environment) {
    if (!environment.preload(!command.recordFile.empty(), !command.name.empty())) return false;
    environment.set("VORN_ONU_RUN", folder.path());
    environment.set(VORN_HAL_FORWARDING_VARIABLE, command.forwarding);
    environment.set("VORN_ONU_STATE", files.state);
    if (!files.trace.empty()) environment.set("VORN_ONU_TRACE", files.trace);
    if (!files.halOutput.empty()) environment.set("VORN_ONU_HAL_OUTPUT", files.halOutput);
    const auto give = [&environment](const char* name, const std::string& value) {
        if (!value.empty()) environment.set(name, value);
    };
    give(virtual_onu::kBoardFileVariable, board.file.empty() ? "" : absolute(board.file));
    give(virtual_onu::kSerialNumberVariable, board.serialNumber);
    give(virtual_onu::kBaseMacVariable, board.baseMac);
    if (!command.recordFile.empty()) environment.set("VORN_RECORDER_FILE", files.recording.beside());
    return true;
}

// What lets others look at the board while the program runs.
struct Reachable {
    Reachable(const ExecCommand& command, const RunFolder& folder)
        : board(folder, command.program), server(command.name, command.taps) {
        if (command.metrics.empty()) return;
        metrics = std::make_unique<page::MetricServer>(command.metrics, board);
        remark("metrics: " + metrics->link());
    }
    ProgramBoard board;
    living::Server server;
    std::unique_ptr<page::MetricServer> metrics;
};

// The state that the file holds; discarded when nobody has touched the device.
nlohmann::json lastStateIn(const std::string& path) {
    std::ifstream written(path);
    return nlohmann::json::parse(written, nullptr, false);
}

// What the TAPs have counted to the end, which the program's last state may not have seen. path: the state's file, ""
// when it is not this tool's to write.
void addTaps(const virtual_onu::Taps* taps, const std::string& path, nlohmann::json& state) {
    if (taps == nullptr || state.is_discarded()) return;
    state["taps"] = taps->toJson();
    if (!std::filesystem::is_regular_file(path)) return;
    writeFile(path, state.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

int runIn(const ExecCommand& command, RunFolder& folder) {
    const Files files(command, folder);
    const BoardStart board = boardStart(command.board);
    Environment environment;
    prepare(command, files);
    const auto taps = openTaps(command.taps);
    const auto lender = taps != nullptr ? std::make_unique<TapLender>(*taps, folder.path()) : nullptr;
    if (!setUp(command, board, files, folder, environment)) return kBadInput;

    // This process has the board open, too: it is nobody else's, and can be shown when the program has ended.
    const bool keepsBoard = !board.file.empty();
    if (keepsBoard) virtual_onu::VirtualOnu::instance().openBoard(board.file);

    Supervisor supervisor;
    std::optional<Reachable> reachable;
    if (!command.name.empty()) {
        reachable.emplace(command, folder);
        reachable->server.start(reachable->board);
    }
    const bool jsonOnly = command.jsonFile == kStandardOutput;
    int error = 0;
    const pid_t child = launch(command.program, environment, supervisor.before(), jsonOnly, &error);
    if (child == 0) {
        complain(command.program[0] + ": cannot be started: " + std::strerror(error));
        return kCannotStart;
    }
    if (reachable) reachable->server.answer();
    supervisor.waitForAll(reachable.has_value());
    std::unique_ptr<Tail> tail;
    std::function<void()> showTrace;
    if (command.traceFile == kStandardOutput) {
        tail = std::make_unique<Tail>(files.trace);
        showTrace = [&tail] { tail->showNew(); };
    }
    const Ending ending = supervisor.waitFor(
        child, [&folder] { return folder.unwritten(); }, showTrace);
    if (showTrace) showTrace();
    if (reachable) reachable->board.end();
    if (reachable) reachable->server.stop("the program has ended with exit code " + std::to_string(ending.code));

    ExecSummary summary(command.program, folder, ending);
    summary.quiet = command.quiet || jsonOnly;
    summary.halOutput = files.halOutput;
    summary.snapshotFile = files.state;
    summary.forwarding = forwardingWords(command.forwarding);
    summary.stateIsKept = !command.jsonFile.empty() && !jsonOnly;
    summary.traceFile = files.trace;
    nlohmann::json state = lastStateIn(files.state);
    const bool touched = !state.is_discarded();
    if (keepsBoard) {
        state = boardAndCalls(state);
        virtual_onu::VirtualOnu::instance().closeBoard();
    }
    addTaps(taps.get(), keepsBoard || summary.goesOn() ? "" : files.state, state);
    const bool isWhole = touched && !keepsBoard;  // what the program has written is what is to be kept
    if (summary.goesOn()) {
        folder.keep();
        if (!command.recordFile.empty()) summary.recording = files.recording.beside();
    } else if (!command.recordFile.empty()) {
        files.recording.putInPlace(folder.hal(), touched, summary.quiet);
    }
    summary.touched = touched;
    summary.show(state);
    const nlohmann::json device = touched || keepsBoard ? state : newBoard();
    if (jsonOnly) print(device.dump(1, ' ', true) + "\n");
    if (!isWhole && summary.stateIsKept && !summary.goesOn()) writeFile(files.state, device.dump(1) + "\n");
    writeReport(command.reportFile, command.program, ending, device);
    writeCapture(command.pcapFile, device);
    return ending.code;
}

}  // namespace

int ExecCommand::run() const {
    RunFolder folder;
    return runIn(*this, folder);
}

}  // namespace vorn_onu
