// --tap sid0=tap0, --tap "gem 1001=tap1@operator": which port of the board is which TAP of the host.
#ifndef VORN_ONU_TAP_OPTION_H
#define VORN_ONU_TAP_OPTION_H

#include <memory>
#include <string>
#include <vector>

#include "Taps.h"

namespace vorn_onu {

// Throws std::invalid_argument: what is wrong, and how it is written.
virtual_onu::TapRequest tapOf(const std::string& words);
std::vector<virtual_onu::TapRequest> tapsOf(const std::vector<std::string>& options);

// The TAPs, open; null for no options. Throws std::invalid_argument and std::runtime_error.
std::unique_ptr<virtual_onu::Taps> openTaps(const std::vector<std::string>& options);

}  // namespace vorn_onu

#endif
