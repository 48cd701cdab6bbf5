// Where the processes of one run leave what the tool wants to know, and files that nobody has asked to keep.
#ifndef VORN_ONU_RUN_FOLDER_H
#define VORN_ONU_RUN_FOLDER_H

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorn_onu {

// A process with a board of its own.
struct BoardOwner {
    pid_t process = 0;
    std::string program;
};

// How the HAL came into the program's processes.
struct HalPresence {
    bool linked = false;  // with the program, or with one of its libraries
    bool loaded = false;  // with dlopen
};

class RunFolder {
public:
    RunFolder();   // throws std::runtime_error when it cannot be made
    ~RunFolder();  // with everything in it, unless it is kept
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    void keep() { kept_ = true; }

    std::optional<BoardOwner> shown() const;  // whose board the snapshot shows
    std::vector<BoardOwner> aside() const;    // whose boards it does not
    HalPresence hal() const;
    // The processes that run and have changes that are not in their snapshot yet, with the number of their writes so
    // far.
    std::map<pid_t, std::uint32_t> unwritten() const;

private:
    std::string path_;
    bool kept_ = false;
};

}  // namespace vorn_onu

#endif
