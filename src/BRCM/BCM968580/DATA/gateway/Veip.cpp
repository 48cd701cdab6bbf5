// The virtual Ethernet interface point (VEIP): one VLAN device towards the residential gateway in place of a UNI port.
// It passes everything; which services it carries is announced to the gateway.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/ani/TciList.h"
#include "hal/OwnedBlock.h"
#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "kit/DeviceNames.h"
#include "kit/Devices.h"
#include "kit/Rules.h"

namespace {

constexpr unsigned short kVeipPhyId = 0;  // second half of the rule map's key
constexpr unsigned kVeipTagTables = 4;    // the VEIP passes frames with up to three tags
constexpr int kSubDevices = 8;            // veip0.1 to veip0.8, made on the gateway side
constexpr int kDeleteAttempts = 3;
constexpr int kNoParticular = -2;  // p-bit or VLAN id of a notification about the port as a whole

bool isFilterModel(OmciMapFilterModelType type) {
    return type == OMCI_MF_MODEL_1_FILTER || type == OMCI_MF_MODEL_1_MAP_FILTER || type == OMCI_MF_MODEL_N_FILTER ||
           type == OMCI_MF_MODEL_N_MAP_FILTER;
}

// The (p-bit, VLAN id) pairs of a TCI list: entry 0 is the wildcard, the received TCIs follow.
struct TciPairs {
    OwnedBlock<VlanTci_t> entries;
    unsigned count = 0;  // 0: the list did not decode
};

TciPairs decodePairs(EtherSwitchBcm380& engine, unsigned char noOfEntries, const unsigned char* vlanFilterList) {
    TciPairs pairs;
    const auto list = vlanFilterList != nullptr
                          ? TciList::fromHex(engine, reinterpret_cast<const char*>(vlanFilterList))
                          : std::nullopt;
    if (list) {
        std::printf("\n tagFilterInfo.numberOfEntries=%d \n", noOfEntries + 1);
        VlanTciFilterInfo_t info{};
        list->decode(engine, noOfEntries, &info);
        pairs.entries.reset(info.entries);
        if (info.entries != nullptr) pairs.count = info.numberOfEntries;
    }
    std::printf("\n Executed hexStringToBinaryBuf function in configVeip FUNCTION ");
    return pairs;
}

OMCI_SERVICE_MAP_ENTRY veipService(int gemPortId, int gemPortIndex) {
    OMCI_SERVICE_MAP_ENTRY service{};
    std::snprintf(service.ifName, sizeof service.ifName, "%s", kVeipDevice);
    service.gemPortId = gemPortId;
    service.gemPortIndex = gemPortIndex;
    return service;
}

OMCI_SERVICE_MAP_ENTRY veipNotification(int gemPortId, int gemPortIndex) {
    OMCI_SERVICE_MAP_ENTRY service = veipService(gemPortId, gemPortIndex);
    service.pbits = kNoParticular;
    service.vlanId = kNoParticular;
    return service;
}

// A record whose pair does not exist has p-bits 0 and VLAN id 0. A list that did not decode gives no record at all.
void fillServices(OmciGemSericesInfo_t& block, bool isCreate, int gemPortId, int gemPortIndex, const TciPairs& pairs) {
    for (unsigned i = 0; i < block.numberOfEntries; ++i) {
        OMCI_SERVICE_MAP_ENTRY& service = block.services[i];
        service = veipService(gemPortId, gemPortIndex);
        service.serviceStatus = isCreate ? 1 : 0;
        if (i >= pairs.count) continue;
        service.pbits = pairs.entries.get()[i].pbits;
        service.vlanId = pairs.entries.get()[i].vlanId;
    }
}

// Kept: only the last TCI of the list is registered and announced; the gateway knows a GEM port by it.
void announceLastService(EtherSwitchBcm380& engine, OmciGemSericesInfo_t& block, bool isCreate) {
    const int i = block.numberOfEntries - 1;
    OMCI_SERVICE_MAP_ENTRY& service = block.services[i];
    std::printf("\n PRINTED THE INFORMATION FOR SERVICEINFO OBJECT BEFORE SENDING THE NOTIFICATION i=%d \n", i);
    if (isCreate) {
        engine.omciServiceCreateMapEntry(&service);
    } else {
        engine.omciServiceDeleteMapEntry(service.gemPortIndex, service.ifName, service.vlanId, service.pbits);
    }
    // Kept: the text ends the same way for both states.
    std::printf(
        "i=%d, numberOfEntries=%d, gemPortId=%d gemPortIndex=%d, pbits=%d, vlanId=%d, ifName=%s, serviceType=%d, "
        "service_status=%d OMCI_SERVICE_DOWN\n",
        i, block.numberOfEntries, service.gemPortId, service.gemPortIndex, service.pbits, service.vlanId,
        service.ifName, service.serviceType, service.serviceStatus);
    engine.sendServiceInfoMsg(&service);
}

// Kept: the multicast service is announced as up on removal too, and never enters the service map.
void announceMulticast(EtherSwitchBcm380& engine, OmciGemSericesInfo_t& block, int gemPortId) {
    OMCI_SERVICE_MAP_ENTRY& service = block.services[0];
    service = veipNotification(gemPortId, mcastGemPortIndex);
    service.serviceType = 1;
    service.serviceStatus = 1;
    std::printf("\n Sending notification for multicast gemPortIndex: %d, gemPortId: %d\n", service.gemPortIndex,
                service.gemPortId);
    engine.sendServiceInfoMsg(&service);
}

void configUnicast(EtherSwitchBcm380& engine, OmciGemSericesInfo_t& block, bool isCreate, unsigned short gemPortId,
                   unsigned char noOfEntries, const unsigned char* vlanFilterList) {
    std::printf("\n Inside configVeip :: getGemIdxFromGemPortMapEntry to get the GemIdx");
    std::uint16_t gemIndex = 0;
    if (!engine.getGemIdxFromGemPortMapEntry(gemPortId, &gemIndex)) {
        std::printf("GemPort:%u is not configured!!!", gemPortId);
        return;
    }
    std::printf("\n configVeip::getGemIdxFromGemPortMapEntry Got the GemIdx ");
    const TciPairs pairs = decodePairs(engine, noOfEntries, vlanFilterList);

    // 255 entries and the wildcard overflow the count to 0: no record.
    block.numberOfEntries = pairs.count == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>(noOfEntries + 1);
    std::printf("\n PRINTING THE INFORMATION ASSIGNED VALUE TO SERVICEINFOP Structure ");
    fillServices(block, isCreate, gemPortId, gemIndex, pairs);
    if (block.numberOfEntries > 0) announceLastService(engine, block, isCreate);

    if (engine.omci_service_num_get() != 0) return;
    block.services[0] = veipNotification(gemPortId, gemIndex);
    std::printf("\n Sending notification for the last evc-map shut ");
    engine.sendServiceInfoMsg(&block.services[0]);
}

// Deletes one sub-device, trying again while the gateway side still holds it. vlanctl is open.
void removeSubDevice(EtherSwitchBcm380& engine, const char* name) {
    constexpr const char* operation = "removeVeipInterface";
    for (int attempt = 0; attempt < kDeleteAttempts; ++attempt) {
        if (attempt > 0) sleep(1);
        if (!engine.isInterfaceExisted(name)) {
            if (attempt == 0) {
                ENGINE_LOG(operation, kVeipSource, kLogError, "Interface %s doesn't exist\n", name);
            }
            return;
        }
        std::printf("Calling vlanCtl_deleteVlanInterface  for %s with retry=%d\n", name, attempt);
        const int ret = kit::removeDevice(name);
        if (ret == 0) {
            std::printf("In %s vlanCtl_deleteVlanInterface deleted %s\n", operation, name);
            return;
        }
        ENGINE_LOG(operation, kVeipSource, kLogError,
                   "In %s vlanCtl_deleteVlanInterface failed(%d)to remove ifName=%s\n", operation, ret, name);
    }
}

}  // namespace

