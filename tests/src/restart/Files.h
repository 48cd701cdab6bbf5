// Files of the tests about restarts.
#ifndef TESTS_RESTART_FILES_H
#define TESTS_RESTART_FILES_H

#include <filesystem>
#include <fstream>
#include <string>

#include "tools/vorn-onu/RunProgram.h"

namespace restart_tests {

namespace fs = std::filesystem;

inline void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace restart_tests

#endif
