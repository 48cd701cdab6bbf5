#include "living/LiveBoard.h"

#include <cstdint>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "living/Protocol.h"

namespace vorn_onu::living {

OwnBoard::OwnBoard(virtual_onu::VirtualOnu& onu, VornHal& vornHal, nlohmann::json about, Held<Json> records)
    : about_(std::move(about)), session_(onu, &vornHal, std::move(records)) {}

void OwnBoard::connect(OltSide& olt) {
    olt_ = &olt;
    session_.connect(olt);
}

// {"do": "mib"}, {"do": "messages"}, {"do": "metrics"}: answered on the MIB as it is between two messages.
std::string OwnBoard::askOlt(const Json& request) {
    try {
        const bool mib = request.at("do") == "mib";
        if (request.at("do") == "metrics") {
            checkKeys(request, {"v", "id", "do"});
            const MetricText board = boardMetrics();
            const std::lock_guard<std::mutex> calls(hal_);
            return replyText({{"ok", true}, {"metrics", board.text() + olt_->metrics().text()}});
        }
        checkKeys(request, mib ? std::vector<std::string>{"v", "id", "do"}
                               : std::vector<std::string>{"v", "id", "do", "after", "most"});
        const auto number = [&request](const char* key, std::uint64_t otherwise, std::uint64_t highest) {
            return request.contains(key) ? inField(key, [&] { return numberOf(request[key], 0, highest); }) : otherwise;
        };
        const std::uint64_t after = number("after", 0, UINT64_MAX);
        const auto most = static_cast<std::size_t>(number("most", kMaxTraceEntries, kMaxTraceEntries));
        const std::lock_guard<std::mutex> calls(hal_);
        if (mib) return replyText({{"ok", true}, {"mib", olt_->mib()}});
        return replyText({{"ok", true}, {"messages", olt_->messages(after, most)}, {"handled", olt_->messageCount()}});
    } catch (const Problem& problem) {
        return refusalText({"bad-request", problem.text()});
    } catch (const std::exception& error) {
        return refusalText({"failed", error.what()});
    }
}

std::string OwnBoard::ask(const Json& request) {
    const Json what = request.contains("do") ? request["do"] : Json();
    if (olt_ != nullptr && (what == "mib" || what == "messages" || what == "metrics")) return askOlt(request);
    const std::lock_guard<std::mutex> alone(session_mutex_);
    const std::unique_lock<std::mutex> calls =
        request.contains("step") ? std::unique_lock<std::mutex>(hal_) : std::unique_lock<std::mutex>();
    std::string reply = session_.answer(request);
    if (calls) std::fflush(stdout);  // what the HAL has printed can be read by who asked
    return reply;
}

std::string metricsOf(LiveBoard& board) {
    const auto reply = nlohmann::json::parse(board.ask(Json{{"do", "metrics"}}));
    if (!reply.at("ok").get<bool>()) throw std::runtime_error(reply.at("error").get<std::string>());
    return reply.at("metrics").get<std::string>();
}

nlohmann::json OwnBoard::about() {
    return *about_;
}

}  // namespace vorn_onu::living
