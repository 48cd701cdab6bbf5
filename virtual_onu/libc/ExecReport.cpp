// What a program leaves on the virtual ONU, for whoever started it: the tool's `exec` preloads this library and names
// the files in the environment.
//
//   VORN_ONU_STATE=FILE   the device's state as JSON, written soon after every change and when the program ends
//   VORN_ONU_TRACE=FILE   every call into the device, one line each, as it is made
//
// Without these variables nothing here does anything. A process that never touches the device writes nothing, so that a
// shell or another wrapper around the daemon does not overwrite what the daemon has left.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "libc/real/RealLibc.h"

extern char** environ;

namespace virtual_onu {

namespace {

constexpr std::array<const char*, 2> kVariables = {"VORN_ONU_STATE", "VORN_ONU_TRACE"};
constexpr std::chrono::milliseconds kShortestPause{200};
// A long trace takes long to write: the writer is idle for most of the time all the same.
constexpr int kPauseToWork = 5;

struct Report {
    std::string stateFile, traceFile;
    int trace = -1;
    std::atomic<bool> touched{false};

    std::mutex mutex;  // guards the rest; never held while the state is read: a traced call may hold the device's lock
    std::condition_variable changed;
    bool dirty = false;
    bool ended = false;
    bool writerRuns = false;
    std::mutex writing;  // one writer of the state file at a time
};

// Never destroyed: the writer may still look at it while the process ends.
Report& report() {
    static Report& one = *new Report;
    return one;
}

void writeAll(int fd, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = real::write(fd, text.data() + done, text.size() - done);
        if (count <= 0) return;
        done += static_cast<std::size_t>(count);
    }
}

// Readers see the old state or the new one, never half of it.
void writeState() {
    const std::lock_guard<std::mutex> lock(report().writing);
    const std::string& path = report().stateFile;
    const std::string whole =
        VirtualOnu::instance().toJson().dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const std::string next = path + "." + std::to_string(getpid());
    const int fd = real::open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return;
    writeAll(fd, whole);
    real::close(fd);
    real::rename(next.c_str(), path.c_str());
}

// A daemon is ended by a signal more often than it ends by itself, so the state is written while it runs.
void* writer(void* /*unused*/) {
    Report& r = report();
    std::unique_lock<std::mutex> lock(r.mutex);
    while (!r.ended) {
        r.changed.wait(lock, [&r] { return r.dirty || r.ended; });
        if (r.ended) break;
        r.dirty = false;
        lock.unlock();
        const auto start = std::chrono::steady_clock::now();
        writeState();
        const auto worked = std::chrono::steady_clock::now() - start;
        lock.lock();
        r.changed.wait_for(lock, std::max<std::chrono::steady_clock::duration>(kShortestPause, worked * kPauseToWork),
                           [&r] { return r.ended; });
    }
    return nullptr;
}

void startWriter(Report& r) {
    pthread_t thread{};
    r.writerRuns = pthread_create(&thread, nullptr, writer, nullptr) == 0;
    if (r.writerRuns) pthread_detach(thread);
}

void traced(const TraceEntry& entry) {
    Report& r = report();
    // A wait or a log line alone leaves nothing on the device: that is any process with a sleep in it.
    if (entry.kind != CallKind::Wait && entry.kind != CallKind::Log) r.touched = true;
    if (r.trace >= 0) writeAll(r.trace, entry.text() + "\n");
    if (r.stateFile.empty() || !r.touched) return;
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.dirty = true;
    if (!r.writerRuns) startWriter(r);
    r.changed.notify_all();
}

// A forked child has no writer thread, and locks that nobody in it holds.
void afterForkInChild() {
    Report& r = report();
    new (&r.mutex) std::mutex;
    new (&r.changed) std::condition_variable;
    new (&r.writing) std::mutex;
    r.writerRuns = false;
}

// A misspelt variable would silently do nothing.
void refuseUnknownVariables() {
    for (char** one = environ; one != nullptr && *one != nullptr; ++one) {
        if (std::strncmp(*one, "VORN_ONU_", 9) != 0) continue;
        const std::string name(*one, std::strcspn(*one, "="));
        bool known = false;
        std::string right;
        for (const char* variable : kVariables) {
            known = known || name == variable;
            right += (right.empty() ? "" : ", ") + std::string(variable);
        }
        if (known) continue;
        writeAll(STDERR_FILENO, "virtual ONU: there is no variable " + name + "; there are " + right + "\n");
        _exit(2);
    }
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): before main(), there is one thread
    return value != nullptr ? value : "";
}

__attribute__((constructor)) void begin() {
    refuseUnknownVariables();
    Report& r = report();
    r.stateFile = variable("VORN_ONU_STATE");
    r.traceFile = variable("VORN_ONU_TRACE");
    if (r.stateFile.empty() && r.traceFile.empty()) return;
    if (!r.traceFile.empty())
        r.trace = real::open(r.traceFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    pthread_atfork(nullptr, nullptr, afterForkInChild);
    VirtualOnu::instance().onTrace(traced);
    // A program that knows nothing of this clock counts on its waits: without them a polling daemon would spin.
    VirtualOnu::instance().sleepForReal(true);
}

__attribute__((destructor)) void end() {
    Report& r = report();
    if (r.stateFile.empty() || !r.touched) return;
    {
        const std::lock_guard<std::mutex> lock(r.mutex);
        r.ended = true;
    }
    r.changed.notify_all();
    writeState();
}

}  // namespace

}  // namespace virtual_onu
