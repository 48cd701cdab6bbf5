// What a board can be given as its own from outside, by options of the tool or by the environment.
#ifndef VIRTUAL_ONU_BOARD_IDENTITY_H
#define VIRTUAL_ONU_BOARD_IDENTITY_H

#include <cstddef>
#include <string>

#include "HexDigits.h"

namespace virtual_onu {

constexpr char kSerialNumberVariable[] = "VORN_ONU_SERIAL";
constexpr char kBaseMacVariable[] = "VORN_ONU_MAC";
constexpr char kBoardFileVariable[] = "VORN_ONU_BOARD";

// A vendor id: four letters or digits.
inline bool isVendorId(const std::string& text) {
    for (const char c : text) {
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!letter && (c < '0' || c > '9')) return false;
    }
    return text.size() == 4;
}

// Why the text is no serial number as an ONU prints it (G.984.3, 9.2.4.1: a vendor id, and four octets of the vendor's
// own, here as hexadecimal digits); "" where it is one.
inline std::string problemOfSerialNumber(const std::string& text) {
    bool good = text.size() == 12 && isVendorId(text.substr(0, 4));
    for (std::size_t at = 4; good && at < text.size(); ++at) good = hexValue(text[at]) >= 0;
    return good ? "" : "must be four letters and eight hexadecimal digits, not '" + text + "'";
}

// Why the text cannot be a station's MAC address, "02:10:20:30:40:50"; "" where it can.
inline std::string problemOfBaseMac(const std::string& text) {
    bool good = text.size() == 17;
    for (std::size_t at = 0; good && at < text.size(); ++at)
        good = at % 3 == 2 ? text[at] == ':' : hexValue(text[at]) >= 0;
    if (!good) return "must be a MAC address such as 02:10:20:30:40:50, not '" + text + "'";
    return hexValue(text[1]) % 2 == 0 ? "" : "must be the address of one station, not the group address '" + text + "'";
}

}  // namespace virtual_onu

#endif
