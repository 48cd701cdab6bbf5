// CRC-32 (the polynomial of Ethernet) over bytes; finds every change of up to 32 bits in a row.
#ifndef STATE_CHECKSUM_H
#define STATE_CHECKSUM_H

#include <cstdint>
#include <string_view>

namespace state {

std::uint32_t checksum(std::string_view bytes);

}  // namespace state

#endif
