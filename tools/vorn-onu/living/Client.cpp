#include "living/Client.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <nlohmann/json.hpp>

#include "living/BoardSocket.h"

namespace vorn_onu::living {

namespace {

using nlohmann::json;

int connectTo(const std::string& name, const std::string& path) {
    const int descriptor = living::connectTo(path);
    if (descriptor >= 0) return descriptor;
    const int error = errno;
    const auto names = knownNames();
    if (std::find(names.begin(), names.end(), name) != names.end())  // a killed tool leaves its socket
        throw std::runtime_error("the board '" + name + "' does not answer (" + std::strerror(error) +
                                 "); vorn-onu ls tells which do");
    throw std::runtime_error("no board with the name '" + name + "' runs" + suggestion(name, names) +
                             "; vorn-onu ls tells which do");
}

std::string checked(const std::string& name) {
    const std::string problem = problemOfName(name);
    if (!problem.empty()) throw std::runtime_error("the name '" + name + "' " + problem);
    return name;
}

}  // namespace

Client::Client(const std::string& name, int replyMs)
    : name_(checked(name)), replyMs_(replyMs), socket_(connectTo(name, socketPath(name)), kMaxReplyLength) {}

json Client::read(int waitMs, bool& got) {
    std::string line;
    const Got what = socket_.read(line, waitMs);
    got = what == Got::Line;
    if (what == Got::Nothing) return nullptr;
    if (!got) throw std::runtime_error("the board '" + name_ + "' is gone");
    json parsed = json::parse(line, nullptr, false);
    if (!parsed.is_object())
        throw std::runtime_error("the board '" + name_ + "' answers in no form that is known here");
    return parsed;
}

json Client::ask(Json request) {
    request["v"] = kProtocolVersion;
    request["id"] = ++id_;
    if (!socket_.write(request.dump(-1, ' ', true, Json::error_handler_t::replace), replyMs_))
        throw std::runtime_error("the board '" + name_ + "' is gone");
    while (true) {
        bool got = false;
        json reply = read(replyMs_, got);
        if (!got) throw std::runtime_error("the board '" + name_ + "' does not answer");
        if (reply.contains("event")) {
            events_.push_back(std::move(reply));
            continue;
        }
        if (reply.value("ok", false)) return reply;
        throw Refusal(reply.value("code", "failed"), reply.value("error", "the board refuses without a reason"));
    }
}

std::optional<json> Client::next(int waitMs) {
    if (!events_.empty()) {
        json first = std::move(*events_.front());
        events_.pop_front();
        return first;
    }
    bool got = false;
    json event = read(waitMs, got);
    if (!got) return std::nullopt;
    return event;
}

}  // namespace vorn_onu::living
