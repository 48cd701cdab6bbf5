// The C library functions through which a program reaches the device. Each does three things only: is it ours? then ask
// the model, else call the real function. errno stays as it was when the answer is a success.
//
// They are defined under names of their own with the C library's as link names: so the C library's declarations with
// their attributes ("the path is never null"), fortified inline bodies and large-file renamings do not apply to them.
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>

#include "Core.h"
#include "Facilities.h"
#include "kernel/Network.h"
#include "kernel/NetworkIoctl.h"
#include "kernel/PacketSockets.h"
#include "libc/CharDevices.h"
#include "libc/Files.h"
#include "libc/real/Descriptors.h"
#include "libc/real/RealLibc.h"
#include "shell/Shell.h"

#define INTERPOSES(name) __asm__(#name) __attribute__((visibility("default")))

using namespace virtual_onu;
using descriptors::Kind;

namespace {

// Turns the model's answer (a result, or a negative errno value) into the C library's.
class Answer {
public:
    template <typename Result>
    Result operator()(Result result) const {
        errno = result < 0 ? static_cast<int>(-result) : saved_;
        return result < 0 ? -1 : result;
    }

private:
    int saved_ = errno;
};

// For functions whose result says nothing about errno.
class KeepErrno {
public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno&) = delete;
    ~KeepErrno() { errno = saved_; }

private:
    int saved_ = errno;
};

mode_t modeBehind(int flags, va_list values) {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? static_cast<mode_t>(va_arg(values, unsigned)) : 0;
}

int openPath(const char* path, int flags, mode_t mode) {
    if (!files::owns(path)) return real::open(path, flags, mode);
    const Answer answer;
    return answer(files::open(path, flags, mode, "open"));
}

int openPathAt(int directory, const char* path, int flags, mode_t mode) {
    if (!files::owns(path)) return real::openat(directory, path, flags, mode);
    const Answer answer;
    return answer(files::open(path, flags, mode, "open"));
}

FILE* openStream(const char* path, const char* mode) {
    if (!files::owns(path)) return real::fopen(path, mode);
    const int saved = errno;
    FILE* stream = files::openStream(path, mode);
    if (stream != nullptr) errno = saved;
    return stream;
}

Kind kindOf(FILE* stream) {
    return stream == nullptr ? Kind::NotOurs : descriptors::kindOf(fileno(stream));
}

// Looks at a path: the real function, on the path or on what stands in for it. A stand-in may be a link, and a device
// path never is one: ours tells the function to follow links.
template <typename Look>
int lookAt(const char* path, Look look) {
    if (!files::owns(path)) return look(path, false);
    const Answer answer;
    const files::StandIn standIn(path, files::StandIn::For::Look);
    if (standIn.error() != 0) return answer(-standIn.error());
    const int result = look(standIn.place(), true);
    return result < 0 ? result : answer(result);
}

int followed(int flags, bool ours) {
    return ours ? flags & ~AT_SYMLINK_NOFOLLOW : flags;
}

void forget(int fd, Kind kind) {
    if (kind == Kind::PacketSocket) packets::closed(fd);
    files::closed(fd);
}

// A descriptor of ours is about to be closed: 0, or the errno of what was written to it last.
int release(int fd, Kind kind) {
    const int error = files::settle(fd);
    forget(fd, kind);
    return error;
}

// Lists a directory: the path's, or the one that stands in for it.
template <typename List>
int listAt(const char* path, List list) {
    if (!files::owns(path)) return list(path);
    const Answer answer;
    const files::StandIn standIn(path, files::StandIn::For::List);
    if (standIn.error() != 0) return answer(-standIn.error());
    const int result = list(standIn.place());
    return result < 0 ? result : answer(result);
}

// What the program does with a copy of a descriptor of ours, it does with ours.
int copied(int fd, int copy) {
    const Kind kind = descriptors::kindOf(fd);
    if (copy < 0 || copy == fd || kind == Kind::NotOurs) return copy;
    const KeepErrno keep;
    files::copied(fd, copy);
    if (kind == Kind::PacketSocket) packets::copied(fd, copy);
    return copy;
}

// A copy onto a descriptor that may be one of ours, which is closed by it.
template <typename Copy>
int copyOnto(int fd, int target, Copy copy) {
    const Kind kind = descriptors::kindOf(target);
    if (kind == Kind::NotOurs || fd == target) return copied(fd, copy());
    {
        const KeepErrno keep;
        files::settle(target);
    }
    const int result = copy();
    if (result < 0) return result;
    const KeepErrno keep;
    forget(target, kind);
    return copied(fd, result);
}

