// Services provisioned and removed by the library, against the bare replay of the platform calls that it made, into the
// same virtual ONU. Both take turns, so that what slows the machine down slows down both.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

#include "Replay.h"
#include "Service.h"
#include "VirtualOnu.h"

namespace {

using virtual_onu::VirtualOnu;

// Processor time of this thread: what else runs on the machine does not count.
double secondsOf(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    work();
    return now() - start;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

std::size_t heap() {
    return mallinfo2().uordblks;
}

// A number of services, with the platform calls of their provisioning, their removal and of the tidying up between two
// rounds, which nobody measures. The trace is emptied after each service: it would cost more, the longer it is.
class Services {
public:
    explicit Services(long count) {
        VirtualOnu::instance().reset();
        for (long n = 1; n <= count; ++n) services_.emplace_back(static_cast<unsigned>(n));
        provision();  // the first round also makes what outlives it: the default bridge, the ports' settings
        remove();
        Service::forgetPonRules();
        for (auto& service : services_) provisioning_.push_back(traced([&] { service.provision(); }));
        for (auto& service : services_) removal_.push_back(traced([&] { service.remove(); }));
        tidying_.push_back(traced([] { Service::forgetPonRules(); }));
    }

    // Each answers the seconds that it took.
    double provision() {
        return each(services_, [](Service& service) { service.provision(); });
    }
    double remove() {
        return each(services_, [](Service& service) { service.remove(); });
    }
    double replayProvisioning() { return replay(provisioning_); }
    double replayRemoval() { return replay(removal_); }

    void tidy() {
        Service::forgetPonRules();
        VirtualOnu::instance().clearTrace();
    }
    void replayTidying() {
        replay(tidying_);
        answers_ = {};
    }
    std::size_t calls() const {
        std::size_t sum = 0;
        for (const auto* replays : {&provisioning_, &removal_})
            for (const auto& one : *replays) sum += one->calls();
        return sum;
    }

private:
    using Replays = std::vector<std::unique_ptr<Replay>>;

    template <typename List, typename Work>
    static double each(List& list, Work work) {
        double seconds = 0;
        for (auto& one : list) {
            seconds += secondsOf([&] { work(one); });
            VirtualOnu::instance().clearTrace();
        }
        return seconds;
    }
    double replay(const Replays& replays) {
        return each(replays, [this](const std::unique_ptr<Replay>& one) { one->run(answers_); });
    }
    static std::unique_ptr<Replay> traced(const std::function<void()>& work) {
        VirtualOnu::instance().clearTrace();
        work();
        auto replay = std::make_unique<Replay>(VirtualOnu::instance().trace());
        VirtualOnu::instance().clearTrace();
        return replay;
    }

    std::vector<Service> services_;
    Replays provisioning_, removal_, tidying_;
    Replay::Answers answers_;
};

// us: a service provisioned and removed by the library; replay: the same calls without it; heap: what a service in
// force takes in the library, in bytes.
void services(benchmark::State& state) {
    const auto count = static_cast<double>(state.range(0));
    Services services(state.range(0));
    std::vector<double> library, replay, libraryHeap, replayHeap;
    for (auto _ : state) {
        std::size_t before = heap();
        const double provisioning = services.provision();
        libraryHeap.push_back(static_cast<double>(heap() - before));
        library.push_back(provisioning + services.remove());
        services.tidy();
        before = heap();
        const double replayed = services.replayProvisioning();
        replayHeap.push_back(static_cast<double>(heap() - before));
        replay.push_back(replayed + services.replayRemoval());
        services.replayTidying();
        state.SetIterationTime(library.back() / count);
    }
    state.counters["us"] = median(library) / count * 1e6;
    state.counters["replay_us"] = median(replay) / count * 1e6;
    state.counters["ratio"] = median(library) / median(replay);
    state.counters["calls"] = static_cast<double>(services.calls()) / count;
    state.counters["heap"] = (median(libraryHeap) - median(replayHeap)) / count;
}
BENCHMARK(services)->Arg(1)->UseManualTime()->Iterations(300)->Unit(benchmark::kMicrosecond);
BENCHMARK(services)->Arg(8)->Arg(16)->Arg(32)->Arg(64)->Arg(128)->Arg(256)->UseManualTime()->Iterations(9)->Unit(
    benchmark::kMicrosecond);

}  // namespace
