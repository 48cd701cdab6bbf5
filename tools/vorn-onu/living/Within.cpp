#include "living/Within.h"

#include <chrono>

#include <nlohmann/json.hpp>

#include "living/Protocol.h"

namespace vorn_onu::living {

namespace {

constexpr int kBetweenLooksMs = 20;

bool hasPassed(const std::string& reply) {
    const auto parsed = nlohmann::json::parse(reply, nullptr, false);
    return !parsed.is_object() || !parsed.value("ok", false) || !parsed.contains("step") ||
           parsed["step"].value("passed", true);
}

}  // namespace

std::string askWithin(LiveBoard& board, const Json& request, const LineSocket& client, const std::atomic<bool>& over) {
    const bool waits = request.contains("step") && request["step"].is_object() && request["step"].contains("expect") &&
                       request["step"].contains("within") && request["step"]["within"].is_number_unsigned();
    if (!waits) return board.ask(request);
    const auto within = request["step"]["within"].get<std::uint64_t>();
    constexpr std::uint64_t kMaxLength = 60000;
    if (within > kMaxLength) return board.ask(request);  // which says what is wrong
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(within);
    Json once = request;
    once["step"]["within"] = 0;
    while (true) {
        std::string reply = board.ask(once);
        if (hasPassed(reply) || over || std::chrono::steady_clock::now() >= end) return reply;
        if (client.hasLeft(kBetweenLooksMs)) return reply;  // its place is for another one
    }
}

}  // namespace vorn_onu::living