int control(int fd, int command, va_list values) {
    void* argument = va_arg(values, void*);  // as the C library itself takes it, whatever its type
    const int result = real::fcntl(fd, command, argument);
    return command == F_DUPFD || command == F_DUPFD_CLOEXEC ? copied(fd, result) : result;
}

bool isEmpty(int count, const fd_set* readable, const fd_set* writable, const fd_set* failed) {
    return count == 0 || (readable == nullptr && writable == nullptr && failed == nullptr);
}

}  // namespace

extern "C" {

// ---- files ----

int onuOpen(const char* path, int flags, ...) INTERPOSES(open);
int onuOpen(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPath(path, flags, mode);
}

int onuOpen64(const char* path, int flags, ...) INTERPOSES(open64);
int onuOpen64(const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPath(path, flags | O_LARGEFILE, mode);
}

int onuOpenat(int directory, const char* path, int flags, ...) INTERPOSES(openat);
int onuOpenat(int directory, const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPathAt(directory, path, flags, mode);
}

int onuOpenat64(int directory, const char* path, int flags, ...) INTERPOSES(openat64);
int onuOpenat64(int directory, const char* path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = modeBehind(flags, values);
    va_end(values);
    return openPathAt(directory, path, flags | O_LARGEFILE, mode);
}

// What fortified programs call when open has no mode.
int onuOpenChecked(const char* path, int flags) INTERPOSES(__open_2);
int onuOpenChecked(const char* path, int flags) {
    return openPath(path, flags, 0);
}

int onuOpen64Checked(const char* path, int flags) INTERPOSES(__open64_2);
int onuOpen64Checked(const char* path, int flags) {
    return openPath(path, flags | O_LARGEFILE, 0);
}

FILE* onuFopen(const char* path, const char* mode) INTERPOSES(fopen);
FILE* onuFopen(const char* path, const char* mode) {
    return openStream(path, mode);
}

FILE* onuFopen64(const char* path, const char* mode) INTERPOSES(fopen64);
FILE* onuFopen64(const char* path, const char* mode) {
    return openStream(path, mode);
}

int onuClose(int fd) INTERPOSES(close);
int onuClose(int fd) {
    const Kind kind = descriptors::kindOf(fd);
    if (kind == Kind::NotOurs) return real::close(fd);
    const Answer answer;
    const int error = release(fd, kind);
    const int result = real::close(fd);
    return result != 0 ? result : answer(-error);
}

int onuFcntl(int fd, int command, ...) INTERPOSES(fcntl);
int onuFcntl(int fd, int command, ...) {
    va_list values;
    va_start(values, command);
    const int result = control(fd, command, values);
    va_end(values);
    return result;
}

int onuFcntl64(int fd, int command, ...) INTERPOSES(fcntl64);
int onuFcntl64(int fd, int command, ...) {
    va_list values;
    va_start(values, command);
    const int result = control(fd, command, values);
    va_end(values);
    return result;
}

int onuDup(int fd) INTERPOSES(dup);
int onuDup(int fd) {
    return copied(fd, real::dup(fd));
}

int onuDup2(int fd, int target) INTERPOSES(dup2);
int onuDup2(int fd, int target) {
    return copyOnto(fd, target, [&] { return real::dup2(fd, target); });
}

int onuDup3(int fd, int target, int flags) INTERPOSES(dup3);
int onuDup3(int fd, int target, int flags) {
    return copyOnto(fd, target, [&] { return real::dup3(fd, target, flags); });
}

int onuFclose(FILE* stream) INTERPOSES(fclose);
int onuFclose(FILE* stream) {
    const Kind kind = kindOf(stream);
    if (kind == Kind::NotOurs) return real::fclose(stream);
    const Answer answer;
    real::fflush(stream);
    const int error = release(fileno(stream), kind);
    const int result = real::fclose(stream);
    return result != 0 ? result : answer(-error);
}

int onuFflush(FILE* stream) INTERPOSES(fflush);
int onuFflush(FILE* stream) {
    if (kindOf(stream) == Kind::NotOurs) return real::fflush(stream);
    const Answer answer;
    const int result = real::fflush(stream);
    return result != 0 ? result : answer(-files::settle(fileno(stream)));
}

ssize_t onuWrite(int fd, const void* data, size_t size) INTERPOSES(write);
ssize_t onuWrite(int fd, const void* data, size_t size) {
    const Answer answer;
    switch (descriptors::kindOf(fd)) {
        case Kind::File:
        case Kind::Attribute:
            return answer(files::write(fd, data, size));
        case Kind::PacketSocket:
            return answer(packets::send(fd, data, size, nullptr, 0));
        default:
            return real::write(fd, data, size);
    }
}

int onuRemove(const char* path) INTERPOSES(remove);
int onuRemove(const char* path) {
    if (!files::owns(path)) return real::remove(path);
    const Answer answer;
    return answer(-files::remove(path, "remove"));
}

int onuUnlink(const char* path) INTERPOSES(unlink);
int onuUnlink(const char* path) {
    if (!files::owns(path)) return real::unlink(path);
    const Answer answer;
    return answer(-files::remove(path, "unlink"));
}

int onuRename(const char* from, const char* to) INTERPOSES(rename);
int onuRename(const char* from, const char* to) {
    if (!files::owns(from) && !files::owns(to)) return real::rename(from, to);
    const Answer answer;
    return answer(-files::rename(from, to));
}

int onuAccess(const char* path, int mode) INTERPOSES(access);
int onuAccess(const char* path, int mode) {
    return lookAt(path, [&](const char* place, bool) { return real::access(place, mode); });
}

int onuFaccessat(int directory, const char* path, int mode, int flags) INTERPOSES(faccessat);
int onuFaccessat(int directory, const char* path, int mode, int flags) {
    return lookAt(path, [&](const char* place, bool) { return real::faccessat(directory, place, mode, flags); });
}

int onuStat(const char* path, struct stat* result) INTERPOSES(stat);
int onuStat(const char* path, struct stat* result) {
    return lookAt(path, [&](const char* place, bool) { return real::stat(place, result); });
}

// On 32-bit machines the two records differ.
int onuStat64(const char* path, struct stat64* result) INTERPOSES(stat64);
int onuStat64(const char* path, struct stat64* result) {
    return lookAt(path, [&](const char* place, bool) { return real::stat64(place, result); });
}

int onuLstat(const char* path, struct stat* result) INTERPOSES(lstat);
int onuLstat(const char* path, struct stat* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return ours ? real::stat(place, result) : real::lstat(place, result);
    });
}

