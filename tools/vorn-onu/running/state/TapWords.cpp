#include "running/state/TapWords.h"

namespace vorn_onu {

std::string tapWords(const TapState& tap) {
    std::string text = tap.became.empty() ? "" : "the interface was " + tap.became;
    const auto some = [&text](std::uint64_t count, const std::string& what) {
        if (count != 0) text += (text.empty() ? "" : "; ") + std::to_string(count) + " " + what;
    };
    some(tap.dropped, "dropped by the board, the last: " + tap.lastDrop);
    some(tap.elsewhere, "left where no TAP is, the last at " + tap.lastElsewhere);
    some(tap.lostIn, "lost in front of the board, which was too slow");
    some(tap.lostOut, "lost behind it, which the host did not take");
    return text;
}

}  // namespace vorn_onu
