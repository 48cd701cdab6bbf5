#include "commands/ExecSummary.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/io/Words.h"
#include "views/Capture.h"
#include "views/DeviceReport.h"
#include "views/Report.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

std::string text(pid_t process, const std::string& name) {
    return "process " + std::to_string(process) + " (" + name + ")";
}
std::string text(const BoardOwner& owner) {
    return text(owner.process, owner.program);
}

void showDevice(const nlohmann::json& device) {
    const Terminal terminal = Terminal::of(stdout);
    const DeviceState state = readState(device);
    const std::string report = deviceReport(state, readState(newBoard()), terminal) + warnings(state, terminal);
    print(report.empty() ? "\nThe device is as new.\n" : report);
}

std::size_t linesIn(const std::string& path) {
    std::ifstream file(path);
    return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

}  // namespace

ExecSummary::ExecSummary(std::vector<std::string> program, const RunFolder& folder, const Ending& ending)
    : program_(std::move(program)), folder_(folder), ending_(ending) {}

bool ExecSummary::goesOn() const {
    if (ending_.left.empty()) return false;
    const auto shown = folder_.shown();
    return !shown || std::any_of(ending_.left.begin(), ending_.left.end(),
                                 [&](const Process& one) { return one.id == shown->process; });
}

void ExecSummary::reportBackground() const {
    if (ending_.left.empty()) return;
    std::vector<std::string> names, numbers;
    for (const Process& one : ending_.left) {
        names.push_back(text(one.id, one.name));
        numbers.push_back(std::to_string(one.id));
    }
    remark(program_[0] + " goes on in the background: " + joined(names, ", "));
    if (!goesOn()) return;
    remark("  the state of its device: " + snapshotFile + ", rewritten after each change");
    if (!traceFile.empty()) remark("  its calls into the device: " + traceFile);
    if (!recording.empty()) remark("  its recording, from its first call of the HAL on: " + recording);
    if (!halOutput.empty()) remark("  what its HAL prints: " + halOutput);
    remark("  kill " + joined(numbers, " ") + " ends it");
}

void ExecSummary::reportOtherBoards() const {
    const auto shown = folder_.shown();
    if (!shown) return;
    for (const BoardOwner& one : folder_.aside()) {
        const std::string place = stateIsKept
                                      ? "the other's state is in " + snapshotFile + "." + std::to_string(one.process)
                                      : "--json FILE keeps the other's state beside FILE";
        remark(text(one) + " has changed a board of its own, as each process has one; shown is that of " +
               text(*shown) + ", " + place);
    }
}

void ExecSummary::reportHalOutput() const {
    const std::size_t lines = halOutput.empty() ? 0 : linesIn(halOutput);
    if (lines != 0)
        print("\n  what the HAL printed: " + halOutput + " (" + std::to_string(lines) +
              (lines == 1 ? " line)\n" : " lines)\n"));
}

void ExecSummary::show(const nlohmann::json& state) const {
    if (!goesOn() && !quiet) {
        if (!touched && ending_.left.empty()) remark(program_[0] + ": has not touched the device");
        if (!state.is_discarded()) {
            print("\n" + Terminal::of(stdout).dim(forwarding) + "\n");
            showDevice(state);
        }
        reportHalOutput();
    }
    reportBackground();
    reportOtherBoards();
}

nlohmann::json newBoard() {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    return onu.toJson();
}

void writeReport(const std::string& path, const std::vector<std::string>& program, const Ending& ending,
                 const nlohmann::json& device) {
    if (path.empty()) return;
    ReportInput input;
    input.title = "What " + program[0].substr(program[0].rfind('/') + 1) + " left on the device";
    input.description = joined(program, " ") + ": exit code " + std::to_string(ending.code);
    input.source = program[0];
    input.state = readState(device);
    input.newBoard = readState(newBoard());
    writeFile(path, htmlReport(input));
}

void writeCapture(const std::string& path, const nlohmann::json& device) {
    if (path.empty()) return;
    Capture capture;
    for (const auto& frame : device.at("network").value("packetFrames", nlohmann::json::array()))
        capture.add(frame.value("device", ""), Capture::Direction::Out, bytesOfDigits(frame.value("bytes", "")), "");
    if (!capture.write(path)) throw FileProblem(path, "cannot be written");
}

}  // namespace vorn_onu
