// The driver gives each GEM port an index when it is made, and the HAL files a port's rules under the index that it saw
// first. This remembers whether a port that has been taken away and made again can have another index by now.
#ifndef OMCI_SERVICES_GEM_INDEXES_H
#define OMCI_SERVICES_GEM_INDEXES_H

#include <cstdint>
#include <unordered_map>

namespace omci::services {

// The driver chooses by what stands and by what happened since nothing stood; so the same steps from there on give the
// same index, whatever its rule is. A number stands for the steps.
class GemIndexes {
public:
    void added(std::uint16_t port) {
        step(port, 1);
        steps_[port] = history_;
    }
    void removed(std::uint16_t port) {
        step(port, 2);
        steps_.erase(port);
        if (steps_.empty()) history_ = 0;
    }
    // The HAL has made rules for the port.
    void used(std::uint16_t port) { first_.emplace(port, steps_[port]); }
    // The HAL finds the rules that it has made for the port.
    bool certain(std::uint16_t port) const {
        const auto first = first_.find(port);
        const auto now = steps_.find(port);
        return first == first_.end() || now == steps_.end() || first->second == now->second;
    }

private:
    void step(std::uint16_t port, std::uint64_t kind) {
        constexpr std::uint64_t kPrime = 0x100000001B3;
        history_ = (history_ ^ (kind << 16 | port)) * kPrime + 1;
    }

    std::uint64_t history_ = 0;
    std::unordered_map<std::uint16_t, std::uint64_t> steps_;  // of the ports that stand
    std::unordered_map<std::uint16_t, std::uint64_t> first_;
};

}  // namespace omci::services

#endif
