// The state file by itself: what is read of one that was cut, changed, or lies in a place that is not safe.
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <functional>

#include "kit/StateEntries.h"
#include "src/restart/Files.h"
#include "state/Checksum.h"
#include "state/Journal.h"

namespace restart_tests {
namespace {

using state::Journal;

constexpr const char* kBoot = "11111111-2222-3333-4444-555555555555";

class JournalTest : public ::testing::Test {
protected:
    std::string path() const { return folder_.file("hal.state"); }

    // A file with entries that come, grow and go, and an operation that did not end.
    std::string sample() {
        Journal journal;
        EXPECT_TRUE(journal.open(path(), kBoot, &problem_)) << problem_;
        const auto operation = [&](const auto& work) {
            journal.begin();
            work();
            journal.end();
        };
        operation([&] {
            journal.intend(stepOf(kit::Step::CreateBridge, "br3"));
            journal.put(keyOf(kit::Entry::Devices, "br3"), "");
            journal.put(keyOf(kit::Entry::Members, "sid0.3"), "br3");
        });
        operation([&] { journal.put(keyOf(kit::Entry::Members, "sid0.3"), "br3 and more"); });
        operation([&] {
            journal.erase(keyOf(kit::Entry::Members, "sid0.3"));
            journal.put(keyOf(kit::Entry::GemUp, std::uint16_t{1001}), std::string(1, '\1'));
        });
        journal.begin();
        journal.intend(stepOf(kit::Step::CreateDevice, "sid0.4"));
        journal.result(7);
        journal.intend(stepOf(kit::Step::FreeRules, "sid0", std::uint16_t{1}));
        return contentOf(path());
    }

    // What another process would find.
    struct Found {
        bool opened;
        Journal::Entries entries;
        std::size_t unfinished;
        std::string problem;
    };
    Found open(const std::string& boot = kBoot) {
        Journal journal;
        std::string problem;
        const bool opened = journal.open(path(), boot, &problem);
        return {opened, journal.entries(), journal.unfinished().size(), problem};
    }

    const ScratchDirectory folder_;
    std::string problem_;
};

TEST_F(JournalTest, WhatWasCommittedComesBackAndWhatWasBegunIsTold) {
    sample();
    const Found found = open();
    ASSERT_TRUE(found.opened) << found.problem;
    EXPECT_EQ(found.entries.size(), 2U);
    EXPECT_EQ(found.entries.count(keyOf(kit::Entry::Devices, "br3")), 1U);
    EXPECT_EQ(found.entries.count(keyOf(kit::Entry::Members, "sid0.3")), 0U);
    EXPECT_EQ(found.unfinished, 2U);
}

TEST_F(JournalTest, CutAnywhereItHoldsAnEarlierStateOrNone) {
    const std::string whole = sample();
    ASSERT_TRUE(open().opened);
    std::size_t most = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        write(path(), whole.substr(0, size));
        const Found found = open();
        EXPECT_TRUE(found.opened) << found.problem;
        EXPECT_LE(found.entries.size(), 2U);
        // The next process finds what this one found: the torn end is gone, and records follow whole ones.
        const Found again = open();
        EXPECT_EQ(again.opened, found.opened);
        EXPECT_EQ(again.entries, found.entries);
        EXPECT_EQ(again.unfinished, found.unfinished);
        most = std::max(most, found.entries.size());
    }
    EXPECT_EQ(most, 2U);
}

// Files of one version are read by every library of that version, so the sum is a known one: CRC-32 as Ethernet has it.
TEST(Checksum, IsThatOfEthernet) {
    EXPECT_EQ(state::checksum(""), 0U);
    EXPECT_EQ(state::checksum("123456789"), 0xCBF43926U);
    EXPECT_EQ(state::checksum("The quick brown fox jumps over the lazy dog"), 0x414FA339U);
    EXPECT_EQ(state::checksum(std::string(32, '\0')), 0x190A55ADU);
    EXPECT_EQ(state::checksum(std::string(32, '\xFF')), 0xFF6CAB0BU);
}

TEST_F(JournalTest, EveryChangedByteIsFound) {
    const std::string whole = sample();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            SCOPED_TRACE(std::to_string(at) + " by " + std::to_string(change));
            std::string changed = whole;
            changed[at] = static_cast<char>(changed[at] ^ change);
            write(path(), changed);
            const Found found = open();
            EXPECT_FALSE(found.opened);
            EXPECT_FALSE(found.problem.empty());
            EXPECT_EQ(contentOf(path()), changed) << "a file that is refused stays as it is";
        }
    }
}

