// A daemon that is killed and started again, a thousand times on one board. Each process opens the
// state file, provisions the scenario's services or takes away what it finds, and is killed. File, memory, rules and
// descriptors must be at the end what they were at the beginning.
#include "RestartSoak.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "ProcessUsage.h"
#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "hal/VornHal.h"
#include "running/io/WorkDirectory.h"

namespace {

namespace fs = std::filesystem;
using virtual_onu::VirtualOnu;

// What a process has just before it is killed.
struct Usage {
    long restored = -1;  // records
    long fileBytes = 0;
    long rules = 0;  // on the device
    long residentKib = 0;
    long descriptors = 0;
};

struct SoakLife {
    const vorn_onu::Scenario& scenario;
    bool takesDown;
    std::string board;
    std::string state;
};

[[noreturn]] void live(const SoakLife& life, int answer) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);  // what the HAL prints
    auto& onu = VirtualOnu::instance();
    onu.openBoard(life.board);
    vorn_onu::RunContext context{onu, HALFactory::getInstance()->CreateHALObject(0), {}};
    Usage now;
    now.restored = vorn_hal_state_open(life.state.c_str());
    for (const auto& step : life.scenario.steps)
        if (life.takesDown ? fault_sweep::isDue(step) : step.kind == "call" && !fault_sweep::startsThread(step))
            step.run(context);
    // The rules of the PON device outlive a service by contract, and would gather.
    if (life.takesDown && vorn_hal_clean_device() != 0) _exit(1);
    now.fileBytes = static_cast<long>(fs::file_size(life.state));
    now.rules = static_cast<long>(onu.ruleCount());
    now.residentKib = fault_sweep::residentKib();
    now.descriptors = fault_sweep::openDescriptors();
    if (write(answer, &now, sizeof now) != sizeof now) _exit(1);
    raise(SIGKILL);
    _exit(1);
}

Usage process(const SoakLife& life) {
    int answer[2];
    if (pipe2(answer, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) live(life, answer[1]);
    close(answer[1]);
    Usage usage;
    const bool told = read(answer[0], &usage, sizeof usage) == sizeof usage;
    close(answer[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!told || !WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL)
        throw std::runtime_error("a process ended before it was killed");
    return usage;
}

void print(const char* when, const Usage& usage) {
    std::printf("%-22s %4ld records restored, file %ld bytes, %ld rules, resident %ld KiB, %ld descriptors\n", when,
                usage.restored, usage.fileBytes, usage.rules, usage.residentKib, usage.descriptors);
}

bool same(const Usage& one, const Usage& other) {
    constexpr long kResidentSlack = 256;  // KiB: what the kernel counts varies from process to process
    return one.restored == other.restored && one.fileBytes == other.fileBytes && one.rules == other.rules &&
           one.descriptors == other.descriptors && other.residentKib <= one.residentKib + kResidentSlack;
}

}  // namespace

bool fault_sweep::restartSoak(const std::string& scenarioFile, unsigned restarts) {
    const vorn_onu::WorkDirectory work("vorn-kill-sweep");
    const auto scenario = vorn_onu::loadScenario(scenarioFile);
    const auto takeDown = takeDownOf(scenarioFile, fs::temp_directory_path());
    constexpr unsigned kWarmUp = 4;  // the first round makes what outlives a service
    Usage first[2], last[2];
    for (unsigned n = 0; n < kWarmUp + restarts; ++n) {
        const unsigned part = n % 2;
        const SoakLife life{part == 0 ? scenario : takeDown, part != 0, work.file("board"), work.file("hal.state")};
        last[part] = process(life);
        if (n >= kWarmUp && n < kWarmUp + 2) first[part] = last[part];
    }
    std::printf("%u restarts of %s\n", restarts, scenario.title.c_str());
    print("provisioned, first", first[0]);
    print("provisioned, last", last[0]);
    print("taken away, first", first[1]);
    print("taken away, last", last[1]);
    return same(first[0], last[0]) && same(first[1], last[1]);
}
