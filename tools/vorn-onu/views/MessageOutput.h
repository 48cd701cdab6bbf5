// How messages of the management channel look: a line a message with what came of it, the HAL's calls, the closing
// lines; and the same as JSON.
#ifndef VORN_ONU_MESSAGE_OUTPUT_H
#define VORN_ONU_MESSAGE_OUTPUT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "living/Playing.h"
#include "views/MessageTally.h"
#include "views/Terminal.h"

namespace vorn_onu {

class MessageOutput {
public:
    MessageOutput(const Terminal& terminal, bool hasTimes) : terminal_(terminal), hasTimes_(hasTimes) {}

    std::string rule(const std::string& title) const;  // a line across the window
    // The message with what came of it. Parts of an upload or a download are reported together: their line comes with
    // the first message behind them, or by flush().
    std::string message(const Played& played);
    std::string flush();
    std::string calls(const std::vector<HalStep>& calls) const;
    std::string closing(const MessageTally& all) const;

private:
    std::string head(const Played& played, const std::string& number, const std::string& result) const;
    std::string below(const std::string& what, std::string (Terminal::*paint)(const std::string&) const) const;
    std::string outcome(const Played& played) const;

    Terminal terminal_;
    bool hasTimes_;
    std::optional<Played> firstPart_;  // of an upload or a download, to be reported together
    std::size_t parts_ = 0, captured_ = 0, differing_ = 0;
};

nlohmann::json playedJson(const Played& played);
// "5, 7 and 9": the messages behind a call.
std::string messageNumbers(const HalStep& call);
std::string entityNames(const HalStep& call);
// "Alloc-ID 1024, Mode 1"
std::string valueWords(const omci::MessageText& text);

}  // namespace vorn_onu

#endif
