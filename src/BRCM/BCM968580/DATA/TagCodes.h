// The codes of a tagging row's fields beside plain values (G.988 9.3.13, received frame VLAN tagging operation table).
#ifndef BRCM_BCM968580_DATA_TAG_CODES_H
#define BRCM_BCM968580_DATA_TAG_CODES_H

#include <cstdint>

namespace tag_codes {

constexpr std::uint32_t kOuterTag = 0;  // the only tag of a single-tagged frame
constexpr std::uint32_t kInnerTag = 1;

// p-bit codes of filters and treatments; 0 to kLastPrio are values.
constexpr std::uint8_t kLastPrio = 7;
constexpr std::uint8_t kPrioFromInner = 8;  // of a filter: the tag is there, its p-bits do not matter
constexpr std::uint8_t kPrioFromOuter = 9;
constexpr std::uint8_t kPrioFromDscp = 10;
constexpr std::uint8_t kPrioDefaultRow = 14;
constexpr std::uint8_t kPrioNoTag = 15;

// VID codes; 0 to kLastVid are values.
constexpr std::uint16_t kLastVid = 4094;
constexpr std::uint16_t kVidFromInner = 4096;
constexpr std::uint16_t kVidFromOuter = 4097;

constexpr bool isPbits(std::uint32_t code) {
    return code <= kLastPrio;
}
constexpr bool isVid(std::uint32_t code) {
    return code <= kLastVid;
}

}  // namespace tag_codes

#endif
