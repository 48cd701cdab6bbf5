// What a network device has counted: the kernel's counters below /sys/class/net/<device>/statistics, and the frames by
// kind of destination that "/proc/net/dev_extstats" shows.
#ifndef VIRTUAL_ONU_DEVICE_COUNTERS_H
#define VIRTUAL_ONU_DEVICE_COUNTERS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace virtual_onu::network {

enum class Direction : std::uint8_t { Received, Sent };
enum class Destination : std::uint8_t { Multicast, Broadcast, Unicast };  // the order of the columns

class DeviceCounters {
public:
    // So many frames of so many octets each (without their check sums) pass the device.
    void count(Direction direction, Destination destination, std::uint32_t frames, std::size_t octets) {
        const bool received = direction == Direction::Received;
        kernel_[received ? kReceivedPackets : kSentPackets] += frames;
        kernel_[received ? kReceivedBytes : kSentBytes] += std::uint64_t{frames} * octets;
        if (received && destination == Destination::Multicast) kernel_[kMulticast] += frames;
        split_[static_cast<std::size_t>(direction) * 3 + static_cast<std::size_t>(destination)] += frames;
        hasCounted_ = true;
    }
    // So many frames end here, on their way in or out.
    void countDrop(Direction direction, std::uint32_t frames) {
        kernel_[direction == Direction::Received ? kReceivedDropped : kSentDropped] += frames;
        hasCounted_ = true;
    }
    bool takeHasCounted() { return std::exchange(hasCounted_, false); }  // a frame, since the last time

    void set(const std::string& key, std::uint64_t value);  // also a key that the kernel does not know
    std::map<std::string, std::uint64_t> byName() const;
    bool anySplit() const;
    using Split = std::array<std::uint64_t, 6>;
    const Split& split() const { return split_; }
    void setSplit(const Split& split) { split_ = split; }
    // "rx multicast, broadcast, unicast, tx multicast, ...": the six columns.
    std::string splitColumns() const;

private:
    enum Place : std::size_t {
        kReceivedPackets,
        kSentPackets,
        kReceivedBytes,
        kSentBytes,
        kReceivedErrors,
        kSentErrors,
        kReceivedDropped,
        kSentDropped,
        kMulticast,
        kFirstOther,
    };
    static constexpr std::size_t kPlaces = 24;
    static const std::array<const char*, kPlaces> kNames;

    std::array<std::uint64_t, kPlaces> kernel_{};
    Split split_{};
    std::map<std::string, std::uint64_t> others_;
    bool hasCounted_ = false;
};

}  // namespace virtual_onu::network

#endif
