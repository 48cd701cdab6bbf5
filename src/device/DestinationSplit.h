// Frames of a network device split by destination address, as "/proc/net/dev_extstats" lists them.
#ifndef DEVICE_DESTINATION_SPLIT_H
#define DEVICE_DESTINATION_SPLIT_H

#include <cstdint>
#include <optional>
#include <string>

#include "hal/CounterRecords.h"

// Frames by destination: multicast, broadcast, unicast.
struct DestinationSplit {
    std::uint64_t received[3];
    std::uint64_t transmitted[3];
};

// A decimal number at the text's beginning; none for a negative or too large one.
std::optional<std::uint64_t> parseCounter(const std::string& text);

// The split of a device; none where the kernel does not offer all six counters of it. The file's format: Counters.h.
std::optional<DestinationSplit> readDestinationSplit(const char* interface);

// False for a split of more frames than the device has counted: its columns are not those that they were taken for.
bool fitsFrames(const DestinationSplit& split, const IntfStats& stats);

#endif
