#include "real_libc/RealLibc.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace virtual_onu::real {
namespace {

[[noreturn]] void missing(const char* name) {
    // No buffered output here: the C library may not be ready for it yet.
    for (const char* part : {"virtual ONU: the C library has no ", name, "\n"}) {
        syscall(SYS_write, STDERR_FILENO, part, std::strlen(part));
    }
    std::abort();
}

// Looks a function up once. Not a guarded static: the lookup may allocate and come back here, and another library's
// start-up code may call before this library's own start-up has run.
class Lookup {
public:
    constexpr explicit Lookup(const char* name) : name_(name) {}
    void* address() {
        void* found = address_.load(std::memory_order_acquire);
        if (found != nullptr) return found;
        found = dlsym(RTLD_NEXT, name_);
        address_.store(found, std::memory_order_release);
        return found;
    }
    const char* name() const { return name_; }

private:
    const char* name_;
    std::atomic<void*> address_{nullptr};
};

template <typename Function>
class Next : public Lookup {
public:
    using Lookup::Lookup;
    Function* get() {
        void* found = address();
        if (found == nullptr) missing(name());
        return reinterpret_cast<Function*>(found);
    }
};

Next<int(const char*, int, ...)> nextOpen{"open"};
Next<int(int, const char*, int, ...)> nextOpenat{"openat"};
Next<int(int)> nextClose{"close"};
Next<int(unsigned, unsigned, int)> nextCloseRange{"close_range"};
Next<void(int)> nextClosefrom{"closefrom"};
Next<int(int, int, ...)> nextFcntl{"fcntl64"};
Next<int(int)> nextDup{"dup"};
Next<int(int, int)> nextDup2{"dup2"};
Next<int(int, int, int)> nextDup3{"dup3"};
Next<ssize_t(int, void*, size_t)> nextRead{"read"};
Next<ssize_t(int, const void*, size_t)> nextWrite{"write"};
Next<FILE*(const char*, const char*)> nextFopen{"fopen64"};
Next<int(FILE*)> nextFclose{"fclose"};
Next<int(FILE*)> nextFflush{"fflush"};
Next<int(const char*)> nextRemove{"remove"};
Next<int(const char*)> nextUnlink{"unlink"};
Next<int(const char*, const char*)> nextRename{"rename"};
Next<int(const char*, int)> nextAccess{"access"};
Next<int(int, const char*, int, int)> nextFaccessat{"faccessat"};
Next<int(const char*, struct ::stat*)> nextStat{"stat"};
Next<int(const char*, struct ::stat*)> nextLstat{"lstat"};
Next<int(int, const char*, struct ::stat*, int)> nextFstatat{"fstatat"};
Next<int(const char*, struct ::stat64*)> nextStat64{"stat64"};
Next<int(const char*, struct ::stat64*)> nextLstat64{"lstat64"};
Next<int(int, const char*, struct ::stat64*, int)> nextFstatat64{"fstatat64"};
Next<int(int, const char*, int, unsigned, struct ::statx*)> nextStatx{"statx"};
Next<DIR*(const char*)> nextOpendir{"opendir"};
Next<int(DIR*)> nextClosedir{"closedir"};
Next<int(const char*, dirent***, DirentFilter, DirentOrder)> nextScandir{"scandir"};
Next<int(const char*, dirent64***, Dirent64Filter, Dirent64Order)> nextScandir64{"scandir64"};
Next<int(int, unsigned long, ...)> nextIoctl{"ioctl"};
Next<int(int, int, int)> nextSocket{"socket"};
Next<int(int, const sockaddr*, socklen_t)> nextBind{"bind"};
Next<ssize_t(int, const void*, size_t, int)> nextSend{"send"};
Next<ssize_t(int, const void*, size_t, int, const sockaddr*, socklen_t)> nextSendto{"sendto"};
Next<unsigned(const char*)> nextNameToIndex{"if_nametoindex"};
Next<char*(unsigned, char*)> nextIndexToName{"if_indextoname"};
Next<int(const char*)> nextSystem{"system"};
Next<FILE*(const char*, const char*)> nextPopen{"popen"};
Next<int(FILE*)> nextPclose{"pclose"};
Next<void*(const char*, int)> nextDlopen{"dlopen"};
Next<unsigned(unsigned)> nextSleep{"sleep"};
Next<int(useconds_t)> nextUsleep{"usleep"};
Next<int(const timespec*, timespec*)> nextNanosleep{"nanosleep"};
Next<int(int, fd_set*, fd_set*, fd_set*, timeval*)> nextSelect{"select"};

// A signal handler may be the first to call one of them: the lookup takes locks, so it is done before. Only functions
// that handlers may call are here.
__attribute__((constructor)) void lookUpForHandlers() {
    Lookup* const functions[] = {
        &nextOpen,  &nextOpenat,  &nextClose,  &nextFcntl,   &nextDup,       &nextDup2,      &nextDup3,
        &nextRead,  &nextWrite,   &nextUnlink, &nextRename,  &nextAccess,    &nextFaccessat, &nextStat,
        &nextLstat, &nextFstatat, &nextStat64, &nextLstat64, &nextFstatat64, &nextStatx,     &nextSocket,
        &nextBind,  &nextSend,    &nextSendto, &nextSleep,   &nextNanosleep, &nextSelect,    &nextIoctl,
    };
    for (Lookup* one : functions) one->address();
}

}  // namespace

