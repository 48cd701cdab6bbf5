// How a board that runs is spoken to: lines of JSON over a Unix socket. docs/living.md has it for people.
#ifndef VORN_ONU_PROTOCOL_H
#define VORN_ONU_PROTOCOL_H

#include <cstddef>
#include <stdexcept>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vorn_onu::living {

constexpr int kProtocolVersion = 1;
constexpr std::size_t kMaxRequestLength = std::size_t{1} << 20U;  // bytes of a line
constexpr std::size_t kMaxReplyLength = std::size_t{1} << 28U;    // a board with a long trace
constexpr std::size_t kMaxTraceEntries = 10000;                   // of one reply

// Why a request was not done; nothing has changed then.
class Refusal : public std::runtime_error {
public:
    Refusal(std::string code, const std::string& text) : std::runtime_error(text), code_(std::move(code)) {}
    const std::string& code() const { return code_; }  // "bad-request", "bad-step", "not-here", "no-board", ...

private:
    std::string code_;
};

// A reply is made where the board is, as an object without version and id; whoever speaks to the client puts them in
// front.
std::string replyText(const nlohmann::json& reply);
std::string refusalText(const Refusal& refusal);

}  // namespace vorn_onu::living

#endif
