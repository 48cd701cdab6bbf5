// Bridges, and their ports to the PON.
#include <algorithm>

#include "omci/mib/Relations.h"
#include "omci/services/Numbers.h"
#include "omci/services/Plan.h"
#include "omci/services/StandardRules.h"
#include "omci/services/contract/AniRecords.h"

namespace omci::services {

namespace {

constexpr unsigned kDscps = 64;
constexpr std::uint8_t kFromDscp = 0;                                        // unmarked frame option of a mapper
constexpr std::uint32_t kUsualAgeingS = 300, kMaxAgeingS = 1'000'000;        // the kernel counts hundredths in an int
constexpr std::uint8_t kForwardVidsAndUntagged = 0x03, kForwardVids = 0x04;  // forward operations

// TP types of bridge ports that are planned.
enum TpType : std::uint8_t { kUni = 1, kMapper = 3, kIpHost = 4, kGemInterworking = 5, kMulticast = 6, kVeip = 11 };

VlanFilter filterOf(const Entity* entity) {
    VlanFilter filter;
    if (entity == nullptr) return filter;
    filter.operation = entity->number8(attr::vlan_filter::kForwardOperation);
    const ByteView list = entity->bytes(attr::vlan_filter::kFilterList);
    const std::size_t count =
        std::min<std::size_t>(entity->number8(attr::vlan_filter::kNumberOfEntries), list.size() / 2);
    for (std::size_t at = 0; at < count; ++at) {
        const std::uint16_t tci = number16(list, 2 * at);
        if (std::find(filter.tcis.begin(), filter.tcis.end(), tci) == filter.tcis.end()) filter.tcis.push_back(tci);
    }
    return filter;
}

// p-bits of a DSCP in a map of 64 values of three bits.
unsigned priorityOf(ByteView map, unsigned dscp) {
    const unsigned bit = 3 * dscp;
    const auto byte = [&](std::size_t at) { return at < map.size() ? unsigned{map[at]} : 0U; };
    return (byte(bit / 8) << 8 | byte(bit / 8 + 1)) >> (13 - bit % 8) & 7U;
}

}  // namespace

void Planner::planBridge(InstanceId instance) {
    const Entity* bridge = reader_.find(class_id::kBridge, instance);
    if (bridge == nullptr) return;
    const auto on = [&](AttributeNumber attribute) { return bridge->number8(attribute) != 0; };
    if (on(attr::bridge::kSpanningTreeInd))
        problem(bridge->key(), "there is no spanning tree: the HAL switches it off");
    if (on(attr::bridge::kUnknownMacAddressDiscard))
        problem(bridge->key(), "frames to unknown addresses are not discarded");
    if (on(attr::bridge::kMacLearningDepth)) problem(bridge->key(), "the number of learned addresses is not limited");
    if (!on(attr::bridge::kPortBridgingInd) && usersOf(instance).all > 1) {
        if (!context_.settings.isolatesPorts) {
            problem(bridge->key(), "frames pass between the ports to the user's side: the HAL cannot keep them apart");
        } else if (usersOf(instance).ethernetPorts < usersOf(instance).all) {
            problem(bridge->key(), "Ethernet ports are kept apart from one another, not from the management host");
        }
    }
    planAgeing(*bridge);
}

// A bridge that is not to learn forgets at once: every frame goes to all ports, as if it had not learned.
void Planner::planAgeing(const Entity& bridge) {
    const bool learns = bridge.number8(attr::bridge::kLearningInd) != 0;
    const auto set = static_cast<std::uint32_t>(bridge.number(attr::bridge::kDynamicFilteringAgeingTime));
    const std::uint32_t seconds = !learns ? 0 : set == 0 ? kUsualAgeingS : std::min(set, kMaxAgeingS);
    if (seconds == kUsualAgeingS) return;
    if (!context_.settings.setsAgeing)
        return problem(bridge.key(), learns ? "the ageing time stays at 300 s" : "learning is not switched off");
    if (learns && seconds != set) problem(bridge.key(), "the ageing time is 1000000 s, the longest");
    if (usersOf(bridge.instance()).all == 0) return;  // not known which of the HAL's bridges is meant
    Piece made;
    made.bridge = bridgeNumber(bridge.instance());
    made.key = {PieceKind::kAgeing, *made.bridge};
    made.make = {{Operation::kSetAgeingTime, BridgeAgeing{*made.bridge, seconds}}};
    made.undo = {{Operation::kSetAgeingTime, BridgeAgeing{*made.bridge, kUsualAgeingS}}};
    want(std::move(made));
}

void Planner::planBridgePort(InstanceId instance) {
    const Entity* entity = reader_.find(class_id::kBridgePort, instance);
    if (entity == nullptr) return;
    planRateLimit(*entity, attr::bridge_port::kOutboundTdPointer);
    planRateLimit(*entity, attr::bridge_port::kInboundTdPointer);
    refuseAddressFilters(instance);
    if (entity->number8(attr::bridge_port::kMacLearningDepth) != 0)
        problem(entity->key(), "the number of learned addresses is not limited");
    const std::uint8_t type = entity->number8(attr::bridge_port::kTpType);
    if (bridgePortTarget(type) == 0) return problem(entity->key(), "this ONU has no termination points of the TP type");
    if (type == kUni || type == kVeip || type == kIpHost) return planUserPort(*entity);
    const InstanceId bridge = entity->number16(attr::bridge_port::kBridgeIdPointer);
    // Without a port to the user's side it is not known which of the HAL's bridges is meant, and a GEM port cannot
    // move: the HAL's rule that steers its frames to the first bridge stays for good.
    if (reader_.find(class_id::kBridge, bridge) == nullptr || usersOf(bridge).all == 0) return;
    const BridgePort port{entity, bridge, bridgeNumber(bridge)};
    const InstanceId termination = entity->number16(attr::bridge_port::kTpPointer);
    if (type == kMapper) return planMapper(port, termination);
    if (type == kMulticast) return planMulticast(port, termination);
    planGemInterworking(port, termination);
}

// The port is planned with what it leads to; here is what the HAL does not do at it.
void Planner::planUserPort(const Entity& port) {
    const Entity* filter = reader_.find(class_id::kVlanFilter, port.instance());
    if (filter != nullptr && filter->number8(attr::vlan_filter::kForwardOperation) != 0)
        problem(filter->key(), "VLANs are filtered on the PON side of a bridge only");
}

// The tables of addresses and protocols at a bridge port, for which the HAL has no operation.
void Planner::refuseAddressFilters(InstanceId bridgePort) {
    const Entity* table = reader_.look(class_id::kBridgePortFilter, bridgePort);
    if (table != nullptr && !table->rows(attr::bridge_port_filter::kMacFilterTable).empty())
        problem(table->key(), "frames to and from the addresses of the table pass");
    const Entity* protocols = reader_.look(class_id::kBridgePortPreassign, bridgePort);
    if (protocols == nullptr) return;
    for (const AttributeInfo& protocol : protocols->info().attributes()) {
        if (protocols->number(protocol.number) != 0)
            return problem(protocols->key(), "frames of the protocols to be filtered pass");
    }
}

// The GEM port behind an interworking termination point, null while something is missing.
const Entity* Planner::gemPortOf(InstanceId interworking) {
    const Entity* termination = reader_.find(class_id::kGemInterworking, interworking);
    if (termination == nullptr) return nullptr;
    refuseTagging(termination->key(), "frames are tagged at the user's side only");
    return reader_.find(class_id::kGemPort, termination->number16(attr::gem_interworking::kGemPortPointer));
}

void Planner::planMapper(const BridgePort& port, InstanceId instance) {
    const Entity* mapper = reader_.find(class_id::kMapper, instance);
    if (mapper == nullptr) return;
    refuseTagging(mapper->key(), "frames are tagged at the user's side only");
    std::array<std::uint16_t, kPriorities> gemPorts{};
    std::vector<GemService> services;
    for (unsigned priority = 0; priority < kPriorities; ++priority) {
        gemPorts[priority] = kNoGemPort;
        const InstanceId pointer =
            mapper->number16(static_cast<AttributeNumber>(attr::mapper::kInterworkingPointer0 + priority));
        const Entity* gemPort = pointer == kNullPointer ? nullptr : gemPortOf(pointer);
        if (gemPort == nullptr) continue;
        if (gemPort->number8(attr::gem_port::kDirection) == kDownstreamOnly) {
            problem(mapper->key(), "a GEM port for downstream alone is left out of a mapper");
            continue;
        }
        gemPorts[priority] = gemPort->number16(attr::gem_port::kPortId);
        const auto isIt = [&](const GemService& service) { return service.gemPortId == gemPorts[priority]; };
        auto service = std::find_if(services.begin(), services.end(), isIt);
        if (service == services.end())
            service = services.insert(services.end(), {gemPorts[priority], upstreamQueue(*gemPort), 0, false});
        service->priorities = static_cast<std::uint8_t>(service->priorities | 1U << priority);
    }
    planUntagged(*mapper, gemPorts, services);
    for (const GemService& service : services) planAniService(port, service);
}

void Planner::planUntagged(const Entity& mapper, std::array<std::uint16_t, 8>& gemPorts,
                           std::vector<GemService>& services) {
    unsigned priority = mapper.number8(attr::mapper::kDefaultPBitAssumption) & 7U;
    if (mapper.number8(attr::mapper::kUnmarkedFrameOption) == kFromDscp) {
        const ByteView map = mapper.bytes(attr::mapper::kDscpMap);
        priority = priorityOf(map, 0);
        for (unsigned dscp = 1; dscp < kDscps; ++dscp) {
            if (gemPorts[priorityOf(map, dscp)] == gemPorts[priority]) continue;
            problem(mapper.key(), "untagged frames of every DSCP go up in the GEM port of DSCP 0");
            break;
        }
    }
    for (GemService& service : services) service.untagged = service.gemPortId == gemPorts[priority];
}

void Planner::planGemInterworking(const BridgePort& port, InstanceId instance) {
    const Entity* gemPort = gemPortOf(instance);
    if (gemPort == nullptr) return;
    planAniService(port, {gemPort->number16(attr::gem_port::kPortId), upstreamQueue(*gemPort), kAllPriorities, true});
}

void Planner::planAniService(const BridgePort& port, const GemService& service,
                             const std::optional<std::set<std::uint16_t>>& multicast) {
    refuseTagging(port.port->key(), "frames are tagged at the user's side only");
    if (service.gemPortId == kNoGemPortOfAMap)
        return problem(port.port->key(), "nothing goes through GEM port 4095: in the HAL's p-bit map it means none");
    const Entity* entity = reader_.find(class_id::kVlanFilter, port.port->instance());
    VlanFilter filter = filterOf(entity);
    if (entity == nullptr && multicast && !multicast->empty()) {
        filter.operation = multicast->count(0) != 0 ? kForwardVidsAndUntagged : kForwardVids;
        for (const auto vlan : *multicast) {
            if (vlan != 0) filter.tcis.push_back(vlan);
        }
    }
    const AniRules rules = context_.settings.standardForwarding
                               ? standardAniRules(port.number, service, filter, multicast.has_value())
                               : contract::aniRules(port.number, service, filter);
    const EntityKey filterKey = entity != nullptr ? entity->key() : port.port->key();
    for (const std::string& reason : rules.problems) problem(filterKey, reason.c_str());
    if (rules.records.empty()) return;

    Piece made;
    made.key = {PieceKind::kAniService, std::uint32_t{port.number} << 16 | service.gemPortId};
    made.needs = PieceKey{PieceKind::kGemPort, service.gemPortId};
    made.bridge = port.number;
    made.makesBridge = true;
    if (!context_.settings.standardForwarding)
        made.place = multicast ? AniPlace::kMulticast : rules.takesAnyVlan ? AniPlace::kAnyVlan : AniPlace::kNamedVlans;
    made.forgotten = rules.staysBehind;
    for (const auto& record : rules.records) made.make.push_back({Operation::kConfigureAniTagRules, record});
    made.undo.push_back({Operation::kUnsetPbitData, rules.records.front()});
    if (usersOf(port.bridge).veips != 0) {
        made.usesVeip = true;
        // The gateway is notified of the last TCI of a call alone: one call for each.
        std::vector<std::vector<std::uint16_t>> lists;
        for (const auto tci : announcedTcis(service, filter)) lists.push_back({tci});
        if (lists.empty()) lists.emplace_back();
        for (const auto& list : lists) {
            const VeipRules announced{service.gemPortId, port.number,
                                      filter.operation,  static_cast<std::uint8_t>(list.size()),
                                      tciText(list),     kFilteredByVlan};
            made.make.push_back({Operation::kVeipCreateRules, announced});
            made.undo.push_back({Operation::kVeipDeleteRules, announced});
        }
    }
    want(std::move(made));
}

// Names the tagging entities at something where the HAL does not tag, unless they let everything pass as it is.
void Planner::refuseTagging(EntityKey tagged, const char* reason) {
    for (const InstanceId instance : reader_.pointingAt(tagged, class_id::kExtendedTagging)) {
        reader_.look(class_id::kExtendedTagging, instance);
        const auto table = context_.taggingTables.find(instance);
        if (table != context_.taggingTables.end() && !table->second.passesAll())
            problem({class_id::kExtendedTagging, instance}, reason);
    }
    for (const InstanceId instance : reader_.pointingAt(tagged, class_id::kVlanTagging)) {
        const Entity* operation = reader_.look(class_id::kVlanTagging, instance);
        if (operation != nullptr && (operation->number8(attr::vlan_tagging::kUpstreamMode) != 0 ||
                                     operation->number8(attr::vlan_tagging::kDownstreamMode) != 0))
            problem(operation->key(), reason);
    }
}

}  // namespace omci::services
