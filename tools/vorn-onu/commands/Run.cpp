// vorn-onu run FILE...
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/EndingSignals.h"
#include "commands/Forwarding.h"
#include "commands/FullestStep.h"
#include "commands/RunSeveral.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "living/Server.h"
#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/program/HalOutput.h"
#include "running/program/TapOption.h"
#include "views/DeviceReport.h"
#include "views/RunOutput.h"
#include "views/RunReport.h"
#include "views/page/MetricServer.h"

namespace vorn_onu {

namespace {

std::string jsonText(const Scenario& scenario, const std::vector<StepRecord>& records, nlohmann::json device) {
    nlohmann::json all = runJson(scenario, records);
    all["device"] = std::move(device);
    return all.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

// What belongs to one scenario is refused with several.
void checkOptions(const RunCommand& command) {
    if (command.scenarios.size() == 1) return;
    const std::pair<const char*, bool> options[] = {{"--board", !command.boardFile.empty()},
                                                    {"--json", !command.jsonFile.empty()},
                                                    {"--report", !command.reportFile.empty()},
                                                    {"--pcap", !command.pcapFile.empty()},
                                                    {"--trace", command.trace},
                                                    {"--hal-output", command.halOutput},
                                                    {"--after-step", command.afterStep != 0},
                                                    {"--stay", command.stay}};
    for (const auto& [name, given] : options)
        if (given)
            throw std::invalid_argument(std::string("run: ") + name + " goes with one scenario, not with " +
                                        std::to_string(command.scenarios.size()));
}

void checkFiles(const RunCommand& command) {
    for (const std::string& file : command.scenarios) {
        const std::string ending = std::filesystem::path(file).extension();
        if (ending == ".pcap" || ending == ".pcapng")
            throw std::invalid_argument(file +
                                        ": is a capture, not a scenario: vorn-onu omci FILE plays an OLT's "
                                        "messages, vorn-onu send SCENARIO --pcap-in FILE sends frames");
    }
    if (command.jsonFile != "-") checkWritable(command.jsonFile);
    checkWritable(command.reportFile);
    checkWritable(command.pcapFile);
    checkWritable(command.junitFile);
}

// The files that were asked for. Throws a FileProblem.
void writeFiles(const RunCommand& command, const Scenario& scenario, const std::vector<StepRecord>& records,
                const nlohmann::json& device, RunReport report) {
    if (!command.jsonFile.empty() && command.jsonFile != "-")
        writeFile(command.jsonFile, jsonText(scenario, records, device));
    if (!command.reportFile.empty())
        writeFile(command.reportFile, htmlReport(std::move(report).finish(readState(device))));
    if (command.pcapFile.empty()) return;
    const auto capture = captureOf(records).bytes();
    writeFile(command.pcapFile, {capture.begin(), capture.end()});
}

RunOptions optionsOf(const RunCommand& command) {
    RunOptions options;
    options.trace = command.trace;
    options.realTime = command.realTime;
    options.strict = command.strict;
    options.boardFile = command.boardFile;
    options.lastStep = command.afterStep;
    return options;
}

// A board that stays when its scenario is over. The name is taken before the run.
class ServedBoard {
public:
    ServedBoard(const RunCommand& command, const Scenario& scenario)
        : signals_(endingSignals()),
          taps_(openTaps(command.taps)),
          server_(command.name.empty() ? nameOf(scenario.file) : command.name, command.taps),
          board_(virtual_onu::VirtualOnu::instance(), *HALFactory::getInstance()->CreateHALObject(0),
                 nlohmann::json{{"kind", "run"}, {"program", {scenario.file}}, {"hal", true}}, scenario.records) {
        if (signals_ < 0) throw std::runtime_error("signals cannot be waited for");
        if (!command.metrics.empty()) metrics_ = std::make_unique<page::MetricServer>(command.metrics, board_);
    }
    ~ServedBoard() { close(signals_); }
    ServedBoard(const ServedBoard&) = delete;
    ServedBoard& operator=(const ServedBoard&) = delete;

    // Real packets pass meanwhile, where they were asked for.
    void untilSignal() {
        if (taps_ != nullptr) taps_->start();
        server_.start(board_);
        server_.answer();
        if (metrics_ != nullptr) remark("metrics: " + metrics_->link());
        remark("the board stays as '" + server_.name() + "': vorn-onu at " + server_.name() +
               " show; SIGTERM or Ctrl-C ends it");
        pollfd wait{signals_, POLLIN, 0};
        while (poll(&wait, 1, -1) < 0) {
        }
        server_.stop("it has been asked to end");
    }
    // What the TAPs have counted; "" without them.
    std::string packets(const Terminal& terminal) const {
        if (taps_ == nullptr) return "";
        return realPackets(readState(virtual_onu::VirtualOnu::instance().toJson()), terminal) + "\n";
    }

private:
    // The file's own name, with '-' for what no name has.
    static std::string nameOf(const std::string& file) {
        std::string name = std::filesystem::path(file).stem().string();
        for (char& c : name)
            if (!living::problemOfName("x" + std::string(1, c)).empty()) c = '-';
        return name;
    }

    int signals_;
    std::unique_ptr<virtual_onu::Taps> taps_;
    living::Server server_;
    living::OwnBoard board_;
    std::unique_ptr<page::MetricServer> metrics_;
};

// A board that is open in a file.
struct ClosedAtTheEnd {
    ClosedAtTheEnd() = default;
    ~ClosedAtTheEnd() { virtual_onu::VirtualOnu::instance().closeBoard(); }
    ClosedAtTheEnd(const ClosedAtTheEnd&) = delete;
    ClosedAtTheEnd& operator=(const ClosedAtTheEnd&) = delete;
};

// Runs the scenario and shows all that was asked for.
int runShown(const RunCommand& command, const Scenario& scenario, ScenarioResult& result) {
    const std::string forwarding = forwardingOf(command.forwarding, scenario);
    useForwarding(forwarding);
    std::optional<ServedBoard> served;
    if (command.stay && scenario.inParts)
        throw std::invalid_argument(scenario.file + ": --stay does not go with a scenario that restarts the HAL");
    RunOptions options = optionsOf(command);
    if (command.stay && options.lastStep == 0) options.lastStep = fullestStep(scenario);
    if (command.stay) served.emplace(command, scenario);
    HalOutput hal(scenario.file);
    const Terminal terminal = Terminal::of(hal.shown());
    const RunOutput output(scenario, terminal);
    const bool words = !command.quiet && command.jsonFile != "-";
    const auto say = [&](const std::string& text) {
        if (words) print(hal.shown(), text);
    };
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const DeviceState newBoard = readState(onu.toJson());
    const ClosedAtTheEnd board;
    // A new board has just started: what a HAL has kept of another one is of no use.
    std::error_code ignored;
    if (!command.boardFile.empty() && !std::filesystem::exists(command.boardFile, ignored))
        std::filesystem::remove(command.boardFile + ".state", ignored);
    using Use = virtual_onu::VirtualOnu::BoardUse;
    if (!command.boardFile.empty()) onu.openBoard(command.boardFile, scenario.inParts ? Use::Run : Use::Alone);

    RunReport collected(scenario, newBoard,
                        command.audit ? std::optional(audit::untakenWith(forwarding)) : std::nullopt);

    say(output.heading(forwardingWords(forwarding)));
    const auto records = runScenario(scenario, options, [&](const StepRecord& record) {
        if (!record.passed()) result.failures.push_back(output.step(record));
        if (!command.reportFile.empty()) collected.add(record, onu);
        if (command.quiet && !record.passed()) print(hal.shown(), result.failures.back());
        say(output.step(record));
        if (record.step->kind == "show") say(deviceReport(readState(onu.toJson()), newBoard, terminal));
        say(output.trace(record));
        const std::string printed = hal.takeNew();
        if (command.halOutput) say(output.halOutput(printed));
    });

    result.steps = records.size();
    if (command.stay && options.lastStep != command.afterStep)
        say("\n  The board stays as it is after step " + std::to_string(options.lastStep) + " of " +
            std::to_string(scenario.steps.size()) + ", before its services are taken back.\n");
    const nlohmann::json device = onu.toJson();
    const DeviceState state = readState(device);
    const std::string report = deviceReport(state, newBoard, terminal);
    say(output.rule("What is on the device at the end"));
    say(report.empty() ? "\n  Nothing: the device is as new.\n" : report);
    say(warnings(state, terminal, runSteps(records)));
    say(output.closing(records, state.calls));
    if (!command.halOutput)
        say("  what the HAL printed: " + hal.path() + " (" + std::to_string(hal.lines()) + " lines)\n");
    if (command.jsonFile == "-") print(hal.shown(), jsonText(scenario, records, device));
    writeFiles(command, scenario, records, device, std::move(collected));
    if (served) {
        served->untilSignal();
        say(served->packets(terminal));
    }
    return allPassed(records) ? kHeld : kNotHeld;
}

int runOne(const RunCommand& command) {
    ScenarioResult result;
    result.file = command.scenarios.front();
    const auto start = std::chrono::steady_clock::now();
    int code = kBadInput;
    try {
        const Scenario scenario = loadScenario(result.file);
        result.title = scenario.title;
        code = runShown(command, scenario, result);
    } catch (const std::exception& error) {
        complain(error.what());
        result.problem = error.what();
        result.isBadInput = true;
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!command.junitFile.empty()) writeFile(command.junitFile, junitReport({result}));
    return code;
}

}  // namespace

ScenarioResult runUnseen(const RunCommand& command, const std::string& file, const Terminal& terminal) {
    ScenarioResult result;
    result.file = file;
    const auto start = std::chrono::steady_clock::now();
    try {
        const Scenario scenario = loadScenario(file);
        result.title = scenario.title;
        useForwarding(forwardingOf(command.forwarding, scenario));
        const HalOutput hal(file);
        const RunOutput output(scenario, terminal);
        const auto records = runScenario(scenario, optionsOf(command), [&](const StepRecord& record) {
            if (!record.passed()) result.failures.push_back(output.step(record));
        });
        result.steps = records.size();
    } catch (const std::exception& error) {
        result.problem = error.what();
        result.isBadInput = true;
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

int RunCommand::run() const {
    checkOptions(*this);
    checkFiles(*this);
    return scenarios.size() == 1 ? runOne(*this) : runSeveral(*this);
}

}  // namespace vorn_onu
