#include "running/program/Supervisor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <set>

#include "running/io/AwaitedSignals.h"
#include "running/io/Pause.h"

namespace vorn_onu {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kMeanwhile{100};
constexpr milliseconds kLook{20};       // how often it is looked whether processes are still there
constexpr milliseconds kRest{200};      // a pipeline's other ends, say, end just after the program
constexpr milliseconds kGrace{2000};    // for what is left of a program that was asked to end
constexpr milliseconds kKilling{5000};  // a process in the middle of a disk access can take its time
constexpr milliseconds kSaving{5000};   // a stopped process takes this long
constexpr long kSameRequestNs = 300000000;

bool isFromTerminal(const siginfo_t& signal) {
    return signal.si_code == SI_KERNEL;
}

long nanosecondsSince(const timespec& before) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec - before.tv_sec > 1) return 2 * kSameRequestNs;
    return (now.tv_sec - before.tv_sec) * 1000000000L + now.tv_nsec - before.tv_nsec;
}

timespec timeOf(milliseconds length) {
    return {static_cast<time_t>(length.count() / 1000), static_cast<long>(length.count() % 1000 * 1000000)};
}

}  // namespace

Supervisor::Supervisor() {
    adoptOrphans();
    std::signal(SIGCHLD, SIG_DFL);
    awaited_ = blockSignals({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGCHLD}, &before_);
}

void Supervisor::reap() {
    int status = 0;
    for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (ended == program_) code_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    // Somebody else's doing: there is nothing to wait for any more. One that ends just now is left for the next time.
    siginfo_t ignored{};
    const auto program = static_cast<id_t>(program_);
    if (!code_ && waitid(P_PID, program, &ignored, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD) code_ = 0;
}

// One that never rests always has changes. The write that runs now may lack the last ones; the next one has them.
void Supervisor::waitForState() const {
    const auto end = Clock::now() + kSaving;
    const auto before = unwritten_();
    const auto lacksSome = [&before](const auto& now) {
        const auto then = before.find(now.first);
        return then != before.end() && now.second - then->second < 2;
    };
    for (auto now = before; std::any_of(now.begin(), now.end(), lacksSome) && Clock::now() < end; now = unwritten_())
        pause(kLook);
}

// The terminal tells every process of the tool's own group by itself.
void Supervisor::passOn(const siginfo_t& signal) const {
    waitForState();
    std::set<pid_t> groups;
    for (const Process& one : processesBelow()) {
        if (one.group != getpgrp())
            groups.insert(one.group);
        else if (!isFromTerminal(signal))
            kill(one.id, signal.si_signo);
    }
    for (const pid_t group : groups) kill(-group, signal.si_signo);
}

// New processes can come while the others are killed.
void Supervisor::killAll() {
    const auto end = Clock::now() + kKilling;
    for (auto below = processesBelow(); !below.empty() && Clock::now() < end; below = processesBelow()) {
        for (const Process& one : below) kill(one.id, SIGKILL);
        pause(kLook);
        reap();
    }
    reap();
}

void Supervisor::take(const siginfo_t& signal) {
    if (signal.si_signo == SIGCHLD) return;
    if (signal.si_signo == SIGPIPE) {  // whoever read the trace has gone
        siginfo_t end{};
        end.si_signo = SIGTERM;
        asked_ = true;
        return passOn(end);
    }
    // Some senders signal a process and its group, which comes here as twice the same.
    const bool again = !isFromTerminal(signal) && signal.si_signo == last_.si_signo && signal.si_pid == last_.si_pid &&
                       nanosecondsSince(lastTime_) < kSameRequestNs;
    last_ = signal;
    if (!again) {
        asked_ = true;
        if ((signal.si_signo == SIGINT || signal.si_signo == SIGQUIT) && ++fromKeyboard_ > 1)
            killAll();
        else
            passOn(signal);
    }
    clock_gettime(CLOCK_MONOTONIC, &lastTime_);  // passing it on can take longer than the next one needs to come
}

std::vector<Process> Supervisor::leftInBackground() {
    const auto end = Clock::now() + kRest;
    auto left = processesBelow();
    while (!left.empty() && Clock::now() < end) {
        pause(kLook);
        reap();
        left = processesBelow();
    }
    return left;
}

Ending Supervisor::waitFor(pid_t program, const Unwritten& unwritten, const std::function<void()>& meanwhile) {
    program_ = program;
    unwritten_ = unwritten;
    std::optional<Clock::time_point> patience;
    while (true) {
        reap();
        if (meanwhile) meanwhile();
        if (code_ && !asked_ && !all_) return {*code_, leftInBackground()};
        if (code_ && !asked_ && processesBelow().empty()) return {*code_, {}};
        if (code_ && asked_) {
            if (processesBelow().empty()) return {*code_, {}};
            if (!patience) patience = Clock::now() + kGrace;
            if (Clock::now() > *patience) killAll();
        }
        siginfo_t signal{};
        const timespec length = timeOf(code_ && asked_ ? kLook : kMeanwhile);
        const int got =
            code_ || meanwhile ? sigtimedwait(&awaited_, &signal, &length) : sigwaitinfo(&awaited_, &signal);
        if (got > 0) take(signal);
    }
}

}  // namespace vorn_onu
