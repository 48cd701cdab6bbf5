// vorn-kill-sweep: kills the HAL's process within the operations of scenarios, after one call into the device or
// another, and sees whether the services are whole once a new process has opened the state file, made the interrupted
// call again and gone on.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "hal/VornHal.h"
#include "running/io/WorkDirectory.h"

namespace {

using nlohmann::json;
using virtual_onu::VirtualOnu;

struct Options {
    std::vector<std::string> files;
    unsigned every = 20;
    bool withoutState = false;
};

// What a process tells of itself while it lives.
struct Told {
    std::size_t step = 0;           // that it is in
    std::uint64_t deviceCalls = 0;  // of its provisioning thread, within operations
    bool done = false;
};

// The device without what a rule or a device that was made again has anew: numbers that count up, counters, addresses
// that a bridge has learned; and without the frames of the HAL's own, which an operation that is made again sends
// again.
json leveled(json value) {
    if (value.is_object())
        for (const char* counted : {"id", "index", "mac", "statistics", "learned", "packetFrames"})
            value.erase(counted);
    if (value.is_structured())
        for (auto& part : value) part = leveled(part);
    return value;
}

json lasting(const json& device) {
    json kept;
    for (const char* part : {"network", "vlan"}) kept[part] = leveled(device.at(part));
    kept["pon"] = device.at("pon");
    kept["runner"] = device.at("runner").at("objects");
    return kept;
}

// Of "rule 12 would take it".
std::string withoutRuleNumbers(const std::string& words) {
    constexpr std::string_view kRule = "rule ";
    std::string kept = words;
    for (std::size_t at = 0; (at = kept.find(kRule, at)) != std::string::npos; at += kRule.size()) {
        const std::size_t number = at + kRule.size();
        const std::size_t end = std::min(kept.find_first_not_of("0123456789", number), kept.size());
        if (end > number) kept.erase(number - 1, end - number + 1);
    }
    return kept;
}

// What a daemon does itself when it starts, and no file has to keep.
bool startsUp(const vorn_onu::Step& step) {
    return step.name == "EtherSwitchBcm380::iPhost_Stag" || step.name == "vorn_omci_hal_init" ||
           step.name == "vorn_omci_hal_nvram_info_get";
}

// The life of one process: the start-up calls among the steps before `from`, then everything from there on.
struct Life {
    const vorn_onu::Scenario& scenario;
    std::size_t from = 0;
    std::uint64_t killAt = 0;  // 0: lives to its end
    std::string board;
    std::string state;  // "": none
};

class Process {
public:
    Process(const Life& life, Told& told, int answer)
        : life_(life), told_(told), answer_(answer), onu_(VirtualOnu::instance()) {}

