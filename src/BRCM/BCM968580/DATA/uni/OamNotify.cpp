// What the Ethernet OAM agent learns of a UNI's rows: the customer VLAN of a flow and the service tag that it gets.
#include <cstdio>

#include "BRCM/BCM968580/DATA/EngineMaps.h"
#include "BRCM/BCM968580/DATA/EngineState.h"
#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/uni/UniTagging.h"

namespace uni_tagging {

using namespace tag_codes;
namespace {

constexpr int kUnknownVlan = 4095;
// The OLT manages the CPE over this pair; OAM has no business there.
constexpr int kManagementStag = 4085;
constexpr int kManagementCeVlan = 4093;

bool isServiceVlan(std::uint16_t vlanId) {
    return vlanId >= 2 && vlanId <= 4093;
}

// One row's notification on its way: the VLANs become known step by step.
class OamNotification {
public:
    OamNotification(EtherSwitchBcm380& engine, const VlanExtVlanTagOper_t& row, std::uint8_t uniPort, const char* uni,
                    const char* ani)
        : engine_(engine), row_(row), uniPort_(uniPort), uni_(uni), ani_(ani) {}

    void send() {
        printRow();
        if (isServiceVlan(row_.outer_filter.vlanId) || isServiceVlan(row_.inner_filter.vlanId)) {
            sendTagged();
        } else {
            sendUntagged();
        }
    }

private:
    void printRow() const {
        std::printf(
            "Before ETHOAM notifications. Uniside innner/outer vlan filtering/treatment. outer.filter.vlanId: %d "
            "inner.filter.vlanId: %d outer.filter.prio: %d inner.filter.prio: %d\n",
            row_.outer_filter.vlanId, row_.inner_filter.vlanId, row_.outer_filter.prio, row_.inner_filter.prio);
        std::printf(
            "    outer.treatment.vlanId: %d inner.treatment.vlanId: %d outer.treatment.prio: %d inner.treatment.prio: "
            "%d\n",
            row_.outer_treatment.vlanId, row_.inner_treatment.vlanId, row_.outer_treatment.prio,
            row_.inner_treatment.prio);
    }

    // ---- untagged and priority-tagged rows ----

