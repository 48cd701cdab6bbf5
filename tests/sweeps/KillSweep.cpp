// vorn-kill-sweep: kills the HAL's process within the operations of scenarios, after one call into the device or
// another, or between two operations, and sees whether the services are whole once a new process has opened the state
// file, made an interrupted call again and gone on. Or kills a daemon again and again on one board: each process opens
// the state file, provisions the scenario's services or takes away what it finds, and is killed. File, memory, rules
// and descriptors must be at the end what they were at the beginning.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "ProcessUsage.h"
#include "TakeDown.h"
#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "hal/VornHal.h"
#include "running/io/WorkDirectory.h"
#include "support/FileContent.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using virtual_onu::VirtualOnu;

struct Options {
    std::vector<std::string> files;
    unsigned every = 0;  // 0: the default of the kind of kills
    bool between = false;
    bool withoutState = false;
    unsigned restarts = 0;
};

// What a process has just before it is killed at its end.
struct Usage {
    long restored = -1;  // records
    long fileBytes = 0;
    long rules = 0;  // on the device
    long residentKib = 0;
    long descriptors = 0;
};

// What a process reports of itself while it lives.
struct Reported {
    std::size_t step = 0;           // that it is in
    std::uint64_t deviceCalls = 0;  // of its provisioning thread, within operations
    bool done = false;
    Usage usage;
};

// The device without what a rule or a device that was recreated has new: numbers that count up, counters, addresses
// that a bridge has learned.
json leveled(json value) {
    if (value.is_object())
        for (const char* counted : {"id", "index", "mac", "statistics", "learned"}) value.erase(counted);
    if (value.is_structured())
        for (auto& part : value) part = leveled(part);
    return value;
}

