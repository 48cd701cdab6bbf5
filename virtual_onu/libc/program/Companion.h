// Another library that is preloaded beside this one, such as the one that lets the tool reach the board.
#ifndef VIRTUAL_ONU_COMPANION_H
#define VIRTUAL_ONU_COMPANION_H

#include "Export.h"

namespace virtual_onu::program {

using Companion = void();

// Called from now on whenever the program has called the device, on its own thread: it must not wait and not throw. In
// a forked child too. Waits and log lines are no calls of the device.
VIRTUAL_ONU_API void onTouch(Companion* work);

// Somebody else than the program has changed the device: the state that is kept of it gets that as well.
VIRTUAL_ONU_API void deviceChanged();

}  // namespace virtual_onu::program

#endif
