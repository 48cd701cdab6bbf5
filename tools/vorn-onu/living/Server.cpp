#include "living/Server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <ctime>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "OwnThread.h"
#include "living/Within.h"
#include "running/io/JsonCheck.h"

namespace vorn_onu::living {

namespace {

using nlohmann::json;

constexpr int kLineMs = 10000;  // for the rest of a line that has begun
constexpr int kWriteMs = 5000;  // for a client to take a reply
constexpr int kListenMs = 100;  // between looks for those who listen
constexpr int kLookMs = 500;    // between looks whether it is over
constexpr std::size_t kMaxId = 200;

std::string now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// A reply with version and id in front. The board's part is text already: a state is long.
std::string withHead(const Json& id, const std::string& reply) {
    std::string head = "{\"v\":" + std::to_string(kProtocolVersion);
    if (!id.is_null()) head += ",\"id\":" + id.dump(-1, ' ', true, Json::error_handler_t::replace);
    return head + (reply.size() > 2 ? "," : "") + reply.substr(1);
}

// Throws a Refusal.
Json requestOf(const std::string& line) {
    if (const auto fault = checkJson(line))
        throw Refusal("bad-request", (fault->path.empty() ? "" : joined(fault->path, ".") + ": ") + fault->what);
    Json request = Json::parse(line);
    if (!request.is_object()) throw Refusal("bad-request", "a request is an object, {\"v\": 1, \"do\": \"show\"}");
    return request;
}

// What the client gave for its own use.
Json idOf(const Json& request) {
    if (!request.contains("id")) return nullptr;
    const Json& id = request["id"];
    const bool good = id.is_number_integer() || (id.is_string() && id.get_ref<const std::string&>().size() <= kMaxId);
    if (!good) throw Refusal("bad-request", "field 'id': must be a number or a text of at most 200 characters");
    return id;
}

void checkVersion(const Json& request) {
    if (request.contains("v") && request["v"] == kProtocolVersion) return;
    throw Refusal("bad-version",
                  "field 'v': must be " + std::to_string(kProtocolVersion) + ", the only version that there is");
}

}  // namespace

void Server::start(LiveBoard& board) {
    board_ = &board;
    news_ = std::make_unique<News>(board);
    started_ = now();
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    accepting_ = virtual_onu::startThread([this] { acceptClients(); });
}

void Server::answer() {
    answers_ = true;
    eventfd_write(wake_, 1);
}

void Server::stop(const std::string& why) {
    if (!accepting_.joinable()) return;
    why_ = why;
    over_ = true;
    eventfd_write(wake_, 1);
    accepting_.join();
    // Each client's thread tells its listener and ends.
    for (Client& client : clients_) client.thread.join();
    clients_.clear();
    close(wake_);
}

void Server::acceptClients() {
    pollfd waits[] = {{-1, POLLIN, 0}, {wake_, POLLIN, 0}};
    while (!over_) {
        poll(waits, 2, -1);
        if (over_) return;
        if (waits[0].fd < 0) {
            if (answers_) waits[0].fd = socket_.descriptor();
            eventfd_t ignored = 0;
            eventfd_read(wake_, &ignored);
            continue;
        }
        const int descriptor = accept4(socket_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
        forgetGone();
        if (descriptor >= 0)
            take(descriptor);
        else if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            poll(waits + 1, 1, kLookMs);  // no descriptors left: not in circles
    }
}

void Server::forgetGone() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto client = clients_.begin(); client != clients_.end();) {
        if (client->gone) {
            client->thread.join();
            client = clients_.erase(client);
        } else {
            ++client;
        }
    }
}

void Server::sayBusy(LineSocket& socket, const std::string& why) {
    socket.write(withHead(nullptr, refusalText({"busy", why})), 0);
}

void Server::take(int descriptor) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (clients_.size() >= kMaxClients) {
        LineSocket socket(descriptor, kMaxRequestLength);
        sayBusy(socket, std::to_string(kMaxClients) + " clients are connected; there can be no more");
        return;
    }
    Client& client = clients_.emplace_back(descriptor);
    try {
        client.thread = virtual_onu::startThread([this, &client] { serve(client); });
    } catch (const std::runtime_error&) {
        sayBusy(client.socket, "the system has no thread for another client");
        clients_.pop_back();
    }
}

