// The program that this library is preloaded into: what whoever started it wants to know, and words to its user.
#ifndef VIRTUAL_ONU_PROGRAM_H
#define VIRTUAL_ONU_PROGRAM_H

#include <string>

// A program that sets its board up by itself, as the tool does, defines this: the board's file and identity are not
// taken from the environment then, which is the program's own to read.
extern "C" __attribute__((weak, visibility("default"))) const char virtual_onu_is_set_up_by_the_program;

namespace virtual_onu::program {

// The environment of the process. Names of files are absolute; "" where a variable is not set.
struct Settings {
    std::string snapshotFile;  // VORN_ONU_STATE: the device's state as JSON
    std::string traceFile;     // VORN_ONU_TRACE: every call into the device
    std::string halFile;       // VORN_ONU_HAL_OUTPUT: what the HAL prints
    std::string runFolder;     // VORN_ONU_RUN: where the processes of one run know of each other
    std::string boardFile;     // VORN_ONU_BOARD: the board, which goes on when the process has ended
    std::string serialNumber;  // VORN_ONU_SERIAL: the board's
    std::string baseMac;       // VORN_ONU_MAC: the board's
};
const Settings& settings();

// A line on standard error, if that is still what it was when the program was started.
void say(const std::string& text);

// Libraries have been loaded since: one of them may be the HAL.
void librariesLoaded();

}  // namespace virtual_onu::program

#endif
