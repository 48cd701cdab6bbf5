// The state file and forked processes, and what is said and believed of a file that is lost.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "VirtualOnu.h"
#include "src/restart/Owning.h"

namespace restart_tests {
namespace {

class Loss : public OwningFixture {
protected:
    // Forked processes wait for each other, and these waits have to last.
    void SetUp() override { virtual_onu::VirtualOnu::instance().sleepForReal(true); }
    void TearDown() override { virtual_onu::VirtualOnu::instance().sleepForReal(false); }
    bool isFree() const {
        Process other(opening());
        return other.answer();
    }
    // The daemon has closed the descriptors, and the file is not to be found: nothing can be written or removed.
    // False when it has left a descriptor open.
    bool putWithoutPlace(Journal& journal, const char* device) const {
        const fs::path place = fs::path(folder_.file("")).parent_path();
        const fs::path aside = place.string() + "-aside";
        closeAll();
        fs::rename(place, aside);
        const int free = ::dup(STDIN_FILENO);
        close(free);
        put(journal, device);
        fs::rename(aside, place);
        return ::dup(STDIN_FILENO) == free;
    }
    static std::string& reported() {
        static std::string& all = *new std::string;
        return all;
    }
    static void listen(Journal& journal) {
        reported().clear();
        journal.setReporter([](const std::string& what) { reported() += what; });
    }
};

// ---- forked processes ----

TEST_F(Loss, AForkedProcessNeitherKeepsTheFileNorGivesItUp) {
    prepare(true);
    int childs[2] = {-1, -1};
    ASSERT_EQ(pipe2(childs, O_CLOEXEC), 0);
    const auto forking = [&](const std::function<void()>& inChild) {
        return [&, inChild] {
            auto& journal = *new Journal;
            if (!open(journal)) return false;
            const pid_t child = fork();
            if (child == 0) {
                inChild();
                for (;;) pause();
            }
            return ::write(childs[1], &child, sizeof child) == sizeof child;
        };
    };
    const auto childOfDaemon = [&] {
        pid_t child = -1;
        EXPECT_EQ(::read(childs[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
        return child;
    };
    {
        Process daemon(forking([] {}));
        ASSERT_TRUE(daemon.answer());
        EXPECT_FALSE(isFree());
        daemon.kill();
        EXPECT_TRUE(isFree()) << "the forked process lives on";
        ::kill(childOfDaemon(), SIGKILL);
    }
    {
        Process daemon(forking([&] {
            closeAll();
            _exit(0);
        }));
        ASSERT_TRUE(daemon.answer());
        const int child = static_cast<int>(syscall(SYS_pidfd_open, childOfDaemon(), 0));
        pollfd ended = {child, POLLIN, 0};
        ASSERT_EQ(poll(&ended, 1, -1), 1);
        close(child);
        EXPECT_FALSE(isFree()) << "the forked process has closed and ended";
    }
    close(childs[0]);
    close(childs[1]);
}

TEST_F(Loss, AForkedProcessWritesOnlyWhenTheOneBeforeItHasEnded) {
    for (const bool detaches : {true, false}) {
        SCOPED_TRACE(detaches ? "a daemon that detaches" : "a forked process beside its daemon");
        prepare(true);
        Process daemon([&] {
            auto& journal = *new Journal;
            if (!open(journal)) return false;
            const pid_t before = detaches ? fork() : 0;
            if (before > 0) {
                usleep(50'000);  // long enough for the other one to find the file still held
                _exit(0);        // its parent waits for the answer, which the other one gives
            }
            const pid_t worker = detaches ? 0 : fork();
            put(journal, worker == 0 ? "br4" : "br5");
            if (detaches) return journal.isKept();
            if (worker == 0) _exit(journal.isKept() ? 1 : 0);
            int status = -1;
            waitpid(worker, &status, 0);
            put(journal, "br6");
            return journal.isKept() && status == 0;
        });
        EXPECT_TRUE(daemon.answer());
        daemon.kill();
        if (detaches) {
            EXPECT_FALSE(isFree()) << "the forked process has it now";
            EXPECT_NE(contentOf(path()).find("br4"), std::string::npos);
        } else {
            EXPECT_EQ(contentOf(path()).find("br4"), std::string::npos);
            EXPECT_EQ(entries(), 3U) << "br3, br5, br6";
        }
    }
}

// ---- not believed ----

TEST_F(Loss, AFileThatCouldNeitherBeWrittenNorTakenAwayIsNotBelieved) {
    for (const bool compacts : {false, true}) {
        SCOPED_TRACE(compacts);
        prepare(true);
        Process daemon([&] {
            Journal journal;
            if (!open(journal)) return false;
            if (compacts) journal.compact();
            return putWithoutPlace(journal, "br4") && !journal.isKept();
        });
        EXPECT_TRUE(daemon.answer());
        daemon.kill();
        EXPECT_TRUE(fs::exists(path()));
        EXPECT_EQ(entries(), 0U) << "br3 alone is not what the device has";
        Journal journal;
        ASSERT_TRUE(open(journal));
        put(journal, "br5");
        journal = Journal();
        EXPECT_EQ(entries(), 1U) << "and it is a file as any other";
    }
}

TEST_F(Loss, AFileThatSomebodyHasMadeShorterEndsNobody) {
    prepare(true);
    Process daemon([&] {
        Journal journal;
        if (!open(journal)) return false;
        fs::resize_file(path(), 0);
        return putWithoutPlace(journal, "br4") && !journal.isKept();
    });
    EXPECT_TRUE(daemon.answer());
}

// ---- what is said ----

TEST_F(Loss, AFileThatCannotBeMadeNamesItsOwnReason) {
    struct Case {
        const char* reason;
        __rlimit_resource limited;
    };
    for (const Case& one : {Case{"File too large", RLIMIT_FSIZE}, Case{"Too many open files", RLIMIT_NOFILE}}) {
        SCOPED_TRACE(one.reason);
        prepare(false);
        Process daemon([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit none{0, 0};
            Journal journal;
            std::string problem;
            setrlimit(one.limited, &none);
            return !open(journal, path(), &problem) && problem.find(one.reason) != std::string::npos;
        });
        EXPECT_TRUE(daemon.answer());
        EXPECT_FALSE(fs::exists(path()));
    }
    Journal journal;
    std::string problem;
    EXPECT_FALSE(open(journal, "/proc/hal.state", &problem));
    EXPECT_NE(problem.find("No such file"), std::string::npos) << problem;
}

TEST_F(Loss, AFileThatCannotBeMadeSmallerSaysSoAndEndsWhereNobodyCouldReadIt) {
    prepare(false);
    Journal journal;
    ASSERT_TRUE(open(journal));
    listen(journal);
    fs::create_directory(path() + ".new");
    const std::string value(60'000, 'r');
    unsigned kept = 0;
    for (; kept < 1000 && journal.isKept(); ++kept) {
        journal.begin();
        journal.put("key", value + std::to_string(kept));
        journal.end();
    }
    EXPECT_EQ(reported().find("cannot be made smaller (hal.state.new: File exists), and goes on growing"), 0U)
        << reported();
    EXPECT_NE(reported().find("cannot be written, and is given up"), std::string::npos);
    EXPECT_EQ(reported().find("cannot be made smaller", 1), std::string::npos) << "once";
    EXPECT_GT(kept, 130U);
    EXPECT_LT(kept, 150U) << "8 MiB are the most that is read";
    EXPECT_FALSE(fs::exists(path()));
}

}  // namespace
}  // namespace restart_tests
