// Ends a daemon within one of its calls, and compares boards.
#ifndef TESTS_RESTART_KILLING_H
#define TESTS_RESTART_KILLING_H

#include <csetjmp>
#include <functional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "src/restart/Daemon.h"

// Present when the address sanitizer is.
extern "C" {
__attribute__((weak)) void __lsan_disable();  // NOLINT(bugprone-reserved-identifier)
__attribute__((weak)) void __lsan_enable();   // NOLINT(bugprone-reserved-identifier)
}

namespace restart_tests {

// What a daemon that is killed had allocated goes with its process, and has no process here.
class Unaccounted {
public:
    Unaccounted() {
        if (__lsan_disable != nullptr) __lsan_disable();
    }
    ~Unaccounted() {
        if (__lsan_enable != nullptr) __lsan_enable();
    }
    Unaccounted(const Unaccounted&) = delete;
    Unaccounted& operator=(const Unaccounted&) = delete;
};

// Makes the call and ends within it, behind the call into the device that `when` is true of. False when none is.
inline bool killWhen(Daemon& daemon, const Work& work,
                     const std::function<bool(const virtual_onu::TraceEntry&)>& when) {
    const Unaccounted unaccounted;
    static std::jmp_buf end;
    VirtualOnu& onu = VirtualOnu::instance();
    // NOLINTNEXTLINE(cert-err52-cpp): nothing of the daemon's is to run any more
    if (setjmp(end) != 0) {
        onu.onTrace(nullptr);
        return true;
    }
    onu.onTrace([&when](const virtual_onu::TraceEntry& entry) {
        if (when(entry)) std::longjmp(end, 1);  // NOLINT(cert-err52-cpp)
    });
    work(daemon.hal());
    onu.onTrace(nullptr);
    return false;
}

// After so many calls into the device. False when it has fewer.
inline bool killAt(Daemon& daemon, const Work& work, unsigned deviceCall) {
    unsigned made = 0;
    return killWhen(daemon, work, [&](const virtual_onu::TraceEntry&) { return ++made == deviceCall; });
}

// Devices, bridges, rules, GEM ports, T-CONTs and the runner, without the numbers that count up: a rule or a device
// that was made again has another one.
nlohmann::json leveledDevice();  // RestartTest.cpp

}  // namespace restart_tests

#endif
