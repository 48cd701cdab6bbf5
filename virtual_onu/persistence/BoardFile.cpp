#include "persistence/BoardFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "BadBoard.h"
#include "real_libc/OwnDescriptor.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::persistence {

namespace {

constexpr std::uint64_t kMaxFileSize = std::uint64_t{256} << 20U;  // bytes

std::string resolved(const std::string& path) {
    std::array<char, PATH_MAX> whole{};
    if (realpath(path.c_str(), whole.data()) != nullptr) return whole.data();
    if (errno != ENOENT) throw BadBoard(path + ": " + std::strerror(errno));
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (realpath(folder.c_str(), whole.data()) == nullptr) throw BadBoard(path + ": " + std::strerror(errno));
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string place = whole.data();
    return (place == "/" ? "" : place) + "/" + name;
}

[[noreturn]] void fail(const std::string& path) {
    throw BadBoard(path + ": " + std::strerror(errno));
}

}  // namespace

BoardFile::BoardFile(const std::string& path) : path_(resolved(path)) {
    struct stat found {};
    if (real::stat(path_.c_str(), &found) != 0) return;
    if (!S_ISREG(found.st_mode)) throw BadBoard(path_ + ": is no plain file");
}

BoardFile::~BoardFile() {
    letGo(opened_[descriptorTable()]);
}

bool BoardFile::exists() const {
    struct stat found {};
    return real::stat(path_.c_str(), &found) == 0 && found.st_size > 0;
}

void BoardFile::open() {
    const int fd = real::open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC, 0);
    if (fd < 0) fail(path_);
    identity_ = FileIdentity::of(fd);
    keep(fd);
}

int BoardFile::keep(int fd) {
    Opened& opened = opened_[descriptorTable()];
    letGo(opened);
    opened = {raised(fd), identity_};
    return opened.number;
}

void BoardFile::letGo(const Opened& opened) {
    if (opened.number >= 0 && FileIdentity::of(opened.number) == opened.identity) real::close(opened.number);
}

int BoardFile::descriptor() {
    const Opened& opened = opened_[descriptorTable()];
    if (opened.number >= 0 && opened.identity == identity_ && FileIdentity::of(opened.number) == identity_)
        return opened.number;
    const int fd = real::open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (FileIdentity::of(fd) == identity_) return keep(fd);
    real::close(fd);  // somebody has put another file there
    errno = ESTALE;
    return -1;
}

std::string BoardFile::readFrom(std::uint64_t place) {
    const int fd = descriptor();
    struct stat found {};
    if (fd < 0 || fstat(fd, &found) != 0) fail(path_);
    const auto size = static_cast<std::uint64_t>(found.st_size);
    if (size > kMaxFileSize) throw BadBoard(path_ + ": is too large for a board");
    std::string text(size > place ? static_cast<std::size_t>(size - place) : 0, '\0');
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = pread(fd, text.data() + done, text.size() - done, static_cast<off_t>(place + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(path_);
        if (count == 0) text.resize(done);
        done += static_cast<std::size_t>(count);
    }
    return text;
}

bool BoardFile::append(std::uint64_t place, const std::string& text) {
    const int fd = descriptor();
    if (fd < 0) return false;
    if (writeAll(fd, text)) return true;
    cut(place);
    errno = ENOSPC;
    return false;
}

bool BoardFile::cut(std::uint64_t place) {
    const int fd = descriptor();
    return fd >= 0 && ftruncate(fd, static_cast<off_t>(place)) == 0;
}

void BoardFile::rewrite(const std::string& text) {
    const std::string beside = path_ + ".new";
    struct stat before {};
    const bool replaces = real::stat(path_.c_str(), &before) == 0;
    real::unlink(beside.c_str());
    const int fd = real::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) fail(beside);
    if (replaces) fchmod(fd, before.st_mode & 07777);
    const bool whole = writeAll(fd, text);
    real::close(fd);
    if (!whole) errno = ENOSPC;
    if (whole && real::rename(beside.c_str(), path_.c_str()) == 0) return BoardFile::open();
    const int error = errno;
    real::unlink(beside.c_str());
    errno = error;
    fail(path_);
}

}  // namespace virtual_onu::persistence
