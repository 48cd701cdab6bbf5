// A frame that is sent back from where it came out, and whether it comes back as it went.
#ifndef VORN_ONU_FRAME_RETURN_H
#define VORN_ONU_FRAME_RETURN_H

#include <functional>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "running/scenario/fields/FrameFields.h"

namespace vorn_onu {

// Ports, devices with an address (the IP host's), GEM ports.
std::vector<std::string> placesOn(const virtual_onu::VirtualOnu& onu);
bool canArrive(const FrameInput& input, const virtual_onu::VirtualOnu& onu);
// What is said where it cannot; then: " after step 7".
std::string noSuchPlace(const FrameInput& input, const std::string& then, const std::vector<std::string>& places);

// What came out at one place, sent back from there, and what became of it.
struct Return {
    FrameInput input;
    virtual_onu::Walk walk;
    std::string against;  // why it does not come back as it went; "" where it does
};

virtual_onu::Walk send(const virtual_onu::FrozenDataPath& path, const FrameInput& input);

// How a frame is sent: through the device, or through its data path of an earlier moment.
using FrameSender = std::function<virtual_onu::Walk(const FrameInput& input)>;
std::vector<Return> sendBack(const FrameSender& sender, const SentFrame& sent);
bool allReturn(const std::vector<Return>& returns);
Json sentJson(const SentFrame& sent, const std::vector<Return>& returns, bool bothWays);

}  // namespace vorn_onu

#endif
