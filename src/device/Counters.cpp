#include "device/Counters.h"

#include <net/if.h>

#include <cstring>
#include <mutex>
#include <optional>
#include <string>

#include "device/DestinationSplit.h"
#include "hal/FileText.h"
#include "hal/KernelNames.h"
#include "hal/Text.h"

namespace {

constexpr const char* kPmDevice = "veip0";

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

bool readKernelCounters(const char* interface, IntfStats& stats) {
    std::string text;
    for (const auto& [name, counter] : kKernelCounters) {
        const FixedText<128> path("/sys/class/net/%s/statistics/%s", interface, name);
        if (readFileText(path.get(), text) != 0) return false;
        const auto number = parseCounter(text);
        if (!number) return false;
        stats.*counter = *number;
    }
    return true;
}

void putSplit(const DestinationSplit& split, IntfStats& stats) {
    stats.rxMulticastFrames = split.received[0];
    stats.rxBroadcastFrames = split.received[1];
    stats.rxUnicastFrames = split.received[2];
    stats.txMulticastFrames = split.transmitted[0];
    stats.txBroadcastFrames = split.transmitted[1];
    stats.txUnicastFrames = split.transmitted[2];
    stats.split = kIntfStatsSplitFull;
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
    if (const auto split = readDestinationSplit(interface)) {
        // The split may count frames that have come since the kernel's counters were read.
        if (!fitsFrames(*split, stats) && !readKernelCounters(interface, stats)) return -1;
        if (fitsFrames(*split, stats)) putSplit(*split, stats);
    }
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
