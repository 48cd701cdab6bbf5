// Ethernet ports with their tagging rows, and the VEIP.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "omci/services/Numbers.h"
#include "omci/services/Plan.h"
#include "omci/services/StandardRules.h"

namespace omci::services {

namespace {

constexpr std::uint8_t kStripDownstream = 1;          // downstream mode of a tagging operation
constexpr std::uint8_t kInverse = 0, kUnchanged = 1;  // downstream modes of extended tagging

// p = DSCP / 8: how the device takes p-bits from a DSCP.
constexpr std::uint8_t kClassSelectors[24] = {0x00, 0x00, 0x00, 0x24, 0x92, 0x49, 0x49, 0x24, 0x92, 0x6D, 0xB6, 0xDB,
                                              0x92, 0x49, 0x24, 0xB6, 0xDB, 0x6D, 0xDB, 0x6D, 0xB6, 0xFF, 0xFF, 0xFF};

bool takesSameFrames(const UniRule& one, const UniRule& other) {
    return one.row.kind() == other.row.kind() && overlap(one, other);
}

}  // namespace

// The bridge port of a UNI, VEIP or IP host; the HAL has one for each.
std::optional<BridgePort> Planner::bridgePortOf(EntityKey termination) {
    std::optional<BridgePort> found;
    for (const InstanceId instance : reader_.pointingAt(termination, class_id::kBridgePort)) {
        const Entity* port = reader_.look(class_id::kBridgePort, instance);
        if (port == nullptr) continue;
        const InstanceId bridge = port->number16(attr::bridge_port::kBridgeIdPointer);
        if (reader_.look(class_id::kBridge, bridge) == nullptr) continue;
        if (found) {
            problem(port->key(), "left out: the HAL has one bridge for a port");
            continue;
        }
        reader_.find(class_id::kBridgePort, instance);
        reader_.find(class_id::kBridge, bridge);
        found = BridgePort{port, bridge, bridgeNumber(bridge)};
    }
    return found;
}

void Planner::planEthernetUni(InstanceId instance) {
    const Entity* uni = reader_.find(class_id::kEthernetUni, instance);
    if (uni == nullptr) return;
    const auto port = static_cast<std::uint16_t>(reader_.placeOf(uni->key()) + 1);
    planPort(*uni, port);
    for (const InstanceId mapper : reader_.pointingAt(uni->key(), class_id::kMapper)) {
        reader_.look(class_id::kMapper, mapper);
        problem({class_id::kMapper, mapper}, "a mapper at a port needs a bridge: the HAL knows no service without one");
    }
    const auto bridgePort = bridgePortOf(uni->key());
    if (!bridgePort) return;
    if (port < 1 || port > context_.settings.ethernetPorts)
        return problem(uni->key(), "the HAL makes no tag rules for a port with this number");
    if (bridgePort->number == kVeipBridge)
        return problem(bridgePort->port->key(), "left out: the HAL's bridge with the VEIP has no other port");
    planMember(uni->key(), {bridgePort->number, port}, bridgePort->port->instance());
    planIsolation(bridgePort->bridge, {bridgePort->number, port});
}

// Where a bridge forwards nothing between its ports to the user's side (9.3.1, port bridging).
void Planner::planIsolation(InstanceId bridge, UniPort member) {
    if (!context_.settings.isolatesPorts || usersOf(bridge).ethernetPorts < 2) return;
    if (reader_.find(class_id::kBridge, bridge)->number8(attr::bridge::kPortBridgingInd) != 0) return;
    Piece made;
    made.key = {PieceKind::kIsolation, member.port};
    made.needs = PieceKey{PieceKind::kUni, member.port};
    made.bridge = member.bridgeId;
    made.make = {{Operation::kIsolatePort, PortIsolation{member.bridgeId, member.port, true}}};
    made.undo = {{Operation::kIsolatePort, PortIsolation{member.bridgeId, member.port, false}}};
    want(std::move(made));
}

void Planner::planMember(EntityKey uni, UniPort member, InstanceId bridgePort) {
    Piece made;
    made.key = {PieceKind::kUni, member.port};
    made.bridge = member.bridgeId;
    UniRules rules;
    const bool hasRows = addRows(uni, bridgePort, member, rules);
    if (hasRows && !(context_.settings.standardForwarding && passesBothWays(rules))) {
        checkRules(rules);
        made.rules = std::make_shared<const UniRules>(std::move(rules));
    } else {
        made.make = {{Operation::kFilterFlowAdd, portWithoutRows(member)}};
    }
    made.undo = {{Operation::kFilterFlowAdd, removalOf(member)}};
    want(std::move(made));
}

// The rules of the entity that says how the port's frames are tagged; false without one.
bool Planner::addRows(EntityKey uni, InstanceId bridgePort, UniPort member, UniRules& rules) {
    auto extended = reader_.pointingAt(uni, class_id::kExtendedTagging);
    const auto atBridge = reader_.pointingAt({class_id::kBridgePort, bridgePort}, class_id::kExtendedTagging);
    extended.insert(extended.end(), atBridge.begin(), atBridge.end());
    auto operations = reader_.pointingAt(uni, class_id::kVlanTagging);
    const auto otherOperations = reader_.pointingAt({class_id::kBridgePort, bridgePort}, class_id::kVlanTagging);
    operations.insert(operations.end(), otherOperations.begin(), otherOperations.end());
    bool found = false;
    for (const InstanceId instance : extended) {
        const EntityKey key{class_id::kExtendedTagging, instance};
        const Entity* entity = found ? reader_.look(key.classId, instance) : reader_.find(key.classId, instance);
        if (entity == nullptr) continue;
        if (found) {
            problem(key, "left out: another entity tags the frames of this port");
            continue;
        }
        found = true;
        if (entity->number8(attr::extended_tagging::kEnhancedMode) != 0) problem(key, "the enhanced table is not used");
        Tagging tagging;
        tagging.inputTpid = entity->number16(attr::extended_tagging::kInputTpid);
        tagging.outputTpid = entity->number16(attr::extended_tagging::kOutputTpid);
        tagging.downstreamMode = entity->number8(attr::extended_tagging::kDownstreamMode);
        const ByteView map = entity->bytes(attr::extended_tagging::kDscpMap);
        tagging.classSelector = map == ByteView(kClassSelectors, sizeof kClassSelectors);
        tagging.standard = context_.settings.standardForwarding;
        rules = context_.taggingTables[instance].rules(key, tagging, member);
        if (tagging.standard) addDeletedDefaults(key, tagging, member, rules);
    }
    for (const InstanceId instance : operations) {
        const Entity* operation = reader_.look(class_id::kVlanTagging, instance);
        if (operation == nullptr) continue;
        if (found) {
            problem(operation->key(), "left out: another entity tags the frames of this port");
            continue;
        }
        found = true;
        reader_.find(class_id::kVlanTagging, instance);
        addTaggingOperation(*operation, member, rules);
    }
    return found;
}

void Planner::addTaggingOperation(const Entity& operation, UniPort member, UniRules& rules) {
    const std::uint8_t upstream = operation.number8(attr::vlan_tagging::kUpstreamMode);
    const bool strips = operation.number8(attr::vlan_tagging::kDownstreamMode) == kStripDownstream;
    if (strips && upstream == 0)
        problem(operation.key(), "tags are taken off downstream only where they are put on upstream");
    const bool standard = context_.settings.standardForwarding;
    if (!strips && upstream != 0 && !standard)
        problem(operation.key(), "nothing comes down: tags that are put on upstream come off");
    Tagging tagging;
    tagging.standard = standard;
    tagging.downstreamMode = strips || upstream == 0 ? kInverse : kUnchanged;
    for (const TaggingRow& row :
         rowsOfTaggingOperation(upstream, operation.number16(attr::vlan_tagging::kUpstreamTci))) {
        auto rule = uniRule(row, tagging, member);
        rule.entity = operation.key();
        rules.push_back(std::make_shared<const UniRule>(std::move(rule)));
    }
}

// Names what the rows ask for in vain, and leaves out what the HAL could not take back again.
void Planner::checkRules(UniRules& rules) {
    unsigned count = 0;
    for (auto rule = rules.begin(); rule != rules.end();) {
        const UniRule& one = **rule;
        for (const std::string& reason : one.problems) problem(one.entity, (textOf(one.row) + ": " + reason).c_str());
        if (context_.settings.standardForwarding) {
            ++rule;
            continue;
        }
        if (one.drops() && !one.row.isDefault() && std::any_of(std::next(rule), rules.end(), [&](const auto& other) {
                return !other->records.empty() && takesSameFrames(one, *other);
            }))
            problem(one.entity, (textOf(one.row) + ": the HAL drops only what fits no other row").c_str());
        count += one.rules();
        if (count <= kMaxRules) {
            ++rule;
            continue;
        }
        count -= one.rules();
        problem(one.entity, (textOf(one.row) + ": left out, the HAL keeps 96 rules of a port").c_str());
        rule = rules.erase(rule);
    }
}

void Planner::planVeip(InstanceId instance) {
    const Entity* veip = reader_.find(class_id::kVeip, instance);
    if (veip == nullptr) return;
    refuseTagging(veip->key(), "frames of the VEIP are not tagged: the gateway does it");
    if (veip->number8(attr::veip::kAdministrativeState) != 0)
        problem(veip->key(), "the VEIP is not locked: the HAL has no operation for it");
}

}  // namespace omci::services
