#include "kernel/DeviceCounters.h"

#include <algorithm>

namespace virtual_onu::network {

const std::array<const char*, DeviceCounters::kPlaces> DeviceCounters::kNames = {
    "rx_packets",       "tx_packets",        "rx_bytes",          "tx_bytes",        "rx_errors",
    "tx_errors",        "rx_dropped",        "tx_dropped",        "multicast",       "collisions",
    "rx_length_errors", "rx_over_errors",    "rx_crc_errors",     "rx_frame_errors", "rx_fifo_errors",
    "rx_missed_errors", "tx_aborted_errors", "tx_carrier_errors", "tx_fifo_errors",  "tx_heartbeat_errors",
    "tx_window_errors", "rx_compressed",     "tx_compressed",     "rx_nohandler",
};

void DeviceCounters::set(const std::string& key, std::uint64_t value) {
    const auto* name = std::find_if(kNames.begin(), kNames.end(), [&](const char* one) { return key == one; });
    if (name != kNames.end())
        kernel_[static_cast<std::size_t>(name - kNames.begin())] = value;
    else
        others_[key] = value;
}

std::map<std::string, std::uint64_t> DeviceCounters::byName() const {
    std::map<std::string, std::uint64_t> all = others_;
    for (std::size_t i = 0; i < kNames.size(); ++i) all[kNames[i]] = kernel_[i];
    return all;
}

bool DeviceCounters::anySplit() const {
    return std::any_of(split_.begin(), split_.end(), [](std::uint64_t count) { return count != 0; });
}

std::string DeviceCounters::splitColumns() const {
    std::string text;
    for (const std::uint64_t count : split_) text += (text.empty() ? "" : " ") + std::to_string(count);
    return text;
}

}  // namespace virtual_onu::network
