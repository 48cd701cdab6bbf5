// The PON side in words.
#ifndef VORN_ONU_PON_WORDS_H
#define VORN_ONU_PON_WORDS_H

#include <string>
#include <vector>

#include "running/state/DeviceState.h"

namespace vorn_onu {

constexpr unsigned kNoAllocId = 65535;

std::string allocIdWords(unsigned allocId);  // "1024", or "none"
// What is known of a queue but its number: "strict, 256 packets", "weighted 40, 256 packets".
std::string queueWords(const virtual_onu::Queue& queue);
// Queues that are alike are reported together: {"0: strict, 2035 packets", "1-7: strict, 256 packets"}.
std::vector<std::string> queueRanges(const std::vector<virtual_onu::Queue>& queues);
std::string gemPortWords(const virtual_onu::GemPort& port);  // "up", "down, downstream only"
std::string linkWords(const DeviceState& state);             // how the link was started; "" when it was not

}  // namespace vorn_onu

#endif
