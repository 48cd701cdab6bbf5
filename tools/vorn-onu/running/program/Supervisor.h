// Waits for a program and passes on to it the signals that the tool gets.
#ifndef VORN_ONU_SUPERVISOR_H
#define VORN_ONU_SUPERVISOR_H

#include <sys/types.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "running/program/ProcessTree.h"

namespace vorn_onu {

struct Ending {
    int code = 0;               // the program's exit code; 128 and the signal's number when a signal ended it
    std::vector<Process> left;  // processes that go on in the background, the program's first child first
};

// SIGINT, SIGTERM, SIGHUP and SIGQUIT (SIGTERM when nobody reads standard output any more) go to every process below
// this one, and to the groups that these have made. A second SIGINT or SIGQUIT kills them all. Once it has been asked
// to end and the program has ended, what is left of it gets two seconds and is then killed; a program that ends by
// itself may leave processes in the background.
class Supervisor {
public:
    // Before the program is started: from here on signals wait, and orphans come to this process.
    Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    const sigset_t& before() const { return before_; }  // the signals that were blocked until then
    // Whether the end is that of the program and everything that it has put into the background.
    void waitForAll(bool all) { all_ = all; }
    // The processes whose state is not written, with the number of their writes so far.
    using Unwritten = std::function<std::map<pid_t, std::uint32_t>()>;
    // Until the program has ended. meanwhile() is called every tenth of a second, if there is one. A signal may end the
    // program: before it is passed on, each process gets time, up to some seconds, to write the state that it has by
    // then.
    Ending waitFor(pid_t program, const Unwritten& unwritten, const std::function<void()>& meanwhile);

private:
    void reap();
    void take(const siginfo_t& signal);
    void passOn(const siginfo_t& signal) const;
    void waitForState() const;
    void killAll();
    std::vector<Process> leftInBackground();

    Unwritten unwritten_;
    sigset_t before_;
    sigset_t awaited_;
    pid_t program_ = 0;
    std::optional<int> code_;
    bool all_ = false;
    bool asked_ = false;    // to end
    int fromKeyboard_ = 0;  // how often
    siginfo_t last_{};      // the signal before this one, and when it came
    timespec lastTime_{};
};

}  // namespace vorn_onu

#endif
