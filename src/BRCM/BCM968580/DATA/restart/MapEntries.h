// How the maps of the library are written to the state file and read back: one row for each kind of entry.
#ifndef BRCM_BCM968580_DATA_RESTART_MAP_ENTRIES_H
#define BRCM_BCM968580_DATA_RESTART_MAP_ENTRIES_H

#include <functional>
#include <string>
#include <vector>

#include "kit/StateEntries.h"
#include "state/Journal.h"

namespace restart {

// What becomes of an entry that is read.
enum class Reading { Check, Restore };

struct MapEntries {
    kit::Entry kind;
    // The map's value at the key; false when there is none.
    state::Journal::ReadMap read;
    // False when key or value are none of this kind; with Restore an entry that was checked goes into the map.
    bool (*restore)(state::ByteReader& key, state::ByteReader& value, Reading reading);
    // Every key that the map has now.
    void (*forEachKey)(const std::function<void(const std::string&)>& visit);
};

const std::vector<MapEntries>& ponMaps();      // PonMaps.cpp
const std::vector<MapEntries>& serviceMaps();  // ServiceMaps.cpp
const std::vector<MapEntries>& ruleMap();      // RuleMapEntries.cpp
const std::vector<MapEntries>& plannedMaps();  // Forwarding.cpp
void forEachMap(const std::function<void(const MapEntries&)>& visit);

// Whether an entry that no map has is well formed (DeviceEntries.cpp).
bool isDeviceEntry(kit::Entry kind, state::ByteReader& key, state::ByteReader& value);

}  // namespace restart

#endif
