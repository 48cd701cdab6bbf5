#include "BRCM/BCM968580/omci_brcm_hal.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "BRCM/BCM968580/DATA/forwarding/GemPorts.h"
#include "BRCM/BCM968580/DATA/forwarding/IpHost.h"
#include "BRCM/BCM968580/DATA/forwarding/Mode.h"
#include "BRCM/BCM968580/DATA/forwarding/Operations.h"
#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "BRCM/BCM968580/DATA/forwarding/Tconts.h"
#include "BRCM/BCM968580/DATA/forwarding/Veip.h"
#include "BRCM/BCM968580/DATA/restart/Operations.h"
#include "device/Counters.h"
#include "device/DeviceInfo.h"
#include "device/MacText.h"
#include "device/NetworkInterface.h"
#include "hal/HalState.h"
#include "hal/Text.h"
#include "kit/DeviceNames.h"
#include "platform/devctl.h"
#include "platform/kit_numbers.h"
#include "state/Journal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

using kit::Ask;
using kit::AskedOperation;
using kit::AskKind;

std::string VornBrcmHal::ipHostMac;
std::string VornBrcmHal::subHostMac;

namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = -1;
constexpr int kTestAnswer = 4;
constexpr std::uint32_t kIpHostMacOffset = 2;  // the base address and the next one are the ONU's own

using InterfaceName = FixedText<16>;  // as long as the kernel's names

// Buffers of the daemon are unsigned, the getters speak of char and int.
char* textOf(unsigned char* buffer) {
    return reinterpret_cast<char*>(buffer);
}
int sizeOf(unsigned int size) {
    return static_cast<int>(std::min<unsigned int>(size, INT_MAX));
}

// Adds to the last three bytes only. A carry out of them is lost: the first three are the maker's and never change.
void addToSerialPart(unsigned char (&mac)[6], std::uint32_t offset) {
    const std::uint32_t serial =
        (static_cast<std::uint32_t>(mac[3]) << 16 | static_cast<std::uint32_t>(mac[4]) << 8 | mac[5]) + offset;
    mac[3] = static_cast<unsigned char>(serial >> 16);
    mac[4] = static_cast<unsigned char>(serial >> 8);
    mac[5] = static_cast<unsigned char>(serial);
}

int resultOf(bool done) {
    return done ? kSuccess : kFailure;
}
int resultOf(AskedOperation& operation, bool done) {
    if (!done) operation.rolledBack();
    return resultOf(done);
}

// A call without a record, or without an engine. By the contract nothing is said of it.
int refused(const char* operation, const void* record) {
    if (record == nullptr && forwarding::chosen() == forwarding::Mode::G988)
        forwarding::isDone(operation, {false, "there is no record"});
    return kFailure;
}

// The board's UNI ports 1 and 2 are numbered the other way round than the daemon's.
void swapUniPort(UniDataProvisioning& record) {
    switch (record.uniPort) {
        case 1:
            record.uniPort = 2;
            break;
        case 2:
            record.uniPort = 1;
            break;
        default:
            break;
    }
}

}  // namespace

VornBrcmHal::~VornBrcmHal() {
    delete engine;  // which sees to it that nobody finds it as the instance
}

int VornBrcmHal::vorn_test_call() {
    return kTestAnswer;
}

int VornBrcmHal::vorn_omci_hal_init() {
    forwarding::settled();
    if (const char* const path = std::getenv(VORN_HAL_STATE_VARIABLE); path != nullptr && *path != '\0')
        vorn_hal_state_open(path);
    if (engine == nullptr) return kSuccess;  // Kept: a daemon without an engine starts as if all were well
    return engine->omcid_initCms() != 0 ? kFailure : kSuccess;
}

// ---- Ports and the IP host ----

