#include "running/io/OwnDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace vorn_onu {

namespace {

// A directory of this user's, no link to one.
bool isOwn(const std::string& path, mode_t forbidden) {
    struct stat found {};
    return lstat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == getuid() &&
           (found.st_mode & forbidden) == 0;
}

void makeOwn(const std::string& path, mode_t forbidden, const char* what) {
    if (mkdir(path.c_str(), S_IRWXU) != 0 && !isOwn(path, forbidden))
        throw std::runtime_error(path + what + "; set XDG_RUNTIME_DIR or TMPDIR to another");
}

}  // namespace

std::string ownDirectory() {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("vorn-onu." + std::to_string(getuid()))).string();
    makeOwn(path, 0, " is not a directory of yours");
    return path;
}

std::string runtimeDirectory() {
    const char* given = std::getenv("XDG_RUNTIME_DIR");  // NOLINT(concurrency-mt-unsafe): nothing sets the environment
    const bool usable = given != nullptr && *given == '/' && isOwn(given, S_IWGRP | S_IWOTH);
    const std::string path = usable ? std::string(given) + "/vorn-onu" : ownDirectory() + "/boards";
    makeOwn(path, S_IRWXG | S_IRWXO, " is not a directory that is yours alone");
    return path;
}

}  // namespace vorn_onu
