#include "Core.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <utility>

#include "CoreState.h"
#include "Counts.h"
#include "Facilities.h"

namespace virtual_onu {

namespace {

// How much of the advanced time this thread has lived through.
struct LivedThrough {
    std::uint64_t epoch = 0;
    std::uint64_t ms = 0;
};
thread_local LivedThrough livedThrough;

std::uint64_t generation = 0;  // with the device lock

}  // namespace

std::atomic<bool> anyFaults{false};
std::atomic<std::uint64_t> sleptMs{0};
std::atomic<std::uint64_t> passedMs{0};

// Everything below is made on first use and never destroyed: other libraries' constructors and destructors, and threads
// that outlive main(), may still call.
DeviceClock& deviceClock() {
    static DeviceClock& clock = *new DeviceClock;
    return clock;
}

CoreState& core() {
    static CoreState& state = *new CoreState;
    return state;
}

namespace {

void beforeFork() {
    deviceMutex().lock();
    deviceClock().mutex.lock();
    bus::beforeFork();
}

void afterForkInParent() {
    bus::afterForkInParent();
    deviceClock().mutex.unlock();
    deviceMutex().unlock();
}

// The child is a process with one thread: nobody else holds a lock or waits there. A recursive mutex belongs to the
// parent's thread and cannot be unlocked here.
void afterForkInChild() {
    bus::afterForkInChild();
    deviceClock().mutex.unlock();
    new (&deviceClock().changed) std::condition_variable;
    new (&deviceMutex()) std::recursive_mutex;
}

std::recursive_mutex& makeDeviceMutex() {
    pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
    return *new std::recursive_mutex;
}

// Whether a fault has decided the call that this thread is about to record.
thread_local bool callIsInjected = false;

bool matches(const PendingFault& fault, const std::string& name, const std::string& detail) {
    if (fault.name == name) return true;
    return !detail.empty() && fault.name.size() == name.size() + 1 + detail.size() &&
           fault.name.compare(0, name.size(), name) == 0 && fault.name[name.size()] == ':' &&
           fault.name.compare(name.size() + 1, detail.size(), detail) == 0;
}

}  // namespace

std::recursive_mutex& deviceMutex() {
    static std::recursive_mutex& mutex = makeDeviceMutex();
    return mutex;
}

// ---- changes ----

void deviceChanged() {
    ++generation;
}

std::uint64_t deviceGeneration() {
    return generation;
}

// ---- trace ----

const std::vector<const char*>& callKindNames() {
    static const auto& names =
        *new const std::vector<const char*>{"platform", "ioctl", "file", "socket", "shell", "wait", "log"};
    return names;
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (c == '\n') {
            result += "\\n";
        } else if (c == '\t') {
            result += "\\t";
        } else if (code < 0x20 || code >= 0x7f) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(code));
            result += escape.data();
        } else {
            result += c;
        }
    }
    return result;
}

std::string argumentText(const char* text) {
    return text == nullptr ? "null" : argumentText(std::string(text));
}
std::string argumentText(const std::string& text) {
    return '"' + escaped(text) + '"';
}
std::string argumentText(std::int64_t number) {
    return std::to_string(number);
}
std::string argumentText(std::uint64_t number) {
    return std::to_string(number);
}
std::string argumentText(Out value) {
    return "&" + std::to_string(value.value);
}
std::string argumentText(const std::optional<Out>& value) {
    return value ? argumentText(*value) : "&-";
}

void keepEntry(const TraceEntry& entry) {
    core().trace.push_back(entry);
    while (core().trace.size() > core().traceCapacity) core().trace.pop_front();
}

void record(CallKind kind, const std::string& name, const std::string& argumentList, long result) {
    TraceEntry entry;
    entry.kind = kind;
    entry.name = name;
    entry.arguments = argumentList;
    entry.result = result;
    entry.injected = std::exchange(callIsInjected, false);
    std::shared_ptr<const Listener> listener;
    {
        const DeviceAccess lock(deviceMutex());
        entry.number = ++core().traced;
        keepEntry(entry);
        if (kind == CallKind::Platform) counts::call(name, result);
        persistence::changed(persistence::kRunTrace, entry.number);
        listener = core().listener;
    }
    if (listener) (*listener)(entry);
}

// ---- faults ----

