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
#include "taps/FrameCalls.h"
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
        bool taken = false;  // there is a frame in it
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
    bool takeIn(std::size_t place, std::size_t slot, std::size_t octets);
    void carry(std::size_t place, std::size_t slots);
    void carryOne(std::size_t place, std::size_t slot);
    int tapOf(const datapath::Plan& plan, const datapath::Traversal::Exit& exit) const;
    void deliver(const Copy& copy);
    void handOver();  // what is to be written
    FrameCalls::Call& toWrite(const Copy& copy, std::uint32_t frames);
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
    FrameCalls calls_;
    std::vector<datapath::Segment::Piece> pieces_;  // of the calls
    std::vector<std::size_t> next_;                 // by place: frames that are asked for at once
    static constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);
    std::size_t lastWhole_ = kNoSlot;  // the slot of the last call, whose bytes must stay until it has been made
    std::vector<bool> linkShown_;      // the state last set at the board's port
    std::uint64_t resets_ = 0;
    Clock::time_point clock_ = Clock::now(), second_ = Clock::now();
    std::uint64_t passed_ = 0, passedBefore_ = 0;
};

}  // namespace virtual_onu::taps

#endif
