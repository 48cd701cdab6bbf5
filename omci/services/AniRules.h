// VLAN tagging filter data and p-bit maps, and the HAL's records for the PON side of a bridge that come of them:
// contract/AniRecords, StandardRules.
#ifndef OMCI_SERVICES_ANI_RULES_H
#define OMCI_SERVICES_ANI_RULES_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hal/ProvisioningRecords.h"

namespace omci::services {

// A GEM port of a bridge port, with the queue of its T-CONT.
struct GemService {
    std::uint16_t gemPortId = 0;
    std::uint16_t queue = 0;      // 0..7
    std::uint8_t priorities = 0;  // p-bits whose frames go up here: bit p
    bool untagged = false;        // untagged frames go up here
};
constexpr std::uint8_t kAllPriorities = 0xFF;
// The HAL takes this number in a p-bit map for "none", as it does 65535.
constexpr std::uint16_t kNoGemPortOfAMap = 4095;

// G.988, clause 9.3.11. Without an entity everything passes: operation 0.
struct VlanFilter {
    std::uint8_t operation = 0;  // forward operation, 0x00..0x21
    std::vector<std::uint16_t> tcis;
};

// The records that make the HAL do the same.
struct AniRules {
    std::vector<BridgeServiceProvisioning> records;  // none: no frame passes
    bool takesAnyVlan = false;  // frames of VLANs that other GEM ports of the bridge name would fit too
    bool staysBehind = false;   // too much to be taken back while the bridge exists
    std::vector<std::string> problems;
};
// Rules that the HAL keeps of one GEM port of a bridge, or of one port; it forgets those behind them.
constexpr unsigned kMaxRules = 96;

// A TCI that names p-bits alone.
std::uint16_t priorityTci(unsigned priority);
// The TCIs by which the gateway is notified of a GEM port's services: the filter's, with p-bits that go up in this GEM
// port.
std::vector<std::uint16_t> announcedTcis(const GemService& gem, const VlanFilter& filter);
// Hex text, four digits a TCI.
std::string tciText(const std::vector<std::uint16_t>& tcis);

}  // namespace omci::services

#endif
