#include "state/SafePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace state {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

std::string because(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

bool isOurs(uid_t owner) {
    return owner == geteuid() || owner == 0;
}

std::string problemOfDirectory(int fd, const std::string& name) {
    struct stat facts = {};
    if (fstat(fd, &facts) != 0) return because(name);
    if ((facts.st_mode & kWritableByOthers) != 0 && (facts.st_mode & S_ISVTX) == 0)
        return name + ": others can write in this directory";
    if (!isOurs(facts.st_uid)) return name + ": this directory belongs to another user";
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

void Descriptor::reset(int fd) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
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
    unlinkat(directory, name.c_str(), 0);
    constexpr int kFlags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Descriptor file(openat(directory, name.c_str(), kFlags, kOwnerOnly));
    if (!file.open()) *problem = because(name);
    return file;
}

}  // namespace state
