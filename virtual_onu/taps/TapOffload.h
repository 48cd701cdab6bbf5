// What the host's kernel leaves to a TAP: checksums, and segments that stand for many frames.
#ifndef VIRTUAL_ONU_TAP_OFFLOAD_H
#define VIRTUAL_ONU_TAP_OFFLOAD_H

#include <cstdint>
#include <string>

namespace virtual_onu::taps {

enum OffloadKinds : std::uint64_t {
    kNoOffload = 0,    // and no record in front of frames
    kTcpSegments = 1,  // and checksums
    kUdpSegmentsToo = 3,
};

// Whether an interface of this name was made for that record, in the thread's own namespace: false where its kernel
// does not tell.
bool isMadeForOffload(const std::string& interface);
// Asks the kernel for as much as it has, of a TAP that was opened with the record. kNoOffload: the record alone.
OffloadKinds takeOffload(int tap);
void giveOffloadBack(int tap);

}  // namespace virtual_onu::taps

#endif
