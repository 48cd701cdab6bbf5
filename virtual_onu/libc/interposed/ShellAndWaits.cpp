// Shell commands, and waits.
#include <cstdint>

#include "Core.h"
#include "libc/interposed/Interposed.h"
#include "real_libc/RealLibc.h"
#include "shell/Shell.h"

using namespace virtual_onu;

namespace {

bool isEmpty(int count, const fd_set* readable, const fd_set* writable, const fd_set* failed) {
    return count == 0 || (readable == nullptr && writable == nullptr && failed == nullptr);
}

}  // namespace

extern "C" {

int onuSystem(const char* command) INTERPOSES(system);
int onuSystem(const char* command) {
    const KeepErrno keep;
    return shell::system(command);
}

FILE* onuPopen(const char* command, const char* mode) INTERPOSES(popen);
FILE* onuPopen(const char* command, const char* mode) {
    return shell::popen(command, mode);
}

int onuPclose(FILE* stream) INTERPOSES(pclose);
int onuPclose(FILE* stream) {
    return shell::ownsStream(stream) ? shell::pclose(stream) : real::pclose(stream);
}

// ---- waits ----

unsigned onuSleep(unsigned seconds) INTERPOSES(sleep);
unsigned onuSleep(unsigned seconds) {
    const KeepErrno keep;
    waitFor("sleep", std::uint64_t{1000} * seconds);
    return 0;
}

int onuUsleep(useconds_t microseconds) INTERPOSES(usleep);
int onuUsleep(useconds_t microseconds) {
    const KeepErrno keep;
    waitFor("usleep", (std::uint64_t{microseconds} + 999) / 1000);
    return 0;
}

int onuNanosleep(const timespec* length, timespec* rest) INTERPOSES(nanosleep);
int onuNanosleep(const timespec* length, timespec* rest) {
    const bool valid = length != nullptr && length->tv_sec >= 0 && length->tv_nsec >= 0 && length->tv_nsec < 1000000000;
    if (!valid) return real::nanosleep(length, rest);
    const KeepErrno keep;
    waitFor("nanosleep", static_cast<std::uint64_t>(length->tv_sec) * 1000 +
                             (static_cast<std::uint64_t>(length->tv_nsec) + 999999) / 1000000);
    return 0;
}

int onuSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) INTERPOSES(select);
int onuSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
    const Answer answer;
    if (const auto fault = faultOf("select", "", false)) return answer(-*fault);
    const bool idle = isEmpty(count, readable, writable, failed) && timeout != nullptr && timeout->tv_sec >= 0 &&
                      timeout->tv_usec >= 0;
    if (!idle) return real::select(count, readable, writable, failed, timeout);
    idleWait(static_cast<std::uint64_t>(timeout->tv_sec) * 1000 +
             (static_cast<std::uint64_t>(timeout->tv_usec) + 999) / 1000);
    *timeout = {};
    return answer(0);
}

}  // extern "C"
