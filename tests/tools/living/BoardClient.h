// Speaks to a board's socket as another program would: bytes of the documented protocol, nothing of the tool's own
// code.
#ifndef TESTS_BOARD_CLIENT_H
#define TESTS_BOARD_CLIENT_H

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

#include "support/Wait.h"

class BoardClient {
public:
    explicit BoardClient(const std::string& path) {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        std::strncpy(place.sun_path, path.c_str(), sizeof place.sun_path - 1);
        descriptor_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        connected_ = connect(descriptor_, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
    }
    ~BoardClient() { close(descriptor_); }
    BoardClient(const BoardClient&) = delete;
    BoardClient& operator=(const BoardClient&) = delete;

    bool connected() const { return connected_; }
    bool send(const std::string& bytes) const {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count = ::send(descriptor_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (count <= 0) return false;
            done += static_cast<std::size_t>(count);
        }
        return true;
    }
    // The next line as JSON; null when the connection ends or hangs.
    nlohmann::json next() {
        std::size_t line = 0;
        while ((line = buffer_.find('\n')) == std::string::npos) {
            pollfd wait{descriptor_, POLLIN, 0};
            char bytes[65536];
            const ssize_t count = poll(&wait, 1, kHangMs) == 1 ? recv(descriptor_, bytes, sizeof bytes, 0) : 0;
            if (count <= 0) return nullptr;
            buffer_.append(bytes, static_cast<std::size_t>(count));
        }
        const std::string text = buffer_.substr(0, line);
        buffer_.erase(0, line + 1);
        return nlohmann::json::parse(text, nullptr, false);
    }
    // The reply; events before it are passed over.
    nlohmann::json ask(nlohmann::json request) {
        request["v"] = 1;
        request["id"] = ++id_;
        if (!send(request.dump() + "\n")) return nullptr;
        nlohmann::json reply = next();
        while (reply.is_object() && reply.contains("event")) reply = next();
        return reply.is_object() && reply.value("id", 0) == id_ ? reply : nullptr;
    }
    nlohmann::json step(const nlohmann::json& one) { return ask({{"do", "step"}, {"step", one}}); }

private:
    int descriptor_ = -1;
    bool connected_ = false;
    int id_ = 0;
    std::string buffer_;
};

#endif
