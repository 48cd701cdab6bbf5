// The character devices: the optical module ("/dev/laser_dev") and the NGPON2 stack ("/dev/ngpon2_stack").
#ifndef VIRTUAL_ONU_CHAR_DEVICES_H
#define VIRTUAL_ONU_CHAR_DEVICES_H

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "Facilities.h"
#include "real_libc/Descriptors.h"

namespace virtual_onu::chardev {

// Laser, Stack, or NotOurs for any other path.
descriptors::Kind kindOf(const std::string& path);
// One request on an open device; 0 or a negative errno value. An unknown request fails with ENOTTY.
// A known request of the stack without a scripted answer succeeds and leaves the caller's record as it is.
int ioctl(descriptors::Kind kind, unsigned long request, void* argument);

void reset();
nlohmann::json toJson();
persistence::Sections sections();

}  // namespace virtual_onu::chardev

#endif
