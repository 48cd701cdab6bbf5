#include "omci/message/Bytes.h"

#include <algorithm>

namespace omci {

bool operator==(ByteView one, ByteView other) {
    return one.size() == other.size() && std::equal(one.begin(), one.end(), other.begin());
}

std::uint64_t numberOf(ByteView bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) value = value << 8 | byte;
    return value;
}

std::uint16_t number16(ByteView bytes, std::size_t offset) {
    if (offset + 2 > bytes.size()) return 0;
    return static_cast<std::uint16_t>(numberOf(bytes.part(offset, 2)));
}

std::uint32_t number32(ByteView bytes, std::size_t offset) {
    if (offset + 4 > bytes.size()) return 0;
    return static_cast<std::uint32_t>(numberOf(bytes.part(offset, 4)));
}

void putNumber(std::uint8_t* to, std::uint64_t value, std::size_t size) {
    for (std::size_t at = size; at > 0; --at, value >>= 8) to[at - 1] = static_cast<std::uint8_t>(value);
}

void appendNumber(Bytes& to, std::uint64_t value, std::size_t size) {
    for (std::size_t left = size; left > 0; --left)  // above the number's own bytes are zeros
        to.push_back(left > sizeof value ? std::uint8_t{0} : static_cast<std::uint8_t>(value >> (8U * (left - 1))));
}

bool allAre(ByteView bytes, std::uint8_t value) {
    return std::all_of(bytes.begin(), bytes.end(), [value](std::uint8_t byte) { return byte == value; });
}

}  // namespace omci
