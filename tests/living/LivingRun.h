// The tool in the background with a board that can be reached, below a runtime directory of the test's own.
#ifndef TESTS_LIVING_RUN_H
#define TESTS_LIVING_RUN_H

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "living/BoardClient.h"
#include "program/Terminal.h"
#include "tool/RunProgram.h"

class RuntimeDirectory {
public:
    RuntimeDirectory() { setenv("XDG_RUNTIME_DIR", path().c_str(), 1); }
    std::string path() const { return scratch_.file("").substr(0, scratch_.file("").size() - 1); }
    std::string socket(const std::string& name) const { return path() + "/vorn-onu/" + name + ".sock"; }

private:
    ScratchDirectory scratch_;
};

class LivingRun {
public:
    LivingRun(std::vector<std::string> words, const std::string& output) : output_(output) {
        std::vector<char*> arguments;
        for (auto& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        process_ = fork();
        if (process_ != 0) return;
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    ~LivingRun() {
        if (code_ < 0) kill(process_, SIGTERM);
        exitCode();
    }
    LivingRun(const LivingRun&) = delete;
    LivingRun& operator=(const LivingRun&) = delete;

    pid_t process() const { return process_; }
    void tell(int signal) const { kill(process_, signal); }
    std::string output() const { return contentOf(output_); }
    int exitCode() {
        if (code_ >= 0) return code_;
        siginfo_t info{};
        const auto ended = [&] {
            return waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                   info.si_pid == process_;
        };
        if (!comesTrue(ended)) kill(process_, SIGKILL);
        int status = 0;
        waitpid(process_, &status, 0);
        return code_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    // Its board answers a step.
    static bool isThere(const std::string& socket) {
        return comesTrue([&] {
            BoardClient client(socket);
            const auto reply = client.connected() ? client.ask({{"do", "counters"}}) : nlohmann::json();
            return reply.is_object() && reply.value("ok", false);
        });
    }

private:
    std::string output_;
    pid_t process_ = 0;
    int code_ = -1;
};

#endif
