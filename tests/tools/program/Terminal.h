// A program on a terminal of its own, and what it prints.
#ifndef TESTS_TERMINAL_H
#define TESTS_TERMINAL_H

#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/Process.h"

class TerminalSession {
public:
    // size: of the window; otherwise one of no size.
    explicit TerminalSession(std::vector<std::string> words, const winsize& size = {}) {
        std::vector<char*> arguments;
        for (auto& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        process_ = forkpty(&terminal_, nullptr, nullptr, size.ws_col != 0 ? &size : nullptr);
        if (process_ == 0) {
            // As a shell at a terminal would; who runs the tests in the background may ignore them.
            for (const int signal : {SIGHUP, SIGINT, SIGQUIT}) std::signal(signal, SIG_DFL);
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
    // False when the terminal's last process ends, or hangs, without it.
    bool shows(const std::string& text) {
        becomesTrue([&] { return has(output(), text) || closed_; });
        return has(output(), text);
    }
    void type(char key) const {
        if (write(terminal_, &key, 1) != 1) kill(process_, SIGKILL);
    }
    void resize(const winsize& size) const { ioctl(terminal_, TIOCSWINSZ, &size); }
    bool hasEnded() const { return code_ >= 0 || ::hasEnded(process_); }
    int exitCode() {
        if (code_ >= 0) return code_;
        code_ = exitCodeOf(process_);
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
        closed_ = true;
    }

    pid_t process_ = 0;
    int terminal_ = -1;
    int code_ = -1;
    std::atomic<bool> closed_{false};
    std::thread reader_;
    std::mutex mutex_;
    std::string output_;
};

#endif
