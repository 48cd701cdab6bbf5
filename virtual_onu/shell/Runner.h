// What the runner's shell ("bs") and the ingress-queue tool ("iq") make of their commands. Like the tools, they answer
// success for a thing to remove that is not there or a thing to make that is; each such case is kept as a remark.
#ifndef VIRTUAL_ONU_RUNNER_H
#define VIRTUAL_ONU_RUNNER_H

#include <optional>
#include <string>
#include <vector>

#include "Frames.h"

namespace virtual_onu::runner {

// The words behind "bs" and "iq"; false when the command is not understood, and then nothing is changed.
bool runBs(const std::vector<std::string>& words);
bool runIq(const std::vector<std::string>& words);

// An upstream class of the runner forwards a frame itself, past the tag rules and the bridges.
struct Shortcut {
    std::string name;    // of the class
    std::string egress;  // port that it forwards to, as the runner names it: "wan0"
    std::optional<VlanTag> pushed;
};
// The class that takes a frame at this port ("lan2" is sid2); nothing when there is none. The caller holds the device
// lock.
std::optional<Shortcut> shortcutFor(const std::string& port, const Frame& frame);

}  // namespace virtual_onu::runner

#endif
