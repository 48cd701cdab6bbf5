// Every variable of the environment that the tool and the libraries read, for --help and the manual page.
#include "commands/EnvironmentVariables.h"

namespace vorn_onu {

const std::vector<std::pair<std::string, std::string>>& environmentVariables() {
    static const std::vector<std::pair<std::string, std::string>> variables = {
        {"VORN_ONU_SERIAL",
         "the board's serial number, where --serial is not given: omci, exec, and programs on the virtual ONU"},
        {"VORN_ONU_SERIAL_FROM_HOSTNAME",
         "a vendor id, where neither is given: serial number and MAC address come of the host name's number"},
        {"VORN_ONU_MAC", "the board's MAC address, where --mac is not given; read where VORN_ONU_SERIAL is"},
        {"VORN_ONU_BOARD",
         "the board in a file, where --board is not given: omci --listen, exec, and programs on the virtual ONU"},
        {"VORN_HAL_FORWARDING", "contract or g988, where --forwarding is not given"},
        {"VORN_HAL_STATE", "the HAL's state file, for a daemon that names none, and for omci"},
        {"VORN_ONU_STATE", "where a program on the virtual ONU writes the device's state; exec sets it"},
        {"VORN_ONU_TRACE", "where it writes every call into the device; exec sets it"},
        {"VORN_ONU_HAL_OUTPUT", "where what the HAL prints goes; exec sets it"},
        {"VORN_ONU_RUN", "the folder in which the processes of one run know of each other; exec sets it"},
        {"VORN_RECORDER_FILE", "where the recorder writes; exec sets it"},
        {"NO_COLOR", "no colours on a terminal"},
        {"TERM", "dumb: no colours either"},
        {"COLUMNS", "the width of what is shown, where there is no window"},
        {"TMPDIR", "where logs, snapshots and sockets are, otherwise /tmp"},
        {"XDG_RUNTIME_DIR", "where the sockets of boards are instead"},
        {"LD_PRELOAD", "libraries for the program of exec, behind the virtual ONU"},
        {"ASAN_OPTIONS", "of exec's program; exec adds what a preloaded library needs"}};
    return variables;
}

}  // namespace vorn_onu
