// The option --forwarding, of every command that has a HAL.
#ifndef VORN_ONU_FORWARDING_OPTIONS_H
#define VORN_ONU_FORWARDING_OPTIONS_H

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace vorn_onu {

// word: what holds when nobody says anything; the HAL's environment variable counts more.
void addForwardingOption(CLI::App& command, std::string& word);
// For commands that have a scenario: the word stays "" where nobody says anything, and forwardingOf() decides.
void addScenarioForwardingOption(CLI::App& command, std::string& word);

}  // namespace vorn_onu

#endif
