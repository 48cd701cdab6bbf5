// A frame that the user has typed, sent through the device as it is, and back again.
#ifndef VORN_ONU_FRAME_SENDING_H
#define VORN_ONU_FRAME_SENDING_H

#include <stdexcept>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "commands/Commands.h"
#include "running/scenario/FrameReturn.h"
#include "running/scenario/fields/FrameFields.h"
#include "views/Terminal.h"

namespace vorn_onu {

// The frame as a scenario has it.
Json frameFieldsOf(const TypedFrame& command);
// What is wrong with a frame that was typed, as it is told.
std::runtime_error badFrame(const Problem& problem);
FrameInput frameOf(const TypedFrame& command);
// The hops, and where it leaves or why not.
std::string walkWords(const virtual_onu::Walk& walk, const Terminal& terminal);
std::string returnWords(const std::vector<Return>& returns, const Terminal& terminal);

}  // namespace vorn_onu

#endif
