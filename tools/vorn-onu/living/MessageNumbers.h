// The numbers that are shown for messages, by the agent's own. Both count up, so only where their distance changes is
// kept: as many as that, however many messages there were.
#ifndef VORN_ONU_MESSAGE_NUMBERS_H
#define VORN_ONU_MESSAGE_NUMBERS_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>

namespace vorn_onu {

class MessageNumbers {
public:
    // By rising numbers; the agent's number 0 is a message that it did not count.
    void add(std::uint64_t agentNumber, std::size_t shown) {
        const std::uint64_t distance = shown - agentNumber;
        if (agentNumber == 0 || (!distances_.empty() && distances_.rbegin()->second == distance)) return;
        distances_[agentNumber] = distance;
        if (distances_.size() > kMaxDistances) distances_.erase(distances_.begin());
    }
    // 0 for a message that is not known any more.
    std::size_t of(std::uint64_t agentNumber) const {
        const auto next = distances_.upper_bound(agentNumber);
        if (agentNumber == 0 || next == distances_.begin()) return 0;
        return static_cast<std::size_t>(agentNumber + std::prev(next)->second);
    }

private:
    static constexpr std::size_t kMaxDistances = 4096;
    std::map<std::uint64_t, std::uint64_t> distances_;  // from this number on
};

}  // namespace vorn_onu

#endif