int EtherSwitchBcm380::getVeipVlanName(char* name) {
    if (name == nullptr) return -1;
    std::snprintf(name, kDeviceNameSize, "%s", kVeipDevice);
    return 0;
}

int EtherSwitchBcm380::createVeipVlanInterface() {
    int ret = -1;
    if (!isInterfaceExisted(kVeipRealDevice)) {
        std::printf("Failed to create %s since %s does not exist yet", kVeipDevice, kVeipRealDevice);
    } else {
        std::printf("VEIP: DEV_INTERFACE: %s, VlanName: %s", kVeipRealDevice, kVeipDevice);
        if (kit::createVeipDevice()) {
            disableIPv6(kVeipDevice);
            kit::bringVeipUp(kit::MissingAddress::Zeros);
            ret = 0;
        } else {
            std::printf("Failed to create %s", kVeipDevice);
        }
    }
    std::printf("\n===> createVeipVlanInterface, devId=%d, devIfc=%s, vlanIfc=%s, ret=%d\n", 0, kVeipRealDevice,
                kVeipDevice, ret);
    return ret;
}

// Kept: one rule id serves all inserts, so a rule that vlanctl refuses is recorded under the id of the rule before it.
int EtherSwitchBcm380::insertUniTagRules(unsigned int phyId, char* devIfc, char* vlanIfc) {
    if (devIfc == nullptr || vlanIfc == nullptr) return -1;
    const auto phy = static_cast<unsigned short>(phyId);
    std::uint32_t tagRuleId = VLANCTL_DONT_CARE;
    {
        const kit::VlanCtlSession session;
        for (unsigned tags = 0; tags < kVeipTagTables; ++tags) {
            for (const std::uint32_t direction : {VLANCTL_DIRECTION_RX, VLANCTL_DIRECTION_TX}) {
                kit::TagRule rule;
                rule.bind(direction, vlanIfc);
                kit::insertRule({devIfc, direction, tags}, rule, {}, &tagRuleId);
                insertVlanRuleMapEntry(devIfc, phy, static_cast<unsigned short>(direction), tags, tagRuleId);
            }
        }
    }
    std::printf("\nNumber of Entries are zero");
    return 0;
}

