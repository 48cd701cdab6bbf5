#include "omci/services/HalCall.h"

#include <cstring>
#include <tuple>

#include "omci/message/Lookup.h"

namespace omci::services {

namespace {

bool same(const OmciAction& a, const OmciAction& b) {
    return a.action == b.action;
}
bool same(const TContProvisioning& a, const TContProvisioning& b) {
    return a.allocId == b.allocId && a.tContIndex == b.tContIndex && a.policy == b.policy;
}

auto fields(const XGEMConfig& r) {
    return std::tie(r.tContAllocId, r.xgemPortId, r.upstreamQueue, r.qosArg, r.schedPolicy, r.priority, r.weight);
}
auto fields(const BridgeSide& r) {
    return std::tie(r.bridgeId, r.uniPort);
}
auto fields(const VeipRules& r) {
    return std::tie(r.gemPort, r.bridgeId, r.filterType, r.numberOfEntries, r.filterList, r.trafficType);
}
auto fields(const IpHostProvision& r) {
    return std::tie(r.allocId, r.gemId, r.bridgeId, r.uniPort, r.macAddress, r.ipOptions, r.ipAddress, r.subnetMask,
                    r.gateway, r.dhcpEnabled, r.useSharedBridge);
}
auto fields(const PortStatus& r) {
    return std::tie(r.port, r.up);
}
auto fields(const PortMode& r) {
    return std::tie(r.port, r.speed, r.duplex);
}
auto fields(const PortIsolation& r) {
    return std::tie(r.bridgeId, r.port, r.isolated);
}
auto fields(const BridgeAgeing& r) {
    return std::tie(r.bridgeId, r.seconds);
}
auto fields(const UniDataProvisioning& r) {
    return std::tie(r.addFlag, r.hasTagRules, r.bridgeId, r.uniPort, r.inputTpid, r.outputTpid, r.downstreamMode,
                    r.filterType, r.tagAction, r.etherType, r.outerFilterTpidDe, r.outerFilterVlanId, r.outerFilterPrio,
                    r.innerFilterTpidDe, r.innerFilterVlanId, r.innerFilterPrio, r.removeType, r.outerTreatmentTpidDe,
                    r.outerTreatmentVlanId, r.outerTreatmentPrio, r.innerTreatmentTpidDe, r.innerTreatmentVlanId,
                    r.innerTreatmentPrio);
}
auto fields(const BridgeServiceProvisioning& r) {
    return std::tie(r.gemPortId, r.bridgeId, r.forwardOperation, r.numberOfEntries, r.trafficModel, r.pbitMap,
                    r.protocolNumber, r.isMulticast, r.multicastService, r.inputTpid, r.outputTpid, r.dsMode,
                    r.filterTagCount, r.tagTreatment, r.etherTypeFilter, r.outerTpidFilter, r.outerVlanIdFilter,
                    r.outerVlanPrioFilter, r.innerTpidFilter, r.innerVlanIdFilter, r.innerVlanPrioFilter, r.removeType,
                    r.outerTpidAction, r.outerVlanIdAction, r.outerVlanPrioAction, r.innerTpidAction,
                    r.innerVlanIdAction, r.innerVlanPrioAction, r.restoreVlanFlows);
}

template <class RecordType>
bool same(const RecordType& a, const RecordType& b) {
    return fields(a) == fields(b);
}
bool same(const BridgeServiceProvisioning& a, const BridgeServiceProvisioning& b) {
    return std::strcmp(a.vlanTciFilterList, b.vlanTciFilterList) == 0 && fields(a) == fields(b);
}

}  // namespace

bool operator==(const HalCall& one, const HalCall& other) {
    if (one.operation != other.operation || one.record.index() != other.record.index()) return false;
    return std::visit(
        [&](const auto& record) { return same(record, std::get<std::decay_t<decltype(record)>>(other.record)); },
        one.record);
}

const char* nameOf(Operation operation) {
    static constexpr Names<Operation> kNames[] = {
        {Operation::kSetOmciAction, "vorn_hal_set_omci_action"},
        {Operation::kTContSet, "vorn_omci_hal_tcont_set"},
        {Operation::kTContReset, "vorn_omci_hal_tcont_reset"},
        {Operation::kGemFlowAdd, "vorn_omci_hal_gemflow_add"},
        {Operation::kGemFlowDel, "vorn_omci_hal_gemflow_del"},
        {Operation::kConfigureBridge, "vorn_omci_hal_configureBridge"},
        {Operation::kConfigureAniTagRules, "vorn_omci_hal_configureAniTagRules"},
        {Operation::kUnsetPbitData, "vorn_omci_hal_unsetPbitData"},
        {Operation::kDeprovisionAniSideBridge, "vorn_omci_hal_deprovisionAniSideBridge"},
        {Operation::kVeipCreateRules, "vorn_omci_hal_veip_createRules"},
        {Operation::kVeipDeleteRules, "vorn_omci_hal_veip_deleteRules"},
        {Operation::kFilterFlowAdd, "vorn_omci_hal_filter_flow_add"},
        {Operation::kProvisionIpHost, "vorn_omci_hal_provisionIpHost"},
        {Operation::kDeprovisionIpHost, "vorn_omci_hal_deprovisionIpHost"},
        {Operation::kSetPortStatus, "setEthernetUniStatus"},
        {Operation::kSetPortMode, "updateEthernetUniSpeed"},
        {Operation::kIsolatePort, "br_set_port_isolated"},
        {Operation::kSetAgeingTime, "br_set_ageing_time"},
    };
    return lookUp(kNames, operation, "?");
}

}  // namespace omci::services
