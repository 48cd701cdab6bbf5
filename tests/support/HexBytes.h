// Bytes written as hexadecimal digits.
#ifndef TESTS_SUPPORT_HEX_BYTES_H
#define TESTS_SUPPORT_HEX_BYTES_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// Blanks are ignored.
inline std::vector<std::uint8_t> hex(std::string digits) {
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
    return bytes;
}

#endif
