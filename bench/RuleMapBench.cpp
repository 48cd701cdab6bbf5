// The rule map at 1 to 256 devices with 96 rules each. Every operation goes through all the devices in turn, so that
// what the processor's caches cannot hold is paid for.
#include <benchmark/benchmark.h>

#include <ctime>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

namespace {

constexpr VlanTagFilter_t kNoTag{15, 0, 0};
constexpr unsigned kLastRule = kMaxVlanRules - 1;

VlanTagFilter_t filterOf(unsigned rule) {
    return {static_cast<std::uint8_t>(rule % 8), static_cast<std::uint16_t>(rule), 4};
}

EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

void insert(const std::string& device, unsigned rule) {
    const VlanTagFilter_t outer = filterOf(rule);
    engine().insertVlanRuleMapEntry(device.c_str(), 1, 0, 1, &outer, &kNoTag, 1000 + rule, ETHERTYPE_FILTER_NONE);
}

void remove(const std::string& device, unsigned rule) {
    const VlanTagFilter_t outer = filterOf(rule);
    engine().deleteVlanRuleIdFromMap(device.c_str(), 1, 0, &outer, &kNoTag);
}

// Devices with 96 rules each, until the end of the scope.
class FullMap {
public:
    explicit FullMap(long devices) {
        virtual_onu::VirtualOnu::instance().reset();
        for (long n = 0; n < devices; ++n) devices_.push_back("sid" + std::to_string(n % 8) + "." + std::to_string(n));
        for (const auto& device : devices_)
            for (unsigned rule = 0; rule < kMaxVlanRules; ++rule) insert(device, rule);
    }
    ~FullMap() {
        for (const auto& device : devices_) engine().deleteVlanRuleMapEntry(device.c_str(), 1);
    }
    FullMap(const FullMap&) = delete;
    const std::string& next() { return devices_[at_++ % devices_.size()]; }
    const std::vector<std::string>& devices() const { return devices_; }

private:
    std::vector<std::string> devices_;
    std::size_t at_ = 0;
};

void find(benchmark::State& state) {
    FullMap map(state.range(0));
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    for (auto _ : state) benchmark::DoNotOptimize(engine().findVlanRuleMapEntry(map.next().c_str(), 1, &entry));
}

// The last of the 96 rules: every rule is looked at.
void findByFilter(benchmark::State& state) {
    FullMap map(state.range(0));
    const VlanTagFilter_t outer = filterOf(kLastRule);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            engine().isVlanRuleMapExist(map.next().c_str(), 1, 0, &outer, &kNoTag, ETHERTYPE_FILTER_NONE));
}

double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The last eight of every device's rules go, then come again; one of the two is measured.
template <bool measureInsert>
void change(benchmark::State& state) {
    constexpr unsigned kChanged = 8;
    constexpr std::size_t kVisits = 256;
    FullMap map(state.range(0));
    const auto eachDevice = [&](void (*work)(const std::string& device, unsigned rule)) {
        for (const auto& device : map.devices())
            for (unsigned rule = kMaxVlanRules - kChanged; rule < kMaxVlanRules; ++rule) work(device, rule);
    };
    for (auto _ : state) {
        double spent = 0;
        for (std::size_t visits = 0; visits < kVisits; visits += map.devices().size()) {
            const double start = processorTime();
            eachDevice(remove);
            const double between = processorTime();
            eachDevice(insert);
            spent += measureInsert ? processorTime() - between : between - start;
        }
        virtual_onu::VirtualOnu::instance().clearTrace();
        state.SetIterationTime(spent / (kVisits * kChanged));
    }
}
void insertRule(benchmark::State& state) {
    change<true>(state);
}
void deleteRule(benchmark::State& state) {
    change<false>(state);
}

#define AT_ALL_SIZES(benchmark) BENCHMARK(benchmark)->Arg(1)->Arg(16)->Arg(64)->Arg(256)
AT_ALL_SIZES(insertRule)->UseManualTime()->Iterations(60);
AT_ALL_SIZES(find);
AT_ALL_SIZES(findByFilter);
AT_ALL_SIZES(deleteRule)->UseManualTime()->Iterations(60);

}  // namespace
