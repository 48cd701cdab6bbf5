// Device paths: what a program opens, looks at, removes or renames under them never reaches the host's own files.
// Plain files live in a private directory, which is removed at exit; the kernel's files about network devices are made
// from the model; character devices are the model's.
#ifndef VIRTUAL_ONU_FILES_H
#define VIRTUAL_ONU_FILES_H

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>

namespace virtual_onu::files {

// Whether the path belongs to the device. Cheap, and callable before any start-up code has run.
bool owns(const char* path);

// Results are a descriptor, or a negative errno value. function is the name that faults and the trace know the call by.
int open(const char* path, int flags, mode_t mode, const char* function);
FILE* openStream(const char* path, const char* mode);  // null with errno set
// What a stream or a descriptor has written to a kernel attribute and the model has not yet seen; 0 or errno.
int settle(int fd);
ssize_t writeAttribute(int fd, const void* text, std::size_t size);  // size, or a negative errno value
int remove(const char* path, const char* function);                  // 0 or errno
int rename(const char* from, const char* to);                        // 0 or errno; EXDEV when only one is ours
// The path on the host to look at instead (stat, access, opendir), or nothing and *error.
std::optional<std::string> standIn(const char* path, int* error);

// For the shell: a whole file written or added to, without a trace entry; 0 or errno.
int store(const std::string& path, const std::string& content, bool append);
std::optional<std::string> load(const std::string& path);

}  // namespace virtual_onu::files

#endif
