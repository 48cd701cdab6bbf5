// The TCI list of a VLAN tagging filter (G.988 9.3.11) as it comes in a record: hex text, two bytes a TCI.
#ifndef BRCM_BCM968580_DATA_TCI_LIST_H
#define BRCM_BCM968580_DATA_TCI_LIST_H

#include <algorithm>
#include <cstdint>
#include <optional>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/OwnedBlock.h"

class TciList {
public:
    // Nothing for a text that is no hex text.
    static std::optional<TciList> fromHex(EtherSwitchBcm380& engine, const char* text) {
        unsigned char* bytes = nullptr;
        TciList list;
        if (engine.hexStringToBinaryBuf(text, &bytes, &list.length_) != 0) return std::nullopt;
        list.bytes_.reset(bytes);
        return list;
    }

    // Entry 0 is the wildcard, and behind it the first TCIs: as many as are asked for and as the text really holds.
    // info->entries is the caller's to free.
    void decode(EtherSwitchBcm380& engine, unsigned tcis, VlanTciFilterInfo_t* info) const {
        const unsigned held = std::min({tcis, length_ / 2, kMaxTciEntries});
        info->numberOfEntries = static_cast<std::uint8_t>(held + 1);
        engine.getTagFilters(bytes_.get(), info->numberOfEntries, info);
    }

private:
    TciList() = default;

    OwnedBlock<unsigned char> bytes_;
    unsigned length_ = 0;  // in bytes
};

#endif
