// Requests to devices, and sockets.
#include <cstdarg>

#include "Core.h"
#include "kernel/Network.h"
#include "kernel/NetworkIoctl.h"
#include "kernel/PacketSockets.h"
#include "libc/CharDevices.h"
#include "libc/interposed/Interposed.h"
#include "real_libc/Descriptors.h"
#include "real_libc/RealLibc.h"

using namespace virtual_onu;
using descriptors::Kind;

extern "C" {

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

}  // extern "C"
