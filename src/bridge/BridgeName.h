// Device names and sysfs paths of the bridge control.
#ifndef BRIDGE_BRIDGE_NAME_H
#define BRIDGE_BRIDGE_NAME_H

#include <string>

namespace kernel_bridge {

// The name could be one of the kernel's device names. False for null.
bool isDeviceName(const char* name);

constexpr const char* kNetClass = "/sys/class/net";

// "/sys/class/net/<bridge>/bridge/<attribute>" and "/sys/class/net/<bridge>/brif/<port>/<attribute>". The second exists
// exactly while the port is a port of this bridge.
std::string bridgeAttribute(const char* bridge, const char* attribute);
std::string portAttribute(const char* bridge, const char* port, const char* attribute);

// ENOENT on a path below a device means that the device is missing or not of the kind.
int deviceError(int error);

}  // namespace kernel_bridge

#endif
