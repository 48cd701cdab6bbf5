#include "EveryOperation.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/HALFactory.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

constexpr std::size_t kLongText = 1200;
constexpr std::size_t kMostPbits = 20;

VornHal& hal() {
    static VornHal& only = *HALFactory::getInstance()->CreateHALObject(0);
    return only;
}

// Bytes of the input over the whole of a record of plain numbers.
template <typename Record>
void fill(Record& record, FuzzedDataProvider& input) {
    input.ConsumeData(&record, sizeof record);
}

}  // namespace

BridgeServiceProvisioning EveryOperation::anyService() {
    BridgeServiceProvisioning r{};
    r.gemPortId = gemPort();
    r.bridgeId = bridge();
    // Up to the last byte: the text then has no end.
    text(sizeof r.vlanTciFilterList).copy(r.vlanTciFilterList, sizeof r.vlanTciFilterList);
    for (auto* byte : {&r.forwardOperation, &r.numberOfEntries, &r.trafficModel, &r.protocolNumber, &r.isMulticast,
                       &r.multicastService, &r.restoreVlanFlows})
        *byte = any<std::uint8_t>();
    for (std::size_t n = input_.ConsumeIntegralInRange<std::size_t>(0, kMostPbits); n > 0; --n)
        r.pbitMap[any<std::uint8_t>()] = {gemPort(), any<std::uint16_t>()};
    for (auto* field :
         {&r.inputTpid, &r.outputTpid, &r.dsMode, &r.filterTagCount, &r.tagTreatment, &r.etherTypeFilter,
          &r.outerTpidFilter, &r.outerVlanIdFilter, &r.outerVlanPrioFilter, &r.innerTpidFilter, &r.innerVlanIdFilter,
          &r.innerVlanPrioFilter, &r.removeType, &r.outerTpidAction, &r.outerVlanIdAction, &r.outerVlanPrioAction,
          &r.innerTpidAction, &r.innerVlanIdAction, &r.innerVlanPrioAction})
        *field = any<std::uint16_t>();
    return r;
}

UniDataProvisioning EveryOperation::anyRow() {
    UniDataProvisioning r{};
    fill(r, input_);
    r.bridgeId = bridge();
    r.uniPort = number(0, 6);
    return r;
}

IpHostProvision EveryOperation::anyHost() {
    IpHostProvision r{};
    for (auto* field : {&r.allocId, &r.gemId}) *field = any<std::uint16_t>();
    r.bridgeId = bridge();
    r.uniPort = number(0, 6);
    const auto address = [&](const char* good) { return input_.ConsumeBool() ? std::string(good) : text(kLongText); };
    r.macAddress = address("02:00:00:00:00:01");
    r.ipAddress = address("10.0.0.5");
    r.subnetMask = address("255.255.255.0");
    r.gateway = address("10.0.0.1");
    for (auto* byte : {&r.ipOptions, &r.dhcpEnabled, &r.useSharedBridge}) *byte = any<std::uint8_t>();
    return r;
}

void EveryOperation::service() {
    auto record = anyService();
    auto row = anyRow();
    auto* known = orNull(record);
    switch (input_.ConsumeIntegralInRange(0, 5)) {
        case 0:
            hal().vorn_omci_hal_configureBridge(bridge(), number(0, 6));
            break;
        case 1:
            hal().vorn_omci_hal_configureAniTagRules(known);
            break;
        case 2:
            hal().vorn_omci_hal_unsetPbitData(known);
            break;
        case 3:
            hal().vorn_omci_hal_deprovisionAniSideBridge(known);
            break;
        case 4:
            hal().vorn_omci_hal_deprovisionUniSideBridge(known);
            break;
        default:
            hal().vorn_omci_hal_filter_flow_add(orNull(row));
    }
}

void EveryOperation::veip() {
    const std::string list = text(kLongText);
    const auto* hex =
        input_.ConsumeIntegralInRange(0, 15) == 0 ? nullptr : reinterpret_cast<const unsigned char*>(list.c_str());
    const auto gem = gemPort(), id = bridge(), filter = any<std::uint16_t>();
    const auto entries = any<std::uint8_t>();
    const auto traffic = number(0, 6);
    if (input_.ConsumeBool())
        hal().vorn_omci_hal_veip_createRules(gem, id, filter, entries, hex, traffic);
    else
        hal().vorn_omci_hal_veip_deleteRules(gem, id, filter, entries, hex, traffic);
}

void EveryOperation::ipHost() {
    auto host = anyHost();
    if (input_.ConsumeBool())
        hal().vorn_omci_hal_provisionIpHost(orNull(host));
    else
        hal().vorn_omci_hal_deprovisionIpHost(orNull(host));
}

