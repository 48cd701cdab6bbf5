// Messages to the gateway as one readable line each.
#ifndef VORN_ONU_MESSAGE_TEXT_H
#define VORN_ONU_MESSAGE_TEXT_H

#include <cstdint>
#include <string>
#include <vector>

namespace vorn_onu {

// "application up", "service up veip0 vlan 100 pbits 5 gem 1001 index 1 type 0"; -2 for what a message does not
// concern. A message of another kind is shown by its number and length.
std::string messageText(std::uint32_t type, const std::vector<std::uint8_t>& payload);

}  // namespace vorn_onu

#endif
