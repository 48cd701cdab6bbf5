#include "real_libc/FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "real_libc/RealLibc.h"

namespace virtual_onu {

// By statx: its record is the same on all machines, and the thread sanitizer, which takes a look at a descriptor for a
// use of it, does not interpose it.
namespace {

FileIdentity identityOf(int directory, const char* path, int flags) {
    struct statx found {};
    const int saved = errno;
    const bool there = real::statx(directory, path, flags, STATX_INO, &found) == 0;
    errno = saved;
    if (!there) return {};
    return {static_cast<std::uint64_t>(found.stx_dev_major) << 32 | found.stx_dev_minor, found.stx_ino};
}

}  // namespace

FileIdentity FileIdentity::of(int fd) {
    return fd >= 0 ? identityOf(fd, "", AT_EMPTY_PATH) : FileIdentity{};
}

FileIdentity FileIdentity::of(const std::string& path) {
    return identityOf(AT_FDCWD, path.c_str(), 0);
}

}  // namespace virtual_onu
