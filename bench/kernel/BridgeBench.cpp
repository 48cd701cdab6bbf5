// Bridges on the real kernel, in a network namespace of its own: 64 of them with two members each made and removed by
// br_* in this process, by one process of ip with a batch file, and by a script that starts brctl and ifconfig for each
// step. Beside them the least that the kernel can do it in: one netlink request that removes all bridges at once. Needs
// the rights to make a namespace.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "bridge/BridgeControl.h"
#include "device/NetworkInterface.h"

namespace {

constexpr int kBridges = 64;
constexpr int kMembersPerBridge = 2;
std::string scratch;

std::string bridgeName(int n) {
    return "br" + std::to_string(n);
}
std::string memberName(int n) {
    return "m" + std::to_string(n);
}

[[noreturn]] void give(const std::string& what) {
    std::fprintf(stderr, "bridge benchmark: %s\n", what.c_str());
    std::exit(1);
}

void check(int error, const char* what) {
    if (error != 0) give(std::string(what) + ": " + std::strerror(error));
}

void run(const std::string& command) {
    if (std::system(command.c_str()) != 0) give(command + " has failed");
}

// The steps as texts: one file for making and one for removing all the bridges.
struct Words {
    const char *addBridge, *addMember, *up, *down, *removeMember, *removeBridge;  // B the bridge, M the member
};
constexpr Words kIpWords = {"link add B type bridge", "link set M master B", "link set B up",
                            "link set B down",        "link set M nomaster", "link del B"};
constexpr Words kScriptWords = {"brctl addbr B",   "brctl addif B M", "ifconfig B up",
                                "ifconfig B down", "brctl delif B M", "brctl delbr B"};
constexpr const char* kGroup = "77";

std::string step(std::string words, int bridge, int member = 0) {
    for (const auto& [letter, name] : {std::pair("B", bridgeName(bridge)), std::pair("M", memberName(member))})
        if (const auto at = words.find(letter); at != std::string::npos) words.replace(at, 1, name);
    return words + "\n";
}

void writeSteps(const Words& words, const std::string& makeFile, const std::string& removeFile) {
    std::ofstream make(makeFile), remove(removeFile);
    for (int bridge = 0; bridge < kBridges; ++bridge) {
        make << step(words.addBridge, bridge);
        remove << step(words.down, bridge);
        for (int m = 0; m < kMembersPerBridge; ++m) {
            make << step(words.addMember, bridge, bridge * kMembersPerBridge + m);
            remove << step(words.removeMember, bridge, bridge * kMembersPerBridge + m);
        }
        make << step(words.up, bridge);
        remove << step(words.removeBridge, bridge);
    }
}

template <typename Work>
double secondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void makeByLibrary() {
    for (int bridge = 0; bridge < kBridges; ++bridge) {
        const std::string name = bridgeName(bridge);
        check(br_add_bridge(name.c_str()), "br_add_bridge");
        for (int m = 0; m < kMembersPerBridge; ++m)
            check(br_add_interface(name.c_str(), memberName(bridge * kMembersPerBridge + m).c_str()),
                  "br_add_interface");
        setInterfaceFlags(name.c_str(), kFlagsUp);
    }
}

double inRemovalRequests = 0;  // seconds: what of it is the kernel's answer to br_del_bridge

void removeByLibrary() {
    for (int bridge = 0; bridge < kBridges; ++bridge) {
        const std::string name = bridgeName(bridge);
        setInterfaceFlags(name.c_str(), kFlagsDown);
        for (int m = 0; m < kMembersPerBridge; ++m)
            check(br_del_interface(name.c_str(), memberName(bridge * kMembersPerBridge + m).c_str()),
                  "br_del_interface");
        inRemovalRequests += secondsOf([&] { check(br_del_bridge(name.c_str()), "br_del_bridge"); });
    }
}

// Processor time of this process and of the ones that it has waited for.
double processorTime() {
    double seconds = 0;
    for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    }
    return seconds;
}

template <void (*make)(), void (*remove)()>
void bridges(benchmark::State& state) {
    double made = 0, removed = 0;
    const double before = processorTime();
    inRemovalRequests = 0;
    for (auto _ : state) {
        const double making = secondsOf(make), removing = secondsOf(remove);
        state.SetIterationTime(making + removing);
        made += making;
        removed += removing;
    }
    const auto milliseconds = [](double seconds) {
        return benchmark::Counter(seconds * 1e3, benchmark::Counter::kAvgIterations);
    };
    state.counters["make_ms"] = milliseconds(made);
    state.counters["remove_ms"] = milliseconds(removed);
    state.counters["request_ms"] = milliseconds(inRemovalRequests);
    state.counters["processor_ms"] = milliseconds(processorTime() - before);
}

void makeByIp() {
    run("ip -batch " + scratch + "/make.ip");
}
void removeByIp() {
    run("ip -batch " + scratch + "/remove.ip");
}
void makeGroup() {
    run("sed 's/type bridge/group " + std::string(kGroup) + " type bridge/' " + scratch + "/make.ip | ip -batch -");
}
void removeGroup() {
    run(std::string("ip link del group ") + kGroup);
}
void makeByScript() {
    run("sh " + scratch + "/make.sh");
}
void removeByScript() {
    run("sh " + scratch + "/remove.sh");
}

// By which way, and what is measured of it.
const std::pair<const char*, void (*)(benchmark::State&)> kWays[] = {
    {"bridges/br_", bridges<makeByLibrary, removeByLibrary>},
    {"bridges/ip", bridges<makeByIp, removeByIp>},
    {"bridges/group", bridges<makeGroup, removeGroup>},
    {"bridges/script", bridges<makeByScript, removeByScript>},
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (unshare(CLONE_NEWNET) != 0) give(std::string("no network namespace: ") + std::strerror(errno));
    char folder[] = "/tmp/vorn-bench-XXXXXX";
    if (mkdtemp(folder) == nullptr) give("no scratch folder");
    scratch = folder;
    {
        std::ofstream members(scratch + "/members.ip");
        for (int n = 0; n < kBridges * kMembersPerBridge; n += 2)
            members << "link add " << memberName(n) << " type veth peer name " << memberName(n + 1) << "\n";
    }
    run("ip -batch " + scratch + "/members.ip");
    writeSteps(kIpWords, scratch + "/make.ip", scratch + "/remove.ip");
    writeSteps(kScriptWords, scratch + "/make.sh", scratch + "/remove.sh");
    check(br_init(), "br_init");
    for (const auto& [name, measured] : kWays)
        benchmark::RegisterBenchmark(name, measured)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    br_shutdown();
    run("rm -r " + scratch);
    return 0;
}
