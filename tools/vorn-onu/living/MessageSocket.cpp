#include "living/MessageSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxLength = 4096;  // of a datagram; a message of the extended set has 1980 bytes

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

bool isNumberUpTo(const std::string& digits, unsigned long highest) {
    return !digits.empty() && digits.size() <= 5 &&
           std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }) &&
           std::stoul(digits) <= highest;
}

std::string hostIn(const std::string& place) {
    const std::string host = place.substr(0, place.rfind(':'));
    return host == "localhost" ? "127.0.0.1" : host;
}

}  // namespace

Peers::Peers(const std::string& text) {
    constexpr unsigned kBits = 32;
    const std::size_t slash = text.find('/');
    const std::string bits = slash == std::string::npos ? "32" : text.substr(slash + 1);
    in_addr address{};
    if (inet_pton(AF_INET, text.substr(0, slash).c_str(), &address) != 1 || !isNumberUpTo(bits, kBits) ||
        std::stoul(bits) == 0)
        throw std::invalid_argument("--peer: must be an IPv4 address, or those of a network as 10.0.0.0/16, not '" +
                                    text + "'");
    mask_ = ~std::uint32_t{0} << (kBits - static_cast<unsigned>(std::stoul(bits)));
    network_ = ntohl(address.s_addr) & mask_;
}

bool Peers::has(const sockaddr_storage& sender) const {
    if (any()) return true;
    sockaddr_in place{};
    std::memcpy(&place, &sender, sizeof place);
    return place.sin_family == AF_INET && (ntohl(place.sin_addr.s_addr) & mask_) == network_;
}

bool isOfThisMachine(const std::string& address) {
    return address.compare(0, 4, "udp:") != 0 || hostIn(address.substr(4)).compare(0, 4, "127.") == 0;
}

MessageSocket::MessageSocket(const std::string& address, const Peers& peers) : address_(address), peers_(peers) {
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
    const std::string host = hostIn(text);
    const std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    if (inet_pton(AF_INET, host.c_str(), &place.sin_addr) != 1) refuse(address_, "'" + host + "' is no address");
    if (!isNumberUpTo(digits, 65535)) refuse(address_, "the port must be a number from 0 to 65535");
    if (peers_.any() && !isOfThisMachine(address_))
        refuse(address_, "others reach it: it has to be said whose messages are taken");
    place.sin_port = htons(static_cast<std::uint16_t>(std::stoul(digits)));
    descriptor_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
        const std::string why = reason();
        close(descriptor_);
        refuse(address_, why);
    }
    socklen_t size = sizeof place;
    getsockname(descriptor_, reinterpret_cast<sockaddr*>(&place), &size);
    address_ = "udp:" + text.substr(0, colon) + ":" + std::to_string(ntohs(place.sin_port));
}

std::optional<omci::Bytes> MessageSocket::receive() {
    std::array<std::uint8_t, kMaxLength> bytes;
    while (true) {
        senderSize_ = sizeof sender_;
        const ssize_t got =
            recvfrom(descriptor_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&sender_), &senderSize_);
        if (got < 0) return {};
        if (peers_.has(sender_)) return omci::Bytes(bytes.begin(), bytes.begin() + got);
        ++ofOthers_;
    }
}

void MessageSocket::taken() {
    peer_ = sender_;
    peerSize_ = senderSize_;
}

bool MessageSocket::send(const omci::Bytes& datagram) {
    if (peerSize_ <= sizeof(sa_family_t)) return false;  // a Unix socket without a name cannot be answered
    return sendto(descriptor_, datagram.data(), datagram.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&peer_),
                  peerSize_) == static_cast<ssize_t>(datagram.size());
}

}  // namespace vorn_onu
