// The kernel's text files about network devices, made from the model when they are looked at:
// "/sys/class/net/**" and "/proc/sys/net/ipv6/conf/*/disable_ipv6".
#ifndef VIRTUAL_ONU_SYSFS_H
#define VIRTUAL_ONU_SYSFS_H

#include <optional>
#include <string>
#include <vector>

namespace virtual_onu::sysfs {

struct Entry {
    std::string name;
    bool isDirectory = false;
};

bool owns(const std::string& path);
std::optional<std::string> read(const std::string& path);         // nothing: no such attribute
std::optional<std::vector<Entry>> list(const std::string& path);  // nothing: no such directory
int write(const std::string& path, const std::string& text);      // 0 or errno, as the kernel's store functions
bool writable(const std::string& path);

}  // namespace virtual_onu::sysfs

#endif
