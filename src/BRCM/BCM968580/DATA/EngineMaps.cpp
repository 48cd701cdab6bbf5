#include "BRCM/BCM968580/DATA/EngineMaps.h"

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/SharedVariable.h"
#include "kit/StateEntries.h"

using kit::Entry;
using kit::noteChange;

namespace engine_maps {

namespace {

constexpr std::uint8_t kPbits = 8;

template <typename Map>
void clearMap(Map& map, Entry kind) {
    for (const auto& entry : map) noteChange(kind, entry.first);
    map.clear();
}

}  // namespace

void associateUni(std::uint16_t bridgeId, std::uint16_t uniPort) {
    m_BridgeIdToUniId.emplace(bridgeId, uniPort);
    noteChange(Entry::BridgeUni, std::uint32_t{bridgeId});
}

void dissociateUni(std::uint32_t bridgeId) {
    m_BridgeIdToUniId.erase(bridgeId);
    noteChange(Entry::BridgeUni, bridgeId);
}

void setGemIndex(std::uint16_t gemPortId, std::uint16_t gemIndex) {
    tGemPortMap[gemPortId] = gemIndex;
    noteChange(Entry::ServiceGem, gemPortId);
}

void setPbitGem(std::uint8_t pbit, std::uint16_t gemPortId, std::uint16_t queue) {
    xgemPortIdForPbit[pbit] = gemPortId;
    xgemUpstremQueueForPbit[pbit] = queue;
    noteChange(Entry::PbitGem, pbit);
}

void addPbitToQueue(std::uint16_t gemPortId, std::uint16_t queue, std::uint8_t pbit) {
    gemPortPbitToQMap[gemPortId][queue].insert(pbit);
    noteChange(Entry::PbitQueues, gemPortId);
}

void clearPbitQueues() {
    clearMap(gemPortPbitToQMap, Entry::PbitQueues);
}

void setLastProtocol(std::uint8_t protocol) {
    protocolNumber = protocol;
    noteChange(Entry::LastService);
}

void setLastMulticastRule(std::int16_t ruleId) {
    m_aniTagRuleId = ruleId;
    noteChange(Entry::LastService);
}

void countMulticastServices(std::int32_t change) {
    addShared(EtherSwitchBcm380::multicastEnable, change);
    noteChange(Entry::Multicast);
}

void setMulticastGem(std::int32_t gemPortId, std::int32_t gemIndex) {
    mcastGemPortId = gemPortId;
    mcastGemPortIndex = gemIndex;
    noteChange(Entry::Multicast);
}

void markDscpModel(std::uint32_t uniPort) {
    m_dscpConfigInfo[uniPort] = true;
    noteChange(Entry::ModelMarks, uniPort);
}

void markCustomerTagModel(std::uint32_t uniPort) {
    m_cTagConfigInfo[uniPort] = true;
    noteChange(Entry::ModelMarks, uniPort);
}

void clearModelMarks(std::uint32_t uniPort) {
    m_dscpConfigInfo[uniPort] = false;
    m_cTagConfigInfo[uniPort] = false;
    noteChange(Entry::ModelMarks, uniPort);
}

void countIpHosts(int change) {
    EtherSwitchBcm380::numServices += change;
    noteChange(Entry::IpHostCount);
}

void clear() {
    clearMap(m_BridgeIdToUniId, Entry::BridgeUni);
    clearMap(tGemPortMap, Entry::ServiceGem);
    clearPbitQueues();
    for (std::uint8_t pbit = 0; pbit < kPbits; ++pbit) setPbitGem(pbit, kNoGemPort, 0);
    clearMap(m_dscpConfigInfo, Entry::ModelMarks);
    clearMap(m_cTagConfigInfo, Entry::ModelMarks);
    EtherSwitchBcm380::getInstance()->setMcastGemInfo(0, 0);
    storeShared(EtherSwitchBcm380::multicastEnable, 0);
    countIpHosts(-EtherSwitchBcm380::numServices);
}

}  // namespace engine_maps
