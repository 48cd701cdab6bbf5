// The options that say what a frame is.
#ifndef VORN_ONU_FRAME_OPTIONS_H
#define VORN_ONU_FRAME_OPTIONS_H

#include "commands/CommandLine.h"
#include "commands/Commands.h"

namespace vorn_onu {

struct FrameOptions {
    CLI::Option *from, *vlan, *pbits, *tpid, *dei, *bothWays;
};
FrameOptions addFrameOptions(CLI::App& command, TypedFrame& frame);

// The tags in the order of the words. For the command's callback.
void readTags(const CLI::App& command, const FrameOptions& options, TypedFrame& frame);

}  // namespace vorn_onu

#endif
