// The device's files by path, in memory: plain files, what the kernel shows about network devices, and what tests have
// made of them. Everything but owns() is called with the device lock held, and with paths from normal().
#ifndef VIRTUAL_ONU_FILE_STORE_H
#define VIRTUAL_ONU_FILE_STORE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kernel/Sysfs.h"

namespace virtual_onu::files {

// Shared by a name and by open descriptors, which may outlive the name.
using Content = std::shared_ptr<std::string>;

// Doubled and trailing slashes fall away; links and ".." are not looked at, no program uses them on device paths.
std::string normal(const char* path);

bool isKernelFile(const std::string& path);  // made from the model; false while the host's kernel has the devices
bool isDenied(const std::string& path);
bool isRemoved(const std::string& path);  // a kernel file or character device that VirtualOnu::removeFile took away

std::optional<std::string> kernelFile(const std::string& path);
Content plainFile(const std::string& path);  // null when there is none
Content makePlainFile(const std::string& path);
void plainFileChanged(const std::string& path);  // its content, through what the above have answered
bool removePlainFile(const std::string& path);
bool renamePlainFile(const std::string& from, const std::string& to);
std::optional<std::vector<sysfs::Entry>> list(const std::string& path);  // nothing: no such directory

}  // namespace virtual_onu::files

#endif
