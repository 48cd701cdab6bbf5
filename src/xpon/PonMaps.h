// The PON adapter, and every change of its maps beyond the adapter's own operations; each is noted for the state file.
#ifndef XPON_PON_MAPS_H
#define XPON_PON_MAPS_H

#include <cstdint>

#include "xpon/OnuXponHalAdapterBCM.h"

inline OnuXponHalAdapterBCM& ponAdapter() {
    return *OnuXponHalAdapterBCM::getInstance();
}

void countGemPorts(std::int32_t change);
// Of a port that the map has.
void setGemIndex(std::uint16_t gemPortId, std::uint16_t gemIndex);

#endif