int EtherSwitchBcm380::createVeipFilterTagRules(unsigned int bridgeId) {
    // The VEIP takes the place of the Linux bridge.
    if (isInterfaceExisted(kit::bridgeName(bridgeId).get())) {
        const kit::Replacement replacement;
        deleteBridgeInterface(static_cast<unsigned short>(bridgeId));
    }
    if (!isInterfaceExisted(kVeipDevice)) {
        const int ret = createVeipVlanInterface();
        if (ret != 0) return ret;
    } else if (!isVlanRuleMapExist(kVeipRealDevice, kVeipPhyId)) {
        copyVlanRuleMapEntry(kVeipRealDevice, kVeipPhyId);
    }

    DeviceName devIfc("%s", kVeipRealDevice);
    DeviceName vlanIfc("%s", kVeipDevice);
    insertUniTagRules(kVeipPhyId, devIfc.get(), vlanIfc.get());

    // Kept: both this test and the one above act on absence, so a second call adds a further set of rules to the entry.
    if (!isVlanRuleMapExist(kVeipRealDevice, kVeipPhyId)) removeVlanRuleMapEntry(kVeipRealDevice, kVeipPhyId);
    return 0;
}

int EtherSwitchBcm380::createVeipTagRules(OmciMapFilterModelType type, unsigned short bridgeId) {
    if (isFilterModel(type)) createVeipFilterTagRules(bridgeId);
    std::printf("\n===> createVeipTagRules, type=%d, ret=%d\n", static_cast<int>(type), 0);
    return 0;
}

