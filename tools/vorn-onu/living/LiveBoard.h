// A board that requests can be put to, wherever it is.
#ifndef VORN_ONU_LIVE_BOARD_H
#define VORN_ONU_LIVE_BOARD_H

#include <mutex>
#include <string>

#include "living/OltSide.h"
#include "living/Session.h"
#include "running/io/HeldJson.h"

namespace vorn_onu::living {

class LiveBoard {
public:
    virtual ~LiveBoard() = default;
    // The text of the reply to a request, as replyText() makes it. From any thread.
    virtual std::string ask(const Json& request) = 0;
    // What it runs, for ls: {"kind": "exec", "program": [...]}.
    virtual nlohmann::json about() = 0;
};

// Its metrics, as text in the exposition format of Prometheus. Throws std::exception, with the reason, where it has no
// answer.
std::string metricsOf(LiveBoard& board);
constexpr const char* kMetricType = "text/plain; version=0.0.4; charset=utf-8";

// The one in this process.
class OwnBoard : public LiveBoard {
public:
    // Whoever calls the HAL by himself holds hal() while he does.
    OwnBoard(virtual_onu::VirtualOnu& onu, VornHal& vornHal, nlohmann::json about, Held<Json> records = {});
    // An OLT's messages come to it; olt lives as long as the board. Before the first request.
    void connect(OltSide& olt);
    std::string ask(const Json& request) override;
    nlohmann::json about() override;
    std::mutex& hal() { return hal_; }

private:
    std::string askOlt(const Json& request);

    OltSide* olt_ = nullptr;
    Held<nlohmann::json> about_;
    std::mutex session_mutex_, hal_;
    Session session_;
};

}  // namespace vorn_onu::living

#endif
