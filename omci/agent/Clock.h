// The time that the agent lives by.
#ifndef OMCI_AGENT_CLOCK_H
#define OMCI_AGENT_CLOCK_H

#include <chrono>
#include <cstdint>

namespace omci {

class Clock {
public:
    virtual ~Clock() = default;
    // Milliseconds since some moment; never goes back.
    virtual std::uint64_t nowMs() = 0;
};

class SteadyClock : public Clock {
public:
    std::uint64_t nowMs() override {
        const auto since = std::chrono::steady_clock::now().time_since_epoch();
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
    }
};

}  // namespace omci

#endif
