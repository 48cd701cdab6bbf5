// TAP devices of the host, and the network namespaces that they are in.
#ifndef VIRTUAL_ONU_TAP_DEVICE_H
#define VIRTUAL_ONU_TAP_DEVICE_H

#include <functional>
#include <string>

#include "Taps.h"
#include "taps/TapOffload.h"

namespace virtual_onu::taps {

// Runs the work in the namespace, on a thread of its own. Throws what the work throws, and std::runtime_error when the
// namespace cannot be entered.
void inNamespace(const std::string& netns, const std::function<void()>& work);

struct TapDevice {
    int descriptor = -1;  // does not wait
    int index = 0;        // of the interface
    OffloadKinds offload = kNoOffload;
    std::string whyNoOffload;  // "" where there is some
};
// Opens the TAP that the request names, in the thread's own namespace, and takes its carrier away. With as much offload
// as the kernel has; an interface that is there already has some where it was made for it. Throws std::runtime_error.
TapDevice openTap(const TapRequest& request);

void setCarrier(int descriptor, bool on);
// What the TAP is named now; "" when it has been deleted.
std::string nameOfTap(int descriptor);

}  // namespace virtual_onu::taps

#endif
