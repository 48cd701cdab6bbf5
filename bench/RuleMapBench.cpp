// The rule map at 1 to 256 devices with 96 rules each: what recording, finding and removing one rule costs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

namespace {

std::string deviceName(long n) { return "sid" + std::to_string(n); }

VlanTagFilter_t filterOf(unsigned rule) { return {static_cast<std::uint8_t>(rule % 8), static_cast<std::uint16_t>(rule), 4}; }

// Fills the map with `devices` devices of kMaxVlanRules rules each; the last device has room for one more.
void fill(EtherSwitchBcm380& engine, long devices) {
    const VlanTagFilter_t inner{15, 0, 0};
    for (long n = 0; n < devices; ++n) {
        const unsigned rules = n + 1 == devices ? kMaxVlanRules - 1 : kMaxVlanRules;
        for (unsigned rule = 0; rule < rules; ++rule) {
            const VlanTagFilter_t outer = filterOf(rule);
            engine.insertVlanRuleMapEntry(deviceName(n).c_str(), 1, 0, 1, &outer, &inner, 1000 + rule,
                                          ETHERTYPE_FILTER_NONE);
        }
    }
}

void empty(EtherSwitchBcm380& engine, long devices) {
    for (long n = 0; n < devices; ++n) engine.deleteVlanRuleMapEntry(deviceName(n).c_str(), 1);
    virtual_onu::VirtualOnu::instance().clearTrace();
}

class RuleMap : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State& state) override {
        virtual_onu::VirtualOnu::instance().reset();
        fill(engine(), state.range(0));
        last_ = deviceName(state.range(0) - 1);
    }
    void TearDown(const benchmark::State& state) override { empty(engine(), state.range(0)); }

protected:
    static EtherSwitchBcm380& engine() { return *EtherSwitchBcm380::getInstance(); }
    std::string last_;
};

BENCHMARK_DEFINE_F(RuleMap, Find)(benchmark::State& state) {
    VLAN_RULE_MAP_ENTRY* entry = nullptr;
    for (auto _ : state) benchmark::DoNotOptimize(engine().findVlanRuleMapEntry(last_.c_str(), 1, &entry));
}

BENCHMARK_DEFINE_F(RuleMap, FindByFilter)(benchmark::State& state) {
    const VlanTagFilter_t outer = filterOf(kMaxVlanRules - 2);
    const VlanTagFilter_t inner{15, 0, 0};
    for (auto _ : state)
        benchmark::DoNotOptimize(
            engine().isVlanRuleMapExist(last_.c_str(), 1, 0, &outer, &inner, ETHERTYPE_FILTER_NONE));
}

BENCHMARK_DEFINE_F(RuleMap, InsertAndDelete)(benchmark::State& state) {
    const VlanTagFilter_t outer{7, 4000, 4};
    const VlanTagFilter_t inner{15, 0, 0};
    for (auto _ : state) {
        engine().insertVlanRuleMapEntry(last_.c_str(), 1, 0, 1, &outer, &inner, 5000, ETHERTYPE_FILTER_NONE);
        engine().deleteVlanRuleIdFromMap(last_.c_str(), 1, 0, &outer, &inner);
    }
}

BENCHMARK_REGISTER_F(RuleMap, Find)->Arg(1)->Arg(16)->Arg(64)->Arg(256);
BENCHMARK_REGISTER_F(RuleMap, FindByFilter)->Arg(1)->Arg(16)->Arg(64)->Arg(256);
BENCHMARK_REGISTER_F(RuleMap, InsertAndDelete)->Arg(1)->Arg(16)->Arg(64)->Arg(256);

}  // namespace
