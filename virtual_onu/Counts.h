// What the board counts beside the trace, which is limited: calls of the device kit by function, frames by their fate.
#ifndef VIRTUAL_ONU_COUNTS_H
#define VIRTUAL_ONU_COUNTS_H

#include <cstdint>
#include <string>

namespace virtual_onu {

// What has become of a frame: a copy of it has left, or why the last one was dropped.
enum class FrameFate : std::uint8_t {
    Forwarded,
    LinkDown,   // a device on its path is missing or down, or has no link
    NoRule,     // no rule takes it, or none marks it with a GEM port
    Rule,       // the rule that takes it drops it
    NoBridge,   // no bridge has the device that it came to
    Bridge,     // the bridge does not forward it
    TooLong,    // for an MTU
    NoGemPort,  // the GEM port is missing, or does not carry frames in this direction
    NoQueue,    // the GEM port has no T-CONT, or its T-CONT not this queue
    Loop,       // devices are stacked in a ring
};
constexpr std::size_t kFrameFates = 10;

namespace counts {  // with the device lock held

void call(const std::string& name, long result);
void frames(bool upstream, FrameFate fate, std::uint32_t number);
void reset();

}  // namespace counts

}  // namespace virtual_onu

#endif
