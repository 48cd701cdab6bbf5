// What the state file says of the device beyond the library's maps.
#ifndef BRCM_BCM968580_DATA_RESTART_DEVICE_ENTRIES_H
#define BRCM_BCM968580_DATA_RESTART_DEVICE_ENTRIES_H

#include <cstdint>
#include <string>
#include <vector>

#include "kit/Rules.h"

namespace restart {

struct CountedTable {
    kit::RuleTable table;
    std::uint32_t rules;  // in the table, as noted
};
struct LooseRule {
    kit::RuleTable table;
    std::uint32_t id;
};
struct Member {
    std::string device;
    std::string bridge;
};
struct GemPortState {
    std::uint16_t gemPortId;
    bool up;
};
struct IpHost {
    std::uint16_t bridgeId;
    std::uint16_t uniPort;
    std::string mac;
    std::string address;
    bool dhcp;
};

// What the open state file says now, in the order of the names or numbers.
std::vector<std::string> knownDevices();
std::vector<Member> knownMembers();
std::vector<CountedTable> knownTables();
std::vector<LooseRule> knownLooseRules();
LooseRule looseRule(state::ByteReader& key);  // behind the kind of the entry
std::vector<GemPortState> knownGemPorts();
std::vector<IpHost> knownIpHosts();
std::vector<std::uint16_t> knownDscpShortcuts();     // UNI ports
std::vector<std::uint16_t> knownTcontsWithQueues();  // T-CONT indexes

}  // namespace restart

#endif
