// Processes that want the state file at the same time.
#ifndef TESTS_RESTART_OWNING_H
#define TESTS_RESTART_OWNING_H

#include <fcntl.h>
#include <poll.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "kit/StateEntries.h"
#include "src/restart/Files.h"
#include "state/Journal.h"

namespace restart_tests {

using state::Journal;

// A process that does something, says how it went and lives on with what it holds.
class Process {
public:
    explicit Process(const std::function<bool()>& work, bool traced = false) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        pid_ = fork();
        if (pid_ == 0) {
            close(ends[0]);
            if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(1);
            if (traced) {
                ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
                raise(SIGSTOP);
            }
            const char answer = work() ? 'y' : 'n';
            if (::write(ends[1], &answer, 1) != 1) _exit(1);
            pollfd reader = {ends[1], 0, 0};
            poll(&reader, 1, -1);  // until nobody listens any more
            _exit(0);
        }
        close(ends[1]);
        answer_ = ends[0];
        if (traced) waitpid(pid_, nullptr, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        kill();
        close(answer_);
    }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    // Of a traced one: goes on to the beginning or the end of its next system call. False once it has answered.
    bool step() {
        int status = 0;
        ptrace(PTRACE_SYSCALL, pid_, nullptr, nullptr);
        waitpid(pid_, &status, 0);
        pollfd ready = {answer_, POLLIN, 0};
        return WIFSTOPPED(status) && poll(&ready, 1, 0) == 0;
    }
    void goOn() { ptrace(PTRACE_DETACH, pid_, nullptr, nullptr); }
    bool answer() {
        char answer = 'n';
        return ::read(answer_, &answer, 1) == 1 && answer == 'y';
    }

private:
    pid_t pid_ = -1;
    int answer_ = -1;
};

class OwningFixture : public ::testing::Test {
protected:
    std::string path() const { return folder_.file("hal.state"); }

    static bool open(Journal& journal, const std::string& path, std::string* problem) {
        return journal.open(path, "11111111-2222-3333-4444-555555555555", problem);
    }
    bool open(Journal& journal) const {
        std::string problem;
        return open(journal, path(), &problem);
    }
    // As a process that keeps it.
    std::function<bool()> opening() const {
        return [this] { return open(*new Journal); };
    }
    static void put(Journal& journal, const char* device) {
        journal.begin();
        journal.intend(stepOf(kit::Step::CreateBridge, device));
        journal.put(keyOf(kit::Entry::Devices, device), std::string(1, '\1'));
        journal.end();
    }
    std::size_t entries() const {
        Journal journal;
        EXPECT_TRUE(open(journal));
        return journal.entries().size();
    }
    bool isOfFolder(int fd) const {
        std::error_code error;
        const std::string target = fs::read_symlink("/proc/self/fd/" + std::to_string(fd), error).string() + "/";
        return target.find(folder_.file("")) == 0;
    }
    void prepare(bool exists) {
        for (const auto& entry : fs::directory_iterator(folder_.file(""))) fs::remove(entry.path());
        if (!exists) return;
        Journal journal;
        ASSERT_TRUE(open(journal));
        put(journal, "br3");
    }
    void closeAll() const {
        for (int fd = 3; fd < 64; ++fd)
            if (isOfFolder(fd)) close(fd);
    }

    const ScratchDirectory folder_;
};

}  // namespace restart_tests

#endif
