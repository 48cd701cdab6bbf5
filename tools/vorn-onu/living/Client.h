// Speaks to a board that runs.
#ifndef VORN_ONU_CLIENT_H
#define VORN_ONU_CLIENT_H

#include <deque>
#include <optional>
#include <string>

#include "living/LineSocket.h"
#include "living/Protocol.h"
#include "running/io/HeldJson.h"
#include "running/scenario/fields/Problem.h"

namespace vorn_onu::living {

constexpr int kReplyMs = 90000;  // an expectation may wait for a minute

class Client {
public:
    // Throws std::runtime_error: there is no such board, and which there are.
    explicit Client(const std::string& name, int replyMs = kReplyMs);

    // The reply. Throws a Refusal when the board says no, std::runtime_error when it is gone or does not answer.
    nlohmann::json ask(Json request);
    // After a subscription: what happens next; nothing when that takes longer. Throws std::runtime_error when the board
    // is gone without a word.
    std::optional<nlohmann::json> next(int waitMs);
    int descriptor() const { return socket_.descriptor(); }

private:
    nlohmann::json read(int waitMs, bool& got);

    std::string name_;
    int replyMs_;
    LineSocket socket_;
    std::deque<Held<nlohmann::json>> events_;  // that came before a reply
    std::uint64_t id_ = 0;
};

}  // namespace vorn_onu::living

#endif
