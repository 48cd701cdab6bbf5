// Frames that are to be sent later.
#ifndef VORN_ONU_LATE_FRAMES_H
#define VORN_ONU_LATE_FRAMES_H

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>
#include <vector>

#include "omci/message/Bytes.h"

namespace vorn_onu {

class LateFrames {
public:
    void add(omci::Bytes frame, std::chrono::milliseconds delay) {
        frames_.emplace(Clock::now() + delay, std::move(frame));
    }
    // Those whose time has come, in its order.
    std::vector<omci::Bytes> due() {
        std::vector<omci::Bytes> due;
        const auto end = frames_.upper_bound(Clock::now());
        for (auto frame = frames_.begin(); frame != end; ++frame) due.push_back(std::move(frame->second));
        frames_.erase(frames_.begin(), end);
        return due;
    }
    // Milliseconds until the next one is due, at most so many.
    int waitMs(int most) const {
        if (frames_.empty()) return most;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(frames_.begin()->first - Clock::now());
        return std::clamp(static_cast<int>(left.count()) + 1, 0, most);
    }

private:
    using Clock = std::chrono::steady_clock;
    std::multimap<Clock::time_point, omci::Bytes> frames_;
};

}  // namespace vorn_onu

#endif
