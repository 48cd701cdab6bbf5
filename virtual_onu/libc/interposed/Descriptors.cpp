// Descriptors are written to, copied, closed.
#include "real_libc/Descriptors.h"

#include <fcntl.h>
#include <linux/close_range.h>

#include <cerrno>
#include <climits>
#include <cstdarg>

#include "kernel/PacketSockets.h"
#include "libc/Files.h"
#include "libc/interposed/Interposed.h"
#include "real_libc/RealLibc.h"

using namespace virtual_onu;
using descriptors::Kind;

namespace {

Kind kindOf(FILE* stream) {
    return stream == nullptr ? Kind::NotOurs : descriptors::kindOf(fileno(stream));
}

void forget(int fd, Kind kind) {
    if (kind == Kind::PacketSocket) packets::closed(fd);
    files::closed(fd, kind);
}

// A descriptor of ours is about to be closed: 0, or the errno of what was written to it last.
int release(int fd, Kind kind) {
    const int error = files::settle(fd);
    forget(fd, kind);
    return error;
}

void releaseAll(unsigned first, unsigned last) {
    if (first > last) return;
    const KeepErrno keep;
    for (const int fd : descriptors::between(first, last)) release(fd, descriptors::kindOf(fd));
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

// The kernel refuses a number as busy while another thread is just being given it. The program may have that thread
// from us: by itself it would not meet this.
template <typename Copy>
int copiedOnceFree(Copy copy) {
    const int before = errno;
    int result = copy();
    for (; result < 0 && errno == EBUSY; result = copy()) errno = before;
    return result;
}

// A copy onto a descriptor that may be one of ours, which is closed by it.
template <typename Copy>
int copyOnto(int fd, int target, Copy copy) {
    const Kind kind = descriptors::kindOf(target);
    if (kind == Kind::NotOurs || fd == target) return copied(fd, copiedOnceFree(copy));
    {
        const KeepErrno keep;
        files::settle(target);
    }
    const int result = copiedOnceFree(copy);
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

}  // namespace

extern "C" {

int onuClose(int fd) INTERPOSES(close);
int onuClose(int fd) {
    const Kind kind = descriptors::kindOf(fd);
    if (kind == Kind::NotOurs) return real::close(fd);
    const Answer answer;
    const int error = release(fd, kind);
    const int result = real::close(fd);
    return result != 0 ? result : answer(-error);
}

int onuCloseRange(unsigned first, unsigned last, int flags) INTERPOSES(close_range);
int onuCloseRange(unsigned first, unsigned last, int flags) {
    if ((static_cast<unsigned>(flags) & CLOSE_RANGE_CLOEXEC) == 0) releaseAll(first, last);
    return real::closeRange(first, last, flags);
}

void onuClosefrom(int first) INTERPOSES(closefrom);
void onuClosefrom(int first) {
    releaseAll(first < 0 ? 0 : static_cast<unsigned>(first), UINT_MAX);
    real::closefrom(first);
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

}  // extern "C"
