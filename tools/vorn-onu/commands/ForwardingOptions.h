// The option --forwarding, of every command that has a HAL.
#ifndef VORN_ONU_FORWARDING_OPTIONS_H
#define VORN_ONU_FORWARDING_OPTIONS_H

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace vorn_onu {

constexpr const char* kByContract = "contract";
constexpr const char* kByG988 = "g988";

// word: what holds when nobody says anything; the HAL's environment variable counts more.
void addForwardingOption(CLI::App& command, std::string& word);
// Tells this process's HAL, before it is used.
void useForwarding(const std::string& word);
// For a heading: "Forwarding as G.988 says".
std::string forwardingWords(const std::string& word);

}  // namespace vorn_onu

#endif