int onuLstat64(const char* path, struct stat64* result) INTERPOSES(lstat64);
int onuLstat64(const char* path, struct stat64* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return ours ? real::stat64(place, result) : real::lstat64(place, result);
    });
}

int onuFstatat(int directory, const char* path, struct stat* result, int flags) INTERPOSES(fstatat);
int onuFstatat(int directory, const char* path, struct stat* result, int flags) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::fstatat(directory, place, result, followed(flags, ours));
    });
}

int onuFstatat64(int directory, const char* path, struct stat64* result, int flags) INTERPOSES(fstatat64);
int onuFstatat64(int directory, const char* path, struct stat64* result, int flags) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::fstatat64(directory, place, result, followed(flags, ours));
    });
}

int onuStatx(int directory, const char* path, int flags, unsigned mask, struct statx* result) INTERPOSES(statx);
int onuStatx(int directory, const char* path, int flags, unsigned mask, struct statx* result) {
    return lookAt(path, [&](const char* place, bool ours) {
        return real::statx(directory, place, followed(flags, ours), mask, result);
    });
}

DIR* onuOpendir(const char* path) INTERPOSES(opendir);
DIR* onuOpendir(const char* path) {
    if (!files::owns(path)) return real::opendir(path);
    const int saved = errno;
    DIR* stream = files::openDirectory(path);
    if (stream != nullptr) errno = saved;
    return stream;
}

int onuClosedir(DIR* stream) INTERPOSES(closedir);
int onuClosedir(DIR* stream) {
    const int fd = stream == nullptr ? -1 : dirfd(stream);
    if (descriptors::kindOf(fd) != Kind::NotOurs) files::closed(fd);
    return real::closedir(stream);
}

int onuScandir(const char* path, dirent*** names, real::DirentFilter filter, real::DirentOrder order)
    INTERPOSES(scandir);
int onuScandir(const char* path, dirent*** names, real::DirentFilter filter, real::DirentOrder order) {
    return listAt(path, [&](const char* place) { return real::scandir(place, names, filter, order); });
}

int onuScandir64(const char* path, dirent64*** names, real::Dirent64Filter filter, real::Dirent64Order order)
    INTERPOSES(scandir64);
int onuScandir64(const char* path, dirent64*** names, real::Dirent64Filter filter, real::Dirent64Order order) {
    return listAt(path, [&](const char* place) { return real::scandir64(place, names, filter, order); });
}

// ---- devices and sockets ----

int onuIoctl(int fd, unsigned long request, ...) INTERPOSES(ioctl);
int onuIoctl(int fd, unsigned long request, ...) {
    va_list values;
    va_start(values, request);
    void* argument = va_arg(values, void*);  // every request takes one machine word, or none and then it is not read
    va_end(values);
    const Answer answer;
    const Kind kind = descriptors::kindOf(fd);
    if (kind == Kind::Laser || kind == Kind::Stack) return answer(chardev::ioctl(kind, request, argument));
    if (network::ownsRequest(request)) return answer(network::interfaceIoctl(fd, request, argument));
    return real::ioctl(fd, request, argument);
}