std::optional<int> faultOf(const std::string& name, const std::string& detail, bool counted) {
    callIsInjected = false;
    if (!counted && !anyFaults.load(std::memory_order_acquire)) return std::nullopt;
    const DeviceAccess lock(deviceMutex());
    std::optional<int> code;
    auto& pending = core().pendingFaults;
    for (auto fault = pending.begin(); fault != pending.end();) {
        if (!matches(*fault, name, detail)) {
            ++fault;
            continue;
        }
        persistence::changed(persistence::kRunFaults);
        if (--fault->callsToGo > 0) {
            ++fault;
            continue;
        }
        if (!code) code = fault->code;
        fault = pending.erase(fault);
    }
    if (counted) {
        persistence::changed(persistence::kRunCalls);
        const auto numbered = core().numberedFaults.find(++core().calls);
        if (numbered != core().numberedFaults.end()) code = numbered->second;
    }
    callIsInjected = code.has_value();
    return code;
}

int platformCall(const char* name, const std::string& argumentList, const std::function<int()>& work,
                 const std::string& detail) {
    const auto fault = faultOf(name, detail);
    const int result = fault ? *fault : work();
    record(CallKind::Platform, name, argumentList, result);
    return result;
}

int platformCallWithOut(const char* name, const std::function<std::string()>& argumentList,
                        const std::function<int()>& work, const std::string& detail) {
    const auto fault = faultOf(name, detail);
    const int result = fault ? *fault : work();
    record(CallKind::Platform, name, argumentList(), result);
    return result;
}

// ---- clock ----

void waitFor(const char* function, std::uint64_t milliseconds) {
    const bool seconds = std::string(function) == "sleep";
    record(CallKind::Wait, function,
           seconds ? std::to_string(milliseconds / 1000) : std::to_string(milliseconds) + " ms", 0);
    bool reallySleep = false;
    {
        const DeviceAccess lock(deviceMutex());
        sleptMs += milliseconds;
        persistence::changed(persistence::kClock);
        reallySleep = core().sleepsForReal;
    }
    if (!reallySleep) return;
    // By poll(): the sleep functions of the C library are interposed. A signal does not end the wait.
    using std::chrono::steady_clock;
    const int error = errno;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    for (auto left = end - steady_clock::now(); left.count() > 0; left = end - steady_clock::now()) {
        constexpr std::int64_t kMaxRoundMs = 3600000;
        const std::int64_t leftMs = std::chrono::duration_cast<std::chrono::milliseconds>(left).count() + 1;
        poll(nullptr, 0, static_cast<int>(std::min(leftMs, kMaxRoundMs)));
    }
    errno = error;
}

void idleWait(std::uint64_t milliseconds) {
    using std::chrono::steady_clock;
    record(CallKind::Wait, "select", std::to_string(milliseconds) + " ms", 0);
    auto& clock = deviceClock();
    std::unique_lock<std::mutex> lock(clock.mutex);
    const auto start = steady_clock::now();
    while (true) {
        if (livedThrough.epoch != clock.epoch) livedThrough = {clock.epoch, 0};
        const auto realMs = static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start).count());
        const std::uint64_t missingMs = realMs >= milliseconds ? 0 : milliseconds - realMs;
        const std::uint64_t availableMs = clock.advancedMs - livedThrough.ms;
        if (availableMs >= missingMs) {
            livedThrough.ms += missingMs;
            return;
        }
        // Capped, since a wait of years overflows the clock's own arithmetic.
        constexpr std::uint64_t kMaxRoundMs = 3600000;
        clock.changed.wait_for(lock, std::chrono::milliseconds(std::min(missingMs - availableMs, kMaxRoundMs)));
    }
}

std::uint64_t virtualNowMs() {
    return deviceClock().advancedMs.load(std::memory_order_relaxed) + sleptMs.load(std::memory_order_relaxed) +
           passedMs.load(std::memory_order_relaxed);
}

void realTimePasses(std::uint64_t milliseconds) {
    passedMs.fetch_add(milliseconds, std::memory_order_relaxed);
}

void resetCore() {
    {
        const DeviceAccess lock(deviceMutex());
        core() = CoreState{};
        counts::reset();
        anyFaults.store(false, std::memory_order_release);
        sleptMs = 0;
        passedMs = 0;
    }
    const std::lock_guard<std::mutex> lock(deviceClock().mutex);
    deviceClock().advancedMs = 0;
    ++deviceClock().epoch;
}

// ---- the facade's view ----