void EveryOperation::pon() {
    TContProvisioning tcont{number(256, 259), number(0, 4), any<std::uint8_t>()};
    XGEMConfig gem{};
    fill(gem, input_);
    gem.tContAllocId = number(256, 259);
    gem.xgemPortId = gemPort();
    XgemStatusRecord status{gemPort(), any<std::uint8_t>()};
    switch (input_.ConsumeIntegralInRange(0, 4)) {
        case 0:
            hal().vorn_omci_hal_tcont_set(nullptr, orNull(tcont));
            break;
        case 1:
            hal().vorn_omci_hal_tcont_reset(nullptr, orNull(tcont));
            break;
        case 2:
            hal().vorn_omci_hal_gemflow_add(orNull(gem));
            break;
        case 3:
            hal().vorn_omci_hal_gemflow_del(orNull(gem));
            break;
        default:
            hal().vorn_omci_hal_set_gemPortStatus(orNull(status));
    }
}

// The buffer is as long as it is said to be: the address sanitizer sees a byte behind it.
void EveryOperation::identity() {
    const auto size = input_.ConsumeIntegralInRange<unsigned>(0, 80);
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[size]);
    auto* bytes = input_.ConsumeIntegralInRange(0, 15) == 0 ? nullptr : buffer.get();
    hal().vorn_omci_hal_nvram_info_get();
    hal().vorn_omci_hal_vid_get(bytes, size);
    hal().vorn_omci_hal_sn_get(bytes, size);
    hal().vorn_omci_hal_mac_get(bytes, size);
    hal().vorn_omci_hal_pn_get(bytes, size);
    hal().vorn_omci_hal_swimage_version_get(reinterpret_cast<char*>(bytes), static_cast<int>(size), any<int>());
    hal().vorn_hal_get_mac_ip_host();
    hal().vorn_hal_get_mac_sub_host();
    int level = 0;
    hal().vorn_omci_hal_rx_laser_power_get(orNull(level));
    hal().vorn_omci_hal_tx_laser_power_get(orNull(level));
}

void EveryOperation::rest() {
    PmRequest request{};
    fill(request, input_);
    EthernetPmRecord counters{};
    hal().vorn_omci_hal_pm_get(orNull(request), orNull(counters));
    hal().vorn_hal_set_omci_action(any<int>());
    hal().vorn_omci_hal_gponctl_state_set();
    unsigned number = 0;
    hal().vorn_omci_hal_port_enable_get(any<unsigned>(), orNull(number));
    hal().vorn_omci_hal_eth_port_speed_get(any<unsigned>(), orNull(number));
    hal().vorn_omci_hal_eth_port_duplex_get(any<unsigned>(), orNull(number));
    hal().vorn_omci_hal_eth_port_id_get(any<unsigned>(), orNull(number));
    hal().vorn_omci_hal_eth_port_max_frame_set(any<unsigned>());
    unsigned short port = any<std::uint16_t>();
    hal().vorn_omci_hal_eth_port_mode_set(orNull(port), any<std::uint8_t>());
    hal().vorn_omci_hal_eth_port_admin_set(orNull(port), any<std::uint8_t>());
    hal().vorn_omci_hal_gem_get_idx_from_id(any<std::uint16_t>(), orNull(port));
    unsigned char frame[48] = {};
    hal().vorn_omci_hal_pkt_send(orNull(frame[0]), sizeof frame);
    hal().vorn_omci_hal_mic_build(orNull(frame[0]), sizeof frame, any<unsigned>());
    hal().vorn_omci_hal_mic_check(orNull(frame[0]));
    hal().vorn_omci_hal_iphost_rule_add(orNull(frame[0]), nullptr);
    hal().vorn_omci_hal_mcast_cfg(orNull(frame[0]), nullptr);
}

void EveryOperation::one() {
    switch (input_.ConsumeIntegralInRange(0, 9)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return service();
        case 4:
        case 5:
            return veip();
        case 6:
            return ipHost();
        case 7:
            return pon();
        case 8:
            return identity();
        default:
            return rest();
    }
}

void answerForTheGateway() {
    std::thread([] {
        // The C library's sleep is the virtual ONU's.
        std::mutex mutex;
        std::condition_variable never;
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            never.wait_for(lock, std::chrono::milliseconds(1));
            pthread_mutex_lock(&syncOmciRgLock);
            pthread_cond_broadcast(&syncOmciRgCond);
            pthread_mutex_unlock(&syncOmciRgLock);
        }
    }).detach();
}

void forgetServices() {
    auto* engine = EtherSwitchBcm380::getInstance();
    while (!m_SERVICE_MAP_ENTRY.empty()) {
        const serviceKey key = m_SERVICE_MAP_ENTRY.begin()->first;
        if (engine->omciServiceDeleteMapEntry(0, key.ifName.c_str(), key.vlanId, key.pbits) == 0)
            m_SERVICE_MAP_ENTRY.clear();
    }
    m_VLAN_RULE_MAP_ENTRY.clear();
    m_BridgeIdToUniId.clear();
    tGemPortMap.clear();
    gemPortPbitToQMap.clear();
    m_dscpConfigInfo.clear();
    m_cTagConfigInfo.clear();
    EtherSwitchBcm380::numServices = 0;
    EtherSwitchBcm380::multicastEnable = 0;
    OnuXponHalAdapterBCM::destroyInstance();
}
