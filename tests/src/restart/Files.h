// Files of the tests about restarts.
#ifndef TESTS_RESTART_FILES_H
#define TESTS_RESTART_FILES_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace restart_tests {

namespace fs = std::filesystem;

// A private directory that goes with the test.
class Folder {
public:
    Folder() : path_((fs::temp_directory_path() / "vorn-restart-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory");
    }
    ~Folder() {
        std::error_code error;
        fs::remove_all(path_, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::string path(const std::string& name = "") const { return path_ + "/" + name; }

private:
    std::string path_;
};

inline std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace restart_tests

#endif
