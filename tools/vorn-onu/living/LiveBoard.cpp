#include "living/LiveBoard.h"

#include <cstdio>

#include <nlohmann/json.hpp>

namespace vorn_onu::living {

OwnBoard::OwnBoard(virtual_onu::VirtualOnu& onu, VornHal& vornHal, nlohmann::json about, Held<Json> records)
    : about_(std::move(about)), session_(onu, &vornHal, std::move(records)) {}

std::string OwnBoard::ask(const Json& request) {
    const std::lock_guard<std::mutex> alone(session_mutex_);
    const std::unique_lock<std::mutex> calls =
        request.contains("step") ? std::unique_lock<std::mutex>(hal_) : std::unique_lock<std::mutex>();
    std::string reply = session_.answer(request);
    if (calls) std::fflush(stdout);  // what the HAL has printed can be read by who asked
    return reply;
}

nlohmann::json OwnBoard::about() {
    return *about_;
}

}  // namespace vorn_onu::living
