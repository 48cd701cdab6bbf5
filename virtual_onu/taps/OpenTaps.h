// Open TAPs with all that belongs to them, in the tool or in the program whose board carries the frames.
#ifndef VIRTUAL_ONU_OPEN_TAPS_H
#define VIRTUAL_ONU_OPEN_TAPS_H

#include <functional>
#include <memory>
#include <vector>

#include "taps/TapPage.h"

namespace virtual_onu::taps {

struct OpenTaps {
    std::unique_ptr<TapPage> page;
    std::vector<int> taps;     // a descriptor for each entry of the page
    std::vector<int> watches;  // a descriptor for each namespace

    OpenTaps() = default;
    // What Taps::descriptors() gave another process: takes them over. page is null when they are not what they should
    // be.
    explicit OpenTaps(const std::vector<int>& descriptors);
    ~OpenTaps();
    OpenTaps(const OpenTaps&) = delete;
    OpenTaps& operator=(const OpenTaps&) = delete;

    void askForLinks() const;
    // Notes what became of the interface. there: in the namespace that it was opened in.
    void lookAt(std::size_t place, bool there) const;
    // Takes the news that wait: what was lost goes to the page, what the link is like to `link`.
    void hear(const std::function<void(std::size_t place, bool up)>& link) const;
    void setCarriers(bool on) const;
};

}  // namespace virtual_onu::taps

#endif
