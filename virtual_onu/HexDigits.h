// Bytes as hexadecimal digits, and back.
#ifndef VIRTUAL_ONU_HEX_DIGITS_H
#define VIRTUAL_ONU_HEX_DIGITS_H

#include <string>

namespace virtual_onu {

constexpr char kHexDigits[] = "0123456789abcdef";

// -1 for a character that is no digit; "A" to "F" are.
constexpr int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// Of bytes, or of characters as bytes: "0a1b".
template <typename Bytes>
std::string hexText(const Bytes& bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const auto one : bytes) {
        const auto byte = static_cast<unsigned char>(one);
        text += kHexDigits[byte >> 4U];
        text += kHexDigits[byte & 0xFU];
    }
    return text;
}

}  // namespace virtual_onu

#endif
