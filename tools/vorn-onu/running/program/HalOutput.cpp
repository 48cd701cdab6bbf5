#include "running/program/HalOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace vorn_onu {

namespace {

// A file of this run's own in the place of an earlier run's, which may still write into it. Two runs that begin at once
// take turns.
int reopen(const std::string& path) {
    int descriptor = -1;
    for (int attempt = 0; descriptor < 0 && attempt < 20; ++attempt) {
        unlink(path.c_str());
        descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (descriptor < 0 && errno != EEXIST) break;
    }
    return descriptor;
}

void flushAll() {
    std::cout.flush();
    std::fflush(stdout);
}

}  // namespace

HalOutput::HalOutput(const std::string& scenarioFile) {
    path_ = ownDirectory() + "/" + std::filesystem::path(scenarioFile).stem().string() + ".hal.log";
    const int writer = reopen(path_);
    // The same file by its descriptor: its name may already be another run's.
    reader_ = writer < 0 ? -1 : open(("/proc/self/fd/" + std::to_string(writer)).c_str(), O_RDONLY | O_CLOEXEC);
    flushAll();
    const int before = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    shown_ = before < 0 ? nullptr : fdopen(before, "w");
    if (reader_ < 0 || shown_ == nullptr || dup2(writer, STDOUT_FILENO) < 0)
        throw std::runtime_error(path_ + " cannot be written");
    close(writer);
}

std::string HalOutput::takeNew() {
    flushAll();
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(reader_, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    lines_ += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    return text;
}

std::size_t HalOutput::lines() {
    takeNew();
    return lines_;
}

}  // namespace vorn_onu
