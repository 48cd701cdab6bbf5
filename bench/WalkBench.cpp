// A frame's path through a device with 1 to 256 services on one port: without its words, and with them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"
#include "hal/ProvisioningRecords.h"
#include "platform/gponctl.h"
#include "platform/tmctl.h"

namespace {

constexpr std::uint16_t kFirstBridge = 602, kFirstGemPort = 3001, kFirstVid = 100, kCustomerVid = 10;
constexpr std::uint16_t kAllocId = 1024;

virtual_onu::VirtualOnu& onu() {
    return virtual_onu::VirtualOnu::instance();
}
EtherSwitchBcm380& engine() {
    return *EtherSwitchBcm380::getInstance();
}

// Service n: the port's VLAN 10 + n is VLAN 100 + n on GEM port 3001 + n.
void addService(std::uint16_t n) {
    const auto bridge = static_cast<std::uint16_t>(kFirstBridge + n);
    const auto gemPort = static_cast<std::uint16_t>(kFirstGemPort + n);
    const auto vid = static_cast<std::uint16_t>(kFirstVid + n);
    onu().addGemPort(gemPort, n + 1u, kAllocId);
    GponCtlGemPortEnable enable{static_cast<std::uint16_t>(n + 1), gemPort, 1, 0};
    gponCtl_enableGemPort(&enable);
    engine().configureBridge(bridge, 0, false);
    BridgeServiceProvisioning service{};
    service.bridgeId = bridge;
    service.trafficModel = 2;
    service.forwardOperation = 4;
    service.numberOfEntries = 1;
    std::snprintf(service.vlanTciFilterList, sizeof service.vlanTciFilterList, "%04x", vid);
    for (std::uint8_t pbit = 0; pbit < 8; ++pbit) service.pbitMap[pbit] = {gemPort, std::uint16_t{0}};
    engine().configureAniTagRules(&service);
    UniDataProvisioning row{};
    row.addFlag = row.hasTagRules = 1;
    row.bridgeId = bridge;
    row.uniPort = 1;
    row.inputTpid = row.outputTpid = 0x8100;
    row.filterType = 1;
    row.tagAction = 6;
    row.removeType = 1;
    row.outerFilterPrio = row.outerTreatmentPrio = 15;
    row.innerFilterPrio = 8;
    row.innerFilterVlanId = static_cast<std::uint16_t>(kCustomerVid + n);
    row.innerTreatmentVlanId = vid;
    engine().configureUniInterface(&row);
    engine().configureUniTagRules(&row);
}

void provision(long services) {
    onu().reset();
    const GponCtlTcontAllocId tcont{0, 0, kAllocId};
    gponCtl_configTcontAllocId(&tcont);
    const TmctlIf interface { 0 };
    tmctl_portTmInit(TMCTL_DEV_GPON, &interface, 0, 8);
    const TmctlQueueCfg queue{0, 0, 256, 0, 1, 0, 0, 0};
    tmctl_setQueueCfg(TMCTL_DEV_GPON, &interface, &queue);
    if (std::system("ifconfig gpondef up") != 0) std::abort();
    for (long n = 0; n < services; ++n) addService(static_cast<std::uint16_t>(n));
}

void cleanUp(long services) {
    for (long n = 0; n < services; ++n) {
        const auto bridge = static_cast<std::uint16_t>(kFirstBridge + n);
        engine().flushUniSideVlanRules(bridge, 1);
        engine().flushAniSideVlanRules(bridge, static_cast<std::uint16_t>(kFirstGemPort + n));
        engine().deConfigureUniInterface(1, bridge);
        engine().deleteAniInterface(bridge);
        engine().deleteBridgeInterface(bridge);
    }
    onu().reset();
}

virtual_onu::Frame tagged(long vid) {
    virtual_onu::Frame frame;
    frame.tags.push_back({0x8100, 0, false, static_cast<std::uint16_t>(vid)});
    return frame;
}

enum class Words { Unasked, Asked };

// The frame of the last service: its rules are the last ones in their tables.
void walk(benchmark::State& state, const std::string& from, const virtual_onu::Frame& frame, Words words) {
    const auto send = [&] {
        const bool downstream = from.empty();
        return downstream ? onu().sendFromPon(static_cast<unsigned>(kFirstGemPort + state.range(0) - 1), frame)
                          : onu().sendFromPort(from, frame);
    };
    if (send().exits.size() != 1) return state.SkipWithError("the frame does not leave");
    for (auto _ : state) {
        const virtual_onu::Walk walk = send();
        if (words == Words::Asked) benchmark::DoNotOptimize(walk.hops.all());
        benchmark::DoNotOptimize(walk);
    }
    state.SetItemsProcessed(state.iterations());
}

void upstream(benchmark::State& state, Words words) {
    provision(state.range(0));
    walk(state, "sid0", tagged(kCustomerVid + state.range(0) - 1), words);
    cleanUp(state.range(0));
}

void WalkUpstream(benchmark::State& state) {
    upstream(state, Words::Unasked);
}

void WalkUpstreamInWords(benchmark::State& state) {
    upstream(state, Words::Asked);
}

void WalkDownstream(benchmark::State& state) {
    provision(state.range(0));
    walk(state, "", tagged(kFirstVid + state.range(0) - 1), Words::Unasked);
    cleanUp(state.range(0));
}

BENCHMARK(WalkUpstream)->Name("walkUpstream")->Arg(1)->Arg(256);
BENCHMARK(WalkUpstreamInWords)->Name("walkUpstreamInWords")->Arg(1);
BENCHMARK(WalkDownstream)->Name("walkDownstream")->Arg(1)->Arg(256);

}  // namespace
