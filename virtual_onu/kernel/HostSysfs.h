// What the real kernel's sysfs says about network devices. For host kernel mode.
#ifndef VIRTUAL_ONU_HOST_SYSFS_H
#define VIRTUAL_ONU_HOST_SYSFS_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace virtual_onu::host::kernel {

constexpr std::array<const char*, 4> kToolFolders = {"/sbin", "/usr/sbin", "/bin", "/usr/bin"};

std::string path(const std::string& device, const std::string& attribute);
std::vector<std::string> names();  // of all devices, unsorted
bool exists(const std::string& name);
bool isUp(const std::string& name);
std::optional<NetworkDevice> device(const std::string& name);  // without addresses
std::optional<Bridge> bridge(const std::string& name);         // ports by port number, the order of joining
std::optional<BridgePort> port(const std::string& name);

}  // namespace virtual_onu::host::kernel

#endif
