// Whose the state file is: of processes that want it at once, however long one of them is held up between two system
// calls, and of a daemon that has closed every descriptor.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "src/restart/Owning.h"
#include "support/Emulated.h"

namespace restart_tests {
namespace {

class Owner : public OwningFixture {
protected:
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
    // Shared with the process: a sanitizer's own calls are not the same in each, so their number alone says nothing.
    void* const page = mmap(nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    auto& committed = *static_cast<volatile std::size_t*>(page);
    const auto working = [this, &committed] {
        Journal journal;
        if (!open(journal)) return false;
        put(journal, "br4");
        committed = 2;
        journal.compact();
        put(journal, "br5");
        committed = 3;
        return true;
    };
    std::size_t most = 0;
    atEachCall(
        working,
        [&](Process& held) {
            held.kill();
            const std::size_t found = entries();
            EXPECT_GE(found, committed) << "what was committed is there";
            EXPECT_LE(found, committed + 1);
            most = std::max(most, found);
        },
        [&] {
            prepare(true);
            committed = 1;
        });
    EXPECT_EQ(most, 3U);
    munmap(page, sizeof(std::size_t));
}

// ---- somebody else's hands ----

TEST_F(Owner, ADescriptorThatTheDaemonHasTakenOverIsLeftAlone) {
    for (const bool logFile : {true, false}) {
        SCOPED_TRACE(logFile ? "a log in its place" : "pipes in its place");
        prepare(false);
        const std::string log = folder_.file("daemon.log");
        Process daemon([&] {
            Journal journal;
            if (!open(journal)) return false;
            put(journal, "br3");
            // Detaches: closes all and opens its own, which get the numbers.
            closeAll();
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
        EXPECT_EQ(contentOf(log), "");
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
            static std::string reported;
            reported.clear();
            {
                Journal journal;
                ASSERT_TRUE(open(journal));
                journal.setReporter([](const std::string& what) { reported += what; });
                put(journal, "br3");
                one.change();
                compacts ? static_cast<void>(journal.compact()) : put(journal, "br4");
                EXPECT_FALSE(journal.isKept());
                EXPECT_NE(reported.find("no longer in its place"), std::string::npos) << reported;
            }
            EXPECT_EQ(fs::exists(path()), one.elsewhere);
            EXPECT_EQ(one.elsewhere ? contentOf(path()) : "not ours", "not ours");
        }
}

}  // namespace
}  // namespace restart_tests
