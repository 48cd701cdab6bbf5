#include "omci/services/Performer.h"

#include <utility>

#include "hal/VornHal.h"

namespace omci::services {

Performer::~Performer() = default;

HalPerformer::HalPerformer(VornHal& hal, PortFunctions ports) : hal_(hal), ports_(std::move(ports)) {}

std::string HalPerformer::hostMac() {
    return hal_.vorn_hal_get_mac_ip_host();
}

int HalPerformer::perform(const HalCall& call) {
    // The HAL takes some records as pointers that it may write through: it gets a copy.
    HalRecord record = call.record;
    const auto* service = std::get_if<BridgeServiceProvisioning>(&record);
    const auto* host = std::get_if<IpHostProvision>(&record);
    switch (call.operation) {
        case Operation::kSetOmciAction:
            return hal_.vorn_hal_set_omci_action(std::get<OmciAction>(record).action);
        case Operation::kTContSet:
            return hal_.vorn_omci_hal_tcont_set(nullptr, &std::get<TContProvisioning>(record));
        case Operation::kTContReset:
            return hal_.vorn_omci_hal_tcont_reset(nullptr, &std::get<TContProvisioning>(record));
        case Operation::kGemFlowAdd:
            return hal_.vorn_omci_hal_gemflow_add(&std::get<XGEMConfig>(record));
        case Operation::kGemFlowDel:
            return hal_.vorn_omci_hal_gemflow_del(&std::get<XGEMConfig>(record));
        case Operation::kConfigureBridge: {
            const auto& side = std::get<BridgeSide>(record);
            return hal_.vorn_omci_hal_configureBridge(side.bridgeId, side.uniPort);
        }
        case Operation::kConfigureAniTagRules:
            return hal_.vorn_omci_hal_configureAniTagRules(service);
        case Operation::kUnsetPbitData:
            return hal_.vorn_omci_hal_unsetPbitData(service);
        case Operation::kDeprovisionAniSideBridge:
            return hal_.vorn_omci_hal_deprovisionAniSideBridge(service);
        case Operation::kVeipCreateRules:
        case Operation::kVeipDeleteRules: {
            const auto& rules = std::get<VeipRules>(record);
            const auto* list = reinterpret_cast<const unsigned char*>(rules.filterList.c_str());
            const auto slot = call.operation == Operation::kVeipCreateRules ? &VornHal::vorn_omci_hal_veip_createRules
                                                                            : &VornHal::vorn_omci_hal_veip_deleteRules;
            return (hal_.*slot)(rules.gemPort, rules.bridgeId, rules.filterType, rules.numberOfEntries, list,
                                rules.trafficType);
        }
        case Operation::kFilterFlowAdd:
            return hal_.vorn_omci_hal_filter_flow_add(&std::get<UniDataProvisioning>(record));
        case Operation::kProvisionIpHost:
            return hal_.vorn_omci_hal_provisionIpHost(host);
        case Operation::kDeprovisionIpHost:
            return hal_.vorn_omci_hal_deprovisionIpHost(host);
        case Operation::kSetPortStatus: {
            auto status = std::get<PortStatus>(record);
            if (!ports_.setStatus) return hal_.vorn_omci_hal_eth_port_admin_set(&status.port, status.up ? 1 : 0);
            ports_.setStatus(status.port, status.up);
            return 0;
        }
        case Operation::kSetPortMode: {
            auto mode = std::get<PortMode>(record);
            if (!ports_.setMode) return hal_.vorn_omci_hal_eth_port_mode_set(&mode.port, mode.duplex);
            ports_.setMode(mode.port, mode.speed, mode.duplex);
            return 0;
        }
        case Operation::kIsolatePort: {
            const auto& isolation = std::get<PortIsolation>(record);
            return ports_.isolate ? ports_.isolate(isolation.bridgeId, isolation.port, isolation.isolated) : -1;
        }
        case Operation::kSetAgeingTime: {
            const auto& ageing = std::get<BridgeAgeing>(record);
            return ports_.setAgeing ? ports_.setAgeing(ageing.bridgeId, ageing.seconds) : -1;
        }
    }
    return -1;
}

}  // namespace omci::services
