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
#include "libc/real/FileIdentity.h"
#include "libc/real/RealLibc.h"

namespace virtual_onu::persistence {

namespace {

constexpr std::size_t kPageSize = 4096;

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
bool BoardLock::lockNamedFile(Company company) {
    const int fd = real::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd < 0) throw BadBoard(path_ + ": " + std::strerror(errno));
    const bool first = locked(fd, LOCK_EX | LOCK_NB);
    if (!first && company == Company::Alone) {
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

void BoardLock::mapPage() {
    const bool fits = (!isNew_ || ftruncate(descriptor_, 0) == 0) && ftruncate(descriptor_, kPageSize) == 0;
    void* place = fits ? mmap(nullptr, kPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0) : MAP_FAILED;
    if (place == MAP_FAILED) {
        const int error = errno;
        real::close(std::exchange(descriptor_, -1));
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

BoardLock::BoardLock(std::string boardFile, Company company)
    : boardFile_(std::move(boardFile)), path_(boardFile_ + ".lock") {
    while (!lockNamedFile(company)) {
    }
}

BoardLock::~BoardLock() {
    if (page_ != nullptr) munmap(page_, kPageSize);
    if (descriptor_ >= 0) real::close(descriptor_);
    removeIfLast();
}

void BoardLock::removeIfLast() const {
    const int fd = real::open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0);
    if (fd < 0) return;
    if (locked(fd, LOCK_EX | LOCK_NB) && identityOf(path_) == FileIdentity::of(fd)) real::unlink(path_.c_str());
    real::close(fd);
}

void BoardLock::letOthersIn() {
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
