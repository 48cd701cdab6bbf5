// The kernel's calls for a thread that may have a table of descriptors of its own. Past the C library: a sanitizer that
// interposes its functions knows one table only, and would take a number there for the program's descriptor of that
// number. Results and errno as those of the functions.
#ifndef VIRTUAL_ONU_OWN_DESCRIPTORS_H
#define VIRTUAL_ONU_OWN_DESCRIPTORS_H

#include <linux/io_uring.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstddef>

namespace virtual_onu::taps::own {

inline ssize_t read(int descriptor, void* bytes, std::size_t size) {
    return syscall(SYS_read, descriptor, bytes, size);
}
inline ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    return syscall(SYS_write, descriptor, bytes, size);
}
inline ssize_t write(int descriptor, const iovec* parts, int count) {
    return syscall(SYS_writev, descriptor, parts, count);
}
inline int ioctl(int descriptor, unsigned long request, void* argument) {
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
}
inline void close(int descriptor) {
    syscall(SYS_close, descriptor);
}
inline int socket(int domain, int type, int protocol) {
    return static_cast<int>(syscall(SYS_socket, domain, type, protocol));
}
inline int connect(int descriptor, const sockaddr* place, socklen_t size) {
    return static_cast<int>(syscall(SYS_connect, descriptor, place, size));
}
inline ssize_t send(int descriptor, const void* bytes, std::size_t size, int flags) {
    return syscall(SYS_sendto, descriptor, bytes, size, flags, nullptr, 0);
}
inline ssize_t receive(int descriptor, void* bytes, std::size_t size, int flags) {
    return syscall(SYS_recvfrom, descriptor, bytes, size, flags, nullptr, nullptr);
}
inline ssize_t receiveMessage(int descriptor, msghdr* message, int flags) {
    return syscall(SYS_recvmsg, descriptor, message, flags);
}
// io_uring: requests and their results in memory that is shared with the kernel.
inline int setUpRing(unsigned entries, io_uring_params* about) {
    return static_cast<int>(syscall(SYS_io_uring_setup, entries, about));
}
// Hands over so many requests, and waits for so many results.
inline int enterRing(int ring, unsigned requests, unsigned results) {
    return static_cast<int>(
        syscall(SYS_io_uring_enter, ring, requests, results, IORING_ENTER_GETEVENTS, nullptr, std::size_t{0}));
}
// Shared with others; from whole pages behind its beginning.
inline void* map(int descriptor, std::size_t size, std::size_t from = 0) {
#ifdef SYS_mmap2  // of 32 bits; where SYS_mmap is beside it, that one takes its arguments otherwise
    constexpr long kCall = SYS_mmap2;
    constexpr std::size_t kUnit = 4096;
#else
    constexpr long kCall = SYS_mmap;
    constexpr std::size_t kUnit = 1;
#endif
    // The last one is on the stack, where an int is half an argument.
    return reinterpret_cast<void*>(
        syscall(kCall, nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, static_cast<long>(from / kUnit)));
}

}  // namespace virtual_onu::taps::own

#endif
