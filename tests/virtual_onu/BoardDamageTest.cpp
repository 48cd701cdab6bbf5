// A board file that was damaged is refused: a board that is believed although a byte of it has changed would make a
// daemon look wrong that is right. And a board can be looked at where nothing can be written.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "support/Emulated.h"
#include "support/Process.h"
#include "virtual_onu/BoardTexts.h"

namespace {

virtual_onu::VirtualOnu& board() {
    return virtual_onu::VirtualOnu::instance();
}

std::string serialNumber() {
    return board().toJson()["board"]["serialNumber"].get<std::string>();
}

// The lines, each with its end.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        end = text.find('\n', begin) + 1;
        lines.push_back(text.substr(begin, end - begin));
    }
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line;
    return text;
}

class BoardDamage : public ::testing::Test {
protected:
    // TMPDIR may be in the shared memory, in whose place one of them mounts its own.
    static void SetUpTestSuite() { unsetenv("TMPDIR"); }

    void SetUp() override {
        board().reset();
        board().openBoard(file_);
        for (const char* serial : {"first", "second", "third", "fourth"}) board().setSerialNumber(serial);
        board().reset();
        whole_ = contentOf(file_);
    }
    void TearDown() override { board().reset(); }

    // What opening such a file says, and that it has changed neither the board nor the file; "" when it is believed.
    std::string refusal(const std::string& text) {
        board().setSerialNumber("mine");
        scratch_.write("board", text);
        std::string said;
        try {
            board().openBoard(file_);
        } catch (const std::runtime_error& problem) {
            said = problem.what();
            EXPECT_EQ(said.find(file_ + ": "), 0U) << said;
            EXPECT_EQ(serialNumber(), "mine");
            EXPECT_EQ(contentOf(file_), text);
        }
        board().closeBoard();
        return said;
    }

    // What this process prints as errors from here on is in a file.
    std::string divertErrors() const {
        const std::string path = scratch_.file("errors");
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(fd, 2);
        ::close(fd);
        return path;
    }

    const ScratchDirectory scratch_;
    const std::string file_ = scratch_.file("board");
    std::string whole_;
};

TEST_F(BoardDamage, AChangedByteIsFoundWhereverItIs) {
    const std::size_t header = whole_.find('\n'), last = linesOf(whole_).back().size();
    const int changes[] = {0x01, 0x20, 0xFF};
    std::size_t tried = 0;
    for (std::size_t at = 0; at < whole_.size(); at += at <= header || at + last >= whole_.size() ? 1 : 97) {
        const int change = changes[tried++ % 3];
        std::string changed = whole_;
        changed[at] = static_cast<char>(changed[at] ^ change);
        ASSERT_NE(refusal(changed), "") << "byte " << at << " by " << change << " in ..."
                                        << changed.substr(at < 20 ? 0 : at - 20, 40);
    }
    EXPECT_GT(tried, 200U);
    const std::filesystem::directory_iterator open("/proc/self/fd");
    EXPECT_LT(std::distance(open, std::filesystem::directory_iterator()), 100) << "files of refused boards stay open";
    EXPECT_EQ(refusal(whole_), "");
    EXPECT_EQ(serialNumber(), "fourth");
}

TEST_F(BoardDamage, TheMessageSaysWhichLineAndWhatIsWrong) {
    std::string changed = whole_;
    changed[changed.find("second")] = 'S';
    const std::size_t number = linesOf(whole_).size() - 2;
    EXPECT_NE(refusal(changed).find("line " + std::to_string(number) + ": is damaged, or a line before it is missing"),
              std::string::npos)
        << refusal(changed);
    EXPECT_NE(refusal(whole_ + "{}\n").find("is damaged: it does not end with a checksum"), std::string::npos);
}

TEST_F(BoardDamage, ALineThatIsLostDoubledOrMovedIsFound) {
    const std::vector<std::string> lines = linesOf(whole_);
    ASSERT_GT(lines.size(), 20U);
    for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
        SCOPED_TRACE(lines[i]);
        auto lost = lines, doubled = lines, moved = lines;
        lost.erase(lost.begin() + static_cast<long>(i));
        doubled.insert(doubled.begin() + static_cast<long>(i), lines[i]);
        std::swap(moved[i], moved[i + 1]);
        for (const auto& changed : {lost, doubled, moved}) EXPECT_NE(refusal(joined(changed)), "");
    }
    EXPECT_NE(refusal(whole_ + lines.back()), "") << "the last one twice";
}

