#include "libc/program/OwnFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "real_libc/OwnDescriptor.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu {

std::string absolutePath(const std::string& path) {
    if (path.empty() || path[0] == '/') return path;
    char* here = getcwd(nullptr, 0);
    const std::string whole = here != nullptr ? std::string(here) + "/" + path : path;
    std::free(here);
    return whole;
}

OwnFile::OwnFile(std::string path) : path_(std::move(path)) {
    if (exists()) reopen();
}

const OwnFile::Handle* OwnFile::reopen() {
    const Handle* lost = handle_.load(std::memory_order_acquire);
    int fd = real::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return nullptr;
    fd = raised(fd);
    const FileIdentity file = FileIdentity::of(path_);
    // A program that closes all descriptors may have given this number to a file of its own meanwhile.
    const auto isOurs = [&] { return FileIdentity::of(fd) == file; };
    if (!isOurs()) return nullptr;
    flock(fd, LOCK_SH | LOCK_NB);  // who tidies up sees that it is in use
    const auto* found = new Handle{fd, file};
    if (handle_.compare_exchange_strong(lost, found)) return found;
    if (isOurs()) real::close(fd);  // another thread was faster
    delete found;
    return lost;
}

bool OwnFile::append(const std::string& text) {
    if (!exists()) return true;
    const Handle* handle = handle_.load(std::memory_order_acquire);
    const bool lost = handle == nullptr || !(FileIdentity::of(handle->fd) == handle->file);
    if (lost) handle = reopen();
    return handle != nullptr && writeAll(handle->fd, text);
}

}  // namespace virtual_onu
