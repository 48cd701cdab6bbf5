#include "device/IntervalCounters.h"

namespace {

constexpr std::uint64_t IntfStats::*kCounters[] = {
    &IntfStats::rxOctets, &IntfStats::rxFrames, &IntfStats::rxErrors, &IntfStats::rxDiscards,
    &IntfStats::txOctets, &IntfStats::txFrames, &IntfStats::txErrors, &IntfStats::txDiscards,
};
constexpr std::uint64_t IntfStats::*kSplitCounters[] = {
    &IntfStats::rxMulticastFrames, &IntfStats::rxBroadcastFrames, &IntfStats::rxUnicastFrames,
    &IntfStats::txMulticastFrames, &IntfStats::txBroadcastFrames, &IntfStats::txUnicastFrames,
};

bool isSplit(const CounterReading& reading) {
    return reading.stats.split == kIntfStatsSplitFull;
}

}  // namespace

std::uint64_t counted(std::uint64_t before, std::uint64_t now) {
    constexpr std::uint64_t kRound = std::uint64_t{1} << 32;
    if (now >= before) return now - before;
    return before >= kRound / 2 && before < kRound && now < kRound / 2 ? now + (kRound - before) : now;
}

void IntervalCounters::add(const CounterReading& now) {
    const bool first = !last_;
    CounterReading before = now;
    if (!first) before = *last_;
    if (before.interfaceIndex != now.interfaceIndex) {
        before.stats = {};
        before.kernelMulticast = 0;
        before.stats.split = now.stats.split;
    }
    for (const auto counter : kCounters) sum_.*counter += counted(before.stats.*counter, now.stats.*counter);
    kernelMulticast_ += counted(before.kernelMulticast, now.kernelMulticast);
    // What one reading tells and the other does not cannot be compared.
    splitKnown_ = splitKnown_ && isSplit(before) && isSplit(now);
    if (splitKnown_)
        for (const auto counter : kSplitCounters) sum_.*counter += counted(before.stats.*counter, now.stats.*counter);
    last_ = now;
}

EthernetPmReaderRecord IntervalCounters::sum() const {
    EthernetPmReaderRecord record{};
    record.received = {sum_.rxOctets, sum_.rxFrames, kernelMulticast_, 0, sum_.rxErrors, sum_.rxDiscards};
    record.transmitted = {sum_.txOctets, sum_.txFrames, 0, 0, sum_.txErrors, sum_.txDiscards};
    record.split = kIntfStatsSplitNone;
    if (!splitKnown_) return record;
    record.received.multicastFrames = sum_.rxMulticastFrames;
    record.received.broadcastFrames = sum_.rxBroadcastFrames;
    record.transmitted.multicastFrames = sum_.txMulticastFrames;
    record.transmitted.broadcastFrames = sum_.txBroadcastFrames;
    record.split = kIntfStatsSplitFull;
    return record;
}

void IntervalCounters::beginInterval() {
    sum_ = {};
    kernelMulticast_ = 0;
    splitKnown_ = !last_ || isSplit(*last_);
}