TEST_F(BoardDamage, AFileFromBeforeTheChecksumsIsReadAndGetsThem) {
    const std::string old = withoutChecksums(whole_);
    EXPECT_EQ(old.find("crc32"), std::string::npos);
    EXPECT_EQ(refusal(old), "");
    EXPECT_EQ(serialNumber(), "fourth");
    const std::string now = contentOf(file_);
    EXPECT_EQ(now.find("{\"format\":\"vorn-onu board\",\"version\":2}\n"), 0U);
    std::string changed = now;
    changed[changed.find("fourth")] = 'F';
    EXPECT_NE(refusal(changed), "");
}

// ---- where nothing can be written ----

TEST_F(BoardDamage, IsLookedAtWhereItCannotBeRewritten) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    for (const std::string& text : {whole_, withoutChecksums(whole_)}) {
        scratch_.write("board", text + text.substr(text.rfind('{', text.size() - 2), 9));  // and one half written
        EXPECT_EQ(inChild([&] {
                      std::signal(SIGXFSZ, SIG_IGN);
                      const rlimit limit{4096, 4096};
                      setrlimit(RLIMIT_FSIZE, &limit);
                      const std::string errors = divertErrors();
                      board().openBoard(file_);
                      if (serialNumber() != "fourth") return 1;
                      board().closeBoard();
                      if (contentOf(file_) != text || !contentOf(errors).empty()) return 2;
                      board().openBoard(file_);
                      board().setSerialNumber("fifth");
                      if (serialNumber() != "fifth" || contentOf(file_) != text) return 3;
                      return contentOf(errors).find("can no longer be kept there") != std::string::npos ? 0 : 4;
                  }),
                  0);
        // Where there is room again, but none for a second file, it goes on as it began.
        std::filesystem::create_directory(file_ + ".new");
        board().openBoard(file_);
        board().setSerialNumber("fifth");
        board().reset();
        EXPECT_EQ(contentOf(file_).compare(0, text.size(), text), 0);
        board().openBoard(file_);
        EXPECT_EQ(serialNumber(), "fifth");
        board().reset();
        std::filesystem::remove(file_ + ".new");
    }
}

constexpr char kSharedMemory[] = "/dev/shm";

// A disk of its own, which is gone with its process; false when this user may not have one.
bool mountSmallDisk(const std::string& folder) {
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    if (mount("memory", kSharedMemory, "tmpfs", 0, "size=128k") != 0) return false;  // without what others have there
    return mkdir(folder.c_str(), 0700) == 0 && mount("disk", folder.c_str(), "tmpfs", 0, "size=128k") == 0;
}

// Until not even a byte more has room; what it makes is to be removed.
void fillDisk(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    for (std::string text(4096, 'x'); !text.empty();)
        if (::write(fd, text.data(), text.size()) <= 0) text.resize(text.size() / 2);
    ::close(fd);
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
}

TEST_F(BoardDamage, IsLookedAtByAllItsProcessesOnAFullDisk) {
    SKIP_WHEN_EMULATED(kHostPrograms);
    constexpr int kNoDisk = 77;
    const int result = inChild([&] {
        const std::string disk = scratch_.file("disk"), full = disk + "/board", filler = disk + "/filler";
        if (!mountSmallDisk(disk)) return kNoDisk;
        std::filesystem::copy_file(file_, full);
        fillDisk(filler);
        const std::string errors = divertErrors();
        board().openBoard(full);
        if (serialNumber() != "fourth") return 1;
        for (const auto& page : std::filesystem::directory_iterator(kSharedMemory))
            if (page.status().permissions() != std::filesystem::perms(0600)) return 7;
        // Another program of the same run: it opens the file for itself.
        const int other = inChild([&] {
            board().reset();
            board().openBoard(full, virtual_onu::VirtualOnu::BoardUse::Shared);
            return serialNumber() == "fourth" ? 0 : 1;
        });
        const int stranger = inChild([&] {
            board().reset();
            try {
                board().openBoard(full);
            } catch (const std::runtime_error& problem) {
                return std::string(problem.what()) == full + ": the board is in use by another program" ? 0 : 1;
            }
            return 2;
        });
        if (other != 0 || stranger != 0) return 2;
        board().closeBoard();
        if (contentOf(full) != whole_ || !contentOf(errors).empty()) return 3;
        if (namesIn(disk).size() != 2 || !namesIn(kSharedMemory).empty()) return 4;
        // A change has no room; the board is as it was, for the next one too.
        board().openBoard(full);
        board().setSerialNumber(std::string(5000, 'x'));
        if (contentOf(errors).find("No space left on device") == std::string::npos) return 5;
        board().closeBoard();
        std::filesystem::remove(filler);
        board().openBoard(full);
        return serialNumber() == "fourth" ? 0 : 6;
    });
    if (result == kNoDisk) GTEST_SKIP() << "no file system of its own without the rights for one";
    EXPECT_EQ(result, 0);
}

}  // namespace
