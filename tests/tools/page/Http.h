// Plain HTTP over a socket: what a test sends goes out as it is, also when it is no HTTP.
#ifndef TESTS_PAGE_HTTP_H
#define TESTS_PAGE_HTTP_H

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/Wait.h"

class HttpConnection {
public:
    explicit HttpConnection(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_port = htons(static_cast<std::uint16_t>(port));
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place);
    }
    ~HttpConnection() { close(socket_); }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void send(const std::string& text) const {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t count = ::send(socket_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
            if (count <= 0) return;
            done += static_cast<std::size_t>(count);
        }
    }
    // Everything that has come, once it holds the text, or the connection has ended.
    std::string until(const std::string& text) {
        while (got_.find(text) == std::string::npos && more()) continue;
        return got_;
    }
    // Nothing is sent any more.
    void finish() const { shutdown(socket_, SHUT_WR); }
    void forget() { got_.clear(); }

private:
    bool more() {
        pollfd one{socket_, POLLIN, 0};
        if (poll(&one, 1, kHangMs) <= 0) return false;
        char bytes[16384];
        const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
        if (count > 0) got_.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }

    int socket_;
    std::string got_;
};

// The events of a page that is open.
class Events : public HttpConnection {
public:
    Events(int port, const std::string& headers) : HttpConnection(port) {
        send("GET /events HTTP/1.1\r\n" + headers + "\r\n");
    }
    bool tell(const std::string& text) { return until(text).find(text) != std::string::npos; }
};

struct HttpAnswer {
    int status = 0;  // 0: none has come
    std::string head, body;
};

// headers: lines that end with \r\n. The connection is closed after it.
inline HttpAnswer ask(int port, const std::string& method, const std::string& path, const std::string& headers,
                      const std::string& body = "") {
    HttpConnection connection(port);
    std::string text = method + " " + path + " HTTP/1.1\r\nConnection: close\r\n" + headers;
    if (method == "POST") text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    connection.send(text + "\r\n" + body);
    const std::string got = connection.until("no such text: until it ends");
    HttpAnswer answer;
    const std::size_t end = got.find("\r\n\r\n");
    if (got.compare(0, 9, "HTTP/1.1 ") != 0 || end == std::string::npos) return answer;
    answer.status = std::atoi(got.c_str() + 9);
    answer.head = got.substr(0, end);
    answer.body = got.substr(end + 4);
    return answer;
}

#endif
