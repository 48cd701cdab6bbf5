// The names of devices: fixed ones, those that are formed from numbers, and which texts are names.
#ifndef KIT_DEVICE_NAMES_H
#define KIT_DEVICE_NAMES_H

#include <cstdint>
#include <string>

#include "hal/Text.h"

constexpr const char* kPonDevice = "gpondef";
constexpr const char* kDefaultBridge = "br0";
constexpr const char* kSharedBridge = "brv";  // of management hosts
constexpr const char* kVeipDevice = "veip0";
constexpr const char* kVeipRealDevice = "gpon0.0";

namespace kit {

inline DeviceName bridgeName(unsigned bridgeId) {
    return DeviceName("br%d", static_cast<int>(bridgeId));
}
inline DeviceName ipHostName(unsigned bridgeId, unsigned uniPort) {
    return DeviceName("br%d.%d", static_cast<int>(bridgeId), static_cast<int>(uniPort));
}
// The UNI before the first one is "sid-1".
inline DeviceName uniName(unsigned index) {
    return DeviceName("sid%d", static_cast<int>(index));
}
inline DeviceName uniVlanName(unsigned index, unsigned vlanId) {
    return DeviceName("sid%d.%d", static_cast<int>(index), static_cast<int>(vlanId));
}
inline DeviceName aniName(unsigned bridgeId) {
    return DeviceName("gpon%d", static_cast<int>(bridgeId));
}
inline DeviceName aniVlanName(unsigned bridgeId, unsigned vlanId) {
    return DeviceName("gpon%d.%d", static_cast<int>(bridgeId), static_cast<int>(vlanId));
}

// Letters, digits and "._-": a name that a shell reads as one plain word.
bool isPlainName(const char* name);
// A plain name, no longer than one of the engine can be.
bool isPlainDeviceName(const std::string& name);
// A device that the library creates: "br3", "br3.1", "gpon3", "gpon3.3", "sid0.3", "veip0".
bool isCreatedDevice(const std::string& name);
bool isBridge(const std::string& name);  // "br3"

}  // namespace kit

#endif
