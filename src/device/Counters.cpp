#include "device/Counters.h"

#include <net/if.h>

#include <climits>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "device/DestinationSplit.h"
#include "device/IntervalCounters.h"
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

// As getIntfStats; multicast is the kernel's own counter, whether or not there is a split.
bool readCounters(const char* interface, IntfStats& stats, std::uint64_t& multicast) {
    if (!readKernelCounters(interface, stats)) return false;
    const auto split = readDestinationSplit(interface);
    // The split may count frames that have come since the kernel's counters were read.
    if (split && !fitsFrames(*split, stats) && !readKernelCounters(interface, stats)) return false;
    multicast = stats.rxMulticastFrames;
    if (split && fitsFrames(*split, stats)) putSplit(*split, stats);
    return true;
}

// ---- Performance monitoring ----

std::mutex readersMutex;
std::map<int, IntervalCounters>& readers() {  // never destroyed: a thread may read while the process ends
    static auto& all = *new std::map<int, IntervalCounters>;
    return all;
}

std::optional<int> indexOf(const char* interface) {
    std::string text;
    if (readFileText(FixedText<128>("/sys/class/net/%s/ifindex", interface).get(), text) != 0) return std::nullopt;
    const auto number = parseCounter(text);
    if (!number || *number > INT_MAX) return std::nullopt;
    return static_cast<int>(*number);
}

// The counters together with the device that they are of: read once more when it was recreated meanwhile.
std::optional<CounterReading> readDevice(const char* interface) {
    constexpr int kTries = 3;
    for (int tries = 0; tries < kTries; ++tries) {
        const auto index = indexOf(interface);
        CounterReading reading{};
        if (!index || !readCounters(interface, reading.stats, reading.kernelMulticast)) return std::nullopt;
        if (indexOf(interface) != index) continue;
        reading.interfaceIndex = *index;
        return reading;
    }
    return std::nullopt;
}

EthernetPmReaderRecord absoluteRecord(const IntfStats& stats) {
    EthernetPmReaderRecord record{};
    record.received = {stats.rxOctets,          stats.rxFrames, stats.rxMulticastFrames,
                       stats.rxBroadcastFrames, stats.rxErrors, stats.rxDiscards};
    record.transmitted = {stats.txOctets,          stats.txFrames, stats.txMulticastFrames,
                          stats.txBroadcastFrames, stats.txErrors, stats.txDiscards};
    record.split = stats.split;
    return record;
}

std::optional<EthernetPmReaderRecord> intervalRecord(int reader, bool endInterval) {
    // From the reading on: readings of one reader go in their order.
    const std::lock_guard<std::mutex> lock(readersMutex);
    const auto now = readDevice(kPmDevice);
    if (!now) return std::nullopt;
    IntervalCounters& counters = readers()[reader];
    counters.add(*now);
    const EthernetPmReaderRecord record = counters.sum();
    if (endInterval) counters.beginInterval();
    return record;
}

}  // namespace

int getIntfStats(const char* interface, IntfStats* result) {
    if (!isDeviceName(interface) || result == nullptr) return -1;
    IntfStats stats{};
    std::uint64_t multicast = 0;
    if (!readCounters(interface, stats, multicast)) return -1;
    *result = stats;
    return 0;
}

int vorn_omci_pm_get(void* request, void* result) {
    if (request == nullptr || result == nullptr) return -1;
    PmRequest asked{};
    std::memcpy(&asked, request, sizeof asked);
    const bool ofReader = asked.kind == kPmEthernetOfReader;
    if ((asked.kind != kPmEthernet && !ofReader) || asked.interval > kPmIntervalEnd) return -1;
    EthernetPmReaderRecord record{};
    if (asked.interval == kPmAbsolute) {
        IntfStats stats{};
        if (getIntfStats(kPmDevice, &stats) != 0) return -1;
        record = absoluteRecord(stats);
    } else {
        const auto counted = intervalRecord(ofReader ? asked.reader : 0, asked.interval == kPmIntervalEnd);
        if (!counted) return -1;
        record = *counted;
    }
    // The shorter record is the beginning of the longer one.
    std::memcpy(result, &record, ofReader ? sizeof(EthernetPmReaderRecord) : sizeof(EthernetPmRecord));
    return 0;
}
