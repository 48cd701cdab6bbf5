// Which board: as it is typed, otherwise as the environment says.
#ifndef VORN_ONU_BOARD_CHOICE_H
#define VORN_ONU_BOARD_CHOICE_H

#include <string>

#include "living/BoardStart.h"

namespace vorn_onu {

constexpr char kFromHostNameVariable[] = "VORN_ONU_SERIAL_FROM_HOSTNAME";

// "" where nothing was typed.
struct BoardChoice {
    std::string file, serialNumber, baseMac;
    std::string vendor;  // serial number and MAC address come of the host name's number
};

// Throws std::invalid_argument where a value of the environment, or the host name, is of no use.
BoardStart boardStart(const BoardChoice& typed);

// "onu-17" and "VORN": serial number VORN00000011, MAC address 02:10:00:00:01:10. Throws std::invalid_argument where
// the host name does not end with a number below 2^32.
BoardStart boardOfHost(const std::string& hostName, const std::string& vendor);

}  // namespace vorn_onu

#endif
