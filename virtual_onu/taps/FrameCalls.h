// Reads and writes of frames, many with one call into the kernel where it has io_uring, otherwise with one each.
#ifndef VIRTUAL_ONU_FRAME_CALLS_H
#define VIRTUAL_ONU_FRAME_CALLS_H

#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace virtual_onu::taps {

class FrameCalls {
public:
    static constexpr std::size_t kMaxCalls = 64;  // at a time

    struct Call {
        int descriptor = -1;  // that does not wait
        bool writes = false;
        std::array<iovec, 4> parts{};
        unsigned count = 1;  // of the parts
        long result = 0;     // octets, or -errno
        // What the caller wants to know again.
        std::size_t place = 0, octets = 0;
        std::uint32_t frames = 0;
    };

    FrameCalls();
    ~FrameCalls();
    FrameCalls(const FrameCalls&) = delete;
    FrameCalls& operator=(const FrameCalls&) = delete;

    std::size_t size() const { return count_; }
    bool full() const { return count_ == kMaxCalls; }
    Call& add(int descriptor, bool writes);  // not when it is full
    // Carries them out, in their order, and gives each to `done`. Afterwards it is empty.
    template <typename Done>
    void run(Done done) {
        if (ring_ < 0 || count_ == 1)
            runOneByOne();
        else
            runTogether();
        for (std::size_t i = 0; i < count_; ++i) done(calls_[i]);
        count_ = 0;
    }

private:
    bool openRing();
    void closeRing();
    void runOneByOne();
    void runTogether();
    unsigned takeResults();
    unsigned* at(std::uint32_t offset) const { return reinterpret_cast<unsigned*>(queues_ + offset); }

    std::vector<Call> calls_;
    std::size_t count_ = 0;
    int ring_ = -1;
    std::uint8_t* queues_ = nullptr;   // shared with the kernel: heads, tails, results
    std::uint8_t* entries_ = nullptr;  // requests
    std::size_t queuesSize_ = 0, entriesSize_ = 0;
    struct Offsets {
        std::uint32_t tail, mask, array, resultHead, resultTail, resultMask, results;
    } offsets_{};
};

}  // namespace virtual_onu::taps

#endif
