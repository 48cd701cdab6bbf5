#include "running/program/RecordingFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "running/io/Files.h"
#include "running/io/Output.h"
#include "running/scenario/RecordedFile.h"

namespace vorn_onu {

namespace {

namespace fs = std::filesystem;

// What the recorder adds to the name for a second process: its number.
std::vector<std::string> numbersBehind(const std::string& path) {
    std::vector<std::string> numbers;
    const std::string start = fs::path(path).filename().string() + ".";
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path(), ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(start, 0) == 0) numbers.push_back(name.substr(start.size() - 1));
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::string whyNone(const HalPresence& hal, bool touched) {
    if (hal.loaded)
        return "the program loads libvorn_hal with dlopen and looks its functions up with dlsym, which finds them past "
               "the "
               "recorder; link the program with -lvorn_hal to have it recorded";
    if (hal.linked) return "the program is linked with libvorn_hal and has not called the HAL";
    if (touched)
        return "the program has used the device without libvorn_hal.so: a HAL that is linked into it is not recorded";
    return "the program has not called the HAL";
}

}  // namespace

RecordingFile::RecordingFile(const std::string& wanted)
    : wanted_(wanted),
      place_(wanted.empty() ? "" : fs::absolute(wanted).string()),
      beside_(place_ + "." + std::to_string(getpid())) {}

void RecordingFile::check() const {
    std::error_code ignored;
    if (fs::exists(place_, ignored) && !fs::is_regular_file(place_, ignored))
        throw FileProblem(wanted_, "is no file that a recording can go to");
    checkWritable(beside_);
}

bool RecordingFile::putOne(const std::string& from, const std::string& to, bool quiet) const {
    const auto recording = finishRecording(from);
    if (!recording) return false;
    if (recording->truncated) complain(to + ": the last call was half written and is left out");
    if (rename(from.c_str(), to.c_str()) != 0) {
        complain(to + ": cannot be written: " + std::strerror(errno) + "; the recording is in " + from);
        return true;
    }
    const std::string calls = std::to_string(recording->calls) + (recording->calls == 1 ? " call" : " calls");
    if (!quiet) print("\n" + to + ": " + calls + " recorded\n");
    return true;
}

void RecordingFile::putInPlace(const HalPresence& hal, bool touched, bool quiet) const {
    const bool any = putOne(beside_, wanted_, quiet);
    if (!any) complain(wanted_ + ": nothing is recorded, " + whyNone(hal, touched));
    for (const std::string& number : numbersBehind(beside_)) putOne(beside_ + number, wanted_ + number, quiet);
}

}  // namespace vorn_onu