int EtherSwitchBcm380::configVeip(bool isCreate, unsigned short gemPortId, unsigned short /*bridgeId*/,
                                  unsigned short /*filterType*/, unsigned char noOfEntries,
                                  const unsigned char* vlanFilterList) {
    std::printf("\n Entered in configVeip ====> Allocating memory to OmciGemSericesInfo_t ");
    const std::unique_ptr<OmciGemSericesInfo_t> block(new (std::nothrow) OmciGemSericesInfo_t());
    if (block == nullptr) {
        std::printf("omciMem_alloc() failed");
        return 0;
    }
    std::printf("Verifying with mcastGemPortId: %d, received GemPortId: %d", mcastGemPortId, gemPortId);
    if (gemPortId == mcastGemPortId) {
        announceMulticast(*this, *block, gemPortId);
    } else {
        configUnicast(*this, *block, isCreate, gemPortId, noOfEntries, vlanFilterList);
    }
    return omci_service_num_get();
}

int EtherSwitchBcm380::gpon_createRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                                        unsigned char noOfEntries, const unsigned char* vlanFilterList,
                                        unsigned short trafficType) {
    if (!isInterfaceExisted(kVeipDevice)) {
        std::printf("\ncreating veip interface %s", kVeipDevice);
        createVeipTagRules(trafficType, bridgeId);
    }
    kit::noteNeed(kit::Entry::Devices, kVeipDevice);
    std::printf("\n gemPort=%d bridgeId=%d filterType=%d noOfEntries=%d vlanFilterList=0x%x trafficType=%d\n", gemPort,
                bridgeId, filterType, noOfEntries,
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(vlanFilterList)), trafficType);
    return configVeip(true, gemPort, bridgeId, filterType, noOfEntries, vlanFilterList);
}

int EtherSwitchBcm380::gpon_deleteRules(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                                        unsigned char noOfEntries, const unsigned char* vlanFilterList,
                                        unsigned short /*trafficType*/) {
    if (!isInterfaceExisted(kVeipDevice)) {
        std::printf("\nAs there is no %s, no need of deprovision\n", kVeipDevice);
        return -1;
    }
    std::printf("\n invoking configVeip with FALSE gemPortId=%d bridgeId=%d filterType=%d noOfEntries=%d \n", gemPort,
                bridgeId, filterType, noOfEntries);
    int ret = -1;
    if (configVeip(false, gemPort, bridgeId, filterType, noOfEntries, vlanFilterList) == 0) {
        const kit::BegunStep step(kit::Step::RemoveVeip, bridgeId, gemPort);
        removeVeipInterface();
        sleep(1);
        const int teardown = rule_teardownVeipVlanInterface(true);
        if (teardown != 0) std::printf("\nteardownVeipVlanInterface() failed, ret=%d\n", teardown);
        ret = 0;
    }
    flushAniSideVlanRules(bridgeId, gemPort);
    return ret;
}

int EtherSwitchBcm380::removeVeipInterface() {
    // Kept: the name in this line is still empty.
    std::printf("In vorn-hal from %s Trying to delete %s\n", "removeVeipInterface", "");
    const kit::VlanCtlSession session;
    for (int n = 1; n <= kSubDevices; ++n) removeSubDevice(*this, DeviceName("%s.%d", kVeipDevice, n).get());
    return 0;
}

int EtherSwitchBcm380::rule_teardownVeipVlanInterface(bool deleteIfc) {
    if (isInterfaceExisted(kVeipRealDevice) && isVlanRuleMapExist(kVeipRealDevice, kVeipPhyId)) {
        deleteVlanRuleMapEntry(kVeipRealDevice, kVeipPhyId);
    }
    if (isInterfaceExisted(kVeipDevice)) {
        runShell(FixedText<50>("ifconfig %s down", kVeipDevice).get());
        if (deleteIfc) {
            const kit::VlanCtlSession session;
            kit::removeDevice(kVeipDevice);
        }
    } else {
        std::printf("Interface %s not exist.", kVeipDevice);
    }
    std::printf("===> rutRule_teardownVeipVlanInterface, devIfc=%s, vlanIfc=%s\n", kVeipRealDevice, kVeipDevice);
    return 0;
}
