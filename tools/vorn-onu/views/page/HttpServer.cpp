#include "views/page/HttpServer.h"

#include <stdexcept>

#ifdef VORN_WITHOUT_HTTPLIB

#include <nlohmann/json.hpp>

namespace vorn_onu::page {

class HttpServer::Site {};

bool canServe() {
    return false;
}

HttpServer::HttpServer(const std::string&, int, nlohmann::json) {
    throw std::runtime_error("this vorn-onu was built without the HTTP library");
}
HttpServer::~HttpServer() = default;
std::string HttpServer::link() const {
    return "";
}
void HttpServer::start() {}

}  // namespace vorn_onu::page

#else

#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>

#include <nlohmann/json.hpp>

#include "living/Client.h"
#include "living/LiveBoard.h"
#include "views/page/Guard.h"
#include "views/page/LimitedServer.h"
#include "views/page/PageScript.h"
#include "views/page/Reader.h"
#include "views/page/Shell.h"
#include "views/page/StepAnswer.h"

namespace vorn_onu::page {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

constexpr const char* kHost = "127.0.0.1";
constexpr int kMaxReaders = 12;       // each has a thread of the server, and a connection to the board
constexpr int kKeptReaders = 4;       // of them, for those who have the token: any user of the machine can be a reader
constexpr std::size_t kThreads = 32;  // more than readers: steps and pages are answered beside them
constexpr std::size_t kMaxWaiting = 64;  // connections that no thread has looked at yet
constexpr std::size_t kMaxStepLength = 65536, kMaxHeadLength = 32768;
constexpr std::chrono::milliseconds kRequestTime{2000};  // for all of a request to come
constexpr int kStepMs = 15000;

enum Status : int { kDone = 200, kBad = 400, kForbidden = 403, kNotThere = 404, kRefused = 422, kFull = 503 };

std::optional<std::string> headerOf(const Request& request, const char* name) {
    if (!request.has_header(name)) return std::nullopt;
    return request.get_header_value(name);
}

Asking askingOf(const Request& request) {
    Asking asking{headerOf(request, "Host"), headerOf(request, "Origin"), headerOf(request, "Sec-Fetch-Site"),
                  headerOf(request, "X-Vorn-Token"), request.get_header_value("Sec-Fetch-Mode") == "navigate"};
    if (request.get_header_value_count("Host") > 1) asking.host.reset();
    return asking;
}

void answer(Response& response, int status, const json& body) {
    response.status = status;
    response.set_content(body.dump(-1, ' ', true, json::error_handler_t::replace), "application/json");
}

void refuse(Response& response, int status, const std::string& why) {
    answer(response, status, {{"error", why}});
}

std::string wordsOf(int status) {
    switch (status) {
        case 400:
            return "this is no request that a browser makes";
        case 413:
            return "a step has at most " + std::to_string(kMaxStepLength) + " bytes";
        case 414:
            return "the address is too long";
        default:
            return "there is nothing here, or not by this method";
    }
}

// The port is this program's alone: the library's own choice would let others listen on it too.
void setOptions(socket_t socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

class HttpServer::Site {
public:
    Site(std::string board, int port, json newBoard)
        : board_(std::move(board)), newBoard_(std::move(newBoard)), port_(bind(port)), guard_(port_) {
        setUp();
    }
    ~Site() {
        over_ = true;
        server_.end();
    }
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    std::string link() const {
        return std::string("http://") + kHost + ":" + std::to_string(port_) + "/?token=" + guard_.token();
    }
    void start() { server_.begin(kThreads, kMaxWaiting); }

private:
    int bind(int port) {
        server_.set_socket_options(setOptions);
        errno = 0;
        const int bound = port == 0 ? server_.bind_to_any_port(kHost) : server_.bind_to_port(kHost, port) ? port : -1;
        if (bound > 0) return bound;
        throw std::runtime_error("cannot listen on " + std::string(kHost) + ":" + std::to_string(port) +
                                 (errno == 0 ? "" : std::string(": ") + std::strerror(errno)));
    }
    void setUp() {
        server_.set_payload_max_length(kMaxStepLength);
        // Before the body is read.
        server_.set_pre_routing_handler([this](const Request& request, Response& response) {
            const std::string why = request.method == "POST" ? guard_.changeRefusal(askingOf(request)) : "";
            if (why.empty() && request.ranges.empty()) return httplib::Server::HandlerResponse::Unhandled;
            refuse(response, why.empty() ? kBad : kForbidden, why.empty() ? "parts of a page are not sent" : why);
            return httplib::Server::HandlerResponse::Handled;
        });
        server_.set_default_headers({{"X-Content-Type-Options", "nosniff"},
                                     {"Referrer-Policy", "no-referrer"},
                                     {"Cross-Origin-Resource-Policy", "same-origin"},
                                     {"Cross-Origin-Opener-Policy", "same-origin"},
                                     {"Cache-Control", "no-store"}});
        looks("/", [this](const Request&, Response& response) {
            const std::string nonce = newNonce();
            response.set_header("Content-Security-Policy", policyOf(nonce));
            response.set_content(shellPage(board_, nonce), "text/html; charset=utf-8");
        });
        looks("/page\\.js", [](const Request&, Response& response) {
            response.set_content(kPageScript, "text/javascript; charset=utf-8");
        });
        looks("/page\\.css",
              [](const Request&, Response& response) { response.set_content(pageStyle(), "text/css; charset=utf-8"); });
        looks("/token", [this](const Request& request, Response& response) {
            answer(response, kDone, {{"good", guard_.changeRefusal(askingOf(request)).empty()}});
        });
        looks("/metrics", [this](const Request&, Response& response) { metrics(response); });
        looks("/events", [this](const Request& request, Response& response) {
            stream(response, guard_.changeRefusal(askingOf(request)).empty());
        });
        server_.Post("/step", [this](const Request& request, Response& response) { step(request, response); });
        server_.set_error_handler([](const Request&, Response& response) {
            if (response.body.empty()) refuse(response, response.status, wordsOf(response.status));
        });
        server_.set_exception_handler([](const Request&, Response& response, const std::exception_ptr&) {
            refuse(response, 500, "this could not be done");
        });
    }
    template <typename Work>
    void looks(const char* path, Work work) {
        server_.Get(path, [this, work](const Request& request, Response& response) {
            const std::string why = guard_.lookRefusal(askingOf(request));
            if (!why.empty()) return refuse(response, kForbidden, why);
            work(request, response);
        });
    }
    bool takePlace(int most) {
        for (int taken = readers_; taken < most;)
            if (readers_.compare_exchange_weak(taken, taken + 1)) return true;
        return false;
    }
    void stream(Response& response, bool hasToken) {
        const int most = hasToken ? kMaxReaders : kMaxReaders - kKeptReaders;
        if (!takePlace(most))
            return refuse(response, kFull,
                          "so many pages are open already: " + std::to_string(most) +
                              (hasToken ? "" : "; the link that vorn-onu has printed opens more"));
        // Given back when the response goes, however it ends.
        const std::shared_ptr<void> place(nullptr, [this](void*) { --readers_; });
        const auto reader = std::make_shared<Reader>(board_, newBoard_, steps_, over_);
        response.set_chunked_content_provider("text/event-stream",
                                              [this, reader, place](std::size_t, httplib::DataSink& sink) {
                                                  if (over_) return false;
                                                  const std::string text = reader->next();
                                                  return text.empty() || sink.write(text.data(), text.size());
                                              });
    }
    void metrics(Response& response) {
        try {
            living::Client client(board_, kStepMs);
            response.set_content(client.ask({{"do", "metrics"}}).at("metrics").get<std::string>(), living::kMetricType);
        } catch (const std::exception& error) {
            refuse(response, kFull, error.what());
        }
    }
    void step(const Request& request, Response& response) {
        const json step = json::parse(request.body, nullptr, false);
        if (step.is_discarded()) return refuse(response, kBad, "this is no JSON");
        if (const std::string why = whyNotTaken(step); !why.empty()) return refuse(response, kBad, why);
        try {
            living::Client client(board_, kStepMs);
            const json done = client.ask({{"do", "step"}, {"step", step}}).at("step");
            ++steps_;
            answer(response, kDone, stepAnswer(done));
        } catch (const living::Refusal& refusal) {
            refuse(response, kRefused, refusal.what());
        } catch (const std::exception& error) {
            refuse(response, kFull, error.what());
        }
    }

    const std::string board_;
    const json newBoard_;
    LimitedServer server_{kMaxHeadLength + kMaxStepLength, kRequestTime};
    const int port_;
    const Guard guard_;
    std::atomic<bool> over_{false};
    std::atomic<std::uint64_t> steps_{0};
    std::atomic<int> readers_{0};
};

bool canServe() {
    return true;
}

HttpServer::HttpServer(const std::string& board, int port, json newBoard)
    : site_(std::make_unique<Site>(board, port, std::move(newBoard))) {}
HttpServer::~HttpServer() = default;

std::string HttpServer::link() const {
    return site_->link();
}

void HttpServer::start() {
    site_->start();
}

}  // namespace vorn_onu::page

#endif
