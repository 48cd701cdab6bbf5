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

// An upstream class of the runner: it forwards the frames of a port by itself, past the tag rules and the bridges. The
// first one that fits takes the frame.
struct UpstreamClass {
    std::string name;
    std::string port;    // "lan2" is sid2
    std::string egress;  // port that it forwards to, as the runner names it: "wan0"
    unsigned long tags = 0, etherType = 0;
    std::optional<VlanTag> pushed;
};
std::vector<UpstreamClass> upstreamClasses();  // with the device lock held

}  // namespace virtual_onu::runner

#endif
