#include "running/scenario/ListenerStart.h"

#include <chrono>

#include "running/io/Pause.h"

namespace vorn_onu {

void ListenerStart::wait() const {
    constexpr std::chrono::milliseconds kBetween{1}, kLongest{2000};
    const auto end = std::chrono::steady_clock::now() + kLongest;
    while (waits() == before_ && std::chrono::steady_clock::now() < end) pause(kBetween);
}

std::uint64_t ListenerStart::waits() const {
    for (const auto& count : onu_.callCounts())
        if (count.name == "cmsTmr_getTimeToNextEvent") return count.calls;
    return 0;
}

}  // namespace vorn_onu
