#include "views/page/MetricServer.h"

#include <arpa/inet.h>

#include <algorithm>
#include <stdexcept>

#ifndef VORN_WITHOUT_HTTPLIB
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "views/page/Guard.h"
#include "views/page/LimitedServer.h"
#endif

namespace vorn_onu::page {

namespace {

constexpr const char* kLoopback = "127.0.0.1";

struct MetricPlace {
    std::string address = kLoopback, port;
};

MetricPlace metricPlaceOf(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) return {kLoopback, text};
    return {text.substr(0, colon), text.substr(colon + 1)};
}

}  // namespace

std::string problemOfMetricPlace(const std::string& place) {
    constexpr std::size_t kMaxDigits = 5;
    constexpr int kMaxPort = 65535;
    const MetricPlace parts = metricPlaceOf(place);
    const bool digits = !parts.port.empty() && parts.port.size() <= kMaxDigits &&
                        std::all_of(parts.port.begin(), parts.port.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits || std::stoi(parts.port) > kMaxPort) return "must be a port, 0 to 65535, or ADDRESS:PORT";
    in_addr address{};
    if (inet_pton(AF_INET, parts.address.c_str(), &address) != 1)
        return "must have an IPv4 address in front of the port";
    return "";
}

#ifdef VORN_WITHOUT_HTTPLIB

class MetricServer::Site {};

MetricServer::MetricServer(const std::string&, living::LiveBoard&) {
    throw std::runtime_error("this vorn-onu was built without the HTTP library (libcpp-httplib-dev)");
}
MetricServer::~MetricServer() = default;
std::string MetricServer::link() const {
    return "";
}

#else

class MetricServer::Site {
public:
    Site(const MetricPlace& place, living::LiveBoard& board)
        : board_(board), address_(place.address), port_(bind(std::stoi(place.port))), guard_(port_) {
        server_.Get("/metrics", [this](const httplib::Request& request, httplib::Response& response) {
            answerMetrics(request, response);
        });
        server_.begin(kMetricThreads, kMaxMetricsWaiting);
    }
    ~Site() { server_.end(); }
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;
    std::string link() const { return "http://" + address_ + ":" + std::to_string(port_) + "/metrics"; }

private:
    static constexpr std::size_t kMetricThreads = 1, kMaxMetricRequest = 16384, kMaxMetricsWaiting = 16;
    static constexpr std::chrono::milliseconds kMetricRequestTime{2000};

    int bind(int port) {
        // The port is this program's alone, as the page's.
        server_.set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        errno = 0;
        const int bound = port == 0                              ? server_.bind_to_any_port(address_)
                          : server_.bind_to_port(address_, port) ? port
                                                                 : -1;
        if (bound > 0) return bound;
        throw std::runtime_error("--metrics: cannot listen on " + address_ + ":" + std::to_string(port) +
                                 (errno == 0 ? "" : std::string(": ") + std::strerror(errno)));
    }
    // On the loopback interface no web page of another name gets the numbers; elsewhere this machine's name is not
    // known.
    bool isRefused(const httplib::Request& request) const {
        Asking asking;
        if (request.get_header_value_count("Host") == 1) asking.host = request.get_header_value("Host");
        return address_ == kLoopback && !guard_.lookRefusal(asking).empty();
    }
    void answerMetrics(const httplib::Request& request, httplib::Response& response) {
        response.status = 403;
        if (isRefused(request)) return response.set_content("only as http://127.0.0.1\n", "text/plain");
        try {
            response.set_content(living::metricsOf(board_), living::kMetricType);
            response.status = 200;
        } catch (const std::exception& error) {
            response.set_content(error.what() + std::string("\n"), "text/plain");
            response.status = 503;
        }
    }

    living::LiveBoard& board_;
    const std::string address_;
    LimitedServer server_{kMaxMetricRequest, kMetricRequestTime};
    const int port_;
    const Guard guard_;
};

MetricServer::MetricServer(const std::string& place, living::LiveBoard& board)
    : site_(std::make_unique<Site>(metricPlaceOf(place), board)) {}
MetricServer::~MetricServer() = default;

std::string MetricServer::link() const {
    return site_->link();
}

#endif

}  // namespace vorn_onu::page
