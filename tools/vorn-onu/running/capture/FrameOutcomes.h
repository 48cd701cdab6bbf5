// What became of many frames: counted by where they left, or where and why they were dropped, with an example each.
#ifndef VORN_ONU_FRAME_OUTCOMES_H
#define VORN_ONU_FRAME_OUTCOMES_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu {

struct FrameOutcome {
    bool left = false;
    std::string words;  // "leaves at GEM port 1001, T-CONT 0, queue 2", "dropped at sid0: ..."
    std::uint64_t frames = 0;
    std::uint64_t octets = 0;
    std::uint64_t first = 0;  // number of the first such frame, from 1
    std::string example;      // that frame: "VID 100 p0, IPv4", and what it left as
};

class FrameOutcomes {
public:
    static constexpr std::size_t kMaxCount = 1000;  // different ones; what comes after them counts as "others"

    void add(const virtual_onu::Walk& walk, std::uint64_t number, std::size_t octets);
    void addUnreadable(std::uint64_t number, std::size_t octets);
    std::uint64_t frames() const { return frames_; }
    std::uint64_t left() const { return left_; }
    std::vector<FrameOutcome> byFrequency() const;  // those that left before those that were dropped

private:
    FrameOutcome& of(const std::string& key, bool left);

    std::unordered_map<std::string, FrameOutcome> outcomes_;
    std::string key_;
    std::uint64_t frames_ = 0, left_ = 0;
};

}  // namespace vorn_onu

#endif
