// Datagrams of an OLT, each a message: over a Unix socket, or UDP of this machine or of one peer.
#ifndef VORN_ONU_MESSAGE_SOCKET_H
#define VORN_ONU_MESSAGE_SOCKET_H

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>

#include "omci/message/Bytes.h"

namespace vorn_onu {

// The address that datagrams may come from: one, "10.0.0.5", or those of a network, "10.0.0.0/16".
class Peers {
public:
    Peers() = default;  // anybody
    // IPv4. Throws std::invalid_argument.
    explicit Peers(const std::string& text);
    bool any() const { return mask_ == 0; }
    bool has(const sockaddr_storage& sender) const;

private:
    std::uint32_t network_ = 0, mask_ = 0;  // in the host's order of octets
};

// Whether only this machine reaches the address: a Unix socket, or one of 127.0.0.0/8.
bool isOfThisMachine(const std::string& address);

class MessageSocket {
public:
    // "unix:PATH" or "udp:ADDRESS:PORT" (port 0: any that is free). A Unix socket that nobody listens at is replaced.
    // peers: whose datagrams are taken, of UDP. Throws std::runtime_error, also for an address that others reach where
    // anybody's would be taken.
    explicit MessageSocket(const std::string& address, const Peers& peers = {});
    ~MessageSocket();
    MessageSocket(const MessageSocket&) = delete;
    MessageSocket& operator=(const MessageSocket&) = delete;

    int descriptor() const { return descriptor_; }
    const std::string& address() const { return address_; }  // with the port that it became
    // A datagram that waits, nothing otherwise. What has more than any message has is cut, behind that.
    std::optional<omci::Bytes> receive();
    // The sender of the last datagram is the peer from now on: it was a message.
    void taken();
    std::uint64_t ofOthers() const { return ofOthers_; }  // datagrams that were dropped because of their sender
    // To the peer; false where there is none, or it does not take the datagram.
    bool send(const omci::Bytes& datagram);

private:
    void openUnix(const std::string& path);
    void openUdp(const std::string& place);

    std::string address_, path_;
    int descriptor_ = -1;
    Peers peers_;
    sockaddr_storage sender_{}, peer_{};
    socklen_t senderSize_ = 0, peerSize_ = 0;
    std::uint64_t ofOthers_ = 0;
};

}  // namespace vorn_onu

#endif
