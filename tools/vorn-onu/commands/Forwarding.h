// What frames of services go by, as the commands' words have it.
#ifndef VORN_ONU_FORWARDING_H
#define VORN_ONU_FORWARDING_H

#include <string>

namespace vorn_onu {

constexpr const char* kByContract = "contract";
constexpr const char* kByG988 = "g988";

// Tells this process's HAL, before it is used.
void useForwarding(const std::string& word);
// For a heading: "Forwarding as G.988 says".
std::string forwardingWords(const std::string& word);

}  // namespace vorn_onu

#endif
