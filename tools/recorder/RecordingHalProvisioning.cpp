// Provisioning: operations with records, and those that make bridges and the VEIP.
#include "Answers.h"
#include "RecordingHal.h"
#include "hal/ProvisioningRecords.h"
#include "scenario/operations/RecordFields.h"

namespace recorder {

namespace {

// Kept until the very end: a daemon may call while the process ends.
using Fields = std::vector<vorn_onu::Field>;
const Fields& ipHost() {
    static const Fields& fields = *new Fields(vorn_onu::ipHostFields());
    return fields;
}
const Fields& tcont() {
    static const Fields& fields = *new Fields(vorn_onu::tcontFields());
    return fields;
}
const Fields& gemPort() {
    static const Fields& fields = *new Fields(vorn_onu::gemPortFields());
    return fields;
}
const Fields& gemStatus() {
    static const Fields& fields = *new Fields(vorn_onu::gemStatusFields());
    return fields;
}
const Fields& uniData() {
    static const Fields& fields = *new Fields(vorn_onu::uniDataFields());
    return fields;
}
const Fields& bridgeService() {
    static const Fields& fields = *new Fields(vorn_onu::bridgeServiceFields({}));
    return fields;
}

Json veipFields(unsigned short gemPort, unsigned short bridgeId, unsigned short filterType,
                unsigned char numberOfEntries, const unsigned char* filterList, unsigned short trafficType) {
    Json list = nullptr;
    if (filterList != nullptr) list = vorn_onu::tciListJson(reinterpret_cast<const char*>(filterList));
    return {{"gemPort", gemPort},
            {"bridgeId", bridgeId},
            {"filterType", filterType},
            {"filterList", list},
            {"numberOfEntries", numberOfEntries},
            {"trafficType", trafficType}};
}

}  // namespace

int RecordingHal::vorn_omci_hal_provisionIpHost(const IpHostProvision* host) {
    return recordedOn<IpHostProvision>("vorn_omci_hal_provisionIpHost", host, ipHost(),
                                       [&] { return inner_.vorn_omci_hal_provisionIpHost(host); });
}

int RecordingHal::vorn_omci_hal_deprovisionIpHost(const IpHostProvision* host) {
    return recordedOn<IpHostProvision>("vorn_omci_hal_deprovisionIpHost", host, ipHost(),
                                       [&] { return inner_.vorn_omci_hal_deprovisionIpHost(host); });
}

int RecordingHal::vorn_omci_hal_tcont_set(void* unused, void* record) {
    return recordedOn<TContProvisioning>("vorn_omci_hal_tcont_set", record, tcont(),
                                         [&] { return inner_.vorn_omci_hal_tcont_set(unused, record); });
}

int RecordingHal::vorn_omci_hal_tcont_reset(void* unused, void* record) {
    return recordedOn<TContProvisioning>("vorn_omci_hal_tcont_reset", record, tcont(),
                                         [&] { return inner_.vorn_omci_hal_tcont_reset(unused, record); });
}

int RecordingHal::vorn_omci_hal_gemflow_add(void* record) {
    return recordedOn<XGEMConfig>("vorn_omci_hal_gemflow_add", record, gemPort(),
                                  [&] { return inner_.vorn_omci_hal_gemflow_add(record); });
}

int RecordingHal::vorn_omci_hal_gemflow_del(void* record) {
    return recordedOn<XGEMConfig>("vorn_omci_hal_gemflow_del", record, gemPort(),
                                  [&] { return inner_.vorn_omci_hal_gemflow_del(record); });
}

int RecordingHal::vorn_omci_hal_set_gemPortStatus(void* record) {
    return recordedOn<XgemStatusRecord>("vorn_omci_hal_set_gemPortStatus", record, gemStatus(),
                                        [&] { return inner_.vorn_omci_hal_set_gemPortStatus(record); });
}

int RecordingHal::vorn_omci_hal_filter_flow_add(void* record) {
    return recordedOn<UniDataProvisioning>("vorn_omci_hal_filter_flow_add", record, uniData(),
                                           [&] { return inner_.vorn_omci_hal_filter_flow_add(record); });
}

int RecordingHal::vorn_omci_hal_configureBridge(unsigned short bridgeId, unsigned short uniPort) {
    return recorded("vorn_omci_hal_configureBridge", {{"bridgeId", bridgeId}, {"uniPort", uniPort}},
                    [&] { return inner_.vorn_omci_hal_configureBridge(bridgeId, uniPort); });
}

int RecordingHal::vorn_omci_hal_configureAniTagRules(const BridgeServiceProvisioning* service) {
    return recordedOn<BridgeServiceProvisioning>("vorn_omci_hal_configureAniTagRules", service, bridgeService(),
                                                 [&] { return inner_.vorn_omci_hal_configureAniTagRules(service); });
}

int RecordingHal::vorn_omci_hal_unsetPbitData(const BridgeServiceProvisioning* service) {
    return recordedOn<BridgeServiceProvisioning>("vorn_omci_hal_unsetPbitData", service, bridgeService(),
                                                 [&] { return inner_.vorn_omci_hal_unsetPbitData(service); });
}

int RecordingHal::vorn_omci_hal_deprovisionAniSideBridge(const BridgeServiceProvisioning* service) {
    return recordedOn<BridgeServiceProvisioning>(
        "vorn_omci_hal_deprovisionAniSideBridge", service, bridgeService(),
        [&] { return inner_.vorn_omci_hal_deprovisionAniSideBridge(service); });
}

int RecordingHal::vorn_omci_hal_deprovisionUniSideBridge(const BridgeServiceProvisioning* service) {
    return recordedOn<BridgeServiceProvisioning>(
        "vorn_omci_hal_deprovisionUniSideBridge", service, bridgeService(),
        [&] { return inner_.vorn_omci_hal_deprovisionUniSideBridge(service); });
}

int RecordingHal::vorn_omci_hal_veip_createRules(unsigned short gemPort, unsigned short bridgeId,
                                                 unsigned short filterType, unsigned char numberOfEntries,
                                                 const unsigned char* filterList, unsigned short trafficType) {
    return recorded("vorn_omci_hal_veip_createRules",
                    veipFields(gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType), [&] {
                        return inner_.vorn_omci_hal_veip_createRules(gemPort, bridgeId, filterType, numberOfEntries,
                                                                     filterList, trafficType);
                    });
}

int RecordingHal::vorn_omci_hal_veip_deleteRules(unsigned short gemPort, unsigned short bridgeId,
                                                 unsigned short filterType, unsigned char numberOfEntries,
                                                 const unsigned char* filterList, unsigned short trafficType) {
    return recorded("vorn_omci_hal_veip_deleteRules",
                    veipFields(gemPort, bridgeId, filterType, numberOfEntries, filterList, trafficType), [&] {
                        return inner_.vorn_omci_hal_veip_deleteRules(gemPort, bridgeId, filterType, numberOfEntries,
                                                                     filterList, trafficType);
                    });
}

}  // namespace recorder
