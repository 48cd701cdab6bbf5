// What the runner's shell ("bs") and the ingress-queue tool ("iq") make of their commands. Like the tools, they answer
// success for a thing to remove that is not there or a thing to make that is; each such case is kept as a remark.
#ifndef VIRTUAL_ONU_RUNNER_H
#define VIRTUAL_ONU_RUNNER_H

#include <string>
#include <vector>

namespace virtual_onu::runner {

// The words behind "bs" and "iq"; false when the command is not understood, and then nothing is changed.
bool runBs(const std::vector<std::string>& words);
bool runIq(const std::vector<std::string>& words);

}  // namespace virtual_onu::runner

#endif
