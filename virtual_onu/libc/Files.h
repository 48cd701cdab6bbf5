// Device paths: what a program opens, looks at, removes or renames under them never reaches the host's own files. An
// open file is a descriptor on memory, a listed directory a temporary folder that lives until it is closed.
#ifndef VIRTUAL_ONU_FILES_H
#define VIRTUAL_ONU_FILES_H

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

#include "real_libc/Descriptors.h"

namespace virtual_onu::files {

// Results are a descriptor, or a negative errno value. function is the name that faults and the trace know the call by.
int open(const char* path, int flags, mode_t mode, const char* function);
FILE* openStream(const char* path, const char* mode);  // null with errno set
DIR* openDirectory(const char* path);                  // null with errno set
ssize_t write(int fd, const void* data,
              std::size_t size);  // to a file or an attribute; size, or a negative errno value
// Hands on what has been written to the descriptor and the model has not yet seen; 0 or errno.
int settle(int fd);
void closed(int fd, descriptors::Kind kind);         // forgets it, before it is closed or after
void copied(int fd, int copy);                       // as by dup
int remove(const char* path, const char* function);  // 0 or errno
int rename(const char* from, const char* to);        // 0 or errno; EXDEV when only one is ours

// The place on the host to look at instead of a device path, for as long as the object lives.
class StandIn {
public:
    enum class For { Look, List };  // List: a directory with its entries
    StandIn(const char* path, For purpose);
    ~StandIn();
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;
    int error() const { return error_; }  // errno when there is nothing at the path
    const char* place() const { return place_.c_str(); }

private:
    int error_ = 0;
    int fd_ = -1;
    std::string folder_;
    std::string place_;
};

}  // namespace virtual_onu::files

#endif
