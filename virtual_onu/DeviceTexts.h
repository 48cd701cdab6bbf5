// Names and addresses of network devices as texts.
#ifndef VIRTUAL_ONU_DEVICE_TEXTS_H
#define VIRTUAL_ONU_DEVICE_TEXTS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace virtual_onu::network {

constexpr std::size_t kMaxNameLength = 15;  // characters of a device name

// Letters, digits and "._-": no shell and no tool gives them a meaning of their own.
constexpr bool isPlainCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
           c == '_';
}
bool isDeviceName(const std::string& name);  // the kernel's dev_valid_name, and its limit
bool parseMac(const std::string& text, std::uint8_t (&mac)[6]);
bool isMac(const std::string& text);
std::string macText(const std::uint8_t* mac);  // "02:00:00:00:00:01"
std::string hex16(std::uint16_t number);       // "0x88a8"

}  // namespace virtual_onu::network

#endif
