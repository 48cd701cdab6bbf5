#include "persistence/BoardLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "BadBoard.h"
#include "real_libc/FileIdentity.h"
#include "real_libc/RealLibc.h"

namespace virtual_onu::persistence {

namespace {

constexpr std::size_t kPageSize = 4096;
constexpr char kMemory[] = "/dev/shm/vorn-onu-board-";

// Of the lock file, the page of which is there.
std::string placeInMemory(const FileIdentity& file) {
    return kMemory + std::to_string(file.device) + "-" + std::to_string(file.inode);
}

// Blocks and not only a length: to write into a page that the disk has no room for would end the process.
bool givePage(int fd) {
    int error = ftruncate(fd, 0) == 0 ? EINTR : errno;
    while (error == EINTR) error = posix_fallocate(fd, 0, kPageSize);
    if (error == 0) return true;
    if (ftruncate(fd, 0) == 0) errno = error;
    return false;
}

bool isEmpty(int fd) {
    struct stat found {};
    return fstat(fd, &found) == 0 && found.st_size == 0;
}

FileIdentity identityOf(const std::string& path) {
    const int fd = real::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC, 0);
    const FileIdentity identity = FileIdentity::of(fd);
    if (fd >= 0) real::close(fd);
    return identity;
}

bool locked(int fd, int operation) {
    int result = 0;
    do {
        result = flock(fd, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

// Answers false when the file has been removed meanwhile: there may be a new one.
bool BoardLock::lockNamedFile(LockMode mode) {
    const int fd = real::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd < 0) throw BadBoard(path_ + ": " + std::strerror(errno));
    const bool first = locked(fd, LOCK_EX | LOCK_NB);
    if (!first && mode == LockMode::Exclusive) {
        real::close(fd);
        throw BadBoard(boardFile_ + ": the board is in use by another program");
    }
    if (!first) locked(fd, LOCK_SH);
    if (!(identityOf(path_) == FileIdentity::of(fd))) {
        real::close(fd);
        return false;
    }
    descriptor_ = fd;
    isNew_ = first;
    mapPage();
    if (!first) real::close(std::exchange(descriptor_, -1));
    return true;
}

// The file with the page; -1 where there is none.
int BoardLock::openPage() const {
    if (isNew_ ? givePage(descriptor_) : !isEmpty(descriptor_)) return descriptor_;
    const int error = errno;
    const std::string path = placeInMemory(FileIdentity::of(descriptor_));
    if (isNew_) real::unlink(path.c_str());
    const int fd = real::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | (isNew_ ? O_CREAT | O_EXCL : 0), 0600);
    if (fd < 0 || !isNew_ || givePage(fd)) return fd;
    real::close(fd);
    real::unlink(path.c_str());
    errno = error;
    return -1;
}

void BoardLock::mapPage() {
    const int fd = openPage();
    void* place = fd >= 0 ? mmap(nullptr, kPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0) : MAP_FAILED;
    held_ = place != MAP_FAILED ? mmap(nullptr, kPageSize, PROT_NONE, MAP_SHARED, descriptor_, 0) : MAP_FAILED;
    const int error = errno;
    if (fd >= 0 && fd != descriptor_) real::close(fd);
    if (held_ == MAP_FAILED) {
        if (place != MAP_FAILED) munmap(place, kPageSize);
        real::close(std::exchange(descriptor_, -1));
        removeIfLast();
        throw BadBoard(path_ + ": " + std::strerror(error));
    }
    if (!isNew_) {
        page_ = static_cast<Page*>(place);
        return;
    }
    page_ = new (place) Page{};
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&page_->turn, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

BoardLock::BoardLock(std::string boardFile, LockMode mode)
    : boardFile_(std::move(boardFile)), path_(boardFile_ + ".lock") {
    while (!lockNamedFile(mode)) {
    }
}

BoardLock::~BoardLock() {
    munmap(page_, kPageSize);
    munmap(held_, kPageSize);
    if (descriptor_ >= 0) real::close(descriptor_);
    removeIfLast();
}

void BoardLock::removeIfLast() const {
    const int fd = real::open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0);
    if (fd < 0) return;
    if (locked(fd, LOCK_EX | LOCK_NB) && identityOf(path_) == FileIdentity::of(fd)) {
        if (isEmpty(fd)) real::unlink(placeInMemory(FileIdentity::of(fd)).c_str());
        real::unlink(path_.c_str());
    }
    real::close(fd);
}

void BoardLock::share() {
    if (descriptor_ < 0) return;
    locked(descriptor_, LOCK_SH);
    real::close(std::exchange(descriptor_, -1));
}

bool BoardLock::takeTurn() {
    const int error = pthread_mutex_lock(&page_->turn);
    if (error == EOWNERDEAD) pthread_mutex_consistent(&page_->turn);
    return error == 0;
}

void BoardLock::giveTurn() {
    pthread_mutex_unlock(&page_->turn);
}

}  // namespace virtual_onu::persistence
