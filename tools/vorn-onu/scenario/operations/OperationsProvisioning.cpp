#include <optional>
#include <string>

#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"
#include "scenario/operations/Operations.h"
#include "scenario/operations/RecordFields.h"

namespace vorn_onu {

namespace {

struct BridgeArguments {
    std::uint16_t bridgeId, uniPort;
};

std::vector<Field> bridgeArgumentFields() {
    return {field("bridgeId", &BridgeArguments::bridgeId, Numbers{}, required(), "number of the bridge: 3 is br3"),
            field("uniPort", &BridgeArguments::uniPort, Numbers{}, required(),
                  "0: the bridge with its PON side; from 1: that UNI port joins it")};
}

struct VeipArguments {
    std::uint16_t gemPort, bridgeId, filterType;
    std::uint8_t numberOfEntries;
    std::uint16_t trafficType;
    std::optional<std::string> filterList = std::string();  // none: a null pointer
};

std::vector<Field> veipFields() {
    using R = VeipArguments;
    const auto storeList = [](void* record, const Json& value) {
        auto& veip = *static_cast<R*>(record);
        std::size_t entries = 0;
        veip.filterList.reset();
        if (!value.is_null()) veip.filterList = tciListText(value, &entries);
        veip.numberOfEntries = static_cast<std::uint8_t>(entries);
    };
    return {
        field("gemPort", &R::gemPort, Numbers{}, required(), "GEM port of the service"),
        field("bridgeId", &R::bridgeId, Numbers{}, required(), "number of the bridge"),
        field("filterType", &R::filterType, Numbers{}, otherwise(0), "forward operation, carried along"),
        Field{"filterList", optional(),
              "VLAN tagging filter list: [{\"pbits\", \"dei\", \"vid\"}] or hex text; null: a null pointer",
              Json{{"anyOf", Json::array({tciListSchema(), Json{{"type", "null"}}})}}, storeList},
        field("numberOfEntries", &R::numberOfEntries, Numbers{0, 255}, optional(),
              "entries of filterList; left out: as many as it has"),
        field("trafficType", &R::trafficType,
              Numbers{0, 65535, {{"1-filter", 2}, {"1-map-filter", 3}, {"n-filter", 5}, {"n-map-filter", 6}}},
              required(), "mapping and filter model; 2, 3, 5 and 6 make the VEIP"),
    };
}

template <typename Member>
auto veipCall(Member member) {
    return [member](VornHal& hal, VeipArguments& a) {
        const char* list = a.filterList ? a.filterList->c_str() : nullptr;
        return Outcome{(hal.*member)(a.gemPort, a.bridgeId, a.filterType, a.numberOfEntries,
                                     reinterpret_cast<const unsigned char*>(list), a.trafficType),
                       Json::object()};
    };
}

// An operation whose one argument is a typed record.
template <typename Record, typename Member>
Operation onRecord(const char* name, const char* doc, std::vector<Field> fields, Member member) {
    Operation row =
        operation<Record>(name, doc, kChanges, std::move(fields), {}, [member](VornHal& hal, Record& record) {
            return Outcome{(hal.*member)(&record), Json::object()};
        });
    row.onNull = [member](VornHal& hal) { return Outcome{(hal.*member)(nullptr), Json::object()}; };
    return row;
}

Operation tcontOperation(const char* name, const char* doc, int (VornHal::*member)(void*, void*)) {
    Operation row = operation<TContProvisioning>(name, doc, kChanges, tcontFields(), {},
                                                 [member](VornHal& hal, TContProvisioning& record) {
                                                     return Outcome{(hal.*member)(nullptr, &record), Json::object()};
                                                 });
    row.onNull = [member](VornHal& hal) { return Outcome{(hal.*member)(nullptr, nullptr), Json::object()}; };
    return row;
}

}  // namespace

std::vector<Operation> provisioningOperations() {
    using B = BridgeServiceProvisioning;
    const auto removal = bridgeServiceFields({"bridgeId"});
    return {
        onRecord<IpHostProvision>("vorn_omci_hal_provisionIpHost", "gives the ONU's management host its interface",
                                  ipHostFields(), &VornHal::vorn_omci_hal_provisionIpHost),
        onRecord<IpHostProvision>("vorn_omci_hal_deprovisionIpHost", "takes the management host away", ipHostFields(),
                                  &VornHal::vorn_omci_hal_deprovisionIpHost),
        tcontOperation("vorn_omci_hal_tcont_set", "binds an alloc-id to a T-CONT and makes its eight queues",
                       &VornHal::vorn_omci_hal_tcont_set),
        tcontOperation("vorn_omci_hal_tcont_reset", "unbinds an alloc-id and removes its T-CONT's queues",
                       &VornHal::vorn_omci_hal_tcont_reset),
        onRecord<XGEMConfig>("vorn_omci_hal_gemflow_add", "makes a GEM port with its queue", gemPortFields(),
                             &VornHal::vorn_omci_hal_gemflow_add),
        onRecord<XGEMConfig>("vorn_omci_hal_gemflow_del", "removes a GEM port", gemPortFields(),
                             &VornHal::vorn_omci_hal_gemflow_del),
        onRecord<XgemStatusRecord>("vorn_omci_hal_set_gemPortStatus", "sets a GEM port up or down", gemStatusFields(),
                                   &VornHal::vorn_omci_hal_set_gemPortStatus),
        onRecord<UniDataProvisioning>("vorn_omci_hal_filter_flow_add",
                                      "adds a row of a UNI's extended VLAN tagging, or removes the UNI's rules",
                                      uniDataFields(), &VornHal::vorn_omci_hal_filter_flow_add),
        operation<BridgeArguments>(
            "vorn_omci_hal_configureBridge", "makes a bridge with its PON side, or joins a UNI port", kChanges,
            bridgeArgumentFields(), {},
            [](VornHal& hal, BridgeArguments& a) {
                return Outcome{hal.vorn_omci_hal_configureBridge(a.bridgeId, a.uniPort), Json::object()};
            }),
        onRecord<B>("vorn_omci_hal_configureAniTagRules", "makes the PON side's tag rules of a bridge service",
                    bridgeServiceFields({"bridgeId", "gemPortId"}), &VornHal::vorn_omci_hal_configureAniTagRules),
        onRecord<B>("vorn_omci_hal_unsetPbitData", "removes the rules of a service's GEM ports", removal,
                    &VornHal::vorn_omci_hal_unsetPbitData),
        onRecord<B>("vorn_omci_hal_deprovisionAniSideBridge",
                    "removes a bridge and its PON side, or a multicast service", removal,
                    &VornHal::vorn_omci_hal_deprovisionAniSideBridge),
        onRecord<B>("vorn_omci_hal_deprovisionUniSideBridge", "removes the UNI port of a bridge, with its rules",
                    removal, &VornHal::vorn_omci_hal_deprovisionUniSideBridge),
        operation<VeipArguments>("vorn_omci_hal_veip_createRules", "announces a service to the gateway over the VEIP",
                                 kChanges, veipFields(), {}, veipCall(&VornHal::vorn_omci_hal_veip_createRules)),
        operation<VeipArguments>("vorn_omci_hal_veip_deleteRules",
                                 "withdraws a service, and the VEIP with the last one", kChanges, veipFields(), {},
                                 veipCall(&VornHal::vorn_omci_hal_veip_deleteRules)),
    };
}

}  // namespace vorn_onu
