// Counters of a performance-monitoring interval: what a device has counted since the interval began, summed up at each
// reading, so that it goes on when the device is recreated or one of its counters comes round.
#ifndef DEVICE_INTERVAL_COUNTERS_H
#define DEVICE_INTERVAL_COUNTERS_H

#include <cstdint>
#include <optional>

#include "hal/CounterRecords.h"

// The counters of a device at one moment.
struct CounterReading {
    IntfStats stats;
    std::uint64_t kernelMulticast;  // received, by the kernel's own counter, which is with or without the split
    int interfaceIndex;             // another one for the same name: the device was recreated and counts from 0
};

// One reader's intervals. Not locked.
class IntervalCounters {
public:
    // Adds what has been counted since the last reading. The first reading begins the first interval.
    void add(const CounterReading& now);
    // Since the interval began. While the split by destination was not known all the time, split is
    // kIntfStatsSplitNone and only the kernel's received multicast frames are given.
    EthernetPmReaderRecord sum() const;
    void beginInterval();

private:
    std::optional<CounterReading> last_;
    IntfStats sum_ = {};
    std::uint64_t kernelMulticast_ = 0;
    bool splitKnown_ = true;
};

// How far a counter of the same device has come. One that has fallen from the upper half of 32 bits has come round;
// one that has fallen from elsewhere was set to 0.
std::uint64_t counted(std::uint64_t before, std::uint64_t now);

#endif
