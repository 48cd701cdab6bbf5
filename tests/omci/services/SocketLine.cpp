#include "omci/services/SocketLine.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

sockaddr_un placeOf(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::snprintf(place.sun_path, sizeof place.sun_path, "%s", path.c_str());
    return place;
}

}  // namespace

SocketLine::SocketLine(Kind kind, const std::vector<std::string>& more) {
    const std::string address = kind == Kind::kUnix ? "unix:" + path("onu") : "udp:127.0.0.1:0";
    std::vector<std::string> words{VORN_ONU_BINARY, "omci", "--listen", address, "--json", path("state.json")};
    for (const std::string& word : more) words.push_back(word.front() == '+' ? path(word.substr(1)) : word);
    onu_ = std::make_unique<BackgroundProgram>(std::move(words), path("shown"));
    if (kind == Kind::kUnix)
        connectUnix();
    else
        connectUdp();
}

void SocketLine::connectUnix() {
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un own = placeOf(path("olt")), peer = placeOf(path("onu"));
    ::bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own);
    becomesTrue([&] { return ::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0; });
}

// The ONU says which port it has taken.
void SocketLine::connectUdp() {
    socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const std::string head = "udp:127.0.0.1:";
    std::string line;
    if (!becomesTrue([&] {
            const std::string text = shown();
            line = text.substr(std::min(text.find(head), text.size()));
            return line.find('\n') != std::string::npos;
        }))
        return;
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    peer.sin_port = htons(static_cast<std::uint16_t>(std::stoul(line.substr(head.size()))));
    ::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
}

SocketLine::~SocketLine() {
    ::close(socket_);
}

omci::Bytes SocketLine::receiveBytes() {
    pollfd waits{socket_, POLLIN, 0};
    if (poll(&waits, 1, kHangMs) != 1) return {};
    omci::Bytes bytes(4096);
    const ssize_t got = ::recv(socket_, bytes.data(), bytes.size(), 0);
    bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return bytes;
}

std::optional<omci::Message> SocketLine::receive() {
    const omci::Bytes bytes = receiveBytes();
    if (bytes.empty()) return {};
    return omci::decodeFrame(bytes).message;
}

std::optional<omci::Message> SocketLine::exchange(const omci::Message& request) {
    const omci::Bytes frame = omci::encodeFrame(request);
    if (::send(socket_, frame.data(), frame.size(), 0) < 0) return {};
    while (auto message = receive()) {
        if (message->isAnswer && message->transaction == request.transaction) return message;
        if (!message->isAnswer) autonomous_.push_back(*std::move(message));
    }
    return {};
}

void SocketLine::sendBytes(const omci::Bytes& datagram) {
    if (::send(socket_, datagram.data(), datagram.size(), 0) < 0) perror("send");
}

std::optional<omci::Message> SocketLine::autonomous() {
    if (autonomous_.empty()) return receive();
    omci::Message first = std::move(autonomous_.front());
    autonomous_.pop_front();
    return first;
}
