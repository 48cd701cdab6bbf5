// What frames of services go by, as the commands' words have it.
#ifndef VORN_ONU_FORWARDING_H
#define VORN_ONU_FORWARDING_H

#include <string>

#include "running/scenario/Scenario.h"

namespace vorn_onu {

// Tells this process's HAL, before it is used.
void useForwarding(const std::string& word);
// What holds for a scenario: the option if it is given, else what the scenario says, else the environment, else the
// contract. Throws std::invalid_argument for an environment that says something else.
std::string forwardingOf(const std::string& option, const Scenario& scenario);
// For a heading: "Forwarding as G.988 says".
std::string forwardingWords(const std::string& word);

}  // namespace vorn_onu

#endif
