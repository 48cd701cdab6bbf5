#include "libc/real/FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "libc/real/RealLibc.h"

namespace virtual_onu {

// By statx: its record is the same on all machines, and the thread sanitizer, which takes a look at a descriptor for a
// use of it, does not interpose it.
FileIdentity FileIdentity::of(int fd) {
    struct statx found {};
    const int saved = errno;
    const bool open = fd >= 0 && real::statx(fd, "", AT_EMPTY_PATH, STATX_INO, &found) == 0;
    errno = saved;
    if (!open) return {};
    return {static_cast<std::uint64_t>(found.stx_dev_major) << 32 | found.stx_dev_minor, found.stx_ino};
}

}  // namespace virtual_onu
