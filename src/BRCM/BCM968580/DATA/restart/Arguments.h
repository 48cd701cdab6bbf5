// The records of the daemon's operations as bytes, and back.
#ifndef BRCM_BCM968580_DATA_RESTART_ARGUMENTS_H
#define BRCM_BCM968580_DATA_RESTART_ARGUMENTS_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "hal/BridgeRecords.h"
#include "hal/PonRecords.h"
#include "state/Bytes.h"

namespace restart {

struct BridgeArguments {
    std::uint16_t bridgeId;
    std::uint16_t uniPort;
};

// The S-tag is the daemon's own setting, which a new process has not made yet.
struct HostArguments {
    IpHostProvision host;
    std::uint16_t stag;
};

struct VeipArguments {
    std::uint16_t gemPort;
    std::uint16_t bridgeId;
    std::uint16_t filterType;
    std::uint8_t entries;
    std::string filterList;
    std::uint16_t trafficType;
};

// A multicast service leaves its p-bits in the queue map, and the next service makes rules for them too: GEM port,
// queue and p-bits, as bytes. With none the record is that of the service alone.
struct PonRulesArguments {
    BridgeServiceProvisioning service;
    std::string leftQueues;
};
struct PonRulesAsked {
    const BridgeServiceProvisioning& service;
    std::string leftQueues;
};

// ---- the fields of each record, in the order of the bytes ----

template <typename Record, typename Of>
using FieldsOf = std::enable_if_t<std::is_same_v<std::remove_const_t<Record>, Of>>;

template <typename R, typename Visit>
FieldsOf<R, TContProvisioning> eachField(R& r, Visit visit) {
    visit(r.allocId, r.tContIndex, r.policy);
}
template <typename R, typename Visit>
FieldsOf<R, XGEMConfig> eachField(R& r, Visit visit) {
    visit(r.tContAllocId, r.xgemPortId, r.upstreamQueue, r.qosArg, r.schedPolicy, r.priority, r.weight);
}
template <typename R, typename Visit>
FieldsOf<R, BridgeArguments> eachField(R& r, Visit visit) {
    visit(r.bridgeId, r.uniPort);
}
template <typename R, typename Visit>
FieldsOf<R, VeipArguments> eachField(R& r, Visit visit) {
    visit(r.gemPort, r.bridgeId, r.filterType, r.entries, r.filterList, r.trafficType);
}
template <typename R, typename Visit>
FieldsOf<R, UniDataProvisioning> eachField(R& r, Visit visit) {
    visit(r.addFlag, r.hasTagRules, r.bridgeId, r.uniPort, r.inputTpid, r.outputTpid, r.downstreamMode, r.filterType,
          r.tagAction, r.etherType, r.outerFilterTpidDe, r.outerFilterVlanId, r.outerFilterPrio, r.innerFilterTpidDe,
          r.innerFilterVlanId, r.innerFilterPrio, r.removeType, r.outerTreatmentTpidDe, r.outerTreatmentVlanId,
          r.outerTreatmentPrio, r.innerTreatmentTpidDe, r.innerTreatmentVlanId, r.innerTreatmentPrio);
}
template <typename R, typename Visit>
FieldsOf<R, IpHostProvision> eachField(R& r, Visit visit) {
    visit(r.allocId, r.gemId, r.bridgeId, r.uniPort, r.macAddress, r.ipOptions, r.ipAddress, r.subnetMask, r.gateway,
          r.dhcpEnabled, r.useSharedBridge);
}
template <typename R, typename Visit>
FieldsOf<R, BridgeServiceProvisioning> eachField(R& r, Visit visit) {
    visit(r.gemPortId, r.bridgeId, r.vlanTciFilterList, r.forwardOperation, r.numberOfEntries, r.trafficModel,
          r.pbitMap, r.protocolNumber, r.isMulticast, r.multicastService, r.inputTpid, r.outputTpid, r.dsMode,
          r.filterTagCount, r.tagTreatment, r.etherTypeFilter, r.outerTpidFilter, r.outerVlanIdFilter,
          r.outerVlanPrioFilter, r.innerTpidFilter, r.innerVlanIdFilter, r.innerVlanPrioFilter, r.removeType,
          r.outerTpidAction, r.outerVlanIdAction, r.outerVlanPrioAction, r.innerTpidAction, r.innerVlanIdAction,
          r.innerVlanPrioAction, r.restoreVlanFlows);
}

template <typename R, typename Visit>
FieldsOf<R, HostArguments> eachField(R& r, Visit visit) {
    eachField(r.host, visit);
    visit(r.stag);
}

// ---- bytes ----

constexpr std::uint8_t kPbitsOfMap = 8;  // higher ones are not looked at

template <typename Field>
void addField(state::ByteWriter& bytes, const Field& field) {
    if constexpr (std::is_array_v<Field>) {
        bytes.add(std::string_view(field, strnlen(field, sizeof field)));
    } else if constexpr (std::is_integral_v<Field> || std::is_same_v<Field, std::string>) {
        bytes.add(field);
    } else {
        std::uint8_t count = 0;
        for (const auto& [pbit, gem] : field) count = static_cast<std::uint8_t>(count + (pbit < kPbitsOfMap ? 1 : 0));
        bytes.add(count);
        for (const auto& [pbit, gem] : field)
            if (pbit < kPbitsOfMap) bytes.add(pbit).add(gem.first).add(gem.second);
    }
}

template <typename Field>
void readField(state::ByteReader& bytes, Field& field) {
    if constexpr (std::is_array_v<Field>) {
        const std::string text = bytes.text();
        std::memcpy(field, text.data(), std::min(text.size(), sizeof field));
    } else if constexpr (std::is_integral_v<Field>) {
        field = bytes.number<Field>();
    } else if constexpr (std::is_same_v<Field, std::string>) {
        field = bytes.text();
    } else {
        for (std::uint8_t rest = bytes.u8(); rest > 0 && bytes.ok(); --rest) {
            const std::uint8_t pbit = bytes.u8();
            const std::uint16_t gemPortId = bytes.u16();
            field[pbit] = {gemPortId, bytes.u16()};
        }
    }
}

template <typename Record>
Record recordFrom(state::ByteReader& bytes) {
    Record record{};
    if constexpr (std::is_same_v<Record, PonRulesArguments>) {
        record.service = recordFrom<BridgeServiceProvisioning>(bytes);
        if (bytes.left() > 0) record.leftQueues = bytes.text();
    } else {
        eachField(record, [&](auto&... fields) { (readField(bytes, fields), ...); });
    }
    return record;
}

template <typename Record>
void addRecord(state::ByteWriter& bytes, const Record& record) {
    eachField(record, [&](const auto&... fields) { (addField(bytes, fields), ...); });
}
inline void addPart(state::ByteWriter& bytes, const BridgeArguments& record) {
    addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const HostArguments& record) {
    addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const VeipArguments& record) {
    addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const PonRulesAsked& record) {
    addRecord(bytes, record.service);
    if (!record.leftQueues.empty()) bytes.add(record.leftQueues);
}
inline void addPart(state::ByteWriter& bytes, const PonRulesArguments& record) {
    addPart(bytes, PonRulesAsked{record.service, record.leftQueues});
}

}  // namespace restart

// Beside their types, which are in no namespace.
inline void addPart(state::ByteWriter& bytes, const TContProvisioning& record) {
    restart::addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const XGEMConfig& record) {
    restart::addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const UniDataProvisioning& record) {
    restart::addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const IpHostProvision& record) {
    restart::addRecord(bytes, record);
}
inline void addPart(state::ByteWriter& bytes, const BridgeServiceProvisioning& record) {
    restart::addRecord(bytes, record);
}

#endif
