// Keeps what the HAL prints apart from what the tool prints: standard output goes to a file, the tool writes to where
// standard output led before.
#ifndef VORN_ONU_HAL_OUTPUT_H
#define VORN_ONU_HAL_OUTPUT_H

#include <cstdio>
#include <string>

#include "running/io/OwnDirectory.h"

namespace vorn_onu {

class HalOutput {
public:
    // The file is named for the scenario and lies in a directory of the user's own below TMPDIR. Throws
    // std::runtime_error when it cannot be made.
    explicit HalOutput(const std::string& scenarioFile);
    HalOutput(const HalOutput&) = delete;
    HalOutput& operator=(const HalOutput&) = delete;

    std::FILE* shown() const { return shown_; }  // where standard output led before
    const std::string& path() const { return path_; }
    // What has been printed since the last call, unfinished lines included.
    std::string takeNew();
    std::size_t lines();  // printed so far

private:
    std::FILE* shown_;
    std::string path_;
    int reader_ = -1;
    std::size_t lines_ = 0;
};

}  // namespace vorn_onu

#endif
