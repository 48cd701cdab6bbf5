// Device names and sysfs paths of the bridge control.
#ifndef BRIDGE_BRIDGE_NAME_H
#define BRIDGE_BRIDGE_NAME_H

#include <string>

namespace kernel_bridge {

// The unit of times in sysfs, on every architecture.
constexpr long kTicksPerSecond = 100;
constexpr long kMicrosecondsPerTick = 10000;

constexpr const char* kNetClass = "/sys/class/net";

// "/sys/class/net/<bridge>/bridge/<attribute>" and "/sys/class/net/<bridge>/brif/<port>/<attribute>". The second exists
// exactly while the port is a port of this bridge.
std::string bridgeAttribute(const char* bridge, const char* attribute);
std::string portAttribute(const char* bridge, const char* port, const char* attribute);

// ENOENT on a path below a device means that the device is missing or not of the kind.
int deviceError(int error);

}  // namespace kernel_bridge

#endif
