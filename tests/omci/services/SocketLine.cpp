#include "omci/services/SocketLine.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr int kAnswerMs = 10000;

sockaddr_un placeOf(const std::string& path) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::snprintf(place.sun_path, sizeof place.sun_path, "%s", path.c_str());
    return place;
}

std::string content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

SocketLine::SocketLine() {
    char folder[] = "/tmp/vorn-olt-XXXXXX";
    folder_ = mkdtemp(folder);
    const std::string address = "unix:" + folder_ + "/onu", json = folder_ + "/state.json", out = folder_ + "/shown";
    onu_ = fork();
    if (onu_ == 0) {
        const int shown = ::open(out.c_str(), O_WRONLY | O_CREAT, 0600);
        dup2(shown, STDOUT_FILENO);
        execl(VORN_ONU_BINARY, "vorn-onu", "omci", "--listen", address.c_str(), "--json", json.c_str(), nullptr);
        _exit(127);
    }
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un own = placeOf(folder_ + "/olt"), peer = placeOf(folder_ + "/onu");
    ::bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own);
    for (int waited = 0; waited < kAnswerMs; waited += 10) {
        if (::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) return;
        poll(nullptr, 0, 10);
    }
}

SocketLine::~SocketLine() {
    end();
    ::close(socket_);
    std::filesystem::remove_all(folder_);
}

std::optional<omci::Message> SocketLine::exchange(const omci::Message& request) {
    const omci::Bytes frame = omci::encodeFrame(request);
    if (::send(socket_, frame.data(), frame.size(), 0) < 0) return {};
    pollfd waits{socket_, POLLIN, 0};
    while (poll(&waits, 1, kAnswerMs) == 1) {
        omci::Bytes bytes(4096);
        const ssize_t got = ::recv(socket_, bytes.data(), bytes.size(), 0);
        if (got <= 0) return {};
        const auto decoded = omci::decodeFrame(omci::ByteView(bytes.data(), static_cast<std::size_t>(got)));
        if (decoded.message.isAnswer && decoded.message.transaction == request.transaction) return decoded.message;
    }
    return {};
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
    return content(folder_ + "/state.json");
}
std::string SocketLine::shown() const {
    return content(folder_ + "/shown");
}
bool SocketLine::socketExists() const {
    return std::filesystem::exists(folder_ + "/onu");
}