// Between two operations nothing is made again: the device is the same to the last number. Remarks and the frames that
// the HAL has sent are of the process.
json lasting(const json& device, bool toTheLastNumber) {
    json kept;
    for (const char* part : {"network", "vlan"})
        kept[part] = toTheLastNumber ? device.at(part) : leveled(device.at(part));
    kept["network"].erase("packetFrames");
    kept["pon"] = device.at("pon");
    kept["runner"] = device.at("runner").at("objects");
    if (toTheLastNumber) kept["board"] = device.at("board");
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

struct Kill {
    std::uint64_t deviceCall = 0;  // after it; 0: not within an operation
    std::size_t step = 0;          // after it, numbered from 1; 0: not between two
    bool atEnd = false;

    explicit operator bool() const { return deviceCall != 0 || step != 0 || atEnd; }
};

// The life of one process: the start-up calls among the steps before `from`, then everything from there on.
struct Life {
    const vorn_onu::Scenario& scenario;
    bool between = false;
    std::size_t from = 0;
    Kill kill;  // none: lives to its end
    std::string board;
    std::string state;       // "": none
    bool takesDown = false;  // the scenario is a removal
};

class Process {
public:
    Process(const Life& life, Reported& reported, int answer)
        : life_(life), reported_(reported), answer_(answer), onu_(VirtualOnu::instance()) {}

    [[noreturn]] void live() {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);  // what the HAL prints
        onu_.openBoard(life_.board);
        vorn_onu::RunContext context{onu_, HALFactory::getInstance()->CreateHALObject(0), {}};
        if (!life_.state.empty()) reported_.usage.restored = vorn_hal_state_open(life_.state.c_str());
        watch();
        json steps = json::object();
        for (std::size_t at = 0; at < life_.scenario.steps.size(); ++at) {
            const auto& step = life_.scenario.steps[at];
            if (at < life_.from ? !startsUp(step) : !isDueNow(step)) continue;
            reported_.step = at;
            within_ = step.kind == "call" && at >= life_.from;
            const auto result = step.run(context);
            within_ = false;
            if (life_.between && at >= life_.from) {
                const std::string device = lasting(onu_.toJson(), true).dump();
                steps[std::to_string(at)] = {result.answer, std::hash<std::string>()(device)};
            } else if (step.kind == "frame") {
                steps[std::to_string(at)] = withoutRuleNumbers(result.answer);
            }
            if (life_.kill.step == at + 1) raise(SIGKILL);
        }
        onu_.onTrace(nullptr);
        if (life_.kill.atEnd) dieAtTheEnd();
        reported_.done = true;
        const std::string text = json{{"device", lasting(onu_.toJson(), life_.between)}, {"steps", steps}}.dump();
        _exit(write(answer_, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }

    static bool isRun(const vorn_onu::Step& step) {
        return (step.kind == "call" && !fault_sweep::startsThread(step)) || startsUp(step) || step.kind == "board" ||
               step.kind == "frame" || step.kind == "gateway" || step.kind == "advance";
    }

private:
    bool isDueNow(const vorn_onu::Step& step) const {
        if (life_.takesDown) return fault_sweep::isDue(step);
        return life_.kill.atEnd ? step.kind == "call" && !fault_sweep::startsThread(step) : isRun(step);
    }
    [[noreturn]] void dieAtTheEnd() {
        // The rules of the PON device outlive a service by contract, and would gather.
        if (life_.takesDown && vorn_hal_clean_device() != 0) _exit(1);
        reported_.usage = {reported_.usage.restored, static_cast<long>(fs::file_size(life_.state)),
                           static_cast<long>(onu_.ruleCount()), fault_sweep::residentKib(),
                           fault_sweep::openDescriptors()};
        raise(SIGKILL);
        _exit(1);
    }
    void watch() {
        const auto thread = std::this_thread::get_id();
        onu_.onTrace([this, thread](const virtual_onu::TraceEntry&) {
            if (!within_ || std::this_thread::get_id() != thread) return;
            if (++reported_.deviceCalls == life_.kill.deviceCall) raise(SIGKILL);
        });
    }

    const Life& life_;
    Reported& reported_;
    int answer_;
    VirtualOnu& onu_;
    bool within_ = false;
};

// Answers what the process left; null when it was killed.
json run(const Life& life, Reported& reported) {
    reported = {};
    const int answer = memfd_create("answer", MFD_CLOEXEC);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) Process(life, reported, answer).live();
    int status = 0;
    waitpid(child, &status, 0);
    const std::string text = contentOf(answer);
    close(answer);
    if (!reported.done && !(life.kill && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL))
        throw std::runtime_error(life.scenario.file + ": a process crashed in step " +
                                 std::to_string(reported.step + 1));
    return reported.done ? json::parse(text) : json();
}

struct Totals {
    unsigned kills = 0;
    unsigned whole = 0;
};

// The first kill is another one in each scenario, so that a sample meets different calls.
std::vector<Kill> killsOf(const vorn_onu::Scenario& scenario, const Options& options, std::uint64_t deviceCalls,
                          unsigned before) {
    std::vector<Kill> all, some;
    for (std::uint64_t call = 1; !options.between && call <= deviceCalls; ++call) all.push_back({call, 0, false});
    for (std::size_t at = 0; options.between && at < scenario.steps.size(); ++at) {
        const auto& step = scenario.steps[at];
        if (step.kind == "call" && Process::isRun(step) && !startsUp(step)) all.push_back({0, at + 1, false});
    }
    for (std::size_t at = before % options.every; at < all.size(); at += options.every) some.push_back(all[at]);
    return some;
}

void sweep(const std::string& file, const Options& options, Reported& reported, Totals& totals) {
    const auto scenario = vorn_onu::loadScenario(file);
    if (scenario.inParts) return;  // has kills of its own
    const auto life = [&](const vorn_onu::WorkDirectory& work, std::size_t from, const Kill& kill) {
        const std::string state = options.withoutState ? "" : work.file("hal.state");
        return Life{scenario, options.between, from, kill, work.file("board"), state, false};
    };
    json expected;
    {
        const vorn_onu::WorkDirectory work("vorn-kill-sweep");
        expected = run(life(work, 0, {}), reported);
    }
    for (const Kill& kill : killsOf(scenario, options, reported.deviceCalls, totals.kills)) {
        const vorn_onu::WorkDirectory work("vorn-kill-sweep");
        if (!run(life(work, 0, kill), reported).is_null()) continue;
        const std::size_t last = reported.step;
        ++totals.kills;
        const json left = run(life(work, kill.step != 0 ? last + 1 : last, {}), reported);
        json steps = expected["steps"];
        for (auto step = steps.begin(); step != steps.end();)
            step = left["steps"].contains(step.key()) ? std::next(step) : steps.erase(step);
        if (left["device"] == expected["device"] && left["steps"] == steps) {
            ++totals.whole;
            continue;
        }
        if (options.withoutState) continue;
        std::printf("%s: killed %s step %zu (%s), after device call %llu\n", file.c_str(),
                    kill.step != 0 ? "after" : "in", last + 1, scenario.steps[last].name.c_str(),
                    static_cast<unsigned long long>(kill.deviceCall));
        const json difference = json::diff(json{expected["device"], steps}, json{left["device"], left["steps"]});
        std::printf("    %.300s\n", difference.dump().c_str());
    }
}

// ---- many restarts on one board ----

void print(const char* when, const Usage& usage) {
    std::printf("%-22s %4ld records restored, file %ld bytes, %ld rules, resident %ld KiB, %ld descriptors\n", when,
                usage.restored, usage.fileBytes, usage.rules, usage.residentKib, usage.descriptors);
}

bool same(const Usage& one, const Usage& other) {
    constexpr long kResidentSlack = 256;  // KiB: what the kernel counts varies from process to process
    return one.restored == other.restored && one.fileBytes == other.fileBytes && one.rules == other.rules &&
           one.descriptors == other.descriptors && other.residentKib <= one.residentKib + kResidentSlack;
}

// Prints what a process has first and last; true when that is the same.
bool restartSoak(const std::string& scenarioFile, unsigned restarts, Reported& reported) {
    const vorn_onu::WorkDirectory work("vorn-kill-sweep");
    const auto scenario = vorn_onu::loadScenario(scenarioFile);
    const auto takeDown = fault_sweep::takeDownOf(scenarioFile, fs::temp_directory_path());
    constexpr unsigned kWarmUp = 4;  // the first round makes what outlives a service
    Usage first[2], last[2];
    for (unsigned n = 0; n < kWarmUp + restarts; ++n) {
        const unsigned part = n % 2;
        const Life life{part == 0 ? scenario : takeDown, false,    0, {0, 0, true}, work.file("board"),
                        work.file("hal.state"),          part != 0};
        run(life, reported);
        last[part] = reported.usage;
        if (n >= kWarmUp && n < kWarmUp + 2) first[part] = last[part];
    }
    std::printf("%u restarts of %s\n", restarts, scenario.title.c_str());
    print("provisioned, first", first[0]);
    print("provisioned, last", last[0]);
    print("taken away, first", first[1]);
    print("taken away, last", last[1]);
    return same(first[0], last[0]) && same(first[1], last[1]);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Kills the HAL's process within or between operations, and sees whether a new one finds the services.",
                 "vorn-kill-sweep");
    Options options;
    app.add_option("SCENARIO", options.files, "scenarios")->required();
    app.add_option("--every", options.every, "one call in so many; otherwise 20 into the device, 1 between operations")
        ->check(CLI::PositiveNumber);
    app.add_flag("--between", options.between, "kill behind operations, not after calls into the device");
    app.add_flag("--without", options.withoutState, "without a state file, for the comparison");
    app.add_option("--restarts", options.restarts, "instead start a daemon on one board and kill it, so many times")
        ->check(CLI::Range(2U, 1000000U));
    try {
        app.parse(argc, argv);
        if (options.every == 0) options.every = options.between ? 1 : 20;
        void* const shared = mmap(nullptr, sizeof(Reported), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) throw std::runtime_error("no shared memory");
        Reported& reported = *new (shared) Reported;
        if (options.restarts != 0) return restartSoak(options.files.front(), options.restarts, reported) ? 0 : 1;
        Totals totals;
        for (const std::string& file : options.files) sweep(file, options, reported, totals);
        std::printf("%u kills %s: %u times the services are whole afterwards\n", totals.kills,
                    options.between ? "between two operations" : "within an operation", totals.whole);
        return options.withoutState || totals.whole == totals.kills ? 0 : 1;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
