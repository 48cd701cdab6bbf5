#include "running/program/LogFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "running/io/Files.h"
#include "running/program/HalOutput.h"

namespace vorn_onu {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLogEnd = ".hal.log";
constexpr std::chrono::hours kReadUntil{1};  // its reader has had the time

// Whether a program writes to it: that holds a shared lock.
bool isInUse(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) return false;
    const bool inUse = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    close(descriptor);
    return inUse;
}

// The number of the tool in "PROGRAM-NUMBER.hal.log"; 0 for any other name.
pid_t toolIn(const std::string& name, const std::string& start) {
    if (name.rfind(start, 0) != 0) return 0;
    char* end = nullptr;
    const long number = std::strtol(name.c_str() + start.size(), &end, 10);
    return std::string(end) == kLogEnd && number > 0 ? static_cast<pid_t>(number) : 0;
}

}  // namespace

std::string newLogOf(const std::string& program) {
    const std::string folder = ownDirectory();
    const std::string start = fs::path(program).filename().string() + "-";
    std::vector<std::string> useless;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        const pid_t tool = toolIn(entry.path().filename().string(), start);
        const bool toolRuns = tool > 0 && (kill(tool, 0) == 0 || errno != ESRCH);
        const bool old = fs::file_time_type::clock::now() - entry.last_write_time(ignored) > kReadUntil;
        if (tool > 0 && old && !toolRuns && !isInUse(entry.path().string())) useless.push_back(entry.path().string());
    }
    for (const std::string& one : useless) unlink(one.c_str());
    const std::string path = folder + "/" + start + std::to_string(getpid()) + kLogEnd;
    unlink(path.c_str());
    writeFile(path, "");
    return path;
}

}  // namespace vorn_onu
