// A directory for the time of a piece of work.
#ifndef VORN_ONU_WORK_DIRECTORY_H
#define VORN_ONU_WORK_DIRECTORY_H

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace vorn_onu {

// Below the temporary directory, for this user alone; gone with the object, and everything in it.
class WorkDirectory {
public:
    // Its name begins so. Throws std::runtime_error when it cannot be made.
    explicit WorkDirectory(const std::string& name)
        : path_((std::filesystem::temp_directory_path() / (name + ".XXXXXX")).string()) {
        if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error(path_ + ": " + std::strerror(errno));
    }
    ~WorkDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    WorkDirectory(const WorkDirectory&) = delete;
    WorkDirectory& operator=(const WorkDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

}  // namespace vorn_onu

#endif
