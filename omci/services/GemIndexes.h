// The driver gives each GEM port an index when it is made, and the HAL files a port's rules under the index that it saw
// first. This remembers whether a port that has been taken away and made again can have another index by now.
#ifndef OMCI_SERVICES_GEM_INDEXES_H
#define OMCI_SERVICES_GEM_INDEXES_H

#include <cstdint>
#include <unordered_map>

namespace omci::services {

// The driver is taken to choose by the indexes that are in use: the same set in use, the same choice. What it is does
// not matter: a name stands for it, a new one for each set that has not been seen.
class GemIndexes {
public:
    void added(std::uint16_t port) {
        if (choices_.size() > kMaxChoices) choices_.clear();
        const auto [choice, isNew] = choices_.emplace(inUse_, names_ + 1);
        if (isNew) ++names_;
        now_[port] = choice->second;
        inUse_ ^= scattered(choice->second);
    }
    void removed(std::uint16_t port) {
        const auto gone = now_.find(port);
        if (gone == now_.end()) return;
        inUse_ ^= scattered(gone->second);
        now_.erase(gone);
    }
    // The HAL has made rules for the port.
    void used(std::uint16_t port) { first_.emplace(port, now_[port]); }
    // The HAL finds the rules that it has made for the port.
    bool certain(std::uint16_t port) const {
        const auto first = first_.find(port);
        const auto now = now_.find(port);
        return first == first_.end() || now == now_.end() || first->second == now->second;
    }

private:
    static constexpr std::size_t kMaxChoices = 100'000;

    // Numbers whose combinations tell sets apart.
    static std::uint64_t scattered(std::uint64_t name) {
        name *= 0x9E3779B97F4A7C15;
        name = (name ^ name >> 30) * 0xBF58476D1CE4E5B9;
        name = (name ^ name >> 27) * 0x94D049BB133111EB;
        return name ^ name >> 31;
    }

    std::uint64_t inUse_ = 0;  // the set of names in use
    std::uint64_t names_ = 0;
    std::unordered_map<std::uint64_t, std::uint64_t> choices_;  // by set in use
    std::unordered_map<std::uint16_t, std::uint64_t> now_;      // of the ports that exist
    std::unordered_map<std::uint16_t, std::uint64_t> first_;
};

}  // namespace omci::services

#endif
