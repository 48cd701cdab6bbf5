// The PON adapter's maps.
#include "xpon/PonMaps.h"

#include <cstdint>
#include <map>

#include "BRCM/BCM968580/DATA/restart/MapEntries.h"

using kit::Entry;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

using IndexMap = std::map<std::uint16_t, std::uint16_t>;

template <IndexMap OnuXponHalAdapterBCM::*Map>
bool read(ByteReader& key, ByteWriter& value) {
    const IndexMap& map = ponAdapter().*Map;
    const auto entry = map.find(key.u16());
    if (entry == map.end()) return false;
    value.add(entry->second);
    return true;
}

template <IndexMap OnuXponHalAdapterBCM::*Map>
bool restore(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint16_t number = key.u16();
    const std::uint16_t index = value.u16();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) (ponAdapter().*Map).emplace(number, index);
    return true;
}

template <IndexMap OnuXponHalAdapterBCM::*Map, Entry Of>
void forEachKey(const std::function<void(const std::string&)>& visit) {
    for (const auto& entry : ponAdapter().*Map) visit(kit::keyOf(Of, entry.first));
}

template <IndexMap OnuXponHalAdapterBCM::*Map, Entry Of>
constexpr MapEntries indexMap() {
    return {Of, read<Map>, restore<Map>, forEachKey<Map, Of>};
}

bool readCount(ByteReader& /*key*/, ByteWriter& value) {
    if (g_GemCnt == 0) return false;
    value.add(g_GemCnt);
    return true;
}

bool restoreCount(ByteReader& key, ByteReader& value, Reading reading) {
    const std::int32_t count = value.i32();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) g_GemCnt = count;
    return true;
}

void countKey(const std::function<void(const std::string&)>& visit) {
    if (g_GemCnt != 0) visit(kit::keyOf(Entry::GemCount));
}

}  // namespace

const std::vector<MapEntries>& ponMaps() {
    static const auto& maps = *new std::vector<MapEntries>{
        indexMap<&OnuXponHalAdapterBCM::allocIdMap, Entry::AllocIds>(),
        indexMap<&OnuXponHalAdapterBCM::tcontIdxToGemPortMap, Entry::TcontGem>(),
        indexMap<&OnuXponHalAdapterBCM::gemPortMap, Entry::PonGem>(),
        {Entry::GemCount, readCount, restoreCount, countKey},
    };
    return maps;
}

}  // namespace restart
