// Other processes: how they have ended, and programs that run beside the test.
#ifndef TESTS_PROCESS_H
#define TESTS_PROCESS_H

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "support/Wait.h"
#include "tools/vorn-onu/RunProgram.h"

// Gone, or ended and not yet waited for: where nobody adopts orphans, they stay like that.
inline bool isGone(pid_t process) {
    if (kill(process, 0) != 0 && errno == ESRCH) return true;
    const std::string status = contentOf("/proc/" + std::to_string(process) + "/stat");
    return status.empty() || has(status, ") Z ") || has(status, ") X ");
}

// A child that can still be waited for has ended.
inline bool hasEnded(pid_t child) {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == child;
}

// The exit code, 128 and the signal's number when a signal ended it. A child that hangs is killed.
inline int exitCodeOf(pid_t child) {
    if (!becomesTrue([&] { return hasEnded(child); })) kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// Does the work in a process of its own: its exit code is what the work answers, or as above.
inline int inChild(const std::function<int()>& work) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) _exit(work());
    return exitCodeOf(child);
}

// Ends with the object, and with the test.
class BackgroundProgram {
public:
    // outputFile: gets standard output and standard error.
    BackgroundProgram(std::vector<std::string> words, std::string outputFile) : outputFile_(std::move(outputFile)) {
        std::vector<char*> arguments;
        for (auto& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        const int file = open(outputFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            dup2(file, STDOUT_FILENO);
            dup2(file, STDERR_FILENO);
            execvp(arguments[0], arguments.data());
            _exit(127);
        }
        close(file);
    }
    ~BackgroundProgram() { end(); }
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;

    pid_t process() const { return process_; }
    std::string output() const { return contentOf(outputFile_); }
    // False when it ends, or hangs, without it.
    bool prints(const std::string& text) {
        becomesTrue([&] { return has(output(), text) || hasEnded(); });
        return has(output(), text);
    }
    bool hasEnded() const { return code_ >= 0 || ::hasEnded(process_); }
    void signal(int number) const {
        if (code_ < 0) kill(process_, number);
    }
    int exitCode() { return code_ >= 0 ? code_ : code_ = exitCodeOf(process_); }
    int end(int number = SIGTERM) {
        signal(number);
        return exitCode();
    }

private:
    std::string outputFile_;
    pid_t process_ = -1;
    int code_ = -1;
};

#endif
