// What comes beside an internet service and goes again, one operation after the other.
#ifndef TESTS_FORWARDING_CHANGES_H
#define TESTS_FORWARDING_CHANGES_H

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "src/forwarding/ForwardedDaemon.h"

namespace forwarding_tests {

struct Operation {
    const char* name;
    std::function<int(VornHal&)> run;
    // The default bridge is no part of a service: what the kernel refuses of it stays as it is, as by the contract.
    bool makesDefaultBridge = false;
};

struct Change {
    const char* name;
    std::vector<Operation> comes, goes;
};

inline XGEMConfig gemPortRecord(std::uint16_t portId) {
    auto record = gem();
    record.xgemPortId = portId;
    return record;
}
inline Operation gemPort(std::uint16_t portId) {
    return {"gemflow_add", asks(&VornHal::vorn_omci_hal_gemflow_add, gemPortRecord(portId))};
}
inline Operation noGemPort(std::uint16_t portId) {
    return {"gemflow_del", asks(&VornHal::vorn_omci_hal_gemflow_del, gemPortRecord(portId))};
}
inline Operation bridge(std::uint16_t bridgeId, std::uint16_t uniPort = 0) {
    return {"configureBridge", asksForBridge(bridgeId, uniPort)};
}
inline Operation uni(const UniDataProvisioning& record) {
    return {"filter_flow_add", asks(&VornHal::vorn_omci_hal_filter_flow_add, record)};
}
inline UniDataProvisioning ofPort(UniDataProvisioning record, std::uint16_t uniPort, std::uint16_t bridgeId = 3) {
    record.uniPort = uniPort;
    record.bridgeId = bridgeId;
    return record;
}
inline Operation noPort(std::uint16_t uniPort) {
    return uni(ofPort(row(false), uniPort));
}
// p-bits of untagged frames by their DSCP.
inline UniDataProvisioning byDscp(std::uint16_t uniPort) {
    auto record = ofPort(row(true), uniPort);
    record.innerTreatmentPrio = 10;
    return record;
}
inline UniDataProvisioning withoutRows(std::uint16_t uniPort) {
    auto record = ofPort(row(true), uniPort);
    record.hasTagRules = 0;
    return record;
}
// Single-tagged frames that no other row takes.
inline UniDataProvisioning defaultRow(bool drops) {
    auto record = tagging(4096, 4096);
    record.innerFilterPrio = 14;
    record.innerTreatmentPrio = 15;
    record.removeType = drops ? 3 : 0;
    return record;
}

inline BridgeServiceProvisioning ponPort(std::uint16_t gemPortId, const char* list, std::uint16_t bridgeId = 3) {
    auto record = service();
    record.bridgeId = bridgeId;
    record.gemPortId = record.pbitMap[0].first = gemPortId;
    record.numberOfEntries = static_cast<std::uint8_t>(std::strlen(list) / 4);
    std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%s", list);
    return record;
}
inline BridgeServiceProvisioning multicast(std::uint16_t gemPortId, std::uint16_t bridgeId = 3) {
    auto record = ponPort(gemPortId, "0384", bridgeId);
    record.isMulticast = record.multicastService = 1;
    return record;
}
inline Operation pon(const BridgeServiceProvisioning& record) {
    return {"configureAniTagRules", asks(&VornHal::vorn_omci_hal_configureAniTagRules, record)};
}
inline Operation withDefaultBridge(Operation operation) {
    operation.makesDefaultBridge = true;
    return operation;
}
inline Operation noPonPort(const BridgeServiceProvisioning& record) {
    return {"unsetPbitData", asks(&VornHal::vorn_omci_hal_unsetPbitData, record)};
}
inline Operation noPonSide(const BridgeServiceProvisioning& record) {
    return {"deprovisionAniSideBridge", asks(&VornHal::vorn_omci_hal_deprovisionAniSideBridge, record)};
}
inline Operation noUniSide(const BridgeServiceProvisioning& record) {
    return {"deprovisionUniSideBridge", asks(&VornHal::vorn_omci_hal_deprovisionUniSideBridge, record)};
}
inline Operation gateway(bool comes, std::uint16_t gemPortId) {
    return {comes ? "veip_createRules" : "veip_deleteRules", [=](VornHal& hal) {
                const auto* const list = reinterpret_cast<const unsigned char*>("0384");
                return comes ? hal.vorn_omci_hal_veip_createRules(gemPortId, 0, 16, 1, list, 2)
                             : hal.vorn_omci_hal_veip_deleteRules(gemPortId, 0, 16, 1, list, 2);
            }};
}

inline TContProvisioning tcontRecord(std::uint16_t allocId) {
    return {allocId, 5, 0};
}
inline Operation boundTcont(std::uint16_t allocId) {
    return {"tcont_set", asks(&VornHal::vorn_omci_hal_tcont_set, tcontRecord(allocId))};
}
inline Operation noTcont(std::uint16_t allocId) {
    return {"tcont_reset", asks(&VornHal::vorn_omci_hal_tcont_reset, tcontRecord(allocId))};
}

// A management host on bridge 5.
constexpr const char* kHostMacs = "0a:00:00:00:00:0";
enum class HostKind { Static, Dhcp, Shared };
inline IpHostProvision hostRecord(HostKind kind, std::uint8_t number = 6) {
    IpHostProvision host{};
    host.bridgeId = 5;
    host.uniPort = number;
    host.macAddress = kHostMacs + std::to_string(number);
    host.ipAddress = "10.0.0." + std::to_string(number);
    host.subnetMask = "255.255.255.0";
    host.gateway = "10.0.0.10" + std::to_string(number);
    host.dhcpEnabled = kind == HostKind::Static ? 0 : 1;
    host.useSharedBridge = kind == HostKind::Shared ? 1 : 0;
    return host;
}
inline Operation host(const IpHostProvision& record) {
    return {"provisionIpHost", asks(&VornHal::vorn_omci_hal_provisionIpHost, record)};
}
inline Operation noHost(const IpHostProvision& record) {
    return {"deprovisionIpHost", asks(&VornHal::vorn_omci_hal_deprovisionIpHost, record)};
}

// The internet service's own frames, untagged at the port and VID 100 at its GEM port, fare alike all the time.
inline const std::vector<Change>& changes() {
    static const auto& all = *new std::vector<Change>{
        {"ARow", {uni(tagging(20, 200))}, {uni(deletion(tagging(20, 0)))}},
        {"ARowThatIsReplaced",
         {uni(tagging(20, 200)), uni(tagging(20, 201))},
         {uni(tagging(20, 202)), uni(deletion(tagging(20, 0)))}},
        {"ADefaultRow", {uni(defaultRow(true))}, {uni(defaultRow(false))}},
        {"ARowByDscp", {uni(byDscp(3))}, {noPort(3)}},
        {"AnotherPort", {uni(ofPort(row(true), 3))}, {noPort(3)}},
        {"APortWithoutRows", {uni(withoutRows(4))}, {noPort(4)}},
        {"ALongerList", {pon(ponPort(kGemPort, "00640384"))}, {pon(ponPort(kGemPort, "0064"))}},
        {"AnotherGemPort",
         {gemPort(1002), pon(ponPort(1002, "0065"))},
         {noPonPort(ponPort(1002, "0065")), noGemPort(1002)}},
        {"AnotherBridge",
         {gemPort(1003), bridge(4), pon(ponPort(1003, "012c", 4)), uni(ofPort(tagging(30, 300), 2, 4))},
         {noPonPort(ponPort(1003, "012c", 4)), noUniSide(ponPort(1003, "012c", 4)), noPonSide(ponPort(1003, "", 4)),
          noGemPort(1003)}},
        {"AnotherBridgeOfThePort",
         {bridge(4), bridge(4, 3), uni(ofPort(tagging(30, 300), 2, 4))},
         {noUniSide(ponPort(1003, "", 4)), noPonSide(ponPort(1003, "", 4))}},
        {"Multicast", {gemPort(1004), pon(multicast(1004))}, {noPonSide(multicast(1004)), noGemPort(1004)}},
        {"MulticastOfAnotherBridge",
         {gemPort(1004), pon(multicast(1004, 4))},
         {noPonSide(multicast(1004, 4)), noPonSide(ponPort(1004, "", 4)), noGemPort(1004)}},
        {"TheGateway",
         {gemPort(1004), bridge(0), pon(ponPort(1004, "0384", 0)), gateway(true, 1004)},
         {gateway(false, 1004), noPonSide(ponPort(1004, "", 0)), noGemPort(1004), withDefaultBridge(bridge(4)),
          noPonSide(ponPort(1004, "", 4))}},
        {"MulticastOfTheGateway",
         {gemPort(1004), bridge(0), gateway(true, 1004), withDefaultBridge(pon(multicast(1004)))},
         {noPonSide(multicast(1004)), gateway(false, 1004), noPonSide(ponPort(1004, "", 0)), noGemPort(1004)}},
        {"ATcont", {boundTcont(1100)}, {noTcont(1100)}},
        {"AnotherAllocId", {boundTcont(1100), boundTcont(1101)}, {noTcont(1101)}},
        {"AHost",
         {bridge(5), host(hostRecord(HostKind::Static))},
         {noHost(hostRecord(HostKind::Static)), noPonSide(ponPort(1005, "", 5))}},
        {"TwoHosts",
         {bridge(5), host(hostRecord(HostKind::Static, 7)), host(hostRecord(HostKind::Static))},
         {noHost(hostRecord(HostKind::Static)), noHost(hostRecord(HostKind::Static, 7)),
          noPonSide(ponPort(1005, "", 5))}},
        {"AHostByDhcp",
         {bridge(5), host(hostRecord(HostKind::Dhcp))},
         {noHost(hostRecord(HostKind::Dhcp)), noPonSide(ponPort(1005, "", 5))}},
    };
    return all;
}

}  // namespace forwarding_tests

#endif
