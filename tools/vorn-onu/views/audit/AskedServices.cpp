#include "views/audit/AskedServices.h"

#include <algorithm>
#include <cstring>

#include <nlohmann/json.hpp>

#include "hal/BridgeRecords.h"
#include "running/scenario/operations/RecordFields.h"

namespace vorn_onu::audit {

namespace {

constexpr unsigned kLastEthernetPort = 4;
constexpr unsigned kNoGemPort = 65535, kUnusedGemPort = 4095;
constexpr unsigned kIgmp = 2;
constexpr const char *kMulticast = "multicast service", *kIgmpService = "IGMP service", *kVeip = "VEIP service",
                     *kIpHost = "IP host";

template <typename Record>
Record recordOf(const Step& step, const std::vector<Field>& fields) {
    Record record{};
    fillForCall(&record, fields, *step.fields);
    return record;
}

PayloadType payloadOf(unsigned code) {
    static constexpr PayloadType kTypes[] = {PayloadType::Any,  PayloadType::Ipv4,         PayloadType::Pppoe,
                                             PayloadType::Arp,  PayloadType::PppoeSession, PayloadType::Ipv6,
                                             PayloadType::Eapol};
    return code < std::size(kTypes) ? kTypes[code] : PayloadType::Any;
}

// The record says how many tags its frames have; the filters of the others are not looked at.
void leaveOutTags(TaggingRow& row, unsigned tags) {
    if (tags < 2) row.outerFilter = {};
    if (tags < 1) row.innerFilter = {};
}

TaggingRow rowOf(const UniDataProvisioning& record, std::size_t step) {
    TaggingRow row;
    row.outerFilter = {record.outerFilterPrio, record.outerFilterVlanId, record.outerFilterTpidDe};
    row.innerFilter = {record.innerFilterPrio, record.innerFilterVlanId, record.innerFilterTpidDe};
    row.outerTreatment = {record.outerTreatmentPrio, record.outerTreatmentVlanId, record.outerTreatmentTpidDe};
    row.innerTreatment = {record.innerTreatmentPrio, record.innerTreatmentVlanId, record.innerTreatmentTpidDe};
    row.payload = payloadOf(record.etherType);
    row.tagsToRemove = record.removeType;
    row.bridge = record.bridgeId;
    row.step = step;
    leaveOutTags(row, record.filterType);
    return row;
}

std::vector<FilterTci> listOf(const BridgeServiceProvisioning& record) {
    const std::string text(record.vlanTciFilterList,
                           strnlen(record.vlanTciFilterList, sizeof record.vlanTciFilterList));
    std::vector<FilterTci> list;
    constexpr std::size_t kDigits = 4;
    if (text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return list;
    for (std::size_t at = 0; at + kDigits <= text.size() && list.size() < record.numberOfEntries; at += kDigits) {
        const auto tci = static_cast<unsigned>(std::stoul(text.substr(at, kDigits), nullptr, 16));
        list.push_back({tci >> 13, (tci >> 12 & 1) != 0, tci & 0xfff});
    }
    return list;
}

PbitMapper mapperOf(const BridgeServiceProvisioning& record) {
    PbitMapper mapper;
    for (const auto& [pbit, place] : record.pbitMap)
        if (pbit < mapper.gemPorts.size() && place.first != kNoGemPort && place.first != kUnusedGemPort)
            mapper.gemPorts[pbit] = place.first;
    return mapper;
}

// Of a service that is not compared; otherwise null.
const char* kindLeftOut(const BridgeServiceProvisioning& record) {
    if (record.isMulticast != 0 && record.multicastService != 0) return kMulticast;
    return record.protocolNumber == kIgmp ? kIgmpService : nullptr;
}

bool isCallOf(const Step& step, const char* name) {
    return step.kind == "call" && step.fields->is_object() &&
           (step.name == name || step.name == "vorn_omci_hal_" + std::string(name));
}

}  // namespace

// The board numbers its first two ports the other way round.
std::string deviceOf(unsigned uniPort) {
    if (uniPort == 1 || uniPort == 2) uniPort = 3 - uniPort;
    return "sid" + std::to_string(uniPort - 1);
}

void AskedServices::takeRow(const Step& step) {
    const auto record = recordOf<UniDataProvisioning>(step, uniDataFields());
    if (record.uniPort == 0 || record.uniPort > kLastEthernetPort) return;
    const std::string device = deviceOf(record.uniPort);
    if (record.addFlag == 0) {
        uniPorts_.erase(device);
        return;
    }
    UniPort& port = uniPorts_[device];
    port.bridges.insert(record.bridgeId);
    if (record.hasTagRules == 0) {
        port.table = {};
        port.table.downstreamMode = 1;  // a port without the operation passes everything in both directions
        return;
    }
    port.table.inputTpid = record.inputTpid;
    port.table.outputTpid = record.outputTpid;
    port.table.downstreamMode = record.downstreamMode;
    port.table.set(rowOf(record, step.number));
}

void AskedServices::takeFilter(const Step& step) {
    const auto record = recordOf<BridgeServiceProvisioning>(step, bridgeServiceFields({}));
    if (kindLeftOut(record) != nullptr) return;
    AniPort port;
    port.bridge = record.bridgeId;
    port.filter = {record.forwardOperation, listOf(record)};
    port.mapper = mapperOf(record);
    port.step = step.number;
    const auto gemPorts = port.mapper.all();
    aniPorts_.erase(std::remove_if(aniPorts_.begin(), aniPorts_.end(),
                                   [&](const AniPort& other) {
                                       return other.bridge == port.bridge && other.mapper.all() == gemPorts;
                                   }),
                    aniPorts_.end());
    aniPorts_.push_back(std::move(port));
}

void AskedServices::takeGemPortsAway(const Step& step) {
    const auto record = recordOf<BridgeServiceProvisioning>(step, bridgeServiceFields({}));
    const auto named = mapperOf(record).all();
    const auto goes = [&](const AniPort& port) {
        if (port.bridge != record.bridgeId) return false;
        const auto gemPorts = port.mapper.all();
        return named.empty() || std::any_of(gemPorts.begin(), gemPorts.end(),
                                            [&](unsigned gemPort) { return named.count(gemPort) != 0; });
    };
    aniPorts_.erase(std::remove_if(aniPorts_.begin(), aniPorts_.end(), goes), aniPorts_.end());
}

std::string askedText(const Step& step) {
    if (isCallOf(step, "configureAniTagRules")) {
        const auto record = recordOf<BridgeServiceProvisioning>(step, bridgeServiceFields({}));
        return VlanFilter{record.forwardOperation, listOf(record)}.text();
    }
    if (!isCallOf(step, "filter_flow_add")) return "";
    const auto record = recordOf<UniDataProvisioning>(step, uniDataFields());
    if (record.hasTagRules == 0 || record.addFlag == 0 || record.uniPort == 0 || record.uniPort > kLastEthernetPort)
        return "";
    return deviceOf(record.uniPort) + ": " + rowOf(record, step.number).text();
}

void AskedServices::leaveOut(const std::string& kind, unsigned number, std::size_t step) {
    forgetLeftOut(kind, number);
    notCovered_.push_back({kind, number, kind + " of " + noun_ + " " + std::to_string(step)});
}

void AskedServices::forgetLeftOut(const std::string& kind, unsigned number) {
    const auto is = [&](const NotCovered& one) { return one.kind == kind && one.number == number; };
    notCovered_.erase(std::remove_if(notCovered_.begin(), notCovered_.end(), is), notCovered_.end());
}

void AskedServices::takeLeftOut(const Step& step) {
    const auto number = [&step](const char* field) {
        const auto found = step.fields->find(field);
        return found != step.fields->end() && found->is_number_unsigned() ? found->get<unsigned>() : 0U;
    };
    if (isCallOf(step, "veip_createRules")) leaveOut(kVeip, number("gemPort"), step.number);
    if (isCallOf(step, "veip_deleteRules")) forgetLeftOut(kVeip, number("gemPort"));
    if (isCallOf(step, "configureAniTagRules")) {
        const auto record = recordOf<BridgeServiceProvisioning>(step, bridgeServiceFields({}));
        if (const char* kind = kindLeftOut(record)) leaveOut(kind, record.bridgeId, step.number);
    }
    if (isCallOf(step, "provisionIpHost")) leaveOut(kIpHost, number("bridgeId"), step.number);
    if (isCallOf(step, "deprovisionIpHost")) forgetLeftOut(kIpHost, number("bridgeId"));
    if (!isCallOf(step, "unsetPbitData") && !isCallOf(step, "deprovisionAniSideBridge")) return;
    for (const char* kind : {kMulticast, kIgmpService}) forgetLeftOut(kind, number("bridgeId"));
}

void AskedServices::take(const Step& step) {
    takeLeftOut(step);
    const auto bridge = [&step] { return recordOf<BridgeServiceProvisioning>(step, bridgeServiceFields({})).bridgeId; };
    const auto is = [&step](const char* name) { return isCallOf(step, name); };
    if (is("filter_flow_add")) takeRow(step);
    if (is("configureAniTagRules")) takeFilter(step);
    if (is("unsetPbitData")) takeGemPortsAway(step);
    if (is("deprovisionAniSideBridge")) {
        const unsigned gone = bridge();
        aniPorts_.erase(std::remove_if(aniPorts_.begin(), aniPorts_.end(),
                                       [gone](const AniPort& port) { return port.bridge == gone; }),
                        aniPorts_.end());
    }
    if (is("deprovisionUniSideBridge")) {
        const unsigned gone = bridge();
        for (auto port = uniPorts_.begin(); port != uniPorts_.end();)
            port = port->second.bridges.count(gone) != 0 ? uniPorts_.erase(port) : std::next(port);
    }
}

}  // namespace vorn_onu::audit
