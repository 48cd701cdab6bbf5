// Carries frames between TAPs and the data path of this process's board.
#ifndef VIRTUAL_ONU_PUMP_H
#define VIRTUAL_ONU_PUMP_H

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frames/DataPath.h"
#include "frames/WireHeader.h"
#include "taps/OpenTaps.h"
#include "taps/TapOffload.h"

namespace virtual_onu::taps {

class Pump {
public:
    // The TAPs live longer. eachSecond is called about once a second; passed: whether frames have passed since.
    Pump(const OpenTaps& open, std::function<void(bool passed)> eachSecond);
    ~Pump();
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

    // Until there is something to read from this descriptor; for ever with -1.
    void run(int until);

private:
    using Clock = std::chrono::steady_clock;
    struct Slot {
        datapath::WireSlot wire;
        datapath::WireHeader header;
        datapath::Segment segment;
    };
    struct Copy {
        std::size_t slot, tap;
        datapath::Tags tags;
        std::uint32_t first, frames;  // of the slot
    };

    void hear();
    void setLink(std::size_t place, bool up);
    void applyLink(std::size_t place);
    void clockRuns();
    void eachSecond();
    bool take(std::size_t place);  // a batch; false when the TAP is gone
    ssize_t read(std::size_t place, std::size_t slot);
    bool takeIn(std::size_t place, std::size_t slot, std::size_t octets);
    void carry(std::size_t place, std::size_t slots);
    void carryOne(std::size_t place, std::size_t slot);
    int tapOf(const datapath::Plan& plan, const datapath::Traversal::Exit& exit) const;
    void deliver(const Copy& copy);
    bool takesWhole(const Copy& copy) const;
    void deliverWhole(const Copy& copy);
    void deliverPiece(const Copy& copy, std::uint32_t number);
    std::size_t recordSize(std::size_t place) const;  // of what a TAP has in front of each frame
    std::uint8_t* room(std::size_t slot);

    const OpenTaps& open_;
    std::function<void(bool)> eachSecond_;
    std::vector<datapath::Entrance> entrances_;  // by place
    std::vector<pollfd> waits_;
    std::vector<std::uint8_t> memory_;
    std::vector<Slot> slots_;
    std::vector<Copy> copies_;
    datapath::Passage passage_;
    datapath::Segment::Piece piece_;
    std::vector<bool> linkShown_;  // the state last set at the board's port
    std::uint64_t resets_ = 0;
    Clock::time_point clock_ = Clock::now(), second_ = Clock::now();
    std::uint64_t passed_ = 0, passedBefore_ = 0;
};

}  // namespace virtual_onu::taps

#endif
