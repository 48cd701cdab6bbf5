// The ANI side of a bridge service: from the provisioning record to the GEM ports, queues and filters that its tag
// rules are made for.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/ani/AniCodes.h"
#include "BRCM/BCM968580/DATA/ani/TciList.h"
#include "hal/OwnedBlock.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "kit/GemPorts.h"
#include "kit/StateEntries.h"
#include "platform/vlanctl.h"

std::map<std::uint16_t, std::uint16_t> tGemPortMap;
std::map<std::uint16_t, std::map<std::uint16_t, std::set<std::uint8_t>>> gemPortPbitToQMap;
std::uint16_t xgemPortIdForPbit[8] = {kNoGemPort, kNoGemPort, kNoGemPort, kNoGemPort,
                                      kNoGemPort, kNoGemPort, kNoGemPort, kNoGemPort};
std::uint16_t xgemUpstremQueueForPbit[8] = {};
std::uint8_t protocolNumber = 0;

namespace {

constexpr std::uint8_t kMaxTrafficModel = 6;
constexpr std::uint8_t kPbits = 8;

using TciEntries = OwnedBlock<VlanTci_t>;
using PbitArray = std::array<std::uint8_t, kPbits>;

// Kept: the filter list of a multicast service is not released with its set-up.
std::vector<TciEntries> multicastTciEntries;

// The list's text may fill its field to the last character.
std::string tciText(const BridgeServiceProvisioning& record) {
    return {record.vlanTciFilterList, strnlen(record.vlanTciFilterList, sizeof record.vlanTciFilterList)};
}

void decodeFilterList(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record, VlanTciFilterInfo_t& info) {
    const auto named = static_cast<std::uint8_t>(record.numberOfEntries + 1);
    info.numberOfEntries = named;
    info.forwardOperation = record.forwardOperation;
    info.entries = nullptr;
    if (const auto list = TciList::fromHex(engine, tciText(record).c_str())) {
        if (named != 0) {
            list->decode(engine, record.numberOfEntries, &info);
        } else {
            std::printf("No vlaTciEntries recevied!!!");
        }
    }
    std::printf("numberOfEntries:%u, forwardOperation:0x%x", named, info.forwardOperation);
}

bool filtersOnVlans(std::uint8_t trafficModel) {
    return trafficModel == OMCI_MF_MODEL_1_FILTER || trafficModel == OMCI_MF_MODEL_N_FILTER;
}

// The p-bits that a queue of a GEM port serves, each in its own slot.
PbitArray pbitArrayOf(const std::set<std::uint8_t>& pbits, std::uint16_t gemPortId, std::uint16_t gemIndex,
                      std::uint16_t queue) {
    PbitArray array;
    array.fill(kPbitNotMapped);
    for (const std::uint8_t pbit : pbits) {
        if (pbit < array.size()) array[pbit] = pbit;
        std::printf("Pbit entries for GemPort:%u, GemPortIndex:%u, qid:%u pbit:%u", gemPortId, gemIndex, queue, pbit);
    }
    return array;
}

void rememberGemPort(EtherSwitchBcm380& engine, std::uint16_t gemPortId, std::uint16_t gemIndex) {
    if (engine.findGemPortMapEntry(gemPortId)) {
        std::printf("Gem Port Entry already existed");
    } else if (!engine.insertGemPortMapEntry(gemPortId, gemIndex)) {
        std::printf("Unable to insert Gem Port Entry");
    }
}

// The mark says to createAniFilterTagRules, whose arguments are fixed, that it is called for a multicast service.
int configureMulticast(EtherSwitchBcm380& engine, const BridgeServiceProvisioning& record) {
    mcast = 1;
    const std::uint16_t gemIndex = kit::gemPortById(record.gemPortId).port.gemIndex;
    const auto uni = m_BridgeIdToUniId.find(record.bridgeId);
    const std::uint32_t uniPort = uni != m_BridgeIdToUniId.end() ? uni->second : 0;
    std::printf("bridgeProv->innerVlanIdFilter %u uniport %u", record.innerVlanIdFilter, uniPort);
    engine_maps::countMulticastServices(1);
    engine.configureDsMcastIngress_rule(&record, static_cast<std::uint16_t>(uniPort), gemIndex);
    mcast = 0;
    return record.multicastService;
}

// The rules of every queue of every GEM port that the record's p-bits use.
void configureGemPorts(EtherSwitchBcm380& engine, std::uint8_t trafficModel, VlanTciFilterInfo_t& info, char* aniName,
                       char* aniVlanName) {
    DeviceName ponDevice("%s", kPonDevice);
    for (const auto& [gemPortId, queues] : gemPortPbitToQMap) {
        const std::uint16_t gemIndex = kit::gemPortById(gemPortId).port.gemIndex;
        if (!filtersOnVlans(trafficModel)) continue;
        std::printf("In VLAN_MF_MODEL_1_FILTER/VLAN_MF_MODEL_N_FILTER");
        for (const auto& [queue, pbits] : queues) {
            PbitArray pbitArray = pbitArrayOf(pbits, gemPortId, gemIndex, queue);
            std::printf("CreateAniRules for GemPort:%u, GemPortIndex:%u, qid:%u", gemPortId, gemIndex, queue);
            rememberGemPort(engine, gemPortId, gemIndex);
            engine.insertDefaultAniTagRules(ponDevice.get(), aniName, gemIndex, queue, VLANCTL_DIRECTION_RX,
                                            kDefaultDrop);
            engine.createAniFilterTagRules(info, pbitArray.data(), aniName, aniVlanName, gemIndex, queue);
        }
    }
}

}  // namespace

