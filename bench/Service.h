// Internet services as a daemon provisions and removes them: T-CONT, GEM port, bridge, PON side, one UNI.
#ifndef BENCH_SERVICE_H
#define BENCH_SERVICE_H

#include <cstdint>
#include <cstdio>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

// Service n, from 1: bridge n on VID 100 + n, on one of four UNIs. Two services share a GEM port (the ONU has 255 of
// them), eight a T-CONT.
class Service {
public:
    explicit Service(unsigned n) {
        const auto number = static_cast<std::uint16_t>(n);
        const auto vid = static_cast<std::uint16_t>(100 + n);
        tcont_ = {static_cast<std::uint16_t>(256 + n / 16), static_cast<std::uint16_t>(1 + n / 16), 0};
        gem_.tContAllocId = tcont_.allocId;
        gem_.xgemPortId = static_cast<std::uint16_t>(1000 + (n + 1) / 2);
        service_.gemPortId = gem_.xgemPortId;
        service_.bridgeId = number;
        std::snprintf(service_.vlanTciFilterList, sizeof service_.vlanTciFilterList, "%04x", unsigned{vid});
        service_.numberOfEntries = 1;
        service_.forwardOperation = 4;
        service_.trafficModel = 2;
        service_.pbitMap[0] = {gem_.xgemPortId, 0};
        row_.hasTagRules = 1;
        row_.bridgeId = number;
        row_.uniPort = static_cast<std::uint16_t>(3 + n % 4);
        row_.inputTpid = row_.outputTpid = 0x8100;
        row_.tagAction = VLAN_TAG_ACTION_PUSH;
        row_.outerFilterPrio = row_.innerFilterPrio = row_.outerTreatmentPrio = 15;
        row_.outerFilterVlanId = row_.innerFilterVlanId = 4096;
        row_.innerTreatmentVlanId = vid;
        row_.innerTreatmentTpidDe = 4;
    }

    void provision() {
        hal().vorn_omci_hal_tcont_set(nullptr, &tcont_);
        hal().vorn_omci_hal_gemflow_add(&gem_);
        hal().vorn_omci_hal_configureBridge(service_.bridgeId, 0);
        hal().vorn_omci_hal_configureAniTagRules(&service_);
        row_.addFlag = 1;
        hal().vorn_omci_hal_filter_flow_add(&row_);
    }
    void remove() {
        row_.addFlag = 0;
        hal().vorn_omci_hal_filter_flow_add(&row_);
        hal().vorn_omci_hal_unsetPbitData(&service_);
        hal().vorn_omci_hal_deprovisionUniSideBridge(&service_);
        hal().vorn_omci_hal_deprovisionAniSideBridge(&service_);
        hal().vorn_omci_hal_gemflow_del(&gem_);
        hal().vorn_omci_hal_tcont_reset(nullptr, &tcont_);
    }
    // The rules that steer a GEM port's frames to the bridge's ANI device outlive the service.
    static void forgetPonRules() {
        for (unsigned gem = 0; gem <= 255; ++gem)
            EtherSwitchBcm380::getInstance()->deleteVlanRuleMapEntry("gpondef", static_cast<unsigned short>(gem));
    }

private:
    static VornHal& hal() { return *HALFactory::getInstance()->CreateHALObject(0); }

    TContProvisioning tcont_{};
    XGEMConfig gem_{};
    BridgeServiceProvisioning service_{};
    UniDataProvisioning row_{};
};

#endif
