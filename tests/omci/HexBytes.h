// Bytes written as hexadecimal digits.
#ifndef TESTS_OMCI_HEX_BYTES_H
#define TESTS_OMCI_HEX_BYTES_H

#include <algorithm>
#include <string>

#include "omci/message/Bytes.h"

namespace omci {

// Blanks are ignored.
inline Bytes hex(std::string digits) {
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    Bytes bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
    return bytes;
}

}  // namespace omci

#endif