    void sendUntagged() {
        if (!findUntaggedStag()) {
            std::printf(
                "Not suppose to hit this case sendVlanNotificationToETHOAM Untagged/Prio Creating Creating vlan flow "
                "for uniVirtualName:%s aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, kUnknownVlan, kUnknownVlan);
            return;
        }
        if (takesPbitsFromDscp()) {
            engine_maps::markDscpModel(uniPort_);
            std::printf(
                "Setting DSCP mapped vlan Model is configured uniVirtualName:%s aniVirtualName:%s stag: %d "
                "ceVlanId: %d \n",
                uni_, ani_, stag_, ceVlanId_);
        } else if (!findUntaggedCeVlan()) {
            std::printf(
                "Not suppose to hit this case sendVlanNotificationToETHOAM Untagged/Prio Creating vlan flow for "
                "uniVirtualName:%s aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, stag_, ceVlanId_);
            return;
        }
        if (isManagementFlow()) {
            std::printf(
                "Not sending CPE mgmt stag/cetag Notifications Proio/UnTagged on this port uniVirtualName:%s "
                "aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, stag_, ceVlanId_);
            return;
        }
        std::printf(
            "sendVlanNotificationToETHOAM Untagged/Prio Creating vlan flow for uniVirtualName:%s aniVirtualName:%s "
            "stag: %d ceVlanId: %d \n",
            uni_, ani_, stag_, ceVlanId_);
        callHook();
        if (filtersUntagged(row_) || takesPbitsFromDscp()) {
            std::printf(" Untagged tag Notify to PktTxRx");
        } else {
            std::printf(" Priority tag Notify to PktTxRx");
        }
    }

    bool findUntaggedStag() {
        const std::uint16_t outer = row_.outer_treatment.vlanId;
        const std::uint16_t inner = row_.inner_treatment.vlanId;
        if (isServiceVlan(outer)) {
            stag_ = outer;
            return true;
        }
        if (outer >= 4094 || inner <= 1) return false;
        stag_ = inner;
        return true;
    }

    bool findUntaggedCeVlan() {
        for (const std::uint16_t vlanId : {row_.outer_filter.vlanId, row_.inner_filter.vlanId}) {
            if (vlanId >= 4094) continue;
            ceVlanId_ = vlanId;
            return true;
        }
        return false;
    }

    // ---- tagged rows: one of the filters names a service VLAN ----

    void sendTagged() {
        if (!findTaggedStag()) {
            std::printf(
                "Not suppose to hit Not Valid STAG this case sendVlanNotificationToETHOAM Tagged Creating vlan flow "
                "for uniVirtualName:%s aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, kUnknownVlan, kUnknownVlan);
            return;
        }
        if (!findTaggedCeVlan()) {
            std::printf(
                "Not suppose to hit this case sendVlanNotificationToETHOAM Tagged Creating vlan flow for "
                "uniVirtualName:%s aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, stag_, ceVlanId_);
            return;
        }
        engine_maps::markCustomerTagModel(uniPort_);
        std::printf(
            "Setting cTag vlan Model is configured uniVirtualName:%s aniVirtualName:%s stag: %d ceVlanId: %d \n", uni_,
            ani_, stag_, ceVlanId_);
        if (isManagementFlow()) {
            std::printf(
                "Not sending CPE mgmt stag/cetag Notifications Tagged on this port uniVirtualName:%s "
                "aniVirtualName:%s stag: %d ceVlanId: %d \n",
                uni_, ani_, stag_, ceVlanId_);
            return;
        }
        std::printf(
            "sendVlanNotificationToETHOAM Tagged Creating vlan flow for uniVirtualName:%s aniVirtualName:%s stag: %d "
            "ceVlanId: %d \n",
            uni_, ani_, stag_, ceVlanId_);
        callHook();
    }

    bool findTaggedStag() { return firstServiceVlan(row_.outer_treatment, row_.inner_treatment, stag_); }
    bool findTaggedCeVlan() { return firstServiceVlan(row_.outer_filter, row_.inner_filter, ceVlanId_); }

    static bool firstServiceVlan(const VlanTagFilter_t& outer, const VlanTagFilter_t& inner, int& vlanId) {
        if (!isServiceVlan(outer.vlanId) && !isServiceVlan(inner.vlanId)) return false;
        vlanId = isServiceVlan(outer.vlanId) ? outer.vlanId : inner.vlanId;
        return true;
    }

    // ---- both ----

    bool takesPbitsFromDscp() const {
        return row_.outer_treatment.prio == kPrioFromDscp || row_.inner_treatment.prio == kPrioFromDscp;
    }
    bool isManagementFlow() const { return stag_ == kManagementStag && ceVlanId_ == kManagementCeVlan; }

    void callHook() {
        engine_.sendVlanNotificationToETHOAM(static_cast<std::uint8_t>(uniPort_ - 1),
                                             static_cast<std::uint16_t>(ceVlanId_), static_cast<std::uint16_t>(stag_),
                                             true);
    }

    EtherSwitchBcm380& engine_;
    const VlanExtVlanTagOper_t& row_;
    const std::uint8_t uniPort_;
    const char* const uni_;
    const char* const ani_;
    int stag_ = kUnknownVlan;
    int ceVlanId_ = kUnknownVlan;
};

}  // namespace

void notifyEthernetOam(EtherSwitchBcm380& engine, const VlanExtVlanTagOper_t& row, std::uint8_t uniPort,
                       const char* uniVirtualName, const char* aniVirtualName) {
    OamNotification(engine, row, uniPort, uniVirtualName, aniVirtualName).send();
}

}  // namespace uni_tagging

// The agent is not part of this board; the hooks mark the places for it.
int EtherSwitchBcm380::sendVlanNotificationToETHOAM(std::uint8_t uniIndex, std::uint16_t ceVlanId, std::uint16_t stag,
                                                    bool opStatus) {
    std::printf(" Received uniPort:%u, ceVlanId:%u, stag:%u, opStatus:%d", uniIndex, ceVlanId, stag, opStatus);
    return 1;
}

int EtherSwitchBcm380::sendCeVlanDeleteNotificationToETHOAM(std::uint8_t uniIndex, std::uint16_t ceVlanId,
                                                            bool opStatus) {
    std::printf("sendCeVlanDeleteNotificationToETHOAM Received uniPort:%u, ceVlanId:%u, opStatus:%d", uniIndex,
                ceVlanId, opStatus);
    return 1;
}
