#include "state/Checksum.h"

#include <array>
#include <cstddef>

namespace state {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::size_t kSlices = 8;  // bytes a step

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

std::uint32_t wordAt(std::string_view bytes, std::size_t index) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < sizeof word; ++i)
        word |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index + i])) << (8 * i);
    return word;
}

// The part that the word's bytes have in the sum when `behind` bytes of the step follow the first one.
std::uint32_t part(std::uint32_t word, std::size_t behind) {
    return kTable[behind][word & 0xFF] ^ kTable[behind - 1][word >> 8 & 0xFF] ^ kTable[behind - 2][word >> 16 & 0xFF] ^
           kTable[behind - 3][word >> 24];
}

}  // namespace

std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t sum = ~std::uint32_t{0};
    std::size_t at = 0;
    for (; at + kSlices <= bytes.size(); at += kSlices)
        sum = part(sum ^ wordAt(bytes, at), kSlices - 1) ^ part(wordAt(bytes, at + kSlices / 2), kSlices / 2 - 1);
    for (; at < bytes.size(); ++at) sum = sum >> 8 ^ kTable[0][(sum ^ static_cast<unsigned char>(bytes[at])) & 0xFF];
    return ~sum;
}

}  // namespace state
