#include "omci/mib/Commands.h"

#include <map>
#include <utility>
#include <vector>

#include "omci/message/TaggingRow.h"
#include "omci/mib/Description.h"
#include "omci/mib/Limits.h"
#include "omci/mib/Relations.h"
#include "omci/mib/TableRows.h"

namespace omci {

namespace {

constexpr std::uint16_t kDefaultTpid = 0x8100;  // not certain: no edition gives a default; 0x88A8 is in use too
constexpr std::size_t kTableRows = 1024;        // of a table whose size the standard leaves open
constexpr std::size_t kLengthSize = 4;          // bytes of a table's length in an answer to get

// Port states of the bridge port designation data.
enum PortState : std::uint8_t { kPortDisabled = 0, kForwarding = 3, kLinkDown = 5, kForwardingWithoutSpanningTree = 6 };

// Classes whose entities the ONU makes along with those of others: same instance number, and gone with them.
constexpr ClassId kWithBridge[] = {class_id::kBridgeData};
constexpr ClassId kWithBridgePort[] = {class_id::kBridgePortDesignation, class_id::kBridgePortFilter,
                                       class_id::kBridgePortTable, class_id::kBridgePortPreassign};

Rows<ClassId> companionsOf(ClassId classId) {
    if (classId == class_id::kBridge) return kWithBridge;
    return classId == class_id::kBridgePort ? Rows<ClassId>(kWithBridgePort) : Rows<ClassId>();
}

std::size_t maxRows(const Entity& entity, AttributeNumber table) {
    if (entity.classId() == class_id::kExtendedTagging && table == attr::extended_tagging::kTaggingTable) {
        return entity.number16(attr::extended_tagging::kTableMaxSize);
    }
    return kTableRows;
}

// The table as it is after the rows that value holds; parameter error when one of them is refused.
Result applyRows(const Entity& entity, const AttributeInfo& table, ByteView value, TableRows& rows) {
    rows = entity.rows(table.number);
    if (table.size == 0 || value.size() % table.size != 0) return Result::kParameterError;
    for (std::size_t at = 0; at < value.size(); at += table.size) {
        const ByteView row = value.part(at, table.size);
        const Result result = applyRow(entity.classId(), table.number, maxRows(entity, table.number), row, rows);
        if (result != Result::kSuccess) return result;
    }
    return Result::kSuccess;
}

}  // namespace

void MibCommands::start() {
    for (Entity& entity : boardEntities(board_)) mib_.create(std::move(entity));
}

void MibCommands::reset() {
    std::map<EntityKey, Entity> first;
    for (Entity& entity : boardEntities(board_)) first.emplace(entity.key(), std::move(entity));
    std::vector<EntityKey> gone;
    for (const ClassInfo& info : managedEntities()) {
        for (const auto& [instance, entity] : mib_.instances(info.id())) {
            if (first.count(entity.key()) == 0) gone.push_back(entity.key());
        }
    }
    for (const EntityKey key : gone) mib_.erase(key);
    for (const auto& [key, fresh] : first) {
        Entity* entity = mib_.edit(key);
        if (entity == nullptr) continue;
        AttributeMask changed = 0;
        for (const AttributeInfo& attribute : fresh.info().attributes()) {
            if (!attribute.writable()) continue;
            const bool other = attribute.isTable() ? entity->setRows(attribute.number, fresh.rows(attribute.number))
                                                   : entity->setBytes(attribute.number, fresh.bytes(attribute.number));
            if (other) changed |= maskOf(attribute.number);
        }
        mib_.commit(*entity, changed);
    }
}

Result MibCommands::check(EntityKey key, MessageType type) const {
    const ClassInfo* info = findClass(key.classId);
    if (info == nullptr) return Result::kUnknownEntity;
    if (!info->takes(type)) return Result::kNotSupported;
    return mib_.find(key) != nullptr ? Result::kSuccess : Result::kUnknownInstance;
}

CreateOutcome MibCommands::create(EntityKey key, ByteView values) {
    const ClassInfo* info = findClass(key.classId);
    if (info == nullptr) return {Result::kUnknownEntity};
    if (!info->takes(MessageType::kCreate)) return {Result::kNotSupported};
    if (mib_.find(key) != nullptr) return {Result::kInstanceExists};
    // The OLT makes circuit packs for slots that can be plugged; the slots themselves are the ONU's.
    const bool noSlot =
        key.classId == class_id::kCircuitPack && mib_.find(class_id::kCardholder, key.instance) == nullptr;
    if (!isAllowedInstance(key) || noSlot) return {Result::kParameterError};

    Entity entity(*info, key.instance, Maker::kOlt);
    CreateOutcome outcome;
    for (const auto& [attribute, value] : splitValues(*info, info->setByCreate(), values, Tables::kRow).values) {
        if (value.empty()) break;  // the rest keeps its defaults
        entity.setBytes(attribute->number, value);
        if (!isAllowed(key.classId, *attribute, entity.bytes(attribute->number)))
            outcome.failed |= maskOf(attribute->number);
    }
    if (outcome.failed != 0) {
        outcome.result = Result::kParameterError;
        return outcome;
    }
    if (key.classId == class_id::kExtendedTagging) {
        entity.setNumber(attr::extended_tagging::kTableMaxSize, board_.taggingRows);
        entity.setNumber(attr::extended_tagging::kInputTpid, kDefaultTpid);
        entity.setNumber(attr::extended_tagging::kOutputTpid, kDefaultTpid);
        entity.setRows(attr::extended_tagging::kTaggingTable, defaultTaggingRows());
    }
    if (key.classId == class_id::kBridgePort) {
        entity.setBytes(attr::bridge_port::kPortMacAddress, {board_.bridgeMac.data(), board_.bridgeMac.size()});
    }
    mib_.create(std::move(entity));
    addCompanions(*mib_.find(key));
    return outcome;
}

void MibCommands::addCompanions(const Entity& entity) {
    for (const ClassId classId : companionsOf(entity.classId())) {
        Entity companion(*findClass(classId), entity.instance(), Maker::kOnu);
        if (classId == class_id::kBridgeData) {
            companion.setBytes(attr::bridge_data::kBridgeMacAddress,
                               {board_.bridgeMac.data(), board_.bridgeMac.size()});
        }
        mib_.create(std::move(companion));
    }
}

Result MibCommands::erase(EntityKey key) {
    const Result result = check(key, MessageType::kDelete);
    if (result != Result::kSuccess) return result;
    // What the ONU made itself, it keeps.
    if (mib_.find(key)->maker() != Maker::kOlt) return Result::kNotSupported;
    for (const ClassId classId : companionsOf(key.classId)) mib_.erase({classId, key.instance});
    mib_.erase(key);
    return Result::kSuccess;
}

bool MibCommands::isFixed(const Entity& entity, AttributeNumber attribute) const {
    const std::uint16_t needed = flexibilityNeeded(entity.classId(), attribute);
    return needed != 0 && (board_.qosFlexibility & needed) == 0;
}

SetOutcome MibCommands::set(EntityKey key, AttributeMask mask, ByteView values, Tables tables) {
    SetOutcome outcome;
    Entity* entity = mib_.edit(key);
    outcome.result = check(key, MessageType::kSet);
    if (outcome.result != Result::kSuccess) return outcome;
    const SplitValues split = splitValues(entity->info(), mask, values, tables);
    if (split.tooShort) return {Result::kParameterError, 0, 0, false};
    outcome.unsupported = split.unknown;

    // First everything is looked at, so that a refusal changes nothing.
    std::vector<std::pair<AttributeNumber, TableRows>> newTables;
    for (const auto& [attribute, value] : split.values) {
        const AttributeMask bit = maskOf(attribute->number);
        if (!entity->has(attribute->number)) {
            outcome.unsupported |= bit;
        } else if (!attribute->writable()) {
            outcome.failed |= bit;  // not certain: some ONUs answer a parameter error
        } else if (isFixed(*entity, attribute->number) ||
                   (!attribute->isTable() && !isAllowed(key.classId, *attribute, value))) {
            outcome.result = Result::kParameterError;
        } else if (attribute->isTable()) {
            newTables.emplace_back(attribute->number, TableRows());
            const Result result = applyRows(*entity, *attribute, value, newTables.back().second);
            if (result != Result::kSuccess) outcome.result = result;
        }
        if (outcome.result != Result::kSuccess) return {outcome.result, 0, 0, false};
    }

    const AttributeMask refused = outcome.unsupported | outcome.failed;
    AttributeMask changed = 0;
    for (const auto& [attribute, value] : split.values) {
        if ((refused & maskOf(attribute->number)) != 0) continue;
        outcome.done = true;
        if (!attribute->isTable() && entity->setBytes(attribute->number, value)) changed |= maskOf(attribute->number);
    }
    for (auto& [table, rows] : newTables) {
        if (entity->setRows(table, std::move(rows))) changed |= maskOf(table);
    }
    mib_.commit(*entity, changed);
    if (refused != 0) outcome.result = Result::kAttributesFailed;
    return outcome;
}

GetOutcome MibCommands::get(EntityKey key, AttributeMask mask, std::size_t room) {
    const Result result = check(key, MessageType::kGet);
    if (result != Result::kSuccess) return {result, 0, {}, 0, 0};
    refresh(key, mask);
    return readAttributes(*mib_.find(key), mask, room);
}

void MibCommands::refresh(EntityKey key, AttributeMask mask) {
    if (key.classId == class_id::kEntityObject && (mask & maskOf(7)) != 0) refreshInstances(mib_, key.instance);
    if (key.classId == class_id::kBridgeData) {
        const EntityKey bridgeKey{class_id::kBridge, key.instance};
        const Entity* bridge = mib_.find(bridgeKey);
        if (bridge == nullptr) return;
        unsigned ports = 0;
        for (const EntityKey other : mib_.pointingAt(bridgeKey))
            ports += other.classId == class_id::kBridgePort ? 1U : 0U;
        mib_.setNumber(key, attr::bridge_data::kBridgePriority, bridge->number(attr::bridge::kPriority));
        mib_.setNumber(key, attr::bridge_data::kBridgePortCount, ports);
        mib_.setNumber(key, attr::bridge_data::kHelloTime, bridge->number(attr::bridge::kHelloTime));
        mib_.setNumber(key, attr::bridge_data::kForwardDelay, bridge->number(attr::bridge::kForwardDelay));
    }
    if (key.classId == class_id::kBridgePortDesignation) {
        if (const Entity* port = mib_.find(class_id::kBridgePort, key.instance))
            mib_.setNumber(key, attr::bridge_port_designation::kPortState, stateOf(*port));
    }
}

std::uint8_t MibCommands::stateOf(const Entity& bridgePort) const {
    if (bridgePortTarget(bridgePort.number8(attr::bridge_port::kTpType)) == class_id::kEthernetUni) {
        const Entity* uni = mib_.find(class_id::kEthernetUni, bridgePort.number16(attr::bridge_port::kTpPointer));
        if (uni != nullptr && uni->number8(attr::ethernet_uni::kAdministrativeState) != 0) return kPortDisabled;
        if (uni != nullptr && uni->number8(attr::ethernet_uni::kOperationalState) != 0) return kLinkDown;
    }
    const Entity* bridge = mib_.find(class_id::kBridge, bridgePort.number16(attr::bridge_port::kBridgeIdPointer));
    const bool tree = bridge != nullptr && bridge->number8(attr::bridge::kSpanningTreeInd) != 0;
    return tree ? kForwarding : kForwardingWithoutSpanningTree;
}

GetOutcome readAttributes(const Entity& entity, AttributeMask mask, std::size_t room) {
    GetOutcome outcome;
    outcome.unsupported = static_cast<AttributeMask>(mask & ~entity.implemented());
    for (const AttributeInfo& attribute : entity.info().attributes()) {
        const AttributeMask bit = maskOf(attribute.number);
        if ((mask & bit & ~outcome.unsupported) == 0) continue;
        const std::size_t size = attribute.isTable() ? kLengthSize : attribute.size;
        // What has no room is reported as failed: the OLT asks for it once more.
        if (!attribute.readable() || outcome.values.size() + size > room) {
            outcome.failed |= bit;
            continue;
        }
        outcome.mask |= bit;
        if (attribute.isTable()) {
            std::size_t length = 0;
            for (const Bytes& row : entity.rows(attribute.number)) length += row.size();
            appendNumber(outcome.values, length, kLengthSize);
        } else {
            const ByteView value = entity.bytes(attribute.number);
            outcome.values.insert(outcome.values.end(), value.begin(), value.end());
        }
    }
    if ((outcome.unsupported | outcome.failed) != 0) outcome.result = Result::kAttributesFailed;
    return outcome;
}

}  // namespace omci
