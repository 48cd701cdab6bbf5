#include "living/Within.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include <nlohmann/json.hpp>

#include "living/Protocol.h"

namespace vorn_onu::living {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks{20};

// The sleep functions of the C library belong to the virtual ONU's clock.
void pause(std::chrono::milliseconds length) {
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock<std::mutex> lock(mutex);
    never.wait_for(lock, length);
}

bool hasPassed(const std::string& reply) {
    const auto parsed = nlohmann::json::parse(reply, nullptr, false);
    return !parsed.is_object() || !parsed.value("ok", false) || !parsed.contains("step") ||
           parsed["step"].value("passed", true);
}

}  // namespace

std::string askWithin(LiveBoard& board, const Json& request, const std::atomic<bool>& over) {
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
        pause(kBetweenLooks);
    }
}

}  // namespace vorn_onu::living