int EtherSwitchBcm380::configureAniTagRules(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return 0;
    std::printf("EtherSwitchBcm380::configureAniTagRules through TMB-->TME-->SME-->SEBCM380");
    if (bridgeProv->trafficModel > kMaxTrafficModel) {
        std::printf("Invalid trafficModel:%u received", bridgeProv->trafficModel);
        return 0;
    }
    std::printf("calling setProtocolNumber with protocal id: %d", bridgeProv->protocolNumber);
    setProtocolNumber(bridgeProv->protocolNumber);

    DeviceName aniName;
    DeviceName aniVlanName;
    getInterfaceName(PHY_GPON, bridgeProv->bridgeId, aniName.get());
    getVirtualInterfaceName(PHY_GPON, bridgeProv->bridgeId, bridgeProv->bridgeId, aniVlanName.get());
    std::printf("aniInterfaceName:%s, aniVirtualName:%s", aniName.get(), aniVlanName.get());

    fillBridgeConfigInfo(bridgeProv);
    VlanTciFilterInfo_t info = {};
    decodeFilterList(*this, *bridgeProv, info);
    TciEntries entries(info.entries);

    if (bridgeProv->isMulticast != 0 && bridgeProv->multicastService != 0) {
        multicastTciEntries.push_back(std::move(entries));
        return configureMulticast(*this, *bridgeProv);
    }
    configureGemPorts(*this, bridgeProv->trafficModel, info, aniName.get(), aniVlanName.get());
    clearGemPortPbitToQMap();
    return 1;
}

void EtherSwitchBcm380::fillBridgeConfigInfo(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return;
    fillUpPbitData(bridgeProv);
    for (std::uint8_t pbit = 0; pbit < kPbits; ++pbit) {
        const std::uint16_t gemPortId = xgemPortIdForPbit[pbit];
        if (gemPortId == kNoGemPort || gemPortId == kUnusedGemPort) continue;
        insertGemPortPbitToQMap(gemPortId, pbit, xgemUpstremQueueForPbit[pbit]);
    }
}

// Kept: the slots of p-bits that the record does not name hold what an earlier record put there; the daemon relies on
// it.
void EtherSwitchBcm380::fillUpPbitData(const BridgeServiceProvisioning* bridgeProv) {
    if (bridgeProv == nullptr) return;
    for (std::uint8_t pbit = 0; pbit < kPbits; ++pbit) {
        const auto mapped = bridgeProv->pbitMap.find(pbit);
        if (mapped == bridgeProv->pbitMap.end()) continue;
        engine_maps::setPbitGem(pbit, mapped->second.first, mapped->second.second);
    }
}

bool EtherSwitchBcm380::insertGemPortPbitToQMap(std::uint16_t gemPortId, std::uint8_t pbit, std::uint16_t qid) {
    engine_maps::addPbitToQueue(gemPortId, qid, pbit);
    return true;
}

void EtherSwitchBcm380::clearGemPortPbitToQMap() {
    engine_maps::clearPbitQueues();
}

void EtherSwitchBcm380::getTagFilters(const std::uint8_t* tciBuffer, std::uint16_t numberOfEntries,
                                      VlanTciFilterInfo_t* info) {
    if (tciBuffer == nullptr || info == nullptr) return;
    const std::size_t allocated = std::max<std::size_t>(numberOfEntries, 1);
    auto* entries = static_cast<VlanTci_t*>(std::calloc(allocated, sizeof(VlanTci_t)));
    info->entries = entries;
    if (entries == nullptr) {
        std::printf("Failed to allocate memory for VlanTciFilter!!!");
        return;
    }
    entries[0] = {0xFF, 0xFF, 0xFFFF};
    for (std::size_t index = 1; index < numberOfEntries && index <= kMaxTciEntries; ++index) {
        const std::uint8_t* bytes = tciBuffer + 2 * (index - 1);
        const auto tci = static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
        std::printf("Recevied Hex:0x%x", tci);
        entries[index].pbits = static_cast<std::uint8_t>(getFieldFromHalfWord(tci, 15, 3));
        entries[index].cfi = static_cast<std::uint8_t>(getFieldFromHalfWord(tci, 12, 1));
        entries[index].vlanId = getFieldFromHalfWord(tci, 11, 12);
        std::printf("===> getTagFilters, pbits=%d, cfi=%d, vlanId=%d, index=%d", entries[index].pbits,
                    entries[index].cfi, entries[index].vlanId, static_cast<int>(index));
    }
}

bool EtherSwitchBcm380::findGemPortMapEntry(std::uint16_t gemPortId) {
    if (tGemPortMap.count(gemPortId) != 0) return true;
    std::printf("Failed to find GemPort:%u!!!!", gemPortId);
    return false;
}

bool EtherSwitchBcm380::getGemIdxFromGemPortMapEntry(std::uint16_t gemPortId, std::uint16_t* gemIdx) {
    const auto entry = tGemPortMap.find(gemPortId);
    if (gemIdx == nullptr || entry == tGemPortMap.end()) return false;
    *gemIdx = entry->second;
    std::printf("GemPort:%u configured GemIndex:%u", gemPortId, entry->second);
    return true;
}

bool EtherSwitchBcm380::insertGemPortMapEntry(std::uint16_t gemPortId, std::uint16_t gemIdx) {
    const bool inserted = tGemPortMap.count(gemPortId) == 0;
    if (inserted) {
        engine_maps::setGemIndex(gemPortId, gemIdx);
        std::printf("Inserted GemPort:%u with GemIndex:%u", gemPortId, gemIdx);
    } else {
        std::printf("Already exists GemPort:%u with GemIndex:%u", gemPortId, gemIdx);
    }
    return inserted;
}
