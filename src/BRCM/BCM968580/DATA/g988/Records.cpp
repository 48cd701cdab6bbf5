#include "BRCM/BCM968580/DATA/g988/Records.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace g988 {

namespace {

constexpr std::uint16_t kNoGemPort = 65535, kUnusedGemPort = 4095;
constexpr std::uint16_t kLastFilterType = 2;  // tags that a row filters
constexpr std::uint8_t kIgmp = 2;
constexpr std::uint8_t kAllOnesTpid = 7, kAllOnesPbits = 15;
constexpr std::uint16_t kAllOnesVid = 8191;                                // of a 13-bit field
constexpr std::uint8_t kOneServiceFilter = 2, kSeveralServicesFilter = 5;  // traffic models
constexpr std::size_t kTciDigits = 4;
constexpr std::uint8_t kNoEntries = 255;
constexpr std::uint8_t kUntaggedFrames = 8;  // in a p-bit map

std::uint8_t narrow(std::uint16_t number) {
    return static_cast<std::uint8_t>(std::min<std::uint16_t>(number, std::numeric_limits<std::uint8_t>::max()));
}

// The record's codes differ from the standard's: PPPoE discovery stands for both, the session has a code of its own.
constexpr EtherTypes kEtherTypeCodes[] = {EtherTypes::Any,  EtherTypes::Ipv4,         EtherTypes::Pppoe,
                                          EtherTypes::Arp,  EtherTypes::PppoeSession, EtherTypes::Ipv6,
                                          EtherTypes::Eapol};

EtherTypes etherTypesOfCode(std::uint16_t code) {
    return code < std::size(kEtherTypeCodes) ? kEtherTypeCodes[code] : EtherTypes::Any;
}

std::uint16_t tpidOf(std::uint16_t tpid) {
    return tpid == 0 ? kCustomerTpid : tpid;
}

// Nothing for a text that is no list.
std::optional<std::vector<FilterTci>> listOf(const BridgeServiceProvisioning& record) {
    const std::string text(record.vlanTciFilterList,
                           strnlen(record.vlanTciFilterList, sizeof record.vlanTciFilterList));
    const std::size_t entries = record.numberOfEntries == kNoEntries ? 0 : record.numberOfEntries;
    std::vector<FilterTci> list;
    if (text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos || text.size() / kTciDigits < entries)
        return std::nullopt;
    for (std::size_t entry = 0; entry < entries; ++entry) {
        const auto tci = static_cast<unsigned>(std::stoul(text.substr(entry * kTciDigits, kTciDigits), nullptr, 16));
        list.push_back({static_cast<std::uint8_t>(tci >> 13), static_cast<std::uint8_t>(tci >> 12 & 1),
                        static_cast<std::uint16_t>(tci & 0xFFF)});
    }
    return list;
}

bool isGemPort(std::uint16_t portId) {
    return portId != kNoGemPort && portId != kUnusedGemPort;
}

// The p-bits that untagged frames are taken for: some that go where the map says. False when it names a place of its
// own.
bool setDefaultPbits(const BridgeServiceProvisioning& record, const GemIndexOf& gemIndexOf, PbitMapper& mapper) {
    const auto named = record.pbitMap.find(kUntaggedFrames);
    if (named == record.pbitMap.end()) return true;
    std::optional<GemPlace> place;
    if (isGemPort(named->second.first)) {
        const auto index = gemIndexOf(named->second.first);
        if (!index) return false;
        place = GemPlace{*index, named->second.second};
    }
    const auto same = std::find(mapper.places.begin(), mapper.places.end(), place);
    if (same == mapper.places.end()) return false;
    mapper.defaultPbits = static_cast<std::uint8_t>(same - mapper.places.begin());
    return true;
}

}  // namespace

// The record says how many tags its frames have; the filters of the others are not looked at.
TaggingRow rowOf(const UniDataProvisioning& record) {
    TaggingRow row;
    if (record.filterType == 2)
        row.outerFilter = {record.outerFilterPrio, record.outerFilterVlanId, narrow(record.outerFilterTpidDe)};
    if (record.filterType == 1 || record.filterType == 2)
        row.innerFilter = {record.innerFilterPrio, record.innerFilterVlanId, narrow(record.innerFilterTpidDe)};
    row.etherTypes = etherTypesOfCode(record.etherType);
    row.tagsToRemove = narrow(record.removeType);
    row.outerTreatment = {record.outerTreatmentPrio, record.outerTreatmentVlanId, narrow(record.outerTreatmentTpidDe)};
    row.innerTreatment = {record.innerTreatmentPrio, record.innerTreatmentVlanId, narrow(record.innerTreatmentTpidDe)};
    row.bridge = record.bridgeId;
    return row;
}

const char* unknownCode(const UniDataProvisioning& record) {
    if (record.etherType >= std::size(kEtherTypeCodes)) return "there is no such EtherType code";
    if (record.filterType > kLastFilterType) return "a row filters no more than two tags";
    return nullptr;
}

bool deletesRow(const UniDataProvisioning& record) {
    const TaggingRow row = rowOf(record);
    const auto isAllOnes = [](const TagCodes& treatment) {
        return treatment.pbits == kAllOnesPbits && treatment.vid == kAllOnesVid && treatment.tpidDei == kAllOnesTpid;
    };
    return row.tagsToRemove == kDiscard && isAllOnes(row.outerTreatment) && isAllOnes(row.innerTreatment);
}

void setAttributes(TaggingTable& table, const UniDataProvisioning& record) {
    table.inputTpid = tpidOf(record.inputTpid);
    table.outputTpid = tpidOf(record.outputTpid);
    table.downstreamMode = narrow(record.downstreamMode);
}

bool isMulticast(const BridgeServiceProvisioning& record) {
    return record.isMulticast != 0 && record.multicastService != 0;
}

std::set<std::uint16_t> gemPortIds(const BridgeServiceProvisioning& record) {
    if (isMulticast(record)) return {record.gemPortId};
    std::set<std::uint16_t> ids;
    for (const auto& [pbits, place] : record.pbitMap)
        if (pbits <= kLastPbits && isGemPort(place.first)) ids.insert(place.first);
    return ids;
}

std::optional<PonPort> ponPortOf(const BridgeServiceProvisioning& record, const GemIndexOf& gemIndexOf) {
    PonPort port;
    const bool filters = record.trafficModel == kOneServiceFilter || record.trafficModel == kSeveralServicesFilter;
    if (filters) {
        const auto list = listOf(record);
        if (!list) return std::nullopt;
        port.filter = {record.forwardOperation, *list};
    }
    for (const std::uint16_t portId : gemPortIds(record)) {
        const auto index = gemIndexOf(portId);
        if (!index) return std::nullopt;
        if (isMulticast(record)) port.downstreamGems.insert(*index);
        for (const auto& [pbits, place] : record.pbitMap)
            if (!isMulticast(record) && pbits <= kLastPbits && place.first == portId)
                port.mapper.places[pbits] = GemPlace{*index, place.second};
    }
    if (!isMulticast(record) && !setDefaultPbits(record, gemIndexOf, port.mapper)) return std::nullopt;
    if (record.protocolNumber == kIgmp) port.ipProtocol = kIgmp;
    return port;
}

}  // namespace g988
