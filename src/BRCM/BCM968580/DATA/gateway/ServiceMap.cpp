// The service map: one entry per WAN service that the gateway has been notified of.
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "kit/Asked.h"

std::map<serviceKey, OwnedBlock<OMCI_SERVICE_MAP_ENTRY>> m_SERVICE_MAP_ENTRY;

namespace {

using OwnedEntry = decltype(m_SERVICE_MAP_ENTRY)::mapped_type;

// The listener thread reads the map while the provisioning thread changes it. Held only around the access, never around
// a send or a wait. Never destroyed: that thread runs on while the process exits.
std::mutex& serviceMapLock = *new std::mutex;

// Ends before the map, which was made before it: from then on the listener thread finds no service.
bool mapExists = true;
struct MapEnd {
    ~MapEnd() {
        const std::lock_guard<std::mutex> lock(serviceMapLock);
        mapExists = false;
    }
} mapEnd;

std::atomic<int> serviceCount{0};  // entries made less entries deleted; the listener thread reads it too

unsigned short lowHalf(int value) {
    return static_cast<unsigned short>(value);
}

serviceKey keyOf(const OMCI_SERVICE_MAP_ENTRY& entry) {
    return serviceKey(serviceIfName(entry).get(), lowHalf(entry.vlanId), lowHalf(entry.pbits));
}

// The map's own entry, or null. The caller holds the lock.
OMCI_SERVICE_MAP_ENTRY* entryAt(const serviceKey& key) {
    if (!mapExists) return nullptr;
    const auto found = m_SERVICE_MAP_ENTRY.find(key);
    return found != m_SERVICE_MAP_ENTRY.end() ? found->second.get() : nullptr;
}

void noteService(const serviceKey& key) {
    kit::noteChange(kit::Entry::Services, key.ifName, key.vlanId, key.pbits);
}

void noteLossOf(const serviceKey& key) {
    noteService(key);
    kit::noteLoss(kit::Entry::Services, key.ifName, key.vlanId, key.pbits);
}

void printLookUp(bool found, const serviceKey& key, unsigned short phyId) {
    if (found) {
        std::printf("\n findOmciServiceMapEntry: Entry Found for  ifName: %s phyId: %d vlanId %d pbit %d\n ",
                    key.ifName.c_str(), phyId, key.vlanId, key.pbits);
    } else {
        std::printf("findOmciServiceMapEntry: Entry NOT Found for ifName: %s phyId: %d vlanId %d pbit %d\n ",
                    key.ifName.c_str(), phyId, key.vlanId, key.pbits);
    }
}

}  // namespace

serviceKey::serviceKey(std::string name, unsigned short vlan, unsigned short pbit)
    : ifName(std::move(name)), vlanId(vlan), pbits(pbit) {}

bool serviceKey::operator<(const serviceKey& other) const {
    if (ifName != other.ifName) return ifName < other.ifName;
    if (vlanId != other.vlanId) return vlanId < other.vlanId;
    return pbits < other.pbits;
}

int EtherSwitchBcm380::omci_service_num_get() {
    return serviceCount;
}

bool copyOmciServiceMapEntry(const OMCI_SERVICE_MAP_ENTRY& request, OMCI_SERVICE_MAP_ENTRY* copy) {
    const serviceKey key = keyOf(request);
    bool found = false;
    {
        const std::lock_guard<std::mutex> lock(serviceMapLock);
        if (const OMCI_SERVICE_MAP_ENTRY* stored = entryAt(key)) {
            *copy = *stored;
            found = true;
        }
    }
    printLookUp(found, key, lowHalf(request.gemPortIndex));
    return found;
}

bool putBackService(const OMCI_SERVICE_MAP_ENTRY& entry) {
    OwnedEntry copy(static_cast<OMCI_SERVICE_MAP_ENTRY*>(std::malloc(sizeof entry)));
    if (copy == nullptr) return false;
    *copy = entry;
    const std::lock_guard<std::mutex> lock(serviceMapLock);
    if (!m_SERVICE_MAP_ENTRY.emplace(keyOf(entry), std::move(copy)).second) return false;
    ++serviceCount;
    return true;
}

void forgetServices() {
    for (const auto& service : m_SERVICE_MAP_ENTRY) noteLossOf(service.first);
    const std::lock_guard<std::mutex> lock(serviceMapLock);
    m_SERVICE_MAP_ENTRY.clear();
    serviceCount = 0;
}

