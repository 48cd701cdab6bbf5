#include "commands/AskedOfMib.h"

#include <algorithm>

#include "living/CallStep.h"
#include "omci/message/Numbers.h"
#include "omci/message/ValueText.h"

namespace vorn_onu {

namespace {

using audit::AniPort;
using audit::TagField;
using omci::Entity;
using omci::InstanceId;
using omci::Mib;
using omci::services::Piece;
using omci::services::PieceKind;

namespace port_attr = omci::attr::bridge_port;
namespace filter_attr = omci::attr::vlan_filter;
namespace tagging_attr = omci::attr::extended_tagging;
namespace mapper_attr = omci::attr::mapper;

// Kinds of termination points of a bridge port (G.988 9.3.4).
constexpr unsigned kUniType = 1, kMapperType = 3, kGemType = 5;
constexpr std::size_t kTciBytes = 2;

using NumberOf = std::function<std::size_t(std::uint64_t)>;

TagField fieldOf(const omci::TagFilter& filter) {
    return {filter.priority, filter.vid, filter.tpid};
}

TagField fieldOf(const omci::TagTreatment& treatment) {
    return {treatment.priority, treatment.vid, treatment.tpid};
}

audit::PayloadType payloadOf(unsigned ethertype) {
    using audit::PayloadType;
    static constexpr PayloadType kTypes[] = {PayloadType::Any, PayloadType::Ipv4, PayloadType::Pppoe,
                                             PayloadType::Arp, PayloadType::Ipv6, PayloadType::Eapol};
    return ethertype < std::size(kTypes) ? kTypes[ethertype] : PayloadType::Any;
}

audit::TaggingRow rowOf(const omci::services::UniRule& rule, const NumberOf& numberOf) {
    audit::TaggingRow row;
    row.outerFilter = fieldOf(rule.row.outer);
    row.innerFilter = fieldOf(rule.row.inner);
    row.outerTreatment = fieldOf(rule.row.outerTag);
    row.innerTreatment = fieldOf(rule.row.innerTag);
    row.payload = payloadOf(rule.row.ethertype);
    row.tagsToRemove = rule.row.tagsToRemove;
    row.step = numberOf(rule.message.number);
    return row;
}

const Entity* bridgePortOf(const Mib& mib, const Piece& piece) {
    for (const omci::EntityKey key : piece.cause.entities) {
        const Entity* entity = key.classId == omci::class_id::kBridgePort ? mib.find(key) : nullptr;
        if (entity != nullptr && entity->number8(port_attr::kTpType) == kUniType) return entity;
    }
    return nullptr;
}

audit::UniPort uniPortOf(const Mib& mib, const Piece& piece, unsigned bridge, const NumberOf& numberOf) {
    audit::UniPort port;
    port.bridges = {bridge};
    if (piece.rules == nullptr) {
        port.table.downstreamMode = 1;  // a port without the operation passes everything in both directions
        return port;
    }
    port.table.clear();
    for (const auto& rule : *piece.rules) {
        const Entity* operation = mib.find(rule->entity);
        if (operation != nullptr && operation->classId() == omci::class_id::kExtendedTagging) {
            port.table.inputTpid = operation->number16(tagging_attr::kInputTpid);
            port.table.outputTpid = operation->number16(tagging_attr::kOutputTpid);
            port.table.downstreamMode = operation->number8(tagging_attr::kDownstreamMode);
        }
        port.table.set(rowOf(*rule, numberOf));
    }
    return port;
}

std::optional<unsigned> gemPortOf(const Mib& mib, InstanceId interworking) {
    const Entity* termination = mib.find(omci::class_id::kGemInterworking, interworking);
    if (termination == nullptr) return {};
    const auto pointer = termination->number16(omci::attr::gem_interworking::kGemPortPointer);
    const Entity* gemPort = mib.find(omci::class_id::kGemPort, pointer);
    if (gemPort == nullptr) return {};
    return gemPort->number16(omci::attr::gem_port::kPortId);
}

audit::PbitMapper mapperOf(const Mib& mib, unsigned type, InstanceId termination) {
    audit::PbitMapper mapper;
    if (type == kGemType) {
        mapper.gemPorts.fill(gemPortOf(mib, termination));
        return mapper;
    }
    const Entity* entity = mib.find(omci::class_id::kMapper, termination);
    if (entity == nullptr) return mapper;
    for (unsigned pbits = 0; pbits < mapper.gemPorts.size(); ++pbits)
        mapper.gemPorts[pbits] = gemPortOf(
            mib, entity->number16(static_cast<omci::AttributeNumber>(mapper_attr::kInterworkingPointer0 + pbits)));
    mapper.untagged = entity->number8(mapper_attr::kDefaultPBitAssumption) & 7U;
    return mapper;
}

audit::VlanFilter filterOf(const Entity* entity) {
    audit::VlanFilter filter;  // passes everything
    if (entity == nullptr) return filter;
    filter.forwardOperation = entity->number8(filter_attr::kForwardOperation);
    const omci::ByteView list = entity->bytes(filter_attr::kFilterList);
    const std::size_t entries =
        std::min<std::size_t>(entity->number8(filter_attr::kNumberOfEntries), list.size() / kTciBytes);
    for (std::size_t at = 0; at < entries; ++at) {
        const auto tci = static_cast<unsigned>(list[at * kTciBytes] << 8U | list[at * kTciBytes + 1]);
        filter.list.push_back({tci >> 13U, (tci >> 12U & 1U) != 0, tci & 0xFFFU});
    }
    return filter;
}

}  // namespace

audit::AskedServices askedOf(const Mib& mib, const std::vector<const Piece*>& pieces, const NumberOf& numberOf) {
    audit::AskedServices asked("message");
    for (const Piece* piece : pieces) {
        const Entity* port = piece->key.kind == PieceKind::kUni ? bridgePortOf(mib, *piece) : nullptr;
        if (port == nullptr) continue;
        const unsigned bridge = port->number16(port_attr::kBridgeIdPointer);
        asked.set(audit::deviceOf(piece->key.number), uniPortOf(mib, *piece, bridge, numberOf));
    }
    for (const Piece* piece : pieces) {
        const auto& messages = piece->cause.messages;
        const std::size_t number = messages.empty() ? 0 : numberOf(messages.back().number);
        for (const omci::services::HalCall& call : piece->make) asked.takeLeftOut(asStep(call, number));
    }
    for (const auto& [instance, entity] : mib.instances(omci::class_id::kBridgePort)) {
        const unsigned type = entity.number8(port_attr::kTpType);
        if (type != kMapperType && type != kGemType) continue;
        AniPort port;
        port.bridge = entity.number16(port_attr::kBridgeIdPointer);
        const Entity* filter = mib.find(omci::class_id::kVlanFilter, instance);
        port.filter = filterOf(filter);
        port.mapper = mapperOf(mib, type, entity.number16(port_attr::kTpPointer));
        port.name = omci::entityText(filter != nullptr ? filter->key() : entity.key());
        asked.add(std::move(port));
    }
    return asked;
}

}  // namespace vorn_onu