int open(const char* path, int flags, mode_t mode) {
    return nextOpen.get()(path, flags, mode);
}
int openat(int directory, const char* path, int flags, mode_t mode) {
    return nextOpenat.get()(directory, path, flags, mode);
}
int close(int fd) {
    return nextClose.get()(fd);
}
int closeRange(unsigned first, unsigned last, int flags) {
    return nextCloseRange.get()(first, last, flags);
}
void closefrom(int first) {
    nextClosefrom.get()(first);
}
int fcntl(int fd, int command, void* argument) {
    return nextFcntl.get()(fd, command, argument);
}
int dup(int fd) {
    return nextDup.get()(fd);
}
int dup2(int fd, int target) {
    return nextDup2.get()(fd, target);
}
int dup3(int fd, int target, int flags) {
    return nextDup3.get()(fd, target, flags);
}
ssize_t read(int fd, void* buffer, size_t size) {
    return nextRead.get()(fd, buffer, size);
}
ssize_t write(int fd, const void* buffer, size_t size) {
    return nextWrite.get()(fd, buffer, size);
}
FILE* fopen(const char* path, const char* mode) {
    return nextFopen.get()(path, mode);
}
int fclose(FILE* stream) {
    return nextFclose.get()(stream);
}
int fflush(FILE* stream) {
    return nextFflush.get()(stream);
}
int remove(const char* path) {
    return nextRemove.get()(path);
}
int unlink(const char* path) {
    return nextUnlink.get()(path);
}
int rename(const char* from, const char* to) {
    return nextRename.get()(from, to);
}
int access(const char* path, int mode) {
    return nextAccess.get()(path, mode);
}
int faccessat(int directory, const char* path, int mode, int flags) {
    return nextFaccessat.get()(directory, path, mode, flags);
}
int stat(const char* path, struct ::stat* result) {
    return nextStat.get()(path, result);
}
int lstat(const char* path, struct ::stat* result) {
    return nextLstat.get()(path, result);
}
int fstatat(int directory, const char* path, struct ::stat* result, int flags) {
    return nextFstatat.get()(directory, path, result, flags);
}
int stat64(const char* path, struct ::stat64* result) {
    return nextStat64.get()(path, result);
}
int lstat64(const char* path, struct ::stat64* result) {
    return nextLstat64.get()(path, result);
}
int fstatat64(int directory, const char* path, struct ::stat64* result, int flags) {
    return nextFstatat64.get()(directory, path, result, flags);
}
int statx(int directory, const char* path, int flags, unsigned mask, struct ::statx* result) {
    return nextStatx.get()(directory, path, flags, mask, result);
}
DIR* opendir(const char* path) {
    return nextOpendir.get()(path);
}
int closedir(DIR* stream) {
    return nextClosedir.get()(stream);
}
int scandir(const char* path, dirent*** list, DirentFilter filter, DirentOrder order) {
    return nextScandir.get()(path, list, filter, order);
}
int scandir64(const char* path, dirent64*** list, Dirent64Filter filter, Dirent64Order order) {
    return nextScandir64.get()(path, list, filter, order);
}

int ioctl(int fd, unsigned long request, void* argument) {
    return nextIoctl.get()(fd, request, argument);
}
int socket(int domain, int type, int protocol) {
    return nextSocket.get()(domain, type, protocol);
}
int bind(int fd, const sockaddr* address, socklen_t length) {
    return nextBind.get()(fd, address, length);
}
ssize_t send(int fd, const void* buffer, size_t size, int flags) {
    return nextSend.get()(fd, buffer, size, flags);
}
ssize_t sendto(int fd, const void* buffer, size_t size, int flags, const sockaddr* address, socklen_t length) {
    return nextSendto.get()(fd, buffer, size, flags, address, length);
}
unsigned ifNameToIndex(const char* name) {
    return nextNameToIndex.get()(name);
}
char* ifIndexToName(unsigned index, char* name) {
    return nextIndexToName.get()(index, name);
}

int system(const char* command) {
    return nextSystem.get()(command);
}
FILE* popen(const char* command, const char* mode) {
    return nextPopen.get()(command, mode);
}
int pclose(FILE* stream) {
    return nextPclose.get()(stream);
}

void* dlopen(const char* file, int mode) {
    return nextDlopen.get()(file, mode);
}

unsigned sleep(unsigned seconds) {
    return nextSleep.get()(seconds);
}
int usleep(useconds_t microseconds) {
    return nextUsleep.get()(microseconds);
}
int nanosleep(const timespec* length, timespec* rest) {
    return nextNanosleep.get()(length, rest);
}
int select(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
    return nextSelect.get()(count, readable, writable, failed, timeout);
}

}  // namespace virtual_onu::real
