// The metrics of the board in this process, and of the process.
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "VirtualOnu.h"
#include "living/Metrics.h"
#include "running/scenario/CallTally.h"
#include "running/state/DeviceState.h"
#include "running/state/Services.h"

namespace vorn_onu::living {

namespace {

using virtual_onu::VirtualOnu;

void addDevice(const DeviceState& state, MetricText& metrics) {
    const auto one = [&metrics](const char* name, const char* help, std::size_t value) {
        metrics.gauge(name, help);
        metrics.sample({}, static_cast<std::uint64_t>(value));
    };
    metrics.gauge("vorn_onu_info", "The board: its serial number and its MAC address.");
    metrics.sample({{"serial_number", state.identity.serialNumber}, {"mac", state.identity.baseMac}}, std::uint64_t{1});
    one("vorn_onu_services", "Services on the device: a bridge each, and the VEIP's.", servicesOf(state).size());
    one("vorn_onu_bridges", "Bridges on the device.", state.bridges.size());
    one("vorn_onu_network_devices", "Network devices, those of a new board among them.", state.devices.size());
    one("vorn_onu_tag_rules", "Tag rules in the tables of all devices.", state.ruleCount());
    one("vorn_onu_gem_ports", "GEM ports that are configured.", state.gemPorts.size());
    one("vorn_onu_fdb_entries", "Addresses that bridges have learned and not forgotten.", state.learned.size());
    metrics.gauge("vorn_onu_port_up",
                  "Whether a port, or the PON device, is in the operational state up (1) or not (0).");
    for (const auto& device : state.devices)
        if (device.realDevice.empty() && !device.isBridge)
            metrics.sample({{"port", device.name}}, std::uint64_t{device.operState == "up" ? 1U : 0U});
}

void addFrames(const VirtualOnu& onu, MetricText& metrics) {
    metrics.counter("vorn_onu_frames_total",
                    "Frames that came in, by direction and by what has become of them: forwarded, or why the last copy "
                    "was dropped.");
    for (const auto& one : onu.frameCounts())
        metrics.sample({{"direction", one.upstream ? "upstream" : "downstream"}, {"fate", one.fate}}, one.frames);
}

struct CallFamily {
    const char *calls, *callsHelp, *failures, *failuresHelp, *label;
};

// Both metrics have the same samples, so that a failure that comes is seen as a rise.
template <typename Counts>
void addCalls(const CallFamily& words, const Counts& counts, MetricText& metrics) {
    if (counts.empty()) return;
    metrics.counter(words.calls, words.callsHelp);
    for (const auto& one : counts) metrics.sample({{words.label, one.name}}, one.calls);
    metrics.counter(words.failures, words.failuresHelp);
    for (const auto& one : counts) metrics.sample({{words.label, one.name}}, one.failures);
}

// What a TAP counts, by the value of the last label.
struct TapCounter {
    const char* kind;
    std::uint64_t TapState::*count;
};

void addTapCounters(const std::vector<TapState>& taps, const char* label, const std::vector<TapCounter>& counters,
                    MetricText& metrics) {
    for (const TapState& tap : taps)
        for (const TapCounter& one : counters)
            metrics.sample({{"port", tap.port}, {"interface", tap.interface}, {label, one.kind}}, tap.*one.count);
}

void addTaps(const std::vector<TapState>& taps, MetricText& metrics) {
    if (taps.empty()) return;
    metrics.counter("vorn_onu_tap_frames_total", "Real packets through a TAP: in from its interface, out into it.");
    addTapCounters(taps, "direction", {{"in", &TapState::framesIn}, {"out", &TapState::framesOut}}, metrics);
    metrics.counter("vorn_onu_tap_bytes_total", "Bytes of real packets through a TAP.");
    addTapCounters(taps, "direction", {{"in", &TapState::octetsIn}, {"out", &TapState::octetsOut}}, metrics);
    metrics.counter("vorn_onu_tap_segments_total", "Segments that passed a TAP whole, each for many frames.");
    addTapCounters(taps, "direction", {{"in", &TapState::segmentsIn}, {"out", &TapState::segmentsOut}}, metrics);
    metrics.counter("vorn_onu_tap_segment_frames_total",
                    "Frames that these segments stood for; they are among vorn_onu_tap_frames_total.");
    addTapCounters(taps, "direction", {{"in", &TapState::segmentFramesIn}, {"out", &TapState::segmentFramesOut}},
                   metrics);
    metrics.counter("vorn_onu_tap_dropped_frames_total",
                    "Real packets that were dropped by the board, or lost in front of it or behind it.");
    addTapCounters(taps, "where",
                   {{"board", &TapState::dropped}, {"in_front", &TapState::lostIn}, {"behind", &TapState::lostOut}},
                   metrics);
    metrics.gauge("vorn_onu_tap_link_up", "Whether the interface of a TAP is up (1) or down (0).");
    for (const TapState& tap : taps)
        metrics.sample({{"port", tap.port}, {"interface", tap.interface}}, std::uint64_t{tap.linkUp ? 1U : 0U});
}

// The words of /proc/self/stat behind the program's name, which may hold blanks: the first is the third field.
std::vector<std::string> ownStatus() {
    std::ifstream file("/proc/self/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream rest(line.substr(line.rfind(')') == std::string::npos ? line.size() : line.rfind(')') + 1));
    std::vector<std::string> words;
    for (std::string word; rest >> word;) words.push_back(word);
    return words;
}

// Seconds since the epoch at which the machine has started; 0 where it is not known.
double bootTime() {
    std::ifstream file("/proc/stat");
    for (std::string word; file >> word;)
        if (word == "btime" && file >> word) return std::stod(word);
    return 0;
}

// By the names that every exporter has for them.
void addProcess(MetricText& metrics) {
    constexpr std::size_t kStartTicks = 19, kResidentPages = 21;  // fields 22 and 24
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    metrics.counter("process_cpu_seconds_total", "Processor time of the board's process, user and system.");
    metrics.sample({}, seconds(usage.ru_utime) + seconds(usage.ru_stime));
    const std::vector<std::string> status = ownStatus();
    if (status.size() <= kResidentPages) return;
    metrics.gauge("process_resident_memory_bytes", "Resident memory of the board's process, shared pages among it.");
    metrics.sample({}, static_cast<std::uint64_t>(std::stoull(status[kResidentPages])) *
                           static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
    metrics.gauge("process_start_time_seconds", "When the board's process has started, since the Unix epoch.");
    metrics.sample({}, bootTime() + std::stod(status[kStartTicks]) / static_cast<double>(sysconf(_SC_CLK_TCK)));
}

}  // namespace

MetricText boardMetrics() {
    const auto& onu = VirtualOnu::instance();
    MetricText metrics;
    const DeviceState state = stateNow(onu);
    addDevice(state, metrics);
    addFrames(onu, metrics);
    addCalls({"vorn_onu_kit_calls_total", "Calls of the device kit by function.", "vorn_onu_kit_call_failures_total",
              "Calls of the device kit that failed, by function.", "function"},
             onu.callCounts(), metrics);
    addCalls({"vorn_onu_hal_calls_total", "Calls of the HAL by operation.", "vorn_onu_hal_call_failures_total",
              "Calls of the HAL that answered another number than 0, by operation.", "operation"},
             callTally().counts(), metrics);
    addTaps(state.taps, metrics);
    addProcess(metrics);
    return metrics;
}

}  // namespace vorn_onu::living
