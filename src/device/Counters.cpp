#include "device/Counters.h"

#include <net/if.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>

#include "hal/FileText.h"
#include "hal/KernelNames.h"
#include "hal/Text.h"

namespace {

constexpr const char* kPmDevice = "veip0";
constexpr const char* kSplitFile = "/proc/net/dev_extstats";

// The kernel's counters: the file's name below "/sys/class/net/<device>/statistics" and where its number goes.
struct KernelCounter {
    const char* name;
    std::uint64_t IntfStats::*counter;
};
constexpr KernelCounter kKernelCounters[] = {
    {"rx_bytes", &IntfStats::rxOctets},           {"rx_packets", &IntfStats::rxFrames},
    {"rx_errors", &IntfStats::rxErrors},          {"rx_dropped", &IntfStats::rxDiscards},
    {"tx_bytes", &IntfStats::txOctets},           {"tx_packets", &IntfStats::txFrames},
    {"tx_errors", &IntfStats::txErrors},          {"tx_dropped", &IntfStats::txDiscards},
    {"multicast", &IntfStats::rxMulticastFrames},
};

// The columns of a device's line in kSplitFile.
constexpr std::uint64_t IntfStats::*kSplitColumns[] = {
    &IntfStats::rxMulticastFrames, &IntfStats::rxBroadcastFrames, &IntfStats::rxUnicastFrames,
    &IntfStats::txMulticastFrames, &IntfStats::txBroadcastFrames, &IntfStats::txUnicastFrames,
};

std::optional<std::uint64_t> parseNumber(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    const bool valid = end != text.c_str() && errno == 0 && text.find('-') == std::string::npos;
    return valid ? std::optional<std::uint64_t>(number) : std::nullopt;
}

bool readKernelCounters(const char* interface, IntfStats& stats) {
    std::string text;
    for (const auto& [name, counter] : kKernelCounters) {
        const FixedText<128> path("/sys/class/net/%s/statistics/%s", interface, name);
        if (readFileText(path.get(), text) != 0) return false;
        const auto number = parseNumber(text);
        if (!number) return false;
        stats.*counter = *number;
    }
    return true;
}

// Six numbers into the split counters; false, with stats as they were, when the line does not hold them.
bool parseSplit(const std::string& columns, IntfStats& stats) {
    std::istringstream stream(columns);
    IntfStats parsed = stats;
    for (const auto counter : kSplitColumns) {
        std::string word;
        if (!(stream >> word)) return false;
        const auto number = parseNumber(word);
        if (!number) return false;
        parsed.*counter = *number;
    }
    parsed.split = kIntfStatsSplitFull;
    stats = parsed;
    return true;
}

void readSplitCounters(const char* interface, IntfStats& stats) {
    std::string text;
    if (readFileText(kSplitFile, text) != 0) return;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        const std::size_t start = line.find_first_not_of(" \t");
        if (colon == std::string::npos || start >= colon) continue;
        if (line.compare(start, colon - start, interface) == 0 && parseSplit(line.substr(colon + 1), stats)) return;
    }
}

// ---- Performance monitoring ----

constexpr std::uint64_t EthernetPmDirection::*kPmCounters[] = {
    &EthernetPmDirection::octets,          &EthernetPmDirection::frames, &EthernetPmDirection::multicastFrames,
    &EthernetPmDirection::broadcastFrames, &EthernetPmDirection::errors, &EthernetPmDirection::discards,
};

std::mutex baselineMutex;
std::optional<EthernetPmRecord> baseline;  // the counters when the interval began

EthernetPmRecord recordOf(const IntfStats& stats) {
    return {{stats.rxOctets, stats.rxFrames, stats.rxMulticastFrames, stats.rxBroadcastFrames, stats.rxErrors,
             stats.rxDiscards},
            {stats.txOctets, stats.txFrames, stats.txMulticastFrames, stats.txBroadcastFrames, stats.txErrors,
             stats.txDiscards}};
}

EthernetPmDirection since(const EthernetPmDirection& begin, const EthernetPmDirection& now) {
    EthernetPmDirection difference{};
    for (const auto counter : kPmCounters) {
        difference.*counter = now.*counter >= begin.*counter ? now.*counter - begin.*counter : now.*counter;
    }
    return difference;
}

// With baselineMutex held since before the counters were read.
EthernetPmRecord sinceBaseline(const EthernetPmRecord& now, bool endInterval) {
    if (!baseline) baseline = now;
    const EthernetPmRecord difference{since(baseline->received, now.received),
                                      since(baseline->transmitted, now.transmitted)};
    if (endInterval) baseline = now;
    return difference;
}

}  // namespace

int getIntfStats(const char* interface, IntfStats* result) {
    if (!isDeviceName(interface) || result == nullptr) return -1;
    IntfStats stats{};
    if (!readKernelCounters(interface, stats)) return -1;
    readSplitCounters(interface, stats);
    *result = stats;
    return 0;
}

int vorn_omci_pm_get(void* request, void* result) {
    if (request == nullptr || result == nullptr) return -1;
    PmRequest asked{};
    std::memcpy(&asked, request, sizeof asked);
    if (asked.kind != kPmEthernet || asked.interval > kPmIntervalEnd) return -1;
    // From the reading on: counters that are read before another thread ends the interval would lie below its baseline.
    std::unique_lock<std::mutex> lock(baselineMutex, std::defer_lock);
    if (asked.interval != kPmAbsolute) lock.lock();
    IntfStats stats{};
    if (getIntfStats(kPmDevice, &stats) != 0) return -1;
    const EthernetPmRecord now = recordOf(stats);
    const EthernetPmRecord answer =
        asked.interval == kPmAbsolute ? now : sinceBaseline(now, asked.interval == kPmIntervalEnd);
    std::memcpy(result, &answer, sizeof answer);
    return 0;
}
