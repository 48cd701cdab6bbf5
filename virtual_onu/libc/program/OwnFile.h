// A file of the virtual ONU's own inside of somebody else's program, such as the trace. The program closes descriptors
// that it does not know and gives their numbers to files of its own: so the descriptor is a high one, is known again by
// device and inode before each write, and is reopened when it has been lost. Any thread may write; nothing here
// takes a lock.
#ifndef VIRTUAL_ONU_OWN_FILE_H
#define VIRTUAL_ONU_OWN_FILE_H

#include <atomic>
#include <string>

#include "real_libc/FileIdentity.h"
#include "real_libc/OwnDescriptor.h"

namespace virtual_onu {

// The file's name from the root on, so that it stays the same when the program changes its directory.
std::string absolutePath(const std::string& path);

class OwnFile {
public:
    // Opens the file, and makes it when there is none. "" is no file: nothing is written.
    explicit OwnFile(std::string path);
    OwnFile(const OwnFile&) = delete;
    OwnFile& operator=(const OwnFile&) = delete;

    bool exists() const { return !path_.empty(); }
    // At the file's end. False when it cannot be written any more.
    bool append(const std::string& text);

private:
    struct Handle {
        int fd;
        FileIdentity file;
    };
    const Handle* reopen();  // null when the file cannot be opened

    std::string path_;
    std::atomic<const Handle*> handle_{
        nullptr};  // those that were lost are never freed: another thread may look at one
};

}  // namespace virtual_onu

#endif
