// What the engine tells of the device while it works, beyond what its maps hold: which devices it has made, which
// bridge they are on, how many rules a table has. Each costs one atomic load without a state file.
#ifndef STATE_FACTS_H
#define STATE_FACTS_H

#include <cstdint>
#include <string>

namespace state {

// ---- devices and bridges ----

void deviceStands(const char* device);  // taken as made
void deviceMade(const char* device);    // by the library, with empty tables
void deviceGone(const char* device);    // with its tables, and the membership of whoever was on it
void joined(const char* bridge, const char* device);
void left(const char* device);

// ---- rule tables ----

struct RuleTable {
    const char* device;
    std::uint32_t direction;
    std::uint32_t tags;
};

// The number of rules in the table, as noted last. False when nothing was noted.
bool rulesInTable(const RuleTable& table, std::uint32_t* count);
void noteRulesInTable(const RuleTable& table, std::uint32_t count);
void forgetTable(const RuleTable& table);
void ruleTaken(const RuleTable& table, std::uint32_t id);
// A rule that no map holds.
void ruleIsLoose(const RuleTable& table, std::uint32_t id);

// ---- GEM ports, hosts, runner ----

void gemPortIs(std::uint16_t gemPortId, bool up);
void gemPortGone(std::uint16_t gemPortId);
void ipHostStands(std::uint16_t bridgeId, std::uint16_t uniPort, const std::string& mac, const std::string& address,
                  bool dhcp);
void ipHostGone(std::uint16_t bridgeId, std::uint16_t uniPort);
void tcontQueues(std::uint16_t tContIndex, bool stand);
void dscpShortcut(std::uint16_t uniPort, bool stands);
// A row of a UNI's tagging, as its removal names it.
struct Row {
    const char* device;
    std::uint16_t phyId;
    std::uint8_t outerPrio;
    std::uint16_t outerVlanId;
    std::uint32_t outerTpidDe;
    std::uint8_t innerPrio;
    std::uint16_t innerVlanId;
    std::uint32_t innerTpidDe;
};
void rowRemovalSettled(const Row& row);
bool takeSettledRow(const Row& row);  // true once for such a row
// True once when an unfinished operation may have started a DHCP client for the host.
bool takeLeftDhcpClient(std::uint16_t bridgeId, std::uint16_t uniPort);

}  // namespace state

#endif
