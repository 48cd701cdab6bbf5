// A board that requests can be put to, wherever it is.
#ifndef VORN_ONU_BOARD_H
#define VORN_ONU_BOARD_H

#include <cstdio>
#include <mutex>
#include <string>

#include "living/Session.h"

namespace vorn_onu::living {

class Board {
public:
    virtual ~Board() = default;
    // The text of the reply to a request, as replyText() makes it. From any thread.
    virtual std::string ask(const Json& request) = 0;
    // What it runs, for ls: {"kind": "exec", "program": [...]}.
    virtual nlohmann::json about() = 0;
};

// The one in this process.
class OwnBoard : public Board {
public:
    // Whoever calls the HAL by himself holds hal() while he does.
    OwnBoard(virtual_onu::VirtualOnu& onu, VornHal& vornHal, nlohmann::json about, Json records = Json::object())
        : about_(std::move(about)), session_(onu, &vornHal, std::move(records)) {}
    std::string ask(const Json& request) override {
        const std::lock_guard<std::mutex> alone(session_mutex_);
        const std::unique_lock<std::mutex> calls =
            request.contains("step") ? std::unique_lock<std::mutex>(hal_) : std::unique_lock<std::mutex>();
        std::string reply = session_.answer(request);
        if (calls) std::fflush(stdout);  // what the HAL has printed can be read by who asked
        return reply;
    }
    nlohmann::json about() override { return about_; }
    std::mutex& hal() { return hal_; }

private:
    nlohmann::json about_;
    std::mutex session_mutex_, hal_;
    Session session_;
};

}  // namespace vorn_onu::living

#endif
