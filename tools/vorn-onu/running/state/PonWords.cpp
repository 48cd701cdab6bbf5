#include "running/state/PonWords.h"

#include "platform/kit_numbers.h"

namespace vorn_onu {

namespace {

// Start states of the GPON link, by the names of the activation states of G.984.3 and G.989.3.
constexpr unsigned kInitialState = 1;
constexpr unsigned kEmergencyStop = 7;

}  // namespace

std::string allocIdWords(unsigned allocId) {
    return allocId == kNoAllocId ? "none" : std::to_string(allocId);
}

std::string queueWords(const virtual_onu::Queue& queue) {
    const std::string size = ", " + std::to_string(queue.size) + " packets";
    if (queue.schedMode == TMCTL_SCHED_WEIGHTED_ROUND_ROBIN) return "weighted " + std::to_string(queue.weight) + size;
    // A queue's own number is its usual priority.
    return (queue.priority == queue.id ? "strict" : "strict, priority " + std::to_string(queue.priority)) + size;
}

std::vector<std::string> queueRanges(const std::vector<virtual_onu::Queue>& queues) {
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < queues.size();) {
        std::size_t last = i;
        while (last + 1 < queues.size() && queueWords(queues[last + 1]) == queueWords(queues[i])) ++last;
        const std::string range =
            std::to_string(queues[i].id) + (last > i ? "-" + std::to_string(queues[last].id) : "");
        parts.push_back(range + ": " + queueWords(queues[i]));
        i = last + 1;
    }
    return parts;
}

std::string gemPortWords(const virtual_onu::GemPort& port) {
    return std::string(port.enabled ? "up" : "down") + (port.downstreamOnly ? ", downstream only" : "");
}

std::string linkWords(const DeviceState& state) {
    if (!state.adminState) return "";
    const std::string number = std::to_string(*state.adminState);
    if (*state.adminState == kInitialState) return "started, from the initial state (" + number + ")";
    if (*state.adminState == kEmergencyStop) return "started in emergency stop (" + number + ")";
    return "started in state " + number;
}

}  // namespace vorn_onu
