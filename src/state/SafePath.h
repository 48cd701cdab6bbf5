// Opening a file in a place where nobody else can put another one in its stead.
#ifndef STATE_SAFE_PATH_H
#define STATE_SAFE_PATH_H

#include <string>

namespace state {

// A descriptor that is closed with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return fd_; }
    bool open() const { return fd_ >= 0; }
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1);

private:
    int fd_ = -1;
};

// Opens the directory of a file, every step of the way without following a link, and names the file in it. Refused,
// with the reason in *problem: a link, a directory that others can write and that is not sticky, one that belongs to
// neither this user nor root.
Descriptor openDirectoryOf(const std::string& path, std::string* name, std::string* problem);

// Opens a file that is there: a file of this user's own with one name and closed to others' writing. Not open with an
// empty *problem: there is none.
Descriptor openOwnFile(int directory, const std::string& name, std::string* problem);

// Makes a file with mode 0600 that was not there before; what stood under the name is removed first.
Descriptor makeOwnFile(int directory, const std::string& name, std::string* problem);

}  // namespace state

#endif
