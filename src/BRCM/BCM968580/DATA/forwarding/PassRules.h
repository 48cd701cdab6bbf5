// Rules that pass every frame of a device, one in each table, recorded in the rule map.
#ifndef BRCM_BCM968580_DATA_FORWARDING_PASS_RULES_H
#define BRCM_BCM968580_DATA_FORWARDING_PASS_RULES_H

#include <cstdint>
#include <string>

class EtherSwitchBcm380;

namespace forwarding {

struct PassedDevice {
    const char* realDevice;  // whose tables they are in
    const char* device;
    std::uint16_t phyId;      // second half of the rule map's key
    std::uint32_t tagTables;  // from the table for untagged frames on
};

// Those that are missing. False at the first that is refused.
bool insertPassRules(EtherSwitchBcm380& engine, const PassedDevice& passed);
// All that the rule map has there. False, with the rest still there, at the first that is refused.
bool removeRecordedRules(const std::string& realDevice, std::uint16_t phyId);

}  // namespace forwarding

#endif