void Server::serve(Client& client) {
    bool good = true;
    auto partSince = std::chrono::steady_clock::now();
    while (good && !over_) {
        std::string line;
        const bool hadPart = client.socket.hasPart();
        const Got got = client.socket.read(line, client.listening.any() ? kListenMs : kLookMs);
        if (got == Got::Line) {
            good = answer(client, line);
        } else if (got == Got::TooLong) {
            client.socket.write(
                withHead(nullptr, refusalText({"too-long",
                                               "a line has at most " + std::to_string(kMaxRequestLength) + " bytes"})),
                kWriteMs);
            good = false;
        } else if (got == Got::Closed) {
            good = false;
        } else if (client.socket.hasPart()) {
            // Somebody who begins a line and does not end it holds a place that others could have.
            const auto time = std::chrono::steady_clock::now();
            if (!hadPart) partSince = time;
            good = time - partSince < std::chrono::milliseconds(kLineMs);
        }
        if (!good || !client.listening.any()) continue;
        for (const std::string& event : news_->next(client.listening))
            good = good && client.socket.write(event, kWriteMs);
    }
    if (over_ && good && client.listening.any())
        client.socket.write(replyText({{"v", kProtocolVersion}, {"event", "end"}, {"why", why_}}), kWriteMs);
    client.socket.shutDown();
    client.gone = true;
}

bool Server::answer(Client& client, const std::string& line) {
    Json id;
    std::string reply;
    try {
        const Json request = requestOf(line);
        id = idOf(request);
        checkVersion(request);
        reply = replyTo(client, request);
    } catch (const Refusal& refusal) {
        reply = refusalText(refusal);
    } catch (const Problem& problem) {
        reply = refusalText({"bad-request", problem.text()});
    } catch (const std::exception& error) {
        reply = refusalText({"failed", error.what()});
    }
    return client.socket.write(withHead(id, reply), kWriteMs);
}

std::string Server::replyTo(Client& client, const Json& request) {
    const Json what = request.contains("do") ? request["do"] : Json();
    if (what == "hello") return greeting();
    if (what == "subscribe") return subscribed(client, request);
    if (what == "unsubscribe") {
        client.listening = {};
        return replyText({{"ok", true}});
    }
    return askWithin(*board_, request, client.socket, over_);
}

std::string Server::greeting() {
    json reply = {{"ok", true},
                  {"name", socket_.name()},
                  {"protocol", kProtocolVersion},
                  {"process", getpid()},
                  {"since", started_}};
    reply.update(board_->about());
    if (!taps_.empty()) reply["taps"] = taps_;
    return replyText(reply);
}

std::string Server::subscribed(Client& client, const Json& request) {
    checkKeys(request, {"v", "id", "do", "to", "everyMs", "after"});
    Listening listening;
    if (!request.contains("to") || !request["to"].is_array() || request["to"].empty())
        throw Problem("to", "must be a list of \"trace\", \"changes\" and \"counters\"");
    for (const Json& one : request["to"]) {
        if (one == "trace")
            listening.trace = true;
        else if (one == "changes")
            listening.changes = true;
        else if (one == "counters")
            listening.counters = true;
        else
            throw Problem("to", "must be a list of \"trace\", \"changes\" and \"counters\"");
    }
    if (request.contains("everyMs"))
        listening.every =
            std::chrono::milliseconds(inField("everyMs", [&] { return numberOf(request["everyMs"], 100, 60000); }));
    std::optional<std::uint64_t> after;
    if (request.contains("after")) after = inField("after", [&] { return numberOf(request["after"], 0, UINT64_MAX); });
    news_->begin(listening, after);
    client.listening = listening;
    return replyText({{"ok", true}, {"traced", listening.traced}, {"changes", listening.changed}});
}

}  // namespace vorn_onu::living
