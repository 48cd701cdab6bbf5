// Packet sockets: what is sent through them is kept instead of reaching a wire. Such a socket is a real, unconnected
// descriptor, so that fcntl, select and close work on it.
#ifndef VIRTUAL_ONU_PACKET_SOCKETS_H
#define VIRTUAL_ONU_PACKET_SOCKETS_H

#include <sys/socket.h>

#include <cstddef>

#include <nlohmann/json_fwd.hpp>

namespace virtual_onu::packets {

// Results as the socket functions give them, but a negative errno value for a failure.
int open(int type, int protocol);
int bind(int fd, const sockaddr* address, socklen_t length);
ssize_t send(int fd, const void* frame, std::size_t size, const sockaddr* address, socklen_t length);
void closed(int fd);
void copied(int fd, int copy);  // as by dup

void reset();
nlohmann::json toJson();  // what was sent: device and bytes, oldest first

}  // namespace virtual_onu::packets

#endif
