// A program on a terminal of its own, or in the background, and what it prints. It waits for what is to happen; a
// minute is the end of all patience.
#ifndef TESTS_TERMINAL_H
#define TESTS_TERMINAL_H

#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// False when it does not become true within a minute.
inline bool comesTrue(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

inline bool isGone(pid_t process) {
    return kill(process, 0) != 0 && errno == ESRCH;
}

class TerminalSession {
public:
    // size: of the window; otherwise one of no size.
    explicit TerminalSession(std::vector<std::string> words, const winsize& size = {}) {
        std::vector<char*> arguments;
        for (auto& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        process_ = forkpty(&terminal_, nullptr, nullptr, size.ws_col != 0 ? &size : nullptr);
        if (process_ == 0) {
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        reader_ = std::thread([this] { readAll(); });
    }
    ~TerminalSession() {
        if (code_ < 0) kill(process_, SIGKILL);
        exitCode();
        close(terminal_);
    }
    TerminalSession(const TerminalSession&) = delete;
    TerminalSession& operator=(const TerminalSession&) = delete;

    pid_t process() const { return process_; }
    bool shows(const std::string& text) {
        return comesTrue([&] { return output().find(text) != std::string::npos; });
    }
    void type(char key) const {
        if (write(terminal_, &key, 1) != 1) kill(process_, SIGKILL);
    }
    void resize(const winsize& size) const { ioctl(terminal_, TIOCSWINSZ, &size); }
    bool hasEnded() {
        siginfo_t info{};
        return code_ >= 0 || (waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                              info.si_pid == process_);
    }
    int exitCode() {
        if (code_ >= 0) return code_;
        if (!comesTrue([this] { return hasEnded(); })) kill(process_, SIGKILL);
        int status = 0;
        waitpid(process_, &status, 0);
        code_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        reader_.join();
        return code_;
    }
    std::string output() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return output_;
    }
    // The number behind a word in the output.
    pid_t numberBehind(const std::string& word) {
        const std::string text = output();
        const auto found = text.find(word);
        return found == std::string::npos ? 0 : std::stoi(text.substr(found + word.size()));
    }

private:
    // Until the last process that has the terminal is gone.
    void readAll() {
        char buffer[4096];
        for (ssize_t count = 0; (count = read(terminal_, buffer, sizeof buffer)) > 0;) {
            const std::lock_guard<std::mutex> lock(mutex_);
            output_.append(buffer, static_cast<std::size_t>(count));
        }
    }

    pid_t process_ = 0;
    int terminal_ = -1;
    int code_ = -1;
    std::thread reader_;
    std::mutex mutex_;
    std::string output_;
};

#endif