int VornBrcmHal::vorn_omci_hal_port_enable_get(unsigned int port, unsigned int* enabled) {
    if (enabled == nullptr) return kSuccess;
    const InterfaceName name("%s.%d", kVeipDevice, static_cast<int>(port));
    if (name.cut()) {
        *enabled = 0;
    } else if (engine != nullptr) {
        *enabled = engine->isInterfaceExisted(name.get()) ? 1 : 0;
    } else {
        *enabled = interfaceIndex(name.get()) > 0 ? 1 : 0;  // the daemon may ask before there is an engine
    }
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_provisionIpHost(const IpHostProvision* host) {
    if (engine == nullptr || host == nullptr) return refused("provisionIpHost", host);
    AskedOperation operation(Ask::IpHost, AskKind::ProvisionWhole, restart::HostArguments{*host, engine->iPhost_Stag});
    if (operation.isDone()) {
        if (host->useSharedBridge != 0) restart::takePlaceOfBridge(host->bridgeId);
        return kSuccess;
    }
    if (forwarding::isG988()) return resultOf(operation, forwarding::addIpHost(*engine, *host));
    if (host->dhcpEnabled != 0) {
        engine->provisionIpHostDynamic(host);
    } else {
        engine->provisionIpHostStatic(host);
    }
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host) {
    if (engine == nullptr || host == nullptr) return refused("deprovisionIpHost", host);
    const AskedOperation operation(Ask::RemoveIpHost, AskKind::Remove, *host);
    if (operation.isDone()) return kSuccess;
    std::printf("Inside BRCM-HAL, calling deprovisionIpHost");
    if (forwarding::isG988()) return resultOf(forwarding::removeIpHost(*engine, *host));
    engine->deprovisionIpHost(host);
    return kSuccess;
}

int VornBrcmHal::vorn_hal_set_omci_action(int action) {
    if (engine == nullptr) return kFailure;
    const state::Operation operation;
    engine->setOmciAction(action);
    return kSuccess;
}

// ---- Identity, optics, counters ----

int VornBrcmHal::vorn_omci_hal_sn_get(unsigned char* buffer, unsigned int size) {
    vorn_omci_sn_get(textOf(buffer), sizeOf(size));
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_mac_get(unsigned char* buffer, unsigned int size) {
    vorn_omci_mac_get(textOf(buffer), sizeOf(size));
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_pn_get(unsigned char* buffer, unsigned int size) {
    vorn_omci_pn_get(textOf(buffer), sizeOf(size));
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_nvram_info_get() {
    return vorn_omci_nvram_info_get();
}

int VornBrcmHal::vorn_omci_hal_rx_laser_power_get(int* level) {
    return vorn_omci_rx_laser_power_get(level);
}

int VornBrcmHal::vorn_omci_hal_tx_laser_power_get(int* level) {
    return vorn_omci_tx_laser_power_get(level);
}

int VornBrcmHal::vorn_omci_hal_gponctl_state_set() {
    return vorn_omci_gponctl_state_set();
}

int VornBrcmHal::vorn_omci_hal_swimage_version_get(char* buffer, int size, int unused) {
    return vorn_omci_swimage_version_get(buffer, size, unused);
}

int VornBrcmHal::vorn_omci_hal_pm_get(void* request, void* result) {
    return vorn_omci_pm_get(request, result);
}

// ---- PON adapter ----

int VornBrcmHal::vorn_omci_hal_tcont_set(void* /*unused*/, void* record) {
    if (record == nullptr) return refused("tcont_set", record);
    const auto& tcont = *static_cast<const TContProvisioning*>(record);
    AskedOperation operation(Ask::Tcont, AskKind::Provision, tcont);
    if (operation.isDone()) return kSuccess;
    if (forwarding::isG988()) return resultOf(operation, forwarding::addTcont(tcont));
    OnuXponHalAdapterBCM::getInstance()->provisionTCont(tcont);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_tcont_reset(void* /*unused*/, void* record) {
    if (record == nullptr) return refused("tcont_reset", record);
    const state::Operation operation;
    const auto& tcont = *static_cast<const TContProvisioning*>(record);
    if (forwarding::isG988()) return resultOf(forwarding::removeTcont(tcont.allocId));
    OnuXponHalAdapterBCM::getInstance()->deprovisionTCont(tcont);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_gemflow_add(void* record) {
    if (record == nullptr) return refused("gemflow_add", record);
    const auto& gemPort = *static_cast<const XGEMConfig*>(record);
    AskedOperation operation(Ask::GemPort, AskKind::Provision, gemPort);
    if (operation.isDone()) {
        restart::enableIfDown(gemPort.xgemPortId);
        return kSuccess;
    }
    if (forwarding::isG988()) return resultOf(operation, forwarding::addGemPort(gemPort));
    OnuXponHalAdapterBCM::getInstance()->configureXGEM(gemPort);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_gemflow_del(void* record) {
    if (record == nullptr) return refused("gemflow_del", record);
    const state::Operation operation;
    const auto& gemPort = *static_cast<const XGEMConfig*>(record);
    if (forwarding::isG988()) return resultOf(forwarding::removeGemPort(gemPort.xgemPortId));
    OnuXponHalAdapterBCM::getInstance()->deconfigureXGEM(gemPort);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_set_gemPortStatus(void* record) {
    if (record == nullptr) return refused("set_gemPortStatus", record);
    const state::Operation operation;
    const auto* const status = static_cast<const XgemStatusRecord*>(record);
    if (forwarding::isG988()) return resultOf(forwarding::enableGemPort(status->xgemPortId, status->enable != 0));
    OnuXponHalAdapterBCM::getInstance()->setXgemStatus(status->xgemPortId, status->enable != 0);
    return kSuccess;
}

// ---- Bridge and VLAN services ----

int VornBrcmHal::vorn_omci_hal_filter_flow_add(void* record) {
    if (engine == nullptr || record == nullptr) return refused("filter_flow_add", record);
    auto& uni = *static_cast<UniDataProvisioning*>(record);
    std::printf("\n Inside BRCM-HAL, flow add \n");
    swapUniPort(uni);  // Kept: in the caller's record, the daemon relies on it
    if (forwarding::isG988() && uni.addFlag != 0) return resultOf(forwarding::setUni(*engine, uni));
    const AskedOperation operation(Ask::UniRow, restart::kindOf(uni), uni);
    if (operation.isDone()) return kSuccess;
    if (forwarding::isG988()) return resultOf(forwarding::removeUni(*engine, uni.uniPort, uni.bridgeId));
    if (uni.addFlag != 0) {
        std::printf("Inside BRCM-HAL, calling configureUniInterface and configureUniTagRules \n");
        engine->configureUniInterface(&uni);
        engine->configureUniTagRules(&uni);
    } else {
        std::printf("Inside BRCM-HAL, calling deConfigureUniInterface and deConfigureUniTagRules \n");
        engine->deConfigureUniTagRules(uni.uniPort, uni.bridgeId);
        engine->deConfigureUniInterface(uni.uniPort, uni.bridgeId);
    }
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_configureBridge(unsigned short bridgeId, unsigned short uniPort) {
    if (engine == nullptr) return kFailure;
    std::printf("Inside BRCM-HAL, calling configureBridge");
    // Restored or not: what exists is taken as made, and brought up again.
    AskedOperation operation(Ask::Bridge, AskKind::Provision, restart::BridgeArguments{bridgeId, uniPort});
    if (forwarding::isG988()) return resultOf(operation, forwarding::configureBridge(*engine, bridgeId, uniPort));
    engine->configureBridge(bridgeId, uniPort, false);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning* service) {
    if (engine == nullptr || service == nullptr) return refused("configureAniTagRules", service);
    std::printf("Inside BRCM-HAL, calling configureAniTagRules");
    if (forwarding::isG988()) return resultOf(forwarding::setPonPort(*engine, *service));
    const AskedOperation operation(Ask::PonRules, AskKind::Provision, restart::ponRulesArguments(*service));
    if (operation.isDone()) {
        restart::rememberPbits(*service);
        restart::lookForVeip(*service, operation);
        return kSuccess;
    }
    restart::noteRestoredQueues(*service);
    restart::noteVeipAhead(*service);
    engine->configureAniTagRules(service);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning* service) {
    if (engine == nullptr || service == nullptr) return refused("unsetPbitData", service);
    std::printf("Inside BRCM-HAL, calling unsetPbitData");
    const AskedOperation operation(Ask::ClearPbits, AskKind::Remove, *service);
    if (operation.isDone()) return kSuccess;
    if (forwarding::isG988()) return resultOf(forwarding::removePonPorts(*service));
    engine->unsetPbitData(service);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning* service) {
    if (engine == nullptr || service == nullptr) return refused("deprovisionAniSideBridge", service);
    std::printf("Inside BRCM-HAL, calling deprovisionAniSideBridge");
    const AskedOperation operation(Ask::RemovePonSide, AskKind::Remove, *service);
    if (operation.isDone()) return kSuccess;
    if (forwarding::isG988()) return resultOf(forwarding::removePonSide(*engine, *service));
    engine->deprovisionAniSideBridge(service);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning* service) {
    if (engine == nullptr || service == nullptr) return refused("deprovisionUniSideBridge", service);
    std::printf("Inside BRCM-HAL, calling deprovisionUniSideBridge");
    const AskedOperation operation(Ask::RemoveUniSide, AskKind::Remove, *service);
    if (operation.isDone()) return kSuccess;
    if (forwarding::isG988()) return resultOf(forwarding::removeUniSide(*engine, service->bridgeId));
    engine->deprovisionUniSideBridge(service);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_veip_createRules(unsigned short gemPort, unsigned short bridgeId,
                                                unsigned short filterType, unsigned char numberOfEntries,
                                                const unsigned char* filterList, unsigned short trafficType) {
    if (engine == nullptr || filterList == nullptr) return refused("veip_createRules", filterList);
    const bool isFirst = state::journal() != nullptr && !kit::isClaimed(Ask::Veip);
    AskedOperation operation(
        Ask::Veip, AskKind::Provision,
        restart::veipArguments(gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType));
    const forwarding::VeipService veip{gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType};
    if (operation.isDone()) {
        if (forwarding::isG988()) return resultOf(forwarding::claimVeip(*engine, veip, isFirst));
        if (isFirst) restart::veipTakesPlaceOfBridge(bridgeId);
        return kSuccess;
    }
    std::printf("Inside BRCM-HAL, calling VEIP creation");
    if (forwarding::isG988()) return resultOf(operation, forwarding::addVeip(*engine, veip));
    engine->gpon_createRules(gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType);
    return kSuccess;
}

int VornBrcmHal::vorn_omci_hal_veip_deleteRules(unsigned short gemPort, unsigned short bridgeId,
                                                unsigned short filterType, unsigned char numberOfEntries,
                                                const unsigned char* filterList, unsigned short trafficType) {
    if (engine == nullptr || filterList == nullptr) return refused("veip_deleteRules", filterList);
    const state::Operation operation;
    std::printf("Inside BRCM-HAL, calling VEIP delete");
    if (forwarding::isG988())
        return resultOf(
            forwarding::removeVeip(*engine, {gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType}));
    engine->gpon_deleteRules(gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType);
    return kSuccess;
}

// ---- Management addresses ----

int VornBrcmHal::macNumToStr(const unsigned char* mac, char* text) {
    return macToText(mac, text);
}

std::string VornBrcmHal::vorn_hal_get_mac_ip_host() {
    if (!ipHostMac.empty()) return ipHostMac;
    unsigned char mac[6] = {};
    if (devCtl_getMacAddress(mac, DEVCTL_MAC_OWNER_IP_HOST) != 0) {
        std::printf("\nget mac address ip host failed\n");
        return {};
    }
    addToSerialPart(mac, kIpHostMacOffset);
    char text[20] = {};
    macNumToStr(mac, text);
    ipHostMac = text;
    return ipHostMac;
}

std::string VornBrcmHal::vorn_hal_get_mac_sub_host() {
    if (!subHostMac.empty()) return subHostMac;
    unsigned char mac[6] = {};
    if (devCtl_getMacAddress(mac, DEVCTL_MAC_OWNER_IP_HOST) != 0) {
        std::printf("\nget mac address sub host failed\n");
        return {};
    }
    char text[20] = {};
    macNumToStr(mac, text);
    subHostMac = text;
    return subHostMac;
}
