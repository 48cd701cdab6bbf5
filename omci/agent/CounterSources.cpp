#include "omci/agent/CounterSources.h"

#include <algorithm>

#include "hal/VornHal.h"
#include "omci/mib/Relations.h"

namespace omci {

namespace {

// Where the frame counters of classes 296, 321, 322, 334 and 425 have their first fields.
enum FrameAttribute : AttributeNumber { kDropEvents = 3, kOctetCount = 4, kFrames = 5, kBroadcast = 6, kMulticast = 7 };

constexpr std::uint16_t kCountsDownstream = 0x0002;

template <class Traffic>
void putFrames(CounterValues& values, const Traffic& traffic) {
    values[kDropEvents] = traffic.discards;
    values[kOctetCount] = traffic.octets;
    values[kFrames] = traffic.frames;
    values[kBroadcast] = traffic.broadcast;
    values[kMulticast] = traffic.multicast;
}

template <class Traffic>
void add(Traffic& to, const Traffic& from) {
    to.octets += from.octets;
    to.frames += from.frames;
    to.broadcast += from.broadcast;
    to.multicast += from.multicast;
    to.errors += from.errors;
    to.discards += from.discards;
}

}  // namespace

CounterSources::BothWays CounterSources::ofPort(EntityKey port) {
    if (const auto stats = device_.portCounters(port)) {
        return {{stats->rxOctets, stats->rxFrames, stats->rxBroadcastFrames, stats->rxMulticastFrames, stats->rxErrors,
                 stats->rxDiscards},
                {stats->txOctets, stats->txFrames, stats->txBroadcastFrames, stats->txMulticastFrames, stats->txErrors,
                 stats->txDiscards}};
    }
    // The HAL itself counts the gateway's side.
    if (port.classId != class_id::kVeip) return {};
    PmRequest request{kPmEthernet, kPmAbsolute, 0};
    EthernetPmRecord record{};
    if (hal_.vorn_omci_hal_pm_get(&request, &record) != 0) return {};
    const auto traffic = [](const EthernetPmDirection& direction) {
        return Traffic{direction.octets,          direction.frames, direction.broadcastFrames,
                       direction.multicastFrames, direction.errors, direction.discards};
    };
    // What "veip0" receives has come from the PON.
    return {traffic(record.transmitted), traffic(record.received)};
}

CounterSources::BothWays CounterSources::ofGemPort(InstanceId gemPort) {
    const Entity* entity = mib_.find(class_id::kGemPort, gemPort);
    if (entity == nullptr) return {};
    const auto counters = device_.gemPortCounters(entity->number16(attr::gem_port::kPortId));
    if (!counters) return {};
    BothWays both;
    both.upstream.octets = counters->transmittedBytes;
    both.upstream.frames = counters->transmittedFrames;
    both.downstream.octets = counters->receivedBytes;
    both.downstream.frames = counters->receivedFrames;
    both.downstream.discards = counters->discardedFrames;
    return both;
}

std::vector<InstanceId> CounterSources::gemPortsBehind(EntityKey terminationPoint) const {
    const Entity* entity = mib_.find(terminationPoint);
    std::vector<InstanceId> gemPorts;
    if (entity == nullptr) return gemPorts;
    for (const Pointer& pointer : pointersOf(*entity)) {
        if (pointer.target.classId == class_id::kGemPort) gemPorts.push_back(pointer.target.instance);
        if (pointer.target.classId != class_id::kGemInterworking) continue;
        for (const InstanceId gemPort : gemPortsBehind(pointer.target)) gemPorts.push_back(gemPort);
    }
    // Several p-bits of a mapper may share a GEM port.
    std::sort(gemPorts.begin(), gemPorts.end());
    gemPorts.erase(std::unique(gemPorts.begin(), gemPorts.end()), gemPorts.end());
    return gemPorts;
}

CounterSources::BothWays CounterSources::ofBridgePort(InstanceId bridgePort) {
    const Entity* port = mib_.find(class_id::kBridgePort, bridgePort);
    if (port == nullptr) return {};
    const EntityKey behind{bridgePortTarget(port->number8(attr::bridge_port::kTpType)),
                           port->number16(attr::bridge_port::kTpPointer)};
    if (behind.classId == class_id::kEthernetUni || behind.classId == class_id::kVeip) return ofPort(behind);
    BothWays sum;
    for (const InstanceId gemPort : gemPortsBehind(behind)) {
        const BothWays one = ofGemPort(gemPort);
        add(sum.upstream, one.upstream);
        add(sum.downstream, one.downstream);
    }
    return sum;
}

CounterSources::BothWays CounterSources::of(EntityKey parent) {
    switch (parent.classId) {
        case class_id::kEthernetUni:
        case class_id::kVeip:
            return ofPort(parent);
        case class_id::kBridgePort:
            return ofBridgePort(parent.instance);
        case class_id::kGemPort:
            return ofGemPort(parent.instance);
        case class_id::kGemInterworking:
        case class_id::kMulticastInterworking: {
            const std::vector<InstanceId> gemPorts = gemPortsBehind(parent);
            return gemPorts.empty() ? BothWays{} : ofGemPort(gemPorts.front());
        }
        default:
            return {};
    }
}

EntityKey CounterSources::parentOf(const Entity& pm) const {
    for (const Pointer& pointer : pointersOf(pm)) {
        if (pointer.target.classId != class_id::kThreshold1) return pointer.target;
    }
    return {};
}

CounterValues CounterSources::read(const Entity& pm) {
    CounterValues values{};
    const EntityKey parent = parentOf(pm);
    switch (pm.classId()) {
        case class_id::kEthernetPm: {
            const BothWays port = ofPort(parent);
            values[3] =
                port.upstream.errors;  // the driver's errors, nearly all of which are of the frame check sequence
            values[7] = port.upstream.discards;
            values[8] = port.downstream.discards;
            values[13] = port.downstream.errors;
            break;
        }
        case class_id::kBridgePortPm: {
            const BothWays port = of(parent);
            values[3] = port.downstream.frames;
            values[6] = port.upstream.frames;
            values[7] = port.upstream.discards;
            break;
        }
        case class_id::kEthernetPm3:
        case class_id::kUpstreamFramePm:
            putFrames(values, of(parent).upstream);
            break;
        case class_id::kDownstreamFramePm:
            putFrames(values, of(parent).downstream);
            break;
        case class_id::kExtendedPm:
        case class_id::kExtendedPm64: {
            const bool downstream = (number16(pm.bytes(2), kControlFields) & kCountsDownstream) != 0;
            putFrames(values, downstream ? of(parent).downstream : of(parent).upstream);
            break;
        }
        case class_id::kGemPortPm: {
            const Entity* gemPort = mib_.find(parent);
            if (gemPort == nullptr) break;
            if (const auto counters = device_.gemPortCounters(gemPort->number16(attr::gem_port::kPortId))) {
                values[3] = counters->transmittedFrames;
                values[4] = counters->receivedFrames;
                values[5] = counters->receivedBytes;
                values[6] = counters->transmittedBytes;
                values[7] = counters->keyErrors;
            }
            break;
        }
        case class_id::kGalPm:
            values[3] = of(parent).downstream.discards;
            break;
        default:
            break;
    }
    for (const AttributeInfo& attribute : pm.info().attributes()) {
        if (attribute.number < 3) continue;
        if (const auto counter = device_.counter(pm.classId(), attribute.number, parent)) {
            values[attribute.number] = *counter;
        }
    }
    return values;
}

}  // namespace omci
