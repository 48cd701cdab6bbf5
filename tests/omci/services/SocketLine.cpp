#include "omci/services/SocketLine.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "support/Wait.h"

namespace {

sockaddr_un placeOf(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::snprintf(place.sun_path, sizeof place.sun_path, "%s", path.c_str());
    return place;
}

std::string printedIn(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

SocketLine::SocketLine(Kind kind, const std::vector<std::string>& more) {
    char folder[] = "/tmp/vorn-olt-XXXXXX";
    folder_ = mkdtemp(folder);
    const std::string address = kind == Kind::kUnix ? "unix:" + folder_ + "/onu" : "udp:127.0.0.1:0";
    const std::string json = folder_ + "/state.json", out = folder_ + "/shown";
    onu_ = fork();
    if (onu_ == 0) {
        const int shown = ::open(out.c_str(), O_WRONLY | O_CREAT, 0600);
        dup2(shown, STDOUT_FILENO);
        std::vector<std::string> words{"vorn-onu", "omci", "--listen", address, "--json", json};
        for (const std::string& word : more) words.push_back(word.front() == '+' ? path(word.substr(1)) : word);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        execv(VORN_ONU_BINARY, arguments.data());
        _exit(127);
    }
    if (kind == Kind::kUnix)
        connectUnix();
    else
        connectUdp();
}

void SocketLine::connectUnix() {
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un own = placeOf(folder_ + "/olt"), peer = placeOf(folder_ + "/onu");
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
    end();
    ::close(socket_);
    std::filesystem::remove_all(folder_);
}

std::optional<omci::Message> SocketLine::receive() {
    pollfd waits{socket_, POLLIN, 0};
    if (poll(&waits, 1, kHangMs) != 1) return {};
    omci::Bytes bytes(4096);
    const ssize_t got = ::recv(socket_, bytes.data(), bytes.size(), 0);
    if (got <= 0) return {};
    return omci::decodeFrame(omci::ByteView(bytes.data(), static_cast<std::size_t>(got))).message;
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

int SocketLine::end() {
    if (onu_ <= 0) return -1;
    kill(onu_, SIGTERM);
    int status = 0;
    waitpid(onu_, &status, 0);
    onu_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string SocketLine::state() const {
    return printedIn(folder_ + "/state.json");
}
std::string SocketLine::shown() const {
    return printedIn(folder_ + "/shown");
}
bool SocketLine::socketExists() const {
    return std::filesystem::exists(folder_ + "/onu");
}
