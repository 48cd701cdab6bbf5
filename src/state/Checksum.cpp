#include "state/Checksum.h"

#include <array>
#include <cstddef>

namespace state {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::size_t kSlices = 4;  // bytes a step

using Table = std::array<std::array<std::uint32_t, 256>, kSlices>;

constexpr Table makeTable() {
    Table table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit) rest = (rest & 1) != 0 ? rest >> 1 ^ kPolynomial : rest >> 1;
        table[0][byte] = rest;
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = table[slice - 1][byte];
            table[slice][byte] = before >> 8 ^ table[0][before & 0xFF];
        }
    }
    return table;
}

constexpr Table kTable = makeTable();

std::uint32_t byteAt(std::string_view bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
}

}  // namespace

std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t sum = ~std::uint32_t{0};
    std::size_t at = 0;
    for (; at + kSlices <= bytes.size(); at += kSlices) {
        sum ^=
            byteAt(bytes, at) | byteAt(bytes, at + 1) << 8 | byteAt(bytes, at + 2) << 16 | byteAt(bytes, at + 3) << 24;
        sum = kTable[3][sum & 0xFF] ^ kTable[2][sum >> 8 & 0xFF] ^ kTable[1][sum >> 16 & 0xFF] ^ kTable[0][sum >> 24];
    }
    for (; at < bytes.size(); ++at) sum = sum >> 8 ^ kTable[0][(sum ^ byteAt(bytes, at)) & 0xFF];
    return ~sum;
}

}  // namespace state
