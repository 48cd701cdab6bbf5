// Opening a file in a place where nobody else can put another one in its stead.
#ifndef STATE_SAFE_PATH_H
#define STATE_SAFE_PATH_H

#include <sys/types.h>

#include <string>

namespace state {

// Which file it is, whatever its name is now.
struct FileId {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileId& other) const { return device == other.device && inode == other.inode; }
    bool operator!=(const FileId& other) const { return !(*this == other); }
};

// A descriptor that is closed with its owner. A daemon that detaches may close every number that it finds open and give
// this one to a file of its own, so the file behind it is compared before it is used or closed.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd);
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return fd_; }
    bool open() const { return fd_ >= 0; }
    // The number still means the file that was opened.
    bool isOurs() const;
    const FileId& id() const { return id_; }
    void reset();

private:
    int fd_ = -1;
    FileId id_;
};

// Opens the directory of a file, every step of the way without following a link, and names the file in it. Refused,
// with the reason in *problem: a link, a directory that others can write and that is not sticky, one that belongs to
// neither this user nor root.
Descriptor openDirectoryOf(const std::string& path, std::string* name, std::string* problem);

// Opens a file that is there: a file of this user's own with one name and closed to others' writing. Not open with an
// empty *problem: there is none.
Descriptor openOwnFile(int directory, const std::string& name, std::string* problem);

// Makes an empty file with mode 0600. Not open with an empty *problem: there is one of this name already.
Descriptor makeOwnFile(int directory, const std::string& name, std::string* problem);

// Whether the name in the directory means this file.
bool isNamed(int directory, const std::string& name, const FileId& id);

}  // namespace state

#endif