unsigned onuNameToIndex(const char* name) INTERPOSES(if_nametoindex);
unsigned onuNameToIndex(const char* name) {
    if (network::hostKernel()) return real::ifNameToIndex(name);
    const Answer answer;
    const int index = answer(network::indexOfName(name));
    return index < 0 ? 0 : static_cast<unsigned>(index);
}

char* onuIndexToName(unsigned index, char* name) INTERPOSES(if_indextoname);
char* onuIndexToName(unsigned index, char* name) {
    if (network::hostKernel()) return real::ifIndexToName(index, name);
    const Answer answer;
    return answer(network::nameOfIndex(index, name)) == 0 ? name : nullptr;
}

int onuSocket(int domain, int type, int protocol) INTERPOSES(socket);
int onuSocket(int domain, int type, int protocol) {
    const Answer answer;
    if (domain == AF_PACKET && !network::hostKernel()) return answer(packets::open(type, protocol));
    if (const auto fault = faultOf("socket", "", false)) return answer(-*fault);
    return real::socket(domain, type, protocol);
}

int onuBind(int fd, const sockaddr* address, socklen_t length) INTERPOSES(bind);
int onuBind(int fd, const sockaddr* address, socklen_t length) {
    if (descriptors::kindOf(fd) != Kind::PacketSocket) return real::bind(fd, address, length);
    const Answer answer;
    return answer(packets::bind(fd, address, length));
}

ssize_t onuSend(int fd, const void* data, size_t size, int flags) INTERPOSES(send);
ssize_t onuSend(int fd, const void* data, size_t size, int flags) {
    if (descriptors::kindOf(fd) != Kind::PacketSocket) return real::send(fd, data, size, flags);
    const Answer answer;
    return answer(packets::send(fd, data, size, nullptr, 0));
}

ssize_t onuSendto(int fd, const void* data, size_t size, int flags, const sockaddr* address, socklen_t length)
    INTERPOSES(sendto);
ssize_t onuSendto(int fd, const void* data, size_t size, int flags, const sockaddr* address, socklen_t length) {
    if (descriptors::kindOf(fd) != Kind::PacketSocket) return real::sendto(fd, data, size, flags, address, length);
    const Answer answer;
    return answer(packets::send(fd, data, size, address, length));
}

// ---- the shell ----

int onuSystem(const char* command) INTERPOSES(system);
int onuSystem(const char* command) {
    const KeepErrno keep;
    return shell::system(command);
}

FILE* onuPopen(const char* command, const char* mode) INTERPOSES(popen);
FILE* onuPopen(const char* command, const char* mode) {
    return shell::popen(command, mode);
}

int onuPclose(FILE* stream) INTERPOSES(pclose);
int onuPclose(FILE* stream) {
    return shell::ownsStream(stream) ? shell::pclose(stream) : real::pclose(stream);
}

// ---- waits ----

unsigned onuSleep(unsigned seconds) INTERPOSES(sleep);
unsigned onuSleep(unsigned seconds) {
    const KeepErrno keep;
    waitFor("sleep", std::uint64_t{1000} * seconds);
    return 0;
}

int onuUsleep(useconds_t microseconds) INTERPOSES(usleep);
int onuUsleep(useconds_t microseconds) {
    const KeepErrno keep;
    waitFor("usleep", (std::uint64_t{microseconds} + 999) / 1000);
    return 0;
}

int onuNanosleep(const timespec* length, timespec* rest) INTERPOSES(nanosleep);
int onuNanosleep(const timespec* length, timespec* rest) {
    const bool valid = length != nullptr && length->tv_sec >= 0 && length->tv_nsec >= 0 && length->tv_nsec < 1000000000;
    if (!valid) return real::nanosleep(length, rest);
    const KeepErrno keep;
    waitFor("nanosleep", static_cast<std::uint64_t>(length->tv_sec) * 1000 +
                             (static_cast<std::uint64_t>(length->tv_nsec) + 999999) / 1000000);
    return 0;
}

int onuSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) INTERPOSES(select);
int onuSelect(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
    const Answer answer;
    if (const auto fault = faultOf("select", "", false)) return answer(-*fault);
    const bool idle = isEmpty(count, readable, writable, failed) && timeout != nullptr && timeout->tv_sec >= 0 &&
                      timeout->tv_usec >= 0;
    if (!idle) return real::select(count, readable, writable, failed, timeout);
    idleWait(static_cast<std::uint64_t>(timeout->tv_sec) * 1000 +
             (static_cast<std::uint64_t>(timeout->tv_usec) + 999) / 1000);
    *timeout = {};
    return answer(0);
}

}  // extern "C"
