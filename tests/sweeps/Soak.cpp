// vorn-soak: a scenario and its removal, thousands of times in one process, and what that costs in memory and
// descriptors.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>

#include <CLI/CLI.hpp>

#include "ProcessUsage.h"
#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"

namespace {

using virtual_onu::VirtualOnu;

struct Usage {
    long heapBytes = 0;  // in use
    long residentKib = 0;
    long descriptors = 0;
};

Usage usage() {
    Usage now;
    const auto heap = mallinfo2();
    now.heapBytes = static_cast<long>(heap.uordblks + heap.hblkhd);
    now.residentKib = fault_sweep::residentKib();
    now.descriptors = fault_sweep::openDescriptors();
    return now;
}

// Each cycle meets a new board: what the virtual ONU itself remembers (trace, shell commands) is not the library's.
void cycle(const vorn_onu::Scenario& scenario, const vorn_onu::Scenario& takeDown, vorn_onu::RunContext& context,
           bool first) {
    for (const auto& step : scenario.steps)
        if (step.kind == "board" || (step.kind == "call" && (first || !fault_sweep::startsThread(step))))
            step.run(context);
    for (const auto& step : takeDown.steps)
        if (fault_sweep::isDue(step)) step.run(context);
    VirtualOnu::instance().reset();
}

constexpr double kMaxGrowth = 16;  // bytes of heap that a cycle may cost

int soak(const std::string& file, unsigned cycles) {
    const auto scenario = vorn_onu::loadScenario(file);
    const auto takeDown = fault_sweep::takeDownOf(file, std::filesystem::temp_directory_path());
    auto& onu = VirtualOnu::instance();
    onu.reset();
    vorn_onu::RunContext context{onu, HALFactory::getInstance()->CreateHALObject(0), {}};

    std::fflush(stdout);
    const int shown = dup(STDOUT_FILENO);  // the HAL's own lines go nowhere
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    const unsigned warmUp = cycles / 10;
    Usage before;
    for (unsigned n = 0; n < warmUp + cycles; ++n) {
        if (n == warmUp) before = usage();
        cycle(scenario, takeDown, context, n == 0);
    }
    const Usage after = usage();
    std::fflush(stdout);
    dup2(shown, STDOUT_FILENO);

    const double growth = static_cast<double>(after.heapBytes - before.heapBytes) / cycles;
    std::printf("%u cycles of %s after %u to warm up\n", cycles, scenario.title.c_str(), warmUp);
    std::printf("heap in use %ld -> %ld bytes: %+.2f bytes a cycle\n", before.heapBytes, after.heapBytes, growth);
    std::printf("resident %ld -> %ld KiB\n", before.residentKib, after.residentKib);
    std::printf("descriptors %ld -> %ld\n", before.descriptors, after.descriptors);
    std::fflush(stdout);
    return growth <= kMaxGrowth && after.descriptors == before.descriptors ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Provisions and takes down the services of a scenario thousands of times.", "vorn-soak");
    std::string file;
    unsigned cycles = 10000;
    app.add_option("SCENARIO", file, "the scenario")->required();
    app.add_option("--cycles", cycles, "how often")->check(CLI::PositiveNumber);
    int result = 2;
    try {
        app.parse(argc, argv);
        result = soak(file, cycles);
    } catch (const CLI::ParseError& error) {
        result = app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    std::fflush(nullptr);
    _exit(result);  // the HAL's threads must not meet destroyed maps
}
