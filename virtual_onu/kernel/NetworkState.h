// What the model of the kernel holds about network devices, in place. The caller holds the device lock.
#ifndef VIRTUAL_ONU_NETWORK_STATE_H
#define VIRTUAL_ONU_NETWORK_STATE_H

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Fields.h"
#include "kernel/DeviceCounters.h"

namespace virtual_onu::network {

constexpr int kFirstIndex = 2;  // 1 is the loop-back device, which is not shown

struct Device {
    NetworkDevice shown;  // without its statistics: they are in the counters
    DeviceCounters counters;
    std::string pinnedOperState;  // as VirtualOnu::setOperState wants it, whatever the flags say

    NetworkDevice withStatistics() const {
        NetworkDevice whole = shown;
        whole.statistics = counters.byName();
        return whole;
    }
};

// Things with a name and a number, by ascending number; found without looking at the others.
template <typename Thing>
class Register {
public:
    Thing& add(int number, const std::string& name, Thing thing) {
        Thing& place = things_.emplace(number, std::move(thing)).first->second;
        numbers_[name] = number;
        return place;
    }
    void remove(const std::string& name) {
        const auto number = numbers_.find(name);
        if (number == numbers_.end()) return;
        things_.erase(number->second);
        numbers_.erase(number);
    }
    // The thing of this number; another one may have the name already.
    void remove(int number, const std::string& name) {
        things_.erase(number);
        const auto named = numbers_.find(name);
        if (named != numbers_.end() && named->second == number) numbers_.erase(named);
    }
    Thing* find(const std::string& name) {
        const auto number = numbers_.find(name);
        return number == numbers_.end() ? nullptr : find(number->second);
    }
    Thing* find(int number) {
        const auto thing = things_.find(number);
        return thing == things_.end() ? nullptr : &thing->second;
    }
    const std::map<int, Thing>& all() const { return things_; }
    std::map<int, Thing>& all() { return things_; }

private:
    std::map<int, Thing> things_;
    std::unordered_map<std::string, int> numbers_;
};

struct IpRoute {
    std::string destination, device, text;
    int table = 0;
};

struct Refusal {
    int times = 0;
    int code = 0;
};

struct State {
    Register<Device> devices;  // by kernel index
    Register<Bridge> bridges;  // by the index of their device
    std::vector<std::string> ipRules;
    std::vector<IpRoute> ipRoutes;
    std::map<std::string, Refusal> refusals;
    int nextIndex = kFirstIndex;
};

State& state();

}  // namespace virtual_onu::network

#endif
