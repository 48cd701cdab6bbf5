// What a step has changed on the device, in a few words.
#ifndef VORN_ONU_EFFECTS_H
#define VORN_ONU_EFFECTS_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu {

// The device at a glance.
struct DeviceImage {
    std::vector<std::string> devices;                // names, in the order of making
    std::map<std::string, std::string> memberships;  // device to bridge
    std::set<std::string> things;                    // "GEM port 1001", "T-CONT 0", runner objects, keys, addresses
    std::size_t rules = 0, flows = 0, messages = 0;

    static DeviceImage of(const virtual_onu::VirtualOnu& onu);
};

// "+ br0 br3 gpon3 gpon3.3, +12 rules"; "" when nothing has changed.
std::string effects(const DeviceImage& before, const DeviceImage& after);

}  // namespace vorn_onu

#endif
