#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>

#include <CLI/CLI.hpp>

#include "Sweep.h"
#include "running/scenario/Scenario.h"

namespace {

constexpr const char* kDescription =
    "Runs scenarios again and again, each time with another call into the device failing.\n"
    "Exit codes: 0 nothing found, 1 something found, 2 bad input.";

bool runsInOneProcess(const std::string& file) {
    const auto scenario = vorn_onu::loadScenario(file);
    return std::none_of(scenario.steps.begin(), scenario.steps.end(),
                        [](const auto& step) { return step.restart.has_value(); });
}

// Directories stand for the scenarios in them, those left out that restart the HAL.
std::vector<std::string> scenarioFiles(const std::vector<std::string>& arguments) {
    std::vector<std::string> files;
    for (const auto& argument : arguments) {
        if (!std::filesystem::is_directory(argument)) {
            files.push_back(argument);
            continue;
        }
        for (const auto& item : std::filesystem::directory_iterator(argument))
            if (item.path().extension() == ".json" && runsInOneProcess(item.path().string()))
                files.push_back(item.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void print(const fault_sweep::Summary& summary, bool verbose) {
    constexpr std::size_t kShown = 40;
    std::printf("\n%llu runs, %llu faults hit, %llu exceptions\n", static_cast<unsigned long long>(summary.runs),
                static_cast<unsigned long long>(summary.hits), static_cast<unsigned long long>(summary.exceptions));
    if (!summary.accepted.empty()) std::printf("\nWhat stays, as the contract has it:\n");
    for (const auto& [why, count] : summary.accepted)
        std::printf("  %8llu  %s\n", static_cast<unsigned long long>(count), why.c_str());
    if (!summary.problems.empty()) std::printf("\nExceptions, and how to see one:\n");
    std::size_t shown = 0;
    for (const auto& [text, runs] : summary.problems) {
        if (!verbose && ++shown > kShown) {
            std::printf("  ... and %zu more (--verbose)\n", summary.problems.size() - kShown);
            break;
        }
        std::printf("  %6llu  %s  [%s]\n", static_cast<unsigned long long>(runs), text.c_str(),
                    summary.example.at(text).c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(kDescription, "vorn-fault-sweep");
    fault_sweep::SweepOptions options;
    std::vector<std::string> arguments;
    app.add_option("SCENARIO", arguments, "scenario files, or directories of them")->required();
    app.add_option("--every", options.every, "fail only each so many calls; the last one counts")
        ->check(CLI::PositiveNumber)
        ->take_last();
    app.add_option("--pairs", options.pairs,
                   "after that fail two calls of one operation: each so many of the pairs; 0: none")
        ->take_last();
    app.add_option("--onwards", options.onwards,
                   "after that fail all calls from one on, each so many of these runs; 0: none")
        ->take_last();
    app.add_option("--most", options.most, "runs of each kind for one scenario; 0: as many as there are")->take_last();
    std::string only;
    app.add_option("--only", only, "fail this call alone (17), these two (17+19) or all from it on (17-)");
    app.add_flag("--state", options.keepsState, "let the HAL keep its state in a file");
    app.add_flag("--verbose", options.verbose, "name every finding");
    app.add_flag("--leave-by-exit", options.leaveByExit,
                 "let runs write coverage data at their end, where a thread of the HAL may still be at work");
    try {
        app.parse(argc, argv);
        options.files = scenarioFiles(arguments);
        options.only = fault_sweep::FaultPlan::of(only);
        if (!only.empty() && !options.only) throw std::runtime_error("--only: \"" + only + "\" names no calls");
        const auto summary = fault_sweep::sweep(options);
        print(summary, options.verbose);
        return summary.exceptions == 0 ? 0 : 1;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
