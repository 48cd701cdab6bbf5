// What is known and counted of the TAPs, in memory that the tool shares with the program whose board carries the
// frames. Both see it as it is, and so it outlives the program.
#ifndef VIRTUAL_ONU_TAP_PAGE_H
#define VIRTUAL_ONU_TAP_PAGE_H

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "Taps.h"

namespace virtual_onu::taps {

// A number that one thread writes and others read.
class Count {
public:
    void add(std::uint64_t more) { value_.store(get() + more, std::memory_order_relaxed); }
    void set(std::uint64_t value) { value_.store(value, std::memory_order_relaxed); }
    std::uint64_t get() const { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> value_{0};
};
static_assert(sizeof(Count) == 8, "laid out alike in both processes");

// A short text likewise: what does not fit is cut. A reader in another process may see half of it, never beyond it.
template <std::size_t Size>
class Text {
public:
    void set(const std::string& text) {
        for (std::size_t i = 0; i < Size; ++i)
            letters_[i].store(i + 1 < Size && i < text.size() ? text[i] : '\0', std::memory_order_relaxed);
    }
    std::string get() const {
        std::string text;
        for (std::size_t i = 0; i + 1 < Size; ++i) {
            const char letter = letters_[i].load(std::memory_order_relaxed);
            if (letter == '\0') break;
            text += letter;
        }
        return text;
    }

private:
    std::array<std::atomic<char>, Size> letters_{};
};

struct TapEntry {
    Text<16> device;  // "" for a GEM port
    Count gemPort;
    Text<16> interface;
    Text<128> netns;
    Count index;   // of the interface, in its namespace
    Count watch;   // which of the LinkWatch descriptors is of its namespace
    Count linkUp;  // 0: no
    Count framesIn, octetsIn, framesOut, octetsOut;
    Count offload;  // OffloadKinds
    // Segments that passed the TAP whole, and their frames; these are among those above, each by itself.
    Count segmentsIn, segmentFramesIn, segmentsOut, segmentFramesOut;
    Count dropped;       // that came in and left nowhere, by the board's rules
    Count elsewhere;     // copies of those that came in that left where there is no TAP
    Count lostIn;        // the host's: the board did not take them in time
    Count lostInBefore;  // what the host had counted when the TAP was opened
    Count lostOut;       // that the host did not take
    Text<160> lastDrop, lastElsewhere;
    Text<80> whyNoOffload;
    Text<40> became;  // "deleted"; "" while it is where it was, with the name it had
};

class TapPage {
public:
    // A new one; std::runtime_error when there is no memory for it.
    TapPage();
    explicit TapPage(int descriptor);  // another process's: takes the descriptor over. valid() tells whether it is one
    ~TapPage();
    TapPage(const TapPage&) = delete;
    TapPage& operator=(const TapPage&) = delete;

    int descriptor() const { return descriptor_; }
    bool valid() const { return page_ != nullptr; }
    std::size_t size() const;
    void add(const TapRequest& request);
    TapEntry& operator[](std::size_t place) const;
    nlohmann::json toJson() const;

private:
    struct Layout;
    int descriptor_ = -1;
    Layout* page_ = nullptr;
};

}  // namespace virtual_onu::taps

#endif
