#include "libc/program/BriefFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include <array>
#include <cerrno>

#include "real_libc/OwnDescriptor.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu {

BriefFile::BriefFile(const std::string& path, int flags) : fd_(real::open(path.c_str(), flags | O_CLOEXEC, 0644)) {
    if (fd_ < 0) return;
    // By its path: by the number it could be the program's already.
    identity_ = FileIdentity::of(path);
    if (isOpen()) return;
    fd_ = -1;
    errno = EBADF;
}

BriefFile::~BriefFile() {
    const int error = errno;
    if (isOpen()) real::close(fd_);
    errno = error;
}

bool BriefFile::isOpen() const {
    return fd_ >= 0 && identity_.inode != 0 && FileIdentity::of(fd_) == identity_;
}

bool BriefFile::lock() const {
    return isOpen() && flock(fd_, LOCK_EX) == 0;
}

bool BriefFile::write(const std::string& text) const {
    if (!isOpen()) return false;
    if (writeAll(fd_, text)) return true;
    errno = ENOSPC;
    return false;
}

std::string BriefFile::read() const {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t count = 1; count > 0;) {
        count = isOpen() ? real::read(fd_, part.data(), part.size()) : 0;
        if (count > 0) text.append(part.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace virtual_onu
