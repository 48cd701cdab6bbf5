// What a state file costs: services provisioned with it and without, each in a process of its own, in turns. The file
// lies in memory (/dev/shm), as it does on a device.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "Service.h"
#include "VirtualOnu.h"
#include "hal/HalState.h"

namespace {

using virtual_onu::VirtualOnu;

constexpr int kServices = 8;
constexpr int kCallsOfProvisioning = 5;  // of Service::provision()

double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

// Where devices and bridges are: in the virtual ONU's memory, or in a namespace of this machine's kernel, as on a
// device.
enum class Kernel { kVirtual, kReal };

bool enterRealKernel() {
    return unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("sysfs", "/sys", "sysfs", 0, nullptr) == 0 && VirtualOnu::instance().useHostKernel(true);
}

// A daemon in a process of its own: provisions when it is asked to, and answers the seconds for a service.
class Daemon {
public:
    Daemon(const std::string& state, Kernel kernel) {
        int asked[2];
        int answered[2];
        if (pipe(asked) != 0 || pipe(answered) != 0) std::abort();
        if (fork() == 0) {
            close(asked[1]);  // it ends with the one that asks
            close(answered[0]);
            serve(asked[0], answered[1], state, kernel);
        }
        close(asked[0]);
        close(answered[1]);
        ask_ = asked[1];
        answer_ = answered[0];
        char sign = 0;
        isReady_ = read(answer_, &sign, 1) == 1;
    }
    ~Daemon() {
        close(ask_);
        close(answer_);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    bool isReady() const { return isReady_; }
    double provision() {
        double seconds = 0;
        if (write(ask_, "p", 1) != 1 || read(answer_, &seconds, sizeof seconds) != sizeof seconds) std::abort();
        return seconds;
    }

private:
    [[noreturn]] static void serve(int ask, int answer, const std::string& state, Kernel kernel) {
        VirtualOnu::instance().reset();
        if (kernel == Kernel::kReal && !enterRealKernel()) _exit(1);
        if (!state.empty() && vorn_hal_state_open(state.c_str()) != 0) std::abort();
        std::vector<Service> services;
        for (unsigned n = 1; n <= kServices; ++n) services.emplace_back(n);
        char what = 0;
        if (write(answer, "r", 1) != 1) _exit(1);
        while (read(ask, &what, 1) == 1) {
            double seconds = 0;
            for (Service& service : services) {
                const double start = processorTime();
                service.provision();
                seconds += processorTime() - start;
                VirtualOnu::instance().clearTrace();
            }
            for (Service& service : services) service.remove();
            Service::forgetPonRules();
            VirtualOnu::instance().clearTrace();
            seconds /= kServices;
            if (write(answer, &seconds, sizeof seconds) != sizeof seconds) break;
        }
        _exit(0);
    }

    int ask_ = -1;
    int answer_ = -1;
    bool isReady_ = false;
};

// us, with_us: a service provisioned without and with the file; share: what the file adds, of the time without;
// call_us: what it adds to a call.
void measure(benchmark::State& state, Kernel kernel) {
    const std::string path = "/dev/shm/vorn-bench-" + std::to_string(getpid()) + ".state";
    {
        Daemon without("", kernel);
        Daemon with(path, kernel);
        if (!without.isReady() || !with.isReady()) {
            state.SkipWithError("no network namespace to be had");
            std::remove(path.c_str());
            return;
        }
        std::vector<double> bare, kept;
        for (auto _ : state) {
            bare.push_back(without.provision());
            kept.push_back(with.provision());
            state.SetIterationTime(kept.back());
        }
        const double added = median(kept) - median(bare);
        state.counters["us"] = median(bare) * 1e6;
        state.counters["with_us"] = median(kept) * 1e6;
        state.counters["share"] = added / median(bare);
        state.counters["call_us"] = added / kCallsOfProvisioning * 1e6;
    }
    std::remove(path.c_str());
}

void stateFile(benchmark::State& state) {
    measure(state, Kernel::kVirtual);
}
BENCHMARK(stateFile)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);

void stateFileOnKernel(benchmark::State& state) {
    measure(state, Kernel::kReal);
}
BENCHMARK(stateFileOnKernel)->UseManualTime()->Iterations(15)->Unit(benchmark::kMicrosecond);

}  // namespace
