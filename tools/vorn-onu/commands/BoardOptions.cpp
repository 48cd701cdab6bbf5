#include "commands/BoardOptions.h"

#include <string>

#include <CLI/CLI.hpp>

#include "BoardIdentity.h"
#include "commands/CommandLine.h"

namespace vorn_onu {

void addIdentityOptions(CLI::App& command, BoardChoice& board) {
    CLI::Option* serial =
        command
            .add_option("--serial", board.serialNumber,
                        "the board's serial number, four letters and eight hexadecimal digits; "
                        "otherwise $VORN_ONU_SERIAL")
            ->type_name("NUMBER")
            ->check(CLI::Validator([](std::string& text) { return virtual_onu::problemOfSerialNumber(text); }, ""));
    command
        .add_option("--serial-from-hostname", board.vendor,
                    "make the serial number of this vendor id and the number at the end of the host name, onu-17 with "
                    "VORN: VORN00000011, and the MAC address of it where none is given, 02:10:00:00:00:00 and 16 times "
                    "the number; otherwise $VORN_ONU_SERIAL_FROM_HOSTNAME")
        ->type_name("VENDOR")
        ->check(CLI::Validator(
            [](std::string& text) -> std::string {
                return virtual_onu::isVendorId(text) ? "" : "must be a vendor id of four letters, not '" + text + "'";
            },
            ""))
        ->excludes(serial);
    command.add_option("--mac", board.baseMac, "the board's MAC address; otherwise $VORN_ONU_MAC")
        ->type_name("ADDRESS")
        ->check(CLI::Validator([](std::string& text) { return virtual_onu::problemOfBaseMac(text); }, ""));
}

CLI::Option* addBoardFile(CLI::App& command, BoardChoice& board, const char* whose) {
    return addFileOption(command, "--board", board.file,
                         std::string("the board that ") + whose +
                             " finds and leaves; a file that is not there yet begins with a new one; otherwise "
                             "$VORN_ONU_BOARD");
}

}  // namespace vorn_onu
