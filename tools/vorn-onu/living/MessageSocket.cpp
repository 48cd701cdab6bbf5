#include "living/MessageSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxDatagramLength = 65536;  // of a datagram

[[noreturn]] void refuse(const std::string& address, const std::string& why) {
    throw std::runtime_error(address + ": " + why);
}
std::string reason() {
    return std::generic_category().message(errno);
}

bool isSocket(const std::string& path) {
    struct stat found {};
    return lstat(path.c_str(), &found) == 0 && S_ISSOCK(found.st_mode);
}

// Somebody listens there.
bool isInUse(const sockaddr_un& place) {
    const int probe = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool connected = connect(probe, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
    close(probe);
    return connected;
}

}  // namespace

MessageSocket::MessageSocket(const std::string& address) : address_(address) {
    if (address.compare(0, 5, "unix:") == 0)
        openUnix(address.substr(5));
    else if (address.compare(0, 4, "udp:") == 0)
        openUdp(address.substr(4));
    else
        refuse(address, "is no address to listen at: unix:PATH or udp:127.0.0.1:PORT");
}

MessageSocket::~MessageSocket() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!path_.empty()) unlink(path_.c_str());
}

void MessageSocket::openUnix(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (path.empty()) refuse(address_, "the path is missing");
    if (path.size() >= sizeof place.sun_path) refuse(address_, "the path is too long for a socket");
    std::copy(path.begin(), path.end(), place.sun_path);
    if (isSocket(path)) {
        if (isInUse(place)) refuse(address_, "somebody listens there already");
        unlink(path.c_str());
    }
    descriptor_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const mode_t before = umask(0077);  // for this user alone
    const int bound = bind(descriptor_, reinterpret_cast<const sockaddr*>(&place), sizeof place);
    const std::string why = reason();
    umask(before);
    if (bound == 0) {
        path_ = path;
        return;
    }
    close(descriptor_);
    refuse(address_, why);
}

void MessageSocket::openUdp(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    const std::string host = text.substr(0, colon);
    const std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
    if (host != "localhost" && host.compare(0, 4, "127.") != 0)
        refuse(address_, "is not of this machine; only 127.0.0.1 is listened at");
    sockaddr_in place{};
    place.sin_family = AF_INET;
    if (inet_pton(AF_INET, host == "localhost" ? "127.0.0.1" : host.c_str(), &place.sin_addr) != 1)
        refuse(address_, "'" + host + "' is no address");
    const bool number = !digits.empty() && digits.size() <= 5 &&
                        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!number || std::stoul(digits) > 65535) refuse(address_, "the port must be a number from 0 to 65535");
    place.sin_port = htons(static_cast<std::uint16_t>(std::stoul(digits)));
    descriptor_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
        const std::string why = reason();
        close(descriptor_);
        refuse(address_, why);
    }
    socklen_t size = sizeof place;
    getsockname(descriptor_, reinterpret_cast<sockaddr*>(&place), &size);
    address_ = "udp:" + host + ":" + std::to_string(ntohs(place.sin_port));
}

std::optional<omci::Bytes> MessageSocket::receive() {
    omci::Bytes bytes(kMaxDatagramLength);
    sockaddr_storage from{};
    socklen_t size = sizeof from;
    const ssize_t got = recvfrom(descriptor_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (got < 0) return {};
    peer_ = from;
    peerSize_ = size;
    bytes.resize(static_cast<std::size_t>(got));
    return bytes;
}

bool MessageSocket::send(const omci::Bytes& datagram) {
    if (peerSize_ <= sizeof(sa_family_t)) return false;  // a Unix socket without a name cannot be answered
    return sendto(descriptor_, datagram.data(), datagram.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&peer_),
                  peerSize_) == static_cast<ssize_t>(datagram.size());
}

}  // namespace vorn_onu
