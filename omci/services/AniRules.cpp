#include "omci/services/AniRules.h"

#include <cstdio>

#include "omci/services/ForwardOperations.h"
#include "omci/services/Numbers.h"

namespace omci::services {

std::uint16_t priorityTci(unsigned priority) {
    return static_cast<std::uint16_t>(priority << 13);
}

std::vector<std::uint16_t> announcedTcis(const GemService& gem, const VlanFilter& filter) {
    const Forward forward = forwardOf(filter);
    std::vector<std::uint16_t> tcis;
    if (forward.tagged != Tagged::kMatch || forward.part == Part::kPriority) return tcis;
    unsigned lowest = 0;
    while (lowest < kPriorities && (gem.priorities & 1U << lowest) == 0) ++lowest;
    if (lowest == kPriorities) return tcis;
    for (const auto tci : filter.tcis) {
        const bool goesUpHere = (gem.priorities & 1U << (tci >> 13)) != 0;
        if (goesUpHere) {
            tcis.push_back(tci);
        } else if (forward.part == Part::kVid) {
            tcis.push_back(static_cast<std::uint16_t>(priorityTci(lowest) | (tci & 0x0FFFU)));
        }
    }
    return tcis;
}

std::string tciText(const std::vector<std::uint16_t>& tcis) {
    std::string text;
    for (const auto tci : tcis) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "%04x", unsigned{tci});
        text += digits;
    }
    return text;
}

}  // namespace omci::services
