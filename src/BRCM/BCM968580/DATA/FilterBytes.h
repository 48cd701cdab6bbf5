// A filter of a tagging row as part of a key, a step or a value of the state file.
#ifndef BRCM_BCM968580_DATA_FILTER_BYTES_H
#define BRCM_BCM968580_DATA_FILTER_BYTES_H

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "state/Bytes.h"

constexpr std::size_t kFilterBytes = 7;

inline void addPart(state::ByteWriter& bytes, const VlanTagFilter_t& filter) {
    bytes.add(filter.prio).add(filter.vlanId).add(filter.tpid_de);
}

inline VlanTagFilter_t filterFrom(state::ByteReader& bytes) {
    VlanTagFilter_t filter{};
    filter.prio = bytes.u8();
    filter.vlanId = bytes.u16();
    filter.tpid_de = bytes.u32();
    return filter;
}

#endif
