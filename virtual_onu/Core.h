// What every facility of the virtual ONU builds on: the one lock, the trace, the faults and the clock.
//
// Rule: nothing under virtual_onu/ calls a function that libc/interposed/ defines; it uses real::. A facility takes
// lock() for every look at shared state and never holds it while it waits, calls back or runs a real C library function
// that may block.
#ifndef VIRTUAL_ONU_CORE_H
#define VIRTUAL_ONU_CORE_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#endif

#include "Persistence.h"
#include "VirtualOnu.h"

namespace virtual_onu {

// The one lock of the device; recursive, so that a facility may ask another one.
std::recursive_mutex& deviceMutex();

// Access to the device: holds the lock. When the outermost one ends, what has changed meanwhile is written to the file
// of an open board. The thread sanitizer is informed in its own terms: inside the sleep functions of the C library,
// which lead here, it does not look at mutexes.
class DeviceAccess {
public:
    explicit DeviceAccess(std::recursive_mutex& mutex) : lock_(mutex), persists_(persistence::isOpen()) {
        taken(&mutex);
        if (persists_) persistence::entered();
    }
    ~DeviceAccess() {
        if (persists_) persistence::leaving();
        givenBack(lock_.mutex());
    }
    DeviceAccess(const DeviceAccess&) = delete;
    DeviceAccess& operator=(const DeviceAccess&) = delete;

private:
#ifdef __SANITIZE_THREAD__
    static void taken(void* mutex) {
        __tsan_acquire(mutex);
    }
    static void givenBack(void* mutex) {
        __tsan_release(mutex);
    }
#else
    static void taken(void*) {}
    static void givenBack(void*) {}
#endif
    std::unique_lock<std::recursive_mutex> lock_;
    const bool persists_;
};

// ---- changes ----

// Something has changed that decides where frames go: devices, bridges, rules, links, GEM ports, queues, runner
// classes. With the device lock held.
void deviceChanged();
std::uint64_t deviceGeneration();  // counts those changes

// ---- trace ----

const std::vector<const char*>& callKindNames();  // in the order of CallKind

// The text with everything but printable ASCII escaped as in C: one line, valid in JSON, no terminal surprises.
std::string escaped(const std::string& text);

// Argument text of a trace entry: arguments("sid0", 1u, out(3u)) gives "\"sid0\", 1, &3".
struct Out {
    std::uint64_t value;
};
inline Out out(std::uint64_t value) {
    return Out{value};
}
// Texts are quoted and escaped as in C, so that an entry stays one line; a null pointer reads "null".
std::string argumentText(const char* text);
std::string argumentText(const std::string& text);
std::string argumentText(std::int64_t number);
std::string argumentText(std::uint64_t number);
std::string argumentText(Out value);
// What an out pointer received, or "&-" when the call left it alone.
std::string argumentText(const std::optional<Out>& value);
inline std::string argumentText(int number) {
    return argumentText(static_cast<std::int64_t>(number));
}
inline std::string argumentText(unsigned number) {
    return argumentText(static_cast<std::int64_t>(number));
}
template <typename First, typename... Rest>
std::string arguments(const First& first, const Rest&... rest) {
    std::string text = argumentText(first);
    ((text += ", ", text += argumentText(rest)), ...);
    return text;
}
inline std::string arguments() {
    return {};
}

void record(CallKind kind, const std::string& name, const std::string& argumentList, long result);

// ---- faults ----

// Counts one call and tells whether it is to fail: the code of the fault, or nothing. detail narrows the name
// ("SIOCSIFMTU", "/dev/laser_dev"). counted says whether failCall counts this call.
std::optional<int> faultOf(const std::string& name, const std::string& detail = "", bool counted = true);

// A platform call in one line: fault, else the work; recorded either way.
//   return platformCall("vlanCtl_init", arguments(), [&] { ...; return 0; });
// The work runs without the device lock, so that it may wait. detail narrows the name for faults, as with faultOf.
int platformCall(const char* name, const std::string& argumentList, const std::function<int()>& work,
                 const std::string& detail = "");
// The same for calls whose argument text is known only afterwards (out pointers).
int platformCallWithOut(const char* name, const std::function<std::string()>& argumentList,
                        const std::function<int()>& work, const std::string& detail = "");

// ---- clock ----

// A wait of this length as the named C library function asks for it: recorded, really slept only when asked to. The
// trace shows whole seconds for "sleep" ("sleep(1) = 0"), milliseconds for every other function ("usleep(20 ms) = 0").
void waitFor(const char* function, std::uint64_t milliseconds);
// A select without descriptors: ends after the time in reality, or earlier with VirtualOnu::advance(). Every thread
// lives through all of the advanced time, also when it comes to its wait only afterwards.
void idleWait(std::uint64_t milliseconds);

// Milliseconds of the virtual clock: what waits have asked for, what VirtualOnu::advance() has let pass, and real time
// while real packets pass. Runs without the device lock.
std::uint64_t virtualNowMs();
// For whoever carries real packets: bridges age in real time meanwhile. Threads' waits are not concerned.
void realTimePasses(std::uint64_t milliseconds);

// Forget trace, faults and clock (VirtualOnu::reset).
void resetCore();

}  // namespace virtual_onu

#endif