TEST_F(JournalTest, AnotherBootAndAnotherVersionAreRefused) {
    const std::string whole = sample();
    EXPECT_NE(open("99999999-2222-3333-4444-555555555555").problem.find("another boot"), std::string::npos);
    std::string newer = whole;
    newer[8] = 3;  // with its checksum, a file of the next version
    const std::uint32_t sum = state::checksum(std::string_view(newer).substr(0, 60));
    for (int i = 0; i < 4; ++i) newer[60 + static_cast<std::size_t>(i)] = static_cast<char>(sum >> (8 * i));
    write(path(), newer);
    EXPECT_NE(open().problem.find("version 3"), std::string::npos);
}

TEST_F(JournalTest, TheFileIsForItsOwnerAlone) {
    for (int process = 0; process < 2; ++process) {
        Journal journal;
        ASSERT_TRUE(journal.open(path(), kBoot, &problem_)) << problem_;
        struct stat facts = {};
        ASSERT_EQ(stat(path().c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0600U);
        ASSERT_EQ(chmod(path().c_str(), 0644), 0);  // taken back by the next
    }
}

TEST_F(JournalTest, UnsafePlacesAreRefused) {
    const std::string other = folder_.file("other");
    const std::string shared = folder_.file("shared");
    write(other, "");
    fs::create_directory(shared);
    struct Case {
        const char* reason;
        std::function<void()> prepare;
        std::string path;
    };
    const Case cases[] = {
        {"is a link", [&] { fs::create_symlink(other, path()); }, path()},
        {"is a link", [&] { fs::create_symlink(folder_.file("nothing"), path()); }, path()},
        {"more than one name", [&] { fs::create_hard_link(other, path()); }, path()},
        {"no plain file", [&] { mkfifo(path().c_str(), 0600); }, path()},
        {"others can write it",
         [&] {
             write(path(), "");
             fs::permissions(path(), fs::perms(0620));
         },
         path()},
        {"others can write in this directory", [&] { fs::permissions(shared, fs::perms(0777)); }, shared + "/file"},
        {"others can write in this directory", [&] { fs::permissions(shared, fs::perms(0770)); }, shared + "/file"},
        {"others can write in this directory",
         [&] {
             fs::permissions(shared, fs::perms(0777));
             fs::create_directory(shared + "/below");
         },
         shared + "/below/file"},
        {"", [&] { fs::create_directory_symlink(shared, folder_.file("way")); }, folder_.file("way") + "/file"},
        {"", [] {}, folder_.file("missing") + "/file"},
        {"no name", [] {}, folder_.file("")},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.path + ": " + one.reason);
        fs::remove_all(path());
        fs::permissions(shared, fs::perms(0700));
        one.prepare();
        Journal journal;
        std::string problem;
        EXPECT_FALSE(journal.open(one.path, kBoot, &problem));
        EXPECT_FALSE(problem.empty());
        EXPECT_NE(problem.find(one.reason), std::string::npos) << problem;
        EXPECT_EQ(contentOf(other), "") << "written through";
        EXPECT_FALSE(fs::exists(folder_.file("nothing")));
        EXPECT_TRUE(fs::is_empty(shared) || fs::is_empty(shared + "/below"));
    }
    fs::permissions(shared, fs::perms(01777));
    Journal journal;
    EXPECT_TRUE(journal.open(shared + "/file", kBoot, &problem_)) << "a sticky directory is safe: " << problem_;
}

// A library that holds much already, and opens its file late, has it all in one commit.
TEST_F(JournalTest, ACommitMayBeLargerThanARecord) {
    {
        Journal journal;
        ASSERT_TRUE(journal.open(path(), kBoot, &problem_));
        journal.begin();
        for (std::uint16_t service = 0; service < 420; ++service)
            journal.put(keyOf(kit::Entry::Rules, "gpon", service), std::string(2688, 'r'));
        journal.end();
    }
    const Found found = open();
    EXPECT_TRUE(found.opened) << found.problem;
    EXPECT_EQ(found.entries.size(), 420U);
}

// What has been replaced does not count as kept, in this process or in the next.
TEST_F(JournalTest, AFileOfOldValuesIsWrittenAnew) {
    for (int process = 0; process < 3; ++process) {
        Journal journal;
        ASSERT_TRUE(journal.open(path(), kBoot, &problem_)) << problem_;
        for (int i = 0; i < 200; ++i) {
            journal.begin();
            journal.put(keyOf(kit::Entry::Members, "sid0.3"), std::string(1000, static_cast<char>('a' + i % 2)));
            journal.end();
            ASSERT_LT(fs::file_size(path()), (1U << 18U) + 2000U) << process;
        }
    }
}

TEST_F(JournalTest, AFileThatCannotBeWrittenIsTakenAway) {
    Journal journal;
    ASSERT_TRUE(journal.open(path(), kBoot, &problem_));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit none{70, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &none);
    journal.begin();
    journal.put(keyOf(kit::Entry::Devices, "br3"), "");
    journal.end();
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(fs::exists(path()));
    journal.begin();
    journal.intend(stepOf(kit::Step::CreateBridge, "br4"));  // goes on without
    journal.end();
}

}  // namespace
}  // namespace restart_tests
