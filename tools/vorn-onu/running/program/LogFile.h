// The log files that programs leave when nobody has named one.
#ifndef VORN_ONU_LOG_FILE_H
#define VORN_ONU_LOG_FILE_H

#include <string>

namespace vorn_onu {

// A new, empty file for what the HAL of this program prints, in the user's own directory. Logs of earlier runs of the
// program, an hour old and more, that nobody writes to any more are gone. Throws a FileProblem or std::runtime_error.
std::string newLogOf(const std::string& program);

}  // namespace vorn_onu

#endif
