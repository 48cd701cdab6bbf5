// vorn-onu run FILE
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "io/Files.h"
#include "io/Output.h"
#include "show/DeviceReport.h"
#include "show/HalOutput.h"
#include "show/RunOutput.h"
#include "show/RunReport.h"

namespace vorn_onu {

namespace {

std::string jsonText(const Scenario& scenario, const std::vector<StepRecord>& records, nlohmann::json device) {
    nlohmann::json all = runJson(scenario, records);
    all["device"] = std::move(device);
    return all.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

void checkFiles(const RunCommand& command) {
    if (command.jsonFile != "-") checkWritable(command.jsonFile);
    checkWritable(command.reportFile);
    checkWritable(command.pcapFile);
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

int runLoaded(const RunCommand& command, const Scenario& scenario) {
    HalOutput hal(command.scenario);
    const Terminal terminal = Terminal::of(hal.shown());
    const RunOutput output(scenario, terminal);
    const bool words = !command.quiet && command.jsonFile != "-";
    const auto say = [&](const std::string& text) {
        if (words) print(hal.shown(), text);
    };
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const DeviceState newBoard = readState(onu.toJson());

    RunReport collected(scenario, newBoard);

    say(output.heading());
    const RunOptions options{command.trace, command.realTime};
    const auto records = runScenario(scenario, options, [&](const StepRecord& record) {
        if (!command.reportFile.empty()) collected.add(record, onu);
        if (command.quiet && !record.passed()) print(hal.shown(), output.step(record));
        say(output.step(record));
        if (record.step->kind == "show") say(deviceReport(readState(onu.toJson()), newBoard, terminal));
        say(output.trace(record));
        const std::string printed = hal.takeNew();
        if (command.halOutput) say(output.halOutput(printed));
    });

    const nlohmann::json device = onu.toJson();
    const DeviceState state = readState(device);
    const std::string report = deviceReport(state, newBoard, terminal);
    say(output.rule("What stands on the device at the end"));
    say(report.empty() ? "\n  Nothing: the device is as new.\n" : report);
    say(warnings(state, terminal, runSteps(records)));
    say(output.closing(records, state.calls));
    if (!command.halOutput)
        say("  what the HAL printed: " + hal.path() + " (" + std::to_string(hal.lines()) + " lines)\n");
    if (command.jsonFile == "-") print(hal.shown(), jsonText(scenario, records, device));
    writeFiles(command, scenario, records, device, std::move(collected));
    return allPassed(records) ? kHeld : kNotHeld;
}

}  // namespace

int RunCommand::run() const {
    try {
        checkFiles(*this);
        return runLoaded(*this, loadScenario(scenario));
    } catch (const std::exception& error) {
        complain(error.what());
        return kBadInput;
    }
}

}  // namespace vorn_onu
