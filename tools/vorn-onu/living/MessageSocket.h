// Datagrams of an OLT, each a message: over a Unix socket or the loopback interface, nowhere else.
#ifndef VORN_ONU_MESSAGE_SOCKET_H
#define VORN_ONU_MESSAGE_SOCKET_H

#include <sys/socket.h>

#include <optional>
#include <string>

#include "omci/message/Bytes.h"

namespace vorn_onu {

class MessageSocket {
public:
    // "unix:PATH" or "udp:127.0.0.1:PORT" (port 0: any that is free). A Unix socket that nobody listens at is replaced.
    // Throws std::runtime_error.
    explicit MessageSocket(const std::string& address);
    ~MessageSocket();
    MessageSocket(const MessageSocket&) = delete;
    MessageSocket& operator=(const MessageSocket&) = delete;

    int descriptor() const { return descriptor_; }
    const std::string& address() const { return address_; }  // with the port that it became
    // A datagram that waits, nothing otherwise. Its sender is the peer from then on.
    std::optional<omci::Bytes> receive();
    // To the peer that spoke last; false where there is none, or it does not take the datagram.
    bool send(const omci::Bytes& datagram);

private:
    void openUnix(const std::string& path);
    void openUdp(const std::string& place);

    std::string address_, path_;
    int descriptor_ = -1;
    sockaddr_storage peer_{};
    socklen_t peerSize_ = 0;
};

}  // namespace vorn_onu

#endif
