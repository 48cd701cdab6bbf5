#include "state/Facts.h"

#include <vector>

#include "state/Journal.h"

namespace state {

namespace {

std::uint8_t narrow(std::uint32_t number) {
    return static_cast<std::uint8_t>(number);
}

std::string tableKey(const RuleTable& table) {
    return keyOf(Book::Tables, table.device, narrow(table.direction), narrow(table.tags));
}

std::string looseKey(const RuleTable& table, std::uint32_t id) {
    return keyOf(Book::LooseRules, table.device, narrow(table.direction), narrow(table.tags), id);
}

template <typename Number>
std::string valueOf(Number number) {
    return ByteWriter().add(number).take();
}

// Whoever was a member of the bridge is on none.
void dissolve(Journal& journal, const char* bridge) {
    const std::string value = ByteWriter().add(bridge).take();
    std::vector<std::string> members;
    const std::string begin = bookBegin(Book::Members);
    for (auto entry = journal.entries().lower_bound(begin);
         entry != journal.entries().end() && entry->first[0] == begin[0]; ++entry) {
        const std::string* bridgeNow = journal.find(entry->first);
        if (bridgeNow != nullptr && *bridgeNow == value) members.push_back(entry->first);
    }
    for (const std::string& member : members) journal.erase(member);
}

void setMark(const std::string& key, bool stands) {
    Journal* const open = journal();
    if (open == nullptr) return;
    stands ? open->put(key, {}) : open->erase(key);
}

// True when the mark stood; it is gone then.
bool takeMark(const std::string& key) {
    Journal* const open = journal();
    if (open->find(key) == nullptr) return false;
    open->erase(key);
    return true;
}

std::string rowKey(const Row& row) {
    return keyOf(Book::SettledRows, row.device, row.phyId, row.outerPrio, row.outerVlanId, row.outerTpidDe,
                 row.innerPrio, row.innerVlanId, row.innerTpidDe);
}

}  // namespace

// ---- devices and bridges ----

void deviceStands(const char* device) {
    Journal* const open = journal();
    if (open == nullptr) return;
    const std::string key = keyOf(Book::Devices, device);
    if (open->find(key) == nullptr) open->put(key, valueOf(false));
}

void deviceMade(const char* device) {
    if (Journal* const open = journal()) open->put(keyOf(Book::Devices, device), valueOf(true));
}

void deviceGone(const char* device) {
    Journal* const open = journal();
    if (open == nullptr) return;
    open->erase(keyOf(Book::Devices, device));
    open->erase(keyOf(Book::Members, device));
    open->eraseAll(keyOf(Book::Tables, device));
    open->eraseAll(keyOf(Book::LooseRules, device));
    dissolve(*open, device);
}

void joined(const char* bridge, const char* device) {
    if (Journal* const open = journal()) open->put(keyOf(Book::Members, device), ByteWriter().add(bridge).take());
}

void left(const char* device) {
    if (Journal* const open = journal()) open->erase(keyOf(Book::Members, device));
}

// ---- rule tables ----

bool rulesInTable(const RuleTable& table, std::uint32_t* count) {
    Journal* const open = journal();
    if (open == nullptr) return false;
    if (const std::string* const noted = open->find(tableKey(table))) {
        *count = ByteReader(*noted).u32();
        return true;
    }
    *count = 0;
    const std::string* const device = open->find(keyOf(Book::Devices, table.device));
    return device != nullptr && ByteReader(*device).flag();
}

void noteRulesInTable(const RuleTable& table, std::uint32_t count) {
    if (Journal* const open = journal()) open->put(tableKey(table), valueOf(count));
}

void forgetTable(const RuleTable& table) {
    if (Journal* const open = journal()) open->erase(tableKey(table));
}

void ruleTaken(const RuleTable& table, std::uint32_t id) {
    std::uint32_t count = 0;
    if (rulesInTable(table, &count) && count > 0) noteRulesInTable(table, count - 1);
    if (Journal* const open = journal(); open != nullptr && open->find(looseKey(table, id)) != nullptr)
        open->erase(looseKey(table, id));
}

void ruleIsLoose(const RuleTable& table, std::uint32_t id) {
    if (Journal* const open = journal()) open->put(looseKey(table, id), {});
}

// ---- GEM ports, hosts, runner ----

void gemPortIs(std::uint16_t gemPortId, bool up) {
    if (Journal* const open = journal()) open->put(keyOf(Book::GemUp, gemPortId), ByteWriter().add(up).take());
}

void gemPortGone(std::uint16_t gemPortId) {
    if (Journal* const open = journal()) open->erase(keyOf(Book::GemUp, gemPortId));
}

void ipHostStands(std::uint16_t bridgeId, std::uint16_t uniPort, const std::string& mac, const std::string& address,
                  bool dhcp) {
    if (Journal* const open = journal())
        open->put(keyOf(Book::IpHosts, bridgeId, uniPort), ByteWriter().add(mac).add(address).add(dhcp).take());
}

void ipHostGone(std::uint16_t bridgeId, std::uint16_t uniPort) {
    if (Journal* const open = journal()) open->erase(keyOf(Book::IpHosts, bridgeId, uniPort));
}

void tcontQueues(std::uint16_t tContIndex, bool stand) {
    setMark(keyOf(Book::TcontQueues, tContIndex), stand);
}

void dscpShortcut(std::uint16_t uniPort, bool stands) {
    setMark(keyOf(Book::DscpShortcuts, uniPort), stands);
}

void rowRemovalSettled(const Row& row) {
    setMark(rowKey(row), true);
}

bool takeSettledRow(const Row& row) {
    return journal() != nullptr && takeMark(rowKey(row));
}

bool takeLeftDhcpClient(std::uint16_t bridgeId, std::uint16_t uniPort) {
    return journal() != nullptr && takeMark(keyOf(Book::DhcpClients, bridgeId, uniPort));
}

}  // namespace state
