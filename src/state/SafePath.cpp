#include "state/SafePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace state {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

std::string because(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

FileId idOf(const struct stat& facts) {
    return {facts.st_dev, facts.st_ino};
}

bool isTrusted(uid_t owner) {
    return owner == geteuid() || owner == 0;
}

std::string problemOfDirectory(int fd, const std::string& name) {
    struct stat facts = {};
    if (fstat(fd, &facts) != 0) return because(name);
    if ((facts.st_mode & kWritableByOthers) != 0 && (facts.st_mode & S_ISVTX) == 0)
        return name + ": others can write in this directory";
    if (!isTrusted(facts.st_uid)) return name + ": this directory belongs to another user";
    return {};
}

std::string problemOfFile(int fd, const std::string& name) {
    struct stat facts = {};
    if (fstat(fd, &facts) != 0) return because(name);
    if (!S_ISREG(facts.st_mode)) return name + ": no plain file";
    if (facts.st_uid != geteuid()) return name + ": belongs to another user";
    if (facts.st_nlink != 1) return name + ": has more than one name";
    if ((facts.st_mode & kWritableByOthers) != 0) return name + ": others can write it";
    if ((facts.st_mode & ~static_cast<mode_t>(S_IFMT)) != kOwnerOnly && fchmod(fd, kOwnerOnly) != 0)
        return because(name);
    return {};
}

}  // namespace

Descriptor::Descriptor(int fd) : fd_(fd) {
    struct stat facts = {};
    if (fd_ >= 0 && fstat(fd_, &facts) == 0) id_ = idOf(facts);
}

Descriptor::Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)), id_(other.id_) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this == &other) return *this;
    reset();
    fd_ = std::exchange(other.fd_, -1);
    id_ = other.id_;
    return *this;
}

bool Descriptor::isOurs() const {
    struct stat facts = {};
    return fd_ >= 0 && fstat(fd_, &facts) == 0 && idOf(facts) == id_;
}

void Descriptor::reset() {
    const int error = errno;
    if (isOurs()) close(fd_);
    fd_ = -1;
    errno = error;
}

Descriptor openDirectoryOf(const std::string& path, std::string* name, std::string* problem) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const std::size_t slash = path.rfind('/');
    *name = slash == std::string::npos ? path : path.substr(slash + 1);
    if (name->empty() || *name == "." || *name == "..") {
        *problem = path + ": no name of a file";
        return Descriptor();
    }
    std::string walked = path[0] == '/' ? "/" : ".";
    Descriptor directory(open(walked.c_str(), kFlags));
    std::size_t at = 0;
    for (;;) {
        *problem = directory.open() ? problemOfDirectory(directory.get(), walked) : because(walked);
        if (!problem->empty()) return Descriptor();
        at = path.find_first_not_of('/', at);
        const std::size_t end = path.find('/', at);
        if (end == std::string::npos) return directory;
        const std::string step = path.substr(at, end - at);
        // From the root by the whole path, which is the same: emulators of other processors show a root of their own,
        // in which the host's directories are found by their paths alone.
        const bool fromRoot = walked == "/";
        walked += (fromRoot ? "" : "/") + step;
        directory = Descriptor(fromRoot ? open(walked.c_str(), kFlags) : openat(directory.get(), step.c_str(), kFlags));
        at = end;
    }
}

Descriptor openOwnFile(int directory, const std::string& name, std::string* problem) {
    problem->clear();
    // Without blocking: a pipe under this name must not hold the daemon.
    Descriptor file(openat(directory, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.open()) {
        if (errno == ELOOP) {
            *problem = name + ": is a link";
        } else if (errno != ENOENT) {
            *problem = because(name);
        }
        return file;
    }
    *problem = problemOfFile(file.get(), name);
    return problem->empty() ? std::move(file) : Descriptor();
}

Descriptor makeOwnFile(int directory, const std::string& name, std::string* problem) {
    problem->clear();
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(openat(directory, name.c_str(), kFlags, kOwnerOnly));
    if (!file.open() && errno != EEXIST) *problem = because(name);
    return file;
}

bool isNamed(int directory, const std::string& name, const FileId& id) {
    struct stat facts = {};
    return fstatat(directory, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 && idOf(facts) == id;
}

}  // namespace state
