#include "libc/program/Snapshot.h"

#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include <nlohmann/json.hpp>

#include "SignalsBlocked.h"
#include "VirtualOnu.h"
#include "libc/program/Boards.h"
#include "libc/program/BriefFile.h"
#include "libc/program/OwnFile.h"
#include "libc/program/Program.h"
#include "libc/program/Unsaved.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::snapshot {

namespace {

using nlohmann::json;
using program::settings;

// A long trace takes long to write: the writer is idle for most of the time all the same, but not for longer than a
// signal may have to wait for it (the tool's Supervisor).
constexpr std::chrono::milliseconds kMinPause{50}, kMaxPause{1000};
constexpr int kPauseToWork = 5;

struct State {
    std::atomic<bool> touched{false};
    std::atomic<bool> dirty{false};
    std::atomic<bool> writerRuns{false};
    std::atomic<bool> complained{false};
    sem_t wake{};  // the writer's

    std::mutex writing;  // guards the rest; held by one writer at a time
    bool ended = false;
    boards::ProcessBoard own;
    std::size_t content = 0;  // what the board was when the revision was counted
    std::unique_ptr<SignalsBlocked> whileForking;
};

// Never destroyed: the writer may still look at it while the process ends.
State& state() {
    static State& one = *new State;
    return one;
}

// A number for what is on the board: without what merely tells of calls.
std::size_t contentOf(json all) {
    for (const char* key : {"trace", "calls", "clock"}) all.erase(key);
    all["files"].erase("openDescriptors");
    all["shell"].erase("commands");
    return std::hash<std::string>()(all.dump(-1, ' ', false, json::error_handler_t::replace));
}

void countRevision(const json& all) {
    const std::size_t content = contentOf(all);
    if (content == state().content) return;
    state().content = content;
    ++state().own.revision;
}

// Where the state is written before it becomes the snapshot. What is no plain file, such as a terminal, stays what it
// is.
std::string besideFile() {
    struct stat found {};
    const std::string& path = settings().snapshotFile;
    const bool special = real::stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
    return special ? path : path + ".new-" + std::to_string(getpid());
}

bool prepare(const std::string& beside, const json& all) {
    if (BriefFile(beside, O_WRONLY | O_CREAT | O_TRUNC)
            .write(all.dump(1, ' ', false, json::error_handler_t::replace) + "\n"))
        return true;
    const int error = errno;
    if (beside != settings().snapshotFile) real::unlink(beside.c_str());
    errno = error;
    return false;
}

// Readers see the old state or the new one, never half of it.
bool place(const std::string& beside) {
    return beside == settings().snapshotFile || real::rename(beside.c_str(), settings().snapshotFile.c_str()) == 0;
}

// Called with the lock held.
void writeState() {
    State& s = state();
    s.dirty = false;
    const json all = VirtualOnu::instance().toJson();
    countRevision(all);
    const std::string beside = besideFile();
    const bool shown = boards::show(
        s.own, [&] { return prepare(beside, all); }, [&] { return place(beside); });
    const int error = errno;
    // Where a change has come meanwhile the mark stays: whoever looks would take this state for the last one.
    if (!s.dirty) unsaved::clear();
    if (s.dirty) unsaved::mark();
    unsaved::written();
    if (shown || s.complained.exchange(true)) return;
    program::say("the device's state can no longer be written to " + settings().snapshotFile + ": " +
                 std::strerror(error) +
                 (error == EACCES || error == EPERM ? " (has the program changed its user?)"
                                                    : " (has the program changed its root directory?)"));
}

// Of this thread; on a busy machine the time that passes says little about the work.
std::chrono::nanoseconds ownProcessorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// A daemon is ended by a signal more often than it ends by itself, so the state is written while it runs.
void* writer(void* /*unused*/) {
    while (true) {
        State& s = state();
        while (sem_wait(&s.wake) != 0) {
        }
        const auto start = ownProcessorTime();
        {
            // At its end the process could be gone in the middle of it.
            const std::lock_guard<std::mutex> lock(s.writing);
            if (s.dirty && !s.ended) writeState();
        }
        const auto pause =
            std::clamp<std::chrono::nanoseconds>((ownProcessorTime() - start) * kPauseToWork, kMinPause, kMaxPause);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(pause);
        const timespec length{static_cast<time_t>(seconds.count()), static_cast<long>((pause - seconds).count())};
        real::nanosleep(&length, nullptr);
    }
}

// The program's signals are not for this thread.
void startWriter() {
    const SignalsBlocked blocked;
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, writer, nullptr) == 0)
        pthread_detach(thread);
    else
        state().writerRuns = false;
}

// The child is to know how far its copy of the board is. No handler runs on this thread until the fork is over: it
// could end the program, which writes the state once more.
void beforeFork() {
    auto blocked = std::make_unique<SignalsBlocked>();
    State& s = state();
    s.writing.lock();
    s.whileForking = std::move(blocked);
    if (s.dirty) countRevision(VirtualOnu::instance().toJson());
}

void afterForkInParent() {
    const auto blocked = std::move(state().whileForking);
    state().writing.unlock();
}

// A forked child has no writer thread.
void afterForkInChild() {
    State& s = state();
    const auto blocked = std::move(s.whileForking);
    new (&s.writing) std::mutex;
    sem_init(&s.wake, 0, 0);
    s.touched = s.dirty = s.writerRuns = false;
    s.own.ancestors.push_back({s.own.process, s.own.revision});
    s.own.process = getpid();
    s.own.begun = s.own.revision;
}

}  // namespace

void begin() {
    if (settings().snapshotFile.empty()) return;
    unsaved::begin();
    State& s = state();
    sem_init(&s.wake, 0, 0);
    s.own.process = getpid();
    s.own.program = program_invocation_short_name;
    // A new board. One that is kept in a file is not read before the program comes to it.
    if (settings().boardFile.empty()) s.content = contentOf(VirtualOnu::instance().toJson());
    pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
}

void touched() {
    State& s = state();
    if (settings().snapshotFile.empty()) return;
    s.touched = true;
    if (!s.writerRuns.exchange(true)) startWriter();
    if (s.dirty.exchange(true)) return;
    unsaved::mark();
    sem_post(&s.wake);
}

void end() {
    State& s = state();
    if (settings().snapshotFile.empty() || !s.touched) return;
    const SignalsBlocked blocked;
    const std::lock_guard<std::mutex> lock(s.writing);
    s.ended = true;
    writeState();
}

}  // namespace virtual_onu::snapshot
