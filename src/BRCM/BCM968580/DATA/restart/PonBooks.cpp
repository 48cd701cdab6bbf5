// The PON adapter's maps.
#include <cstdint>
#include <map>

#include "BRCM/BCM968580/DATA/restart/MapBook.h"
#include "xpon/OnuXponHalAdapterBCM.h"

using state::Book;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

using IndexMap = std::map<std::uint16_t, std::uint16_t>;

OnuXponHalAdapterBCM& adapter() {
    return *OnuXponHalAdapterBCM::getInstance();
}

template <IndexMap OnuXponHalAdapterBCM::*Map>
bool read(ByteReader& key, ByteWriter& value) {
    const IndexMap& map = adapter().*Map;
    const auto entry = map.find(key.u16());
    if (entry == map.end()) return false;
    value.add(entry->second);
    return true;
}

template <IndexMap OnuXponHalAdapterBCM::*Map>
bool take(ByteReader& key, ByteReader& value, Taking taking) {
    const std::uint16_t number = key.u16();
    const std::uint16_t index = value.u16();
    if (!key.done() || !value.done()) return false;
    if (taking == Taking::PutBack) (adapter().*Map).emplace(number, index);
    return true;
}

template <IndexMap OnuXponHalAdapterBCM::*Map, Book Of>
void forEachKey(const std::function<void(const std::string&)>& visit) {
    for (const auto& entry : adapter().*Map) visit(keyOf(Of, entry.first));
}

template <IndexMap OnuXponHalAdapterBCM::*Map, Book Of>
constexpr MapBook indexBook() {
    return {Of, read<Map>, take<Map>, forEachKey<Map, Of>};
}

bool readCount(ByteReader& /*key*/, ByteWriter& value) {
    if (g_GemCnt == 0) return false;
    value.add(g_GemCnt);
    return true;
}

bool takeCount(ByteReader& key, ByteReader& value, Taking taking) {
    const std::int32_t count = value.i32();
    if (!key.done() || !value.done()) return false;
    if (taking == Taking::PutBack) g_GemCnt = count;
    return true;
}

void countKey(const std::function<void(const std::string&)>& visit) {
    if (g_GemCnt != 0) visit(keyOf(Book::GemCount));
}

}  // namespace

const std::vector<MapBook>& ponBooks() {
    static const auto& books = *new std::vector<MapBook>{
        indexBook<&OnuXponHalAdapterBCM::allocIdMap, Book::AllocIds>(),
        indexBook<&OnuXponHalAdapterBCM::tcontIdxToGemPortMap, Book::TcontGem>(),
        indexBook<&OnuXponHalAdapterBCM::gemPortMap, Book::PonGem>(),
        {Book::GemCount, readCount, takeCount, countKey},
    };
    return books;
}

}  // namespace restart