int EtherSwitchBcm380::findOmciServiceMapEntry(const char* ifName, unsigned short phyId, unsigned short vlanId,
                                               unsigned short pbit, OMCI_SERVICE_MAP_ENTRY** out) {
    if (ifName == nullptr || out == nullptr) return 0;
    const serviceKey key(ifName, vlanId, pbit);
    OMCI_SERVICE_MAP_ENTRY* stored = nullptr;
    {
        const std::lock_guard<std::mutex> lock(serviceMapLock);
        stored = entryAt(key);
    }
    printLookUp(stored != nullptr, key, phyId);
    if (stored == nullptr) return 0;
    *out = stored;
    return 1;
}

OMCI_SERVICE_MAP_ENTRY* EtherSwitchBcm380::allocOmciServiceMapEntry(OMCI_SERVICE_MAP_ENTRY* entry) {
    if (entry == nullptr) return nullptr;
    {
        const std::lock_guard<std::mutex> lock(serviceMapLock);
        if (entryAt(keyOf(*entry)) != nullptr) return nullptr;
    }
    auto* copy = static_cast<OMCI_SERVICE_MAP_ENTRY*>(std::malloc(sizeof(OMCI_SERVICE_MAP_ENTRY)));
    if (copy != nullptr) *copy = *entry;
    return copy;
}

// A service that is known already is left as it is, even if its GEM index or state differ.
int EtherSwitchBcm380::omciServiceCreateMapEntry(OMCI_SERVICE_MAP_ENTRY* entry) {
    if (entry == nullptr) return 0;
    const serviceKey key = keyOf(*entry);
    kit::noteNeed(kit::Entry::Services, key.ifName, key.vlanId, key.pbits);
    OMCI_SERVICE_MAP_ENTRY* present = nullptr;
    if (findOmciServiceMapEntry(key.ifName.c_str(), lowHalf(entry->gemPortIndex), key.vlanId, key.pbits, &present) ==
        1) {
        std::printf("\nIdentical entry exists, pbits=%d, vlanId=%d, ifName=%s gemPortIndex=%d\n", entry->pbits,
                    entry->vlanId, key.ifName.c_str(), entry->gemPortIndex);
        return 1;
    }
    OwnedEntry copy(allocOmciServiceMapEntry(entry));
    if (copy == nullptr) {
        std::printf("Could not allocate OMCI Service Entry memory for pbits=%d, vlanId=%d, ifName=%s gemPortIndex=%d\n",
                    entry->pbits, entry->vlanId, key.ifName.c_str(), entry->gemPortIndex);
        return 0;
    }
    std::printf("\nCreate OMCI Service Entry for pbits=%d, vlanId=%d, ifName=%s gemPortIndex=%d\n", entry->pbits,
                entry->vlanId, key.ifName.c_str(), entry->gemPortIndex);
    noteService(key);
    const std::lock_guard<std::mutex> lock(serviceMapLock);
    if (m_SERVICE_MAP_ENTRY.emplace(key, std::move(copy)).second) ++serviceCount;
    return 1;
}

int EtherSwitchBcm380::omciServiceDeleteMapEntry(int phyId, const char* ifName, int vlanId, int pbit) {
    if (ifName == nullptr) return 0;
    const serviceKey key(ifName, lowHalf(vlanId), lowHalf(pbit));
    OMCI_SERVICE_MAP_ENTRY* present = nullptr;
    if (findOmciServiceMapEntry(ifName, lowHalf(phyId), key.vlanId, key.pbits, &present) == 0) {
        std::printf("Could not find OMCI Service Entry for phyId=%d ifName=%s vlanId=%d pbit=%d\n", phyId, ifName,
                    vlanId, pbit);
        return 0;
    }
    std::printf("\nFreeing OMCI Service Entry for phyId=%d, ifName=%s vlanId=%d pbit=%d\n ", phyId, ifName, vlanId,
                pbit);
    bool erased = false;
    {
        const std::lock_guard<std::mutex> lock(serviceMapLock);
        erased = m_SERVICE_MAP_ENTRY.erase(key) == 1;
        if (erased) --serviceCount;
    }
    noteLossOf(key);
    // Kept: both texts carry the rule map's name.
    std::printf(
        "%s", erased ? "freeVlanRuleMapEntry: Entry deleted\n " : "freeVlanRuleMapEntry: Entry not found to delete\n ");
    return 1;
}
