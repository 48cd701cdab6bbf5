// What the core holds: the trace, the faults, the clock. For Core.cpp, and for the board that is kept.
#ifndef VIRTUAL_ONU_CORE_STATE_H
#define VIRTUAL_ONU_CORE_STATE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace virtual_onu {

using Listener = std::function<void(const TraceEntry&)>;

// A program that runs for days keeps the latest part of its trace.
constexpr std::size_t kTraceCapacity = 200000;

struct PendingFault {
    std::uint64_t number = 0;
    std::string name;  // "name" or "name:detail"
    int callsToGo = 1;
    int code = 0;
};

struct CoreState {
    std::deque<TraceEntry> trace;
    std::size_t traceCapacity = kTraceCapacity;
    std::uint64_t traced = 0;
    std::shared_ptr<const Listener> listener;
    std::uint64_t calls = 0;
    std::vector<PendingFault> pendingFaults;
    std::uint64_t faults = 0;  // of failNext so far
    std::map<std::uint64_t, int> numberedFaults;
    bool sleepsForReal = false;
};

// With the device lock held.
CoreState& core();
void keepEntry(const TraceEntry& entry);  // at the end of the trace

// Whether anybody has planned a fault: asked without the lock on the way of every program's own sockets and waits.
extern std::atomic<bool> anyFaults;

// Device time runs with real time; advance() lets every thread live through additional time in its idle waits.
struct DeviceClock {
    std::mutex mutex;
    std::condition_variable changed;
    std::atomic<std::uint64_t> advancedMs{0};  // written with the mutex
    std::uint64_t epoch = 1;                   // counts resets
};

DeviceClock& deviceClock();
extern std::atomic<std::uint64_t> sleptMs;
extern std::atomic<std::uint64_t> passedMs;  // of real time, while real packets pass

}  // namespace virtual_onu

#endif
