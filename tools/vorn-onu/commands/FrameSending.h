// A frame that the user has typed, sent through the device as it stands, and back again.
#ifndef VORN_ONU_FRAME_SENDING_H
#define VORN_ONU_FRAME_SENDING_H

#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "commands/Commands.h"
#include "scenario/fields/FrameFields.h"
#include "show/Terminal.h"

namespace vorn_onu {

// Throws a Problem.
FrameInput frameOf(const TypedFrame& command);
// Ports, devices with an address (the IP host's), GEM ports.
std::vector<std::string> placesOn(const virtual_onu::VirtualOnu& onu);
bool canArrive(const FrameInput& input, const virtual_onu::VirtualOnu& onu);

// What came out at one place, sent back from there, and what became of it.
struct Return {
    FrameInput input;
    virtual_onu::Walk walk;
    std::string against;  // why it does not come back as it went; "" where it does
};

virtual_onu::Walk send(const virtual_onu::FrozenDataPath& path, const FrameInput& input);
std::vector<Return> sendBack(const virtual_onu::FrozenDataPath& path, const SentFrame& sent);
bool allReturn(const std::vector<Return>& returns);

// The hops, and where it leaves or why not.
std::string walkWords(const virtual_onu::Walk& walk, const Terminal& terminal);
std::string returnWords(const std::vector<Return>& returns, const Terminal& terminal);
Json sentJson(const SentFrame& sent, const std::vector<Return>& returns, bool bothWays);

}  // namespace vorn_onu

#endif
