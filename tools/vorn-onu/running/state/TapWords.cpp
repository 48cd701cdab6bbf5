#include "running/state/TapWords.h"

namespace vorn_onu {

std::string tapWords(const TapState& tap) {
    std::string text = tap.became.empty() ? "" : "the interface was " + tap.became;
    const auto add = [&text](const std::string& words) { text += (text.empty() ? "" : "; ") + words; };
    const auto some = [&add](std::uint64_t count, const std::string& what) {
        if (count != 0) add(std::to_string(count) + " " + what);
    };
    if (!tap.whyNoOffload.empty()) add("no segmentation offload: " + tap.whyNoOffload);
    const auto whole = [](std::uint64_t frames, std::uint64_t segments) {
        return std::to_string(frames) + " frames in " + std::to_string(segments) + " segments";
    };
    if (tap.segmentsIn + tap.segmentsOut != 0)
        add("whole: " + whole(tap.segmentFramesIn, tap.segmentsIn) + " in, " +
            whole(tap.segmentFramesOut, tap.segmentsOut) + " out");
    some(tap.dropped, "dropped by the board, the last: " + tap.lastDrop);
    some(tap.elsewhere, "left where no TAP is, the last at " + tap.lastElsewhere);
    some(tap.lostIn, "lost in front of the board, which was too slow");
    some(tap.lostOut, "lost behind it, which the host did not take");
    return text;
}

}  // namespace vorn_onu
