// Whose the state file is: of processes that want it at once, however long one of them is held up between two system
// calls, and of a daemon that has closed every descriptor.
#include <fcntl.h>
#include <poll.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "kit/StateEntries.h"
#include "src/restart/Files.h"
#include "state/Journal.h"
#include "support/Emulated.h"

namespace restart_tests {
namespace {

using state::Journal;

constexpr const char* kBootOfOwners = "11111111-2222-3333-4444-555555555555";

// A process that does something, says how it went and lives on with what it holds.
class Process {
public:
    explicit Process(const std::function<bool()>& work, bool traced = false) {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        pid_ = fork();
        if (pid_ == 0) {
            if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(1);
            if (traced) {
                ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
                raise(SIGSTOP);
            }
            const char answer = work() ? 'y' : 'n';
            if (::write(ends[1], &answer, 1) != 1) _exit(1);
            for (;;) pause();
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

class Owner : public ::testing::Test {
protected:
    std::string path() const { return folder_.path("hal.state"); }

    bool open(Journal& journal) const {
        std::string problem;
        return journal.open(path(), kBootOfOwners, &problem);
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
        return target.find(folder_.path()) == 0;
    }
    void prepare(bool exists) {
        for (const auto& entry : fs::directory_iterator(folder_.path())) fs::remove(entry.path());
        if (!exists) return;
        Journal journal;
        ASSERT_TRUE(open(journal));
        put(journal, "br3");
    }

    // Holds a process up behind so many halves of system calls, each number once.
    static void atEachCall(const std::function<bool()>& work, const std::function<void(Process&)>& meanwhile,
                           const std::function<void()>& before) {
        for (unsigned held = 1;; ++held) {
            SCOPED_TRACE(held);
            before();
            Process process(work, true);
            for (unsigned i = 0; i < held; ++i)
                if (!process.step()) return;
            meanwhile(process);
            if (HasFailure()) return;
        }
    }

    Folder folder_;
};

// ---- two at once ----

TEST_F(Owner, OneOfTwoGetsTheFileHoweverLongTheOtherIsHeldUp) {
    SKIP_WHEN_EMULATED("the emulator has no ptrace");
    for (const bool exists : {false, true}) {
        SCOPED_TRACE(exists ? "a file that is there" : "a new file");
        atEachCall(
            opening(),
            [&](Process& held) {
                Process other(opening());
                const bool otherHasIt = other.answer();
                held.goOn();
                EXPECT_NE(held.answer(), otherHasIt);
                other.kill();
                held.kill();
                EXPECT_EQ(entries(), exists ? 1U : 0U);
            },
            [&] { prepare(exists); });
    }
}

TEST_F(Owner, NobodyGetsAFileThatIsBeingMadeSmallerNorFallsForTheOldOne) {
    SKIP_WHEN_EMULATED("the emulator has no ptrace");
    const auto compacting = [this] {
        auto& journal = *new Journal;
        if (!open(journal)) return false;
        put(journal, "br4");
        journal.compact();
        return journal.isKept();
    };
    bool opened = false;
    atEachCall(
        compacting,
        [&](Process& held) {
            Process other(opening());
            const bool otherHasIt = other.answer();
            held.goOn();
            EXPECT_NE(held.answer(), otherHasIt);
            opened = opened || otherHasIt;
            other.kill();
            held.kill();
            EXPECT_EQ(entries(), otherHasIt ? 1U : 2U);
        },
        [&] { prepare(true); });
    EXPECT_TRUE(opened) << "before the first one has opened it";
    // The other way round: one is held up while it opens, and another one replaces the file meanwhile.
    atEachCall(
        opening(),
        [&](Process& held) {
            Process other(compacting);
            const bool otherHasIt = other.answer();
            held.goOn();
            EXPECT_NE(held.answer(), otherHasIt);
        },
        [&] { prepare(true); });
}

// ---- killed at each system call ----

TEST_F(Owner, KilledAnywhereItLeavesTheStateBeforeOrAfter) {
    SKIP_WHEN_EMULATED("the emulator has no ptrace");
    const auto working = [this] {
        Journal journal;
        if (!open(journal)) return false;
        put(journal, "br4");
        journal.compact();
        put(journal, "br5");
        return true;
    };
    std::size_t last = 1;
    atEachCall(
        working,
        [&](Process& held) {
            held.kill();
            const std::size_t found = entries();
            EXPECT_GE(found, last) << "what was committed once is there";
            EXPECT_LE(found, last + 1);
            last = found;
        },
        [&] { prepare(true); });
    EXPECT_EQ(last, 3U);
}

// ---- somebody else's hands ----

TEST_F(Owner, ADescriptorThatTheDaemonHasTakenOverIsLeftAlone) {
    for (const bool logFile : {true, false}) {
        SCOPED_TRACE(logFile ? "a log in its place" : "pipes in its place");
        prepare(false);
        const std::string log = folder_.path("daemon.log");
        Process daemon([&] {
            Journal journal;
            if (!open(journal)) return false;
            put(journal, "br3");
            // Detaches: closes all and opens its own, which get the numbers.
            for (int fd = 3; fd < 64; ++fd)
                if (isOfFolder(fd)) close(fd);
            std::vector<int> own;
            for (int i = 0; i < 8; ++i) {
                int ends[2] = {-1, -1};
                if (logFile) {
                    own.push_back(::open(log.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
                } else if (pipe2(ends, O_CLOEXEC) == 0) {
                    own.insert(own.end(), {ends[0], ends[1]});
                }
            }
            put(journal, "br4");
            journal.compact();
            put(journal, "br5");
            for (const int fd : own)
                if (fcntl(fd, F_GETFD) < 0) return false;
            return journal.isKept();
        });
        EXPECT_TRUE(daemon.answer());
        daemon.kill();
        EXPECT_EQ(read(log), "");
        EXPECT_EQ(entries(), 3U);
    }
}

TEST_F(Owner, AFileThatWasMovedOrReplacedIsGivenUpAndTheOtherOneIsLeftAlone) {
    struct Case {
        const char* what;
        std::function<void()> change;
        bool elsewhere;
    };
    const Case cases[] = {
        {"removed", [&] { fs::remove(path()); }, false},
        {"moved", [&] { fs::rename(path(), path() + ".old"); }, false},
        {"replaced", [&] { write(path() + ".other", "not ours"), fs::rename(path() + ".other", path()); }, true},
    };
    for (const Case& one : cases)
        for (const bool compacts : {false, true}) {
            SCOPED_TRACE(one.what);
            prepare(false);
            static std::string told;
            told.clear();
            {
                Journal journal;
                ASSERT_TRUE(open(journal));
                journal.setTell([](const std::string& what) { told += what; });
                put(journal, "br3");
                one.change();
                compacts ? static_cast<void>(journal.compact()) : put(journal, "br4");
                EXPECT_FALSE(journal.isKept());
                EXPECT_NE(told.find("no longer in its place"), std::string::npos) << told;
            }
            EXPECT_EQ(fs::exists(path()), one.elsewhere);
            EXPECT_EQ(one.elsewhere ? read(path()) : "not ours", "not ours");
        }
}

}  // namespace
}  // namespace restart_tests
