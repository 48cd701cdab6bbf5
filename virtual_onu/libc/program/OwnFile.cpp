#include "libc/program/OwnFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "libc/real/RealLibc.h"

namespace virtual_onu {

namespace {

constexpr rlim_t kHighest = 4096;  // the kernel keeps a table as long as the highest number
constexpr rlim_t kRoom = 64;       // for files like this one, below the limit

// The same file under a number that programs do not come to by themselves.
int raised(int fd) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return fd;
    const rlim_t end = std::min(limit.rlim_cur, kHighest);
    if (end <= 2 * kRoom) return fd;
    const auto lowest = static_cast<std::intptr_t>(end - kRoom);
    const int high = real::fcntl(fd, F_DUPFD_CLOEXEC, reinterpret_cast<void*>(lowest));
    if (high < 0) return fd;
    real::close(fd);
    return high;
}

}  // namespace

std::string absolutePath(const std::string& path) {
    if (path.empty() || path[0] == '/') return path;
    char* here = getcwd(nullptr, 0);
    const std::string whole = here != nullptr ? std::string(here) + "/" + path : path;
    std::free(here);
    return whole;
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

OwnFile::OwnFile(std::string path) : path_(std::move(path)) {
    if (exists()) openAnew();
}

const OwnFile::Handle* OwnFile::openAnew() {
    const Handle* lost = handle_.load(std::memory_order_acquire);
    int fd = real::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return nullptr;
    fd = raised(fd);
    flock(fd, LOCK_SH | LOCK_NB);  // who tidies up sees that it is in use
    const auto* found = new Handle{fd, FileIdentity::of(fd)};
    if (handle_.compare_exchange_strong(lost, found)) return found;
    real::close(fd);  // another thread was faster
    delete found;
    return lost;
}

bool OwnFile::append(const std::string& text) {
    if (!exists()) return true;
    const Handle* handle = handle_.load(std::memory_order_acquire);
    const bool lost = handle == nullptr || !(FileIdentity::of(handle->fd) == handle->file);
    if (lost) handle = openAnew();
    return handle != nullptr && writeAll(handle->fd, text);
}

}  // namespace virtual_onu
