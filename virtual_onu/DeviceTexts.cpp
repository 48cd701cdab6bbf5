#include "DeviceTexts.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "HexDigits.h"

namespace virtual_onu::network {

bool isDeviceName(const std::string& name) {
    return !name.empty() && name.size() <= kMaxNameLength && name != "." && name != ".." &&
           name.find_first_of("/: \t\n\v\f\r") == std::string::npos;
}

bool parseMac(const std::string& text, std::uint8_t (&mac)[6]) {
    std::uint8_t bytes[6];
    const char* at = text.c_str();
    for (std::uint8_t& byte : bytes) {  // of one digit or two
        int value = hexValue(*at++);
        if (value < 0) return false;
        if (hexValue(*at) >= 0) value = value << 4 | hexValue(*at++);
        if (*at++ != (&byte == std::end(bytes) - 1 ? '\0' : ':')) return false;
        byte = static_cast<std::uint8_t>(value);
    }
    std::copy(std::begin(bytes), std::end(bytes), std::begin(mac));
    return true;
}

std::string macText(const std::uint8_t* mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

bool isMac(const std::string& text) {
    std::uint8_t mac[6];
    return parseMac(text, mac);
}

std::string hex16(std::uint16_t number) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", unsigned{number});
    return text;
}

}  // namespace virtual_onu::network
