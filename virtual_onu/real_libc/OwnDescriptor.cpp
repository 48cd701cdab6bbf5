#include "real_libc/OwnDescriptor.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>

#include "real_libc/FileIdentity.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu {

namespace {

constexpr rlim_t kMaxDescriptor = 4096;  // the kernel keeps a table as long as the highest number
constexpr rlim_t kRoom = 64;             // for files like this one, below the limit

std::atomic<unsigned> tables{0};
thread_local unsigned tableOfThread = 0;

}  // namespace

int raised(int fd) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return fd;
    const rlim_t end = std::min(limit.rlim_cur, kMaxDescriptor);
    if (end <= 2 * kRoom) return fd;
    const auto lowest = static_cast<std::intptr_t>(end - kRoom);
    const int high = real::fcntl(fd, F_DUPFD_CLOEXEC, reinterpret_cast<void*>(lowest));
    if (high < 0) return fd;
    if (FileIdentity::of(fd) == FileIdentity::of(high)) real::close(fd);  // the program may have the number by now
    return high;
}

unsigned descriptorTable() {
    return tableOfThread;
}

void hasOwnDescriptorTable() {
    tableOfThread = ++tables;
}

bool writeAll(int fd, const std::string& text) {
    const int saved = errno;
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = real::write(fd, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    errno = saved;
    return done == text.size();
}

}  // namespace virtual_onu