std::vector<TraceEntry> VirtualOnu::trace() const {
    constexpr std::size_t kAtOnce = 1000;
    std::vector<TraceEntry> all;
    for (std::uint64_t last = 0;;) {
        std::vector<TraceEntry> some = traceAfter(last, kAtOnce);
        if (some.empty()) return all;
        last = some.back().number;
        const bool wasLast = some.size() < kAtOnce;
        all.insert(all.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
        if (wasLast) return all;
    }
}

std::vector<TraceEntry> VirtualOnu::traceAfter(std::uint64_t number, std::size_t most) const {
    const DeviceAccess lock(deviceMutex());
    const auto& entries = core().trace;
    if (entries.empty() || entries.back().number <= number) return {};
    const std::uint64_t first = entries.front().number;
    const std::size_t begin = number < first ? 0 : static_cast<std::size_t>(number - first + 1);
    const std::size_t count = std::min(most, entries.size() - begin);
    const auto from = entries.begin() + static_cast<std::ptrdiff_t>(begin);
    return {from, from + static_cast<std::ptrdiff_t>(count)};
}

std::uint64_t VirtualOnu::traced() const {
    const DeviceAccess lock(deviceMutex());
    return core().traced;
}

std::uint64_t VirtualOnu::changes() const {
    const DeviceAccess lock(deviceMutex());
    return generation;
}

std::vector<std::string> VirtualOnu::traceTexts(CallKind kind) const {
    std::vector<std::string> texts;
    for (const auto& entry : trace()) {
        if (entry.kind == kind) texts.push_back(entry.text());
    }
    return texts;
}

std::vector<std::string> VirtualOnu::traceTexts() const {
    std::vector<std::string> texts;
    for (const auto& entry : trace()) texts.push_back(entry.text());
    return texts;
}

void VirtualOnu::keepTrace(std::size_t most) {
    const DeviceAccess lock(deviceMutex());
    core().traceCapacity = most;
    while (core().trace.size() > most) core().trace.pop_front();
    core().trace.shrink_to_fit();
}

void VirtualOnu::clearTrace() {
    const DeviceAccess lock(deviceMutex());
    core().trace.clear();
    core().traced = 0;
}

void VirtualOnu::onTrace(std::function<void(const TraceEntry&)> listener) {
    auto shared = listener ? std::make_shared<const Listener>(std::move(listener)) : nullptr;
    const DeviceAccess lock(deviceMutex());
    core().listener = std::move(shared);
}

std::uint64_t VirtualOnu::failNext(const std::string& function, int nth, int code) {
    const DeviceAccess lock(deviceMutex());
    core().pendingFaults.push_back({++core().faults, function, nth, code});
    anyFaults.store(true, std::memory_order_release);
    persistence::changed(persistence::kRunFaults);
    return core().faults;
}

std::optional<int> VirtualOnu::callsUntilFault(std::uint64_t fault) const {
    const DeviceAccess lock(deviceMutex());
    for (const PendingFault& pending : core().pendingFaults)
        if (pending.number == fault) return pending.callsToGo;
    return std::nullopt;
}

void VirtualOnu::failCall(std::uint64_t number, int code) {
    const DeviceAccess lock(deviceMutex());
    core().numberedFaults[number] = code;
    anyFaults.store(true, std::memory_order_release);
    persistence::changed(persistence::kRunFaults);
}

std::uint64_t VirtualOnu::callCount() const {
    const DeviceAccess lock(deviceMutex());
    return core().calls;
}

void VirtualOnu::clearFaults() {
    const DeviceAccess lock(deviceMutex());
    core().pendingFaults.clear();
    core().numberedFaults.clear();
    persistence::changed(persistence::kRunFaults);
    anyFaults.store(false, std::memory_order_release);
}

void VirtualOnu::sleepForReal(bool on) {
    const DeviceAccess lock(deviceMutex());
    core().sleepsForReal = on;
}

void VirtualOnu::advance(unsigned milliseconds) {
    {
        const std::lock_guard<std::mutex> lock(deviceClock().mutex);
        deviceClock().advancedMs += milliseconds;
    }
    {
        const DeviceAccess lock(deviceMutex());
        persistence::changed(persistence::kClock);
    }
    deviceClock().changed.notify_all();
}

std::uint64_t VirtualOnu::slept() const {
    const DeviceAccess lock(deviceMutex());
    return sleptMs;
}

}  // namespace virtual_onu
