// What the rules of a bridge's PON side are composed with beside plain values.
#ifndef BRCM_BCM968580_DATA_ANI_CODES_H
#define BRCM_BCM968580_DATA_ANI_CODES_H

#include <cstdint>

constexpr std::uint8_t kPbitNotMapped = 8;  // in place of a p-bit, 0 to 7
constexpr std::uint8_t kDefaultDrop = 1;    // the default action of a rule table: frames that no rule takes are dropped

#endif
