// What is to be said of a port that is a TAP device of the host.
#ifndef VORN_ONU_TAP_WORDS_H
#define VORN_ONU_TAP_WORDS_H

#include <string>

#include "running/state/DeviceState.h"

namespace vorn_onu {

// What became of the interface, and frames that did not go on, and why: "the interface was deleted; 3 dropped by the
// board, the last: sid0 is down; 5 lost in front of the board". "" where there is nothing of the kind.
std::string tapWords(const TapState& tap);

}  // namespace vorn_onu

#endif