    [[noreturn]] void live() {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);  // what the HAL prints
        onu_.openBoard(life_.board);
        vorn_onu::RunContext context{onu_, HALFactory::getInstance()->CreateHALObject(0), {}};
        if (!life_.state.empty()) vorn_hal_state_open(life_.state.c_str());
        watch();
        json frames = json::object();
        for (std::size_t at = 0; at < life_.scenario.steps.size(); ++at) {
            const auto& step = life_.scenario.steps[at];
            if (at < life_.from ? !startsUp(step) : !isRun(step)) continue;
            told_.step = at;
            within_ = step.kind == "call" && at >= life_.from;
            const auto result = step.run(context);
            within_ = false;
            if (step.kind == "frame") frames[std::to_string(at)] = withoutRuleNumbers(result.answer);
        }
        onu_.onTrace(nullptr);
        told_.done = true;
        const std::string text = json{{"device", lasting(onu_.toJson())}, {"frames", frames}}.dump();
        _exit(write(answer_, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }

private:
    static bool isRun(const vorn_onu::Step& step) {
        return (step.kind == "call" && !fault_sweep::startsThread(step)) || startsUp(step) || step.kind == "board" ||
               step.kind == "frame" || step.kind == "gateway" || step.kind == "advance";
    }
    void watch() {
        const auto thread = std::this_thread::get_id();
        onu_.onTrace([this, thread](const virtual_onu::TraceEntry&) {
            if (!within_ || std::this_thread::get_id() != thread) return;
            if (++told_.deviceCalls == life_.killAt) raise(SIGKILL);
        });
    }

    const Life& life_;
    Told& told_;
    int answer_;
    VirtualOnu& onu_;
    bool within_ = false;
};

// Answers what the process left; null when it was killed.
json run(const Life& life, Told& told) {
    told = {};
    const int answer = memfd_create("answer", MFD_CLOEXEC);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) Process(life, told, answer).live();
    int status = 0;
    waitpid(child, &status, 0);
    std::string text(static_cast<std::size_t>(lseek(answer, 0, SEEK_END)), '\0');
    const bool whole = pread(answer, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    close(answer);
    if (!told.done && !(life.killAt != 0 && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL))
        throw std::runtime_error(life.scenario.file + ": a process crashed in step " + std::to_string(told.step + 1));
    return whole && told.done ? json::parse(text) : json();
}

struct Totals {
    unsigned kills = 0;
    unsigned whole = 0;
};

void sweep(const std::string& file, const Options& options, Told& told, Totals& totals) {
    const auto scenario = vorn_onu::loadScenario(file);
    if (scenario.inParts) return;  // has kills of its own
    const auto life = [&](const vorn_onu::WorkDirectory& work, std::size_t from, std::uint64_t killAt) {
        return Life{scenario, from, killAt, work.file("board"), options.withoutState ? "" : work.file("hal.state")};
    };
    json expected;
    {
        const vorn_onu::WorkDirectory work("vorn-kill-sweep");
        expected = run(life(work, 0, 0), told);
    }
    const std::uint64_t calls = told.deviceCalls;
    // The first kill is another one in each scenario, so that a sample meets different calls.
    for (std::uint64_t killAt = 1 + totals.kills % options.every; killAt <= calls; killAt += options.every) {
        const vorn_onu::WorkDirectory work("vorn-kill-sweep");
        if (!run(life(work, 0, killAt), told).is_null()) continue;
        const std::size_t interrupted = told.step;
        ++totals.kills;
        json left = run(life(work, interrupted, 0), told);
        json frames = expected["frames"];
        for (auto frame = frames.begin(); frame != frames.end();)
            frame = left["frames"].contains(frame.key()) ? std::next(frame) : frames.erase(frame);
        if (left["device"] == expected["device"] && left["frames"] == frames) {
            ++totals.whole;
            continue;
        }
        if (options.withoutState) continue;
        std::printf("%s: killed after device call %llu, in step %zu (%s)\n", file.c_str(),
                    static_cast<unsigned long long>(killAt), interrupted + 1, scenario.steps[interrupted].name.c_str());
        const json difference = json::diff(json{expected["device"], frames}, json{left["device"], left["frames"]});
        std::printf("    %.300s\n", difference.dump().c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Kills the HAL's process within operations, and sees whether a new one finds the services again.",
                 "vorn-kill-sweep");
    Options options;
    app.add_option("SCENARIO", options.files, "scenarios")->required();
    app.add_option("--every", options.every, "one call into the device in so many")->check(CLI::PositiveNumber);
    app.add_flag("--without", options.withoutState, "without a state file, for the comparison");
    try {
        app.parse(argc, argv);
        void* const shared = mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) throw std::runtime_error("no shared memory");
        Told& told = *new (shared) Told;
        Totals totals;
        for (const std::string& file : options.files) sweep(file, options, told, totals);
        std::printf("%u kills within an operation: %u times the services are whole once the call was made again\n",
                    totals.kills, totals.whole);
        return options.withoutState || totals.whole == totals.kills ? 0 : 1;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
