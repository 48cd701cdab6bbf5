// How messages of the management channel look: a line a message with what came of it, the HAL's calls, the closing
// lines; and the same as JSON.
#ifndef VORN_ONU_MESSAGE_OUTPUT_H
#define VORN_ONU_MESSAGE_OUTPUT_H

#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "living/Playing.h"
#include "views/Terminal.h"

namespace vorn_onu {

class MessageOutput {
public:
    MessageOutput(const Terminal& terminal, bool hasTimes) : terminal_(terminal), hasTimes_(hasTimes) {}

    std::string rule(const std::string& title) const;  // a line across the window
    // The message with what came of it. Parts of an upload or a download are told together: their line comes with the
    // first message behind them, or by flush().
    std::string message(const Played& played);
    std::string flush();
    // numberOf: the number shown for a message, by the agent's number.
    std::string calls(const std::vector<HalStep>& calls,
                      const std::function<std::size_t(std::uint64_t)>& numberOf) const;
    std::string closing(const std::vector<Played>& all) const;

private:
    std::string head(const Played& played, const std::string& number, const std::string& result) const;
    std::string below(const std::string& what, std::string (Terminal::*paint)(const std::string&) const) const;
    std::string outcome(const Played& played) const;

    Terminal terminal_;
    bool hasTimes_;
    std::vector<Played> parts_;  // of an upload or a download, to be told together
};

bool isAsExpected(const Played& played);
nlohmann::json playedJson(const Played& played, const std::function<std::size_t(std::uint64_t)>& numberOf);
// "5, 7 and 9": the messages behind a call.
std::string messageNumbers(const HalStep& call, const std::function<std::size_t(std::uint64_t)>& numberOf);
std::string entityNames(const HalStep& call);
// "Alloc-ID 1024, Mode 1"
std::string valueWords(const omci::MessageText& text);

}  // namespace vorn_onu

#endif
