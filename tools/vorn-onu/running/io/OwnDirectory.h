// A directory of the user's own for what a run leaves there or can be reached by.
#ifndef VORN_ONU_OWN_DIRECTORY_H
#define VORN_ONU_OWN_DIRECTORY_H

#include <string>

namespace vorn_onu {

// A directory below TMPDIR that nobody else can write into: names below the shared temporary directory are easy to
// guess. Throws std::runtime_error when it cannot be made.
std::string ownDirectory();

// A directory below $XDG_RUNTIME_DIR, or where there is none in ownDirectory(), that nobody else can look into. Throws
// std::runtime_error when it cannot be made.
std::string runtimeDirectory();

}  // namespace vorn_onu

#endif
