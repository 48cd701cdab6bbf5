// Multicast that comes down in a GEM port of its own.
#include "omci/services/Numbers.h"
#include "omci/services/Plan.h"

namespace omci::services {

namespace {

// Codes of BridgeServiceProvisioning's row.
constexpr std::uint16_t kSingleTag = 1;
constexpr std::uint16_t kNoTreatment = 3;

BridgeServiceProvisioning multicastRecord(std::uint16_t bridge, std::uint16_t gemPort, std::uint16_t vlan) {
    BridgeServiceProvisioning record{};
    record.bridgeId = bridge;
    record.gemPortId = gemPort;
    record.trafficModel = kOneFilterModel;
    record.isMulticast = record.multicastService = 1;
    // None of the p-bits goes up here. Each is named: the HAL takes what a record leaves out from the record before.
    for (std::uint8_t priority = 0; priority < 8; ++priority) record.pbitMap[priority] = {kNoGemPort, 0};
    record.inputTpid = record.outputTpid = 0x8100;
    record.tagTreatment = kNoTreatment;
    record.outerVlanPrioFilter = record.innerVlanPrioFilter = TagFilter::kNoTag;
    record.outerVlanPrioAction = record.innerVlanPrioAction = TagTreatment::kNoTag;
    if (vlan == 0) return record;
    record.filterTagCount = kSingleTag;
    record.innerVlanIdFilter = vlan;
    record.innerVlanPrioFilter = TagFilter::kAnyPriority;
    record.innerTpidFilter = TagFilter::k8100;
    return record;
}

}  // namespace

// Of a bridge to the VEIP the HAL has a way of its own for multicast, which would lead the traffic of any other bridge
// to the VEIP too: elsewhere the multicast GEM port is one more of the bridge's GEM ports.
void Planner::planMulticast(const BridgePort& port, InstanceId instance) {
    const Entity* termination = reader_.find(class_id::kMulticastInterworking, instance);
    if (termination == nullptr) return;
    refuseTagging(termination->key(), "frames are tagged at the user's side only");
    const Entity* gemPort =
        reader_.find(class_id::kGemPort, termination->number16(attr::multicast_interworking::kGemPortPointer));
    if (gemPort == nullptr) return;
    const std::uint16_t gemPortId = gemPort->number16(attr::gem_port::kPortId);
    const std::set<std::uint16_t> vlans = multicastVlans(port);
    const bool veip = usersOf(port.bridge).veips != 0;
    if (!veip && gemPortId != kNoGemPortOfAMap)
        return planAniService(port, {gemPortId, 0, kAllPriorities, true}, vlans);
    if (!veip)
        problem(gemPort->key(),
                "the HAL leads the bridge's frames to the VEIP too: it has no other way for GEM port 4095");

    const auto record = multicastRecord(port.number, gemPortId, vlans.empty() ? std::uint16_t{0} : *vlans.begin());
    Piece made;
    made.key = {PieceKind::kMulticast, std::uint32_t{port.number} << 16 | gemPortId};
    made.needs = PieceKey{PieceKind::kGemPort, gemPortId};
    made.bridge = port.number;
    made.makesBridge = true;
    made.make = {{Operation::kConfigureAniTagRules, record},
                 {Operation::kVeipCreateRules, VeipRules{gemPortId, port.number, 0, 0, "", kFilteredByVlan}}};
    made.undo = {{Operation::kDeprovisionAniSideBridge, record}};
    want(std::move(made));
    const Entity* filter = reader_.find(class_id::kVlanFilter, port.port->instance());
    if (filter != nullptr && filter->number8(attr::vlan_filter::kForwardOperation) != 0)
        problem(filter->key(), veip ? "every VLAN of a multicast GEM port comes down to the VEIP"
                                    : "every VLAN of GEM port 4095 comes down to the subscriber");
}

// The VLANs that the profiles of the bridge's subscribers name; 0 is untagged.
std::set<std::uint16_t> Planner::multicastVlans(const BridgePort& port) {
    std::set<std::uint16_t> vlans;
    for (const InstanceId other : reader_.pointingAt({class_id::kBridge, port.bridge}, class_id::kBridgePort)) {
        if (reader_.look(class_id::kMulticastSubscriber, other) == nullptr) continue;
        const Entity* subscriber = reader_.find(class_id::kMulticastSubscriber, other);
        if (subscriber->number(attr::multicast_subscriber::kMaxSimultaneousGroups) != 0 ||
            subscriber->number(attr::multicast_subscriber::kMaxMulticastBandwidth) != 0)
            problem(subscriber->key(), "groups and bandwidth of a subscriber are not limited");
        const auto& packages = subscriber->rows(attr::multicast_subscriber::kPackageTable);
        for (const Bytes& package : packages) addVlans(number16(package, package_row::kProfile), vlans);
        // Ignored where there are packages.
        if (packages.empty()) addVlans(subscriber->number16(attr::multicast_subscriber::kProfilePointer), vlans);
    }
    return vlans;
}

void Planner::addVlans(InstanceId instance, std::set<std::uint16_t>& vlans) {
    const Entity* profile = reader_.find(class_id::kMulticastProfile, instance);
    if (profile == nullptr) return;
    for (const auto table :
         {attr::multicast_profile::kDynamicAccessTable, attr::multicast_profile::kStaticAccessTable}) {
        for (const Bytes& row : profile->rows(table)) vlans.insert(number16(row, access_row::kVlan) & 0x0FFFU);
    }
    if (!profile->rows(attr::multicast_profile::kDynamicAccessTable).empty())
        problem(profile->key(),
                "groups outside the lists come down too, and until the bridge hears a querier those that nobody has "
                "joined");
    if (!profile->rows(attr::multicast_profile::kStaticAccessTable).empty())
        problem(profile->key(), "groups of the static list come down like the others, to those who have joined them");
    if (profile->number8(attr::multicast_profile::kIgmpFunction) != 0)
        problem(profile->key(), "the bridge listens to joins and sends none itself");
    if (profile->number8(attr::multicast_profile::kImmediateLeave) != 0)
        problem(profile->key(), "a group that is left ends when nobody answers the querier, not at once");
    if (profile->number(attr::multicast_profile::kUpstreamIgmpRate) != 0)
        problem(profile->key(), "the rate of joins is not limited");
    if (profile->number8(attr::multicast_profile::kUpstreamIgmpTagControl) != 0)
        problem(profile->key(), "joins go up as the tagging rows of the port say, not as the profile says");
    const ByteView downstream = profile->bytes(attr::multicast_profile::kDownstreamIgmpAndMulticastTci);
    if (!downstream.empty() && downstream[0] != 0)
        problem(profile->key(), "multicast comes down as the tagging rows of the port say, not as the profile says");
}

}  // namespace omci::services
