// The adapter object, its maps and its device control.
#include "xpon/OnuXponHalAdapterBCM.h"

#include "device/NetworkInterface.h"
#include "hal/SharedVariable.h"
#include "kit/Asked.h"
#include "xpon/OnuXponHalAdapterBcmNgponLib.h"
#include "xpon/PonMaps.h"

using kit::Entry;

namespace {

using IndexMap = std::map<std::uint16_t, std::uint16_t>;

int insertEntry(IndexMap& map, Entry kind, unsigned short key, unsigned short value) {
    kit::noteChange(kind, key);
    return map.emplace(key, value).second ? 1 : 0;
}

int deleteEntry(IndexMap& map, Entry kind, unsigned short key) {
    kit::noteChange(kind, key);
    kit::noteLoss(kind, key);
    return map.erase(key) != 0 ? 1 : 0;
}

int findEntry(const IndexMap& map, unsigned short key, unsigned short* value) {
    const auto entry = map.find(key);
    if (entry == map.end() || value == nullptr) return 0;
    *value = entry->second;
    return 1;
}

}  // namespace

std::int32_t g_GemCnt = 0;

void countGemPorts(std::int32_t change) {
    g_GemCnt += change;
    kit::noteChange(Entry::GemCount);
}

void setGemIndex(std::uint16_t gemPortId, std::uint16_t gemIndex) {
    ponAdapter().gemPortMap[gemPortId] = gemIndex;
    kit::noteChange(Entry::PonGem, gemPortId);
}

OnuXponHalAdapterBCM* OnuXponHalAdapterBCM::instance = nullptr;
std::mutex OnuXponHalAdapterBCM::singletonLock;

const char* onu_xpon_hal_adapter_bcm_hello_world() {
    return "onu_xpon_hal_adapter_bcm Hello World";
}

OnuXponHalAdapterBCM* OnuXponHalAdapterBCM::getInstance() {
    if (OnuXponHalAdapterBCM* existing = loadShared(instance)) return existing;
    const std::lock_guard<std::mutex> lock(singletonLock);
    if (instance == nullptr) storeShared(instance, new OnuXponHalAdapterBCM);
    return instance;
}

void OnuXponHalAdapterBCM::destroyInstance() {
    if (loadShared(instance) == nullptr) return;
    const std::lock_guard<std::mutex> lock(singletonLock);
    delete instance;
    storeShared<OnuXponHalAdapterBCM*>(instance, nullptr);
}

OnuXponHalAdapterBCM::~OnuXponHalAdapterBCM() {
    OnuXponHalAdapterBcmNgponLib::destroyInstance();
}

int OnuXponHalAdapterBCM::gpon_omci_api_init(OmciAccessType /*access*/) {
    return 0;
}

bool OnuXponHalAdapterBCM::findAllocIdMapEntry(unsigned short allocId) {
    return allocIdMap.count(allocId) != 0;
}

int OnuXponHalAdapterBCM::getTcontIdxFromAllocIdMapEntry(unsigned short allocId, unsigned short* tContIndex) {
    return findEntry(allocIdMap, allocId, tContIndex);
}

int OnuXponHalAdapterBCM::insertAllocIdMapEntry(unsigned short allocId, unsigned short tContIndex) {
    return insertEntry(allocIdMap, Entry::AllocIds, allocId, tContIndex);
}

int OnuXponHalAdapterBCM::deleteAllocIdMapEntry(unsigned short allocId) {
    return deleteEntry(allocIdMap, Entry::AllocIds, allocId);
}

int OnuXponHalAdapterBCM::getGemIdxFromGemPortMapEntry(unsigned short xgemPortId, unsigned short* gemIndex) {
    return findEntry(gemPortMap, xgemPortId, gemIndex);
}

int OnuXponHalAdapterBCM::insertGemPortMapEntry(unsigned short xgemPortId, unsigned short gemIndex) {
    return insertEntry(gemPortMap, Entry::PonGem, xgemPortId, gemIndex);
}

int OnuXponHalAdapterBCM::deleteGemPortMapEntry(unsigned short xgemPortId) {
    return deleteEntry(gemPortMap, Entry::PonGem, xgemPortId);
}

int OnuXponHalAdapterBCM::insertTcontIdxToGemPortMapEntry(unsigned short tContIndex, unsigned short gemIndex) {
    return insertEntry(tcontIdxToGemPortMap, Entry::TcontGem, tContIndex, gemIndex);
}

int OnuXponHalAdapterBCM::deleteTcontIdxFromTcontIdxToGemPortMap(unsigned short tContIndex) {
    return deleteEntry(tcontIdxToGemPortMap, Entry::TcontGem, tContIndex);
}

int OnuXponHalAdapterBCM::deleteGemPortFromTcontIdxToGemPortMap(unsigned short value) {
    for (auto entry = tcontIdxToGemPortMap.begin(); entry != tcontIdxToGemPortMap.end(); ++entry) {
        if (entry->second != value) continue;
        kit::noteChange(Entry::TcontGem, entry->first);
        tcontIdxToGemPortMap.erase(entry);
        return 1;
    }
    return 0;
}

int OnuXponHalAdapterBCM::ifUp(const char* name) {
    if (name == nullptr) return 0;
    const InterfaceResult flags = setInterfaceFlags(name, kFlagsUp);
    setInterfaceMtu(name, kInterfaceMtu);
    return flags == InterfaceResult::Done ? 1 : 0;
}

int OnuXponHalAdapterBCM::ifDown(const char* name) {
    if (name == nullptr) return 0;
    return setInterfaceFlags(name, kFlagsDown) == InterfaceResult::Done ? 1 : 0;
}

int OnuXponHalAdapterBCM::getInterfaceIndex(const char* name) {
    return interfaceIndex(name);
}

bool OnuXponHalAdapterBCM::isInterfaceExisted(const char* name) {
    return getInterfaceIndex(name) > 0;
}
