// Which texts of a state file are names: no other text of it reaches the kit, and none a shell.
#ifndef BRCM_BCM968580_DATA_RESTART_DEVICE_NAMES_H
#define BRCM_BCM968580_DATA_RESTART_DEVICE_NAMES_H

#include <string>

namespace restart {

// Letters, digits and "._-", as long as a name of the engine can be.
bool isPlainDeviceName(const std::string& name);
// A device that the library makes: "br3", "br3.1", "gpon3", "gpon3.3", "sid0.3", "veip0".
bool isMadeDevice(const std::string& name);
bool isBridge(const std::string& name);  // "br3"

}  // namespace restart

#endif
