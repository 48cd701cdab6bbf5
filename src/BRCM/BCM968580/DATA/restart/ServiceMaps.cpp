// The engine's smaller maps and single values.
#include <cstring>
#include <iterator>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/gateway/ServiceMap.h"
#include "BRCM/BCM968580/DATA/restart/MapEntries.h"
#include "hal/SharedVariable.h"
#include "kit/DeviceNames.h"

using kit::Entry;
using state::ByteReader;
using state::ByteWriter;

namespace restart {

namespace {

using Visit = std::function<void(const std::string&)>;

// ---- maps of numbers ----

template <typename Map, Map& TheMap>
bool readNumber(ByteReader& key, ByteWriter& value) {
    const auto entry = TheMap.find(key.number<typename Map::key_type>());
    if (entry == TheMap.end()) return false;
    value.add(entry->second);
    return true;
}

template <typename Map, Map& TheMap>
bool restoreNumber(ByteReader& key, ByteReader& value, Reading reading) {
    const auto number = key.number<typename Map::key_type>();
    const auto mapped = value.number<typename Map::mapped_type>();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) TheMap.emplace(number, mapped);
    return true;
}

template <typename Map, Map& TheMap, Entry Of>
void forEachNumber(const Visit& visit) {
    for (const auto& entry : TheMap) visit(kit::keyOf(Of, entry.first));
}

using BridgeToUni = std::map<std::uint32_t, std::uint32_t>;
using GemToIndex = std::map<std::uint16_t, std::uint16_t>;

// ---- p-bits ----

constexpr std::uint8_t kPbits = 8;

bool readPbit(ByteReader& key, ByteWriter& value) {
    const std::uint8_t pbit = key.u8();
    if (pbit >= kPbits) return false;
    if (xgemPortIdForPbit[pbit] == kNoGemPort && xgemUpstremQueueForPbit[pbit] == 0) return false;
    value.add(xgemPortIdForPbit[pbit]).add(xgemUpstremQueueForPbit[pbit]);
    return true;
}

bool restorePbit(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint8_t pbit = key.u8();
    const std::uint16_t gemPortId = value.u16();
    const std::uint16_t queue = value.u16();
    if (!key.done() || !value.done() || pbit >= kPbits) return false;
    if (reading == Reading::Restore) {
        xgemPortIdForPbit[pbit] = gemPortId;
        xgemUpstremQueueForPbit[pbit] = queue;
    }
    return true;
}

void forEachPbit(const Visit& visit) {
    for (std::uint8_t pbit = 0; pbit < kPbits; ++pbit) visit(kit::keyOf(Entry::PbitGem, pbit));
}

// A queue and a byte with a bit for each of its p-bits.
bool readQueues(ByteReader& key, ByteWriter& value) {
    const auto port = gemPortPbitToQMap.find(key.u16());
    if (port == gemPortPbitToQMap.end()) return false;
    for (const auto& [queue, pbits] : port->second) {
        std::uint8_t bits = 0;
        for (const std::uint8_t pbit : pbits)
            if (pbit < kPbits) bits = static_cast<std::uint8_t>(bits | 1U << pbit);
        value.add(queue).add(bits);
    }
    return true;
}

bool restoreQueues(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint16_t gemPortId = key.u16();
    if (!key.done()) return false;
    std::map<std::uint16_t, std::set<std::uint8_t>> queues;
    while (value.left() > 0) {
        std::set<std::uint8_t>& pbits = queues[value.u16()];
        const std::uint8_t bits = value.u8();
        for (std::uint8_t pbit = 0; pbit < kPbits; ++pbit)
            if ((bits >> pbit & 1U) != 0) pbits.insert(pbit);
    }
    if (!value.done()) return false;
    if (reading == Reading::Restore) gemPortPbitToQMap.emplace(gemPortId, std::move(queues));
    return true;
}

void forEachQueues(const Visit& visit) {
    for (const auto& port : gemPortPbitToQMap) visit(kit::keyOf(Entry::PbitQueues, port.first));
}

// ---- VLAN model marks: for each of the two maps whether it has the port, and what it says ----

void addMark(ByteWriter& value, const std::map<std::uint32_t, bool>& marks, std::uint32_t uniPort) {
    const auto mark = marks.find(uniPort);
    value.add(mark != marks.end()).add(mark != marks.end() && mark->second);
}

bool readMarks(ByteReader& key, ByteWriter& value) {
    const std::uint32_t uniPort = key.u32();
    addMark(value, m_dscpConfigInfo, uniPort);
    addMark(value, m_cTagConfigInfo, uniPort);
    return m_dscpConfigInfo.count(uniPort) != 0 || m_cTagConfigInfo.count(uniPort) != 0;
}

bool restoreMarks(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint32_t uniPort = key.u32();
    for (std::map<std::uint32_t, bool>* marks : {&m_dscpConfigInfo, &m_cTagConfigInfo}) {
        const bool known = value.flag();
        const bool mark = value.flag();
        if (reading == Reading::Restore && known) marks->emplace(uniPort, mark);
    }
    return key.done() && value.done();
}

void forEachMarks(const Visit& visit) {
    for (const auto* marks : {&m_dscpConfigInfo, &m_cTagConfigInfo})
        for (const auto& mark : *marks) visit(kit::keyOf(Entry::ModelMarks, mark.first));
}

// ---- services at the gateway ----

bool readService(ByteReader& key, ByteWriter& value) {
    const std::string device = key.text();
    const std::uint16_t vlanId = key.u16();
    const auto entry = m_SERVICE_MAP_ENTRY.find({device, vlanId, key.u16()});
    if (entry == m_SERVICE_MAP_ENTRY.end() || entry->second == nullptr) return false;
    const OMCI_SERVICE_MAP_ENTRY& service = *entry->second;
    value.add(service.pbits).add(service.vlanId).add(service.reserved0).add(service.serviceStatus);
    value.add(service.gemPortIndex).add(service.gemPortId).add(service.reserved1).add(service.serviceType);
    return true;
}

bool restoreService(ByteReader& key, ByteReader& value, Reading reading) {
    const std::string device = key.text();
    const std::uint16_t vlanId = key.u16();
    const std::uint16_t pbits = key.u16();
    OMCI_SERVICE_MAP_ENTRY service{};
    service.pbits = value.i32();
    service.vlanId = value.i32();
    service.reserved0 = value.u8();
    service.serviceStatus = value.u8();
    service.gemPortIndex = value.i32();
    service.gemPortId = value.i32();
    service.reserved1 = value.i32();
    service.serviceType = value.i32();
    if (!key.done() || !value.done() || !kit::isPlainDeviceName(device)) return false;
    if (static_cast<std::uint16_t>(service.vlanId) != vlanId || static_cast<std::uint16_t>(service.pbits) != pbits)
        return false;
    std::memcpy(service.ifName, device.data(), device.size());
    return reading == Reading::Check || putBackService(service);
}

void forEachService(const Visit& visit) {
    for (const auto& service : m_SERVICE_MAP_ENTRY)
        visit(kit::keyOf(Entry::Services, service.first.ifName, service.first.vlanId, service.first.pbits));
}

// ---- single values: an entry exists while they are not as a new process has them ----

bool readLastService(ByteReader& /*key*/, ByteWriter& value) {
    value.add(protocolNumber).add(m_aniTagRuleId);
    return protocolNumber != 0 || m_aniTagRuleId != 0;
}

bool restoreLastService(ByteReader& key, ByteReader& value, Reading reading) {
    const std::uint8_t protocol = value.u8();
    const auto ruleId = value.number<std::int16_t>();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) {
        protocolNumber = protocol;
        m_aniTagRuleId = ruleId;
    }
    return true;
}

bool readMulticast(ByteReader& /*key*/, ByteWriter& value) {
    const std::int32_t services = loadShared(EtherSwitchBcm380::multicastEnable);
    value.add(mcastGemPortId).add(mcastGemPortIndex).add(services);
    return mcastGemPortId != 0 || mcastGemPortIndex != 0 || services != 0;
}

bool restoreMulticast(ByteReader& key, ByteReader& value, Reading reading) {
    const std::int32_t gemPortId = value.i32();
    const std::int32_t gemIndex = value.i32();
    const std::int32_t services = value.i32();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) {
        mcastGemPortId = gemPortId;
        mcastGemPortIndex = gemIndex;
        storeShared(EtherSwitchBcm380::multicastEnable, services);
    }
    return true;
}

bool readHosts(ByteReader& /*key*/, ByteWriter& value) {
    const std::uint16_t stag = EtherSwitchBcm380::getInstance()->iPhost_Stag;
    value.add(EtherSwitchBcm380::numServices).add(stag);
    return EtherSwitchBcm380::numServices != 0 || stag != kNoStag;
}

bool restoreHosts(ByteReader& key, ByteReader& value, Reading reading) {
    const std::int32_t hosts = value.i32();
    const std::uint16_t stag = value.u16();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) {
        EtherSwitchBcm380::numServices = hosts;
        EtherSwitchBcm380::getInstance()->iPhost_Stag = stag;
    }
    return true;
}

bool readAction(ByteReader& /*key*/, ByteWriter& value) {
    const std::int32_t action = EtherSwitchBcm380::getInstance()->getOmciAction();
    value.add(action);
    return action != 0;
}

bool restoreAction(ByteReader& key, ByteReader& value, Reading reading) {
    const std::int32_t action = value.i32();
    if (!key.done() || !value.done()) return false;
    if (reading == Reading::Restore) EtherSwitchBcm380::getInstance()->setOmciAction(action);
    return true;
}

template <Entry Of>
void onlyKey(const Visit& visit) {
    visit(kit::keyOf(Of));
}

}  // namespace

const std::vector<MapEntries>& serviceMaps() {
    using Bridges = BridgeToUni;
    using Gems = GemToIndex;
    static const auto& maps = *new std::vector<MapEntries>{
        {Entry::BridgeUni, readNumber<Bridges, m_BridgeIdToUniId>, restoreNumber<Bridges, m_BridgeIdToUniId>,
         forEachNumber<Bridges, m_BridgeIdToUniId, Entry::BridgeUni>},
        {Entry::ServiceGem, readNumber<Gems, tGemPortMap>, restoreNumber<Gems, tGemPortMap>,
         forEachNumber<Gems, tGemPortMap, Entry::ServiceGem>},
        {Entry::PbitGem, readPbit, restorePbit, forEachPbit},
        {Entry::PbitQueues, readQueues, restoreQueues, forEachQueues},
        {Entry::LastService, readLastService, restoreLastService, onlyKey<Entry::LastService>},
        {Entry::Multicast, readMulticast, restoreMulticast, onlyKey<Entry::Multicast>},
        {Entry::ModelMarks, readMarks, restoreMarks, forEachMarks},
        {Entry::Services, readService, restoreService, forEachService},
        {Entry::IpHostCount, readHosts, restoreHosts, onlyKey<Entry::IpHostCount>},
        {Entry::OmciAction, readAction, restoreAction, onlyKey<Entry::OmciAction>},
    };
    return maps;
}

void forEachMap(const std::function<void(const MapEntries&)>& visit) {
    for (const auto* maps : {&ponMaps(), &serviceMaps(), &ruleMap(), &plannedMaps()})
        for (const MapEntries& map : *maps) visit(map);
}

}  // namespace restart
