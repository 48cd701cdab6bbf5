// What a daemon asks for when an OLT provisions internet access: VID 100 on bridge 3, T-CONT 1 and GEM port 1001.
#ifndef TESTS_INTERNET_SERVICE_H
#define TESTS_INTERNET_SERVICE_H

#include <cstdint>
#include <cstdio>

#include "hal/ProvisioningRecords.h"

namespace internet_service {

constexpr std::uint16_t kAllocId = 256, kGemPort = 1001, kBridge = 3, kVid = 100;

inline TContProvisioning tcont() {
    return {kAllocId, 1, 0};
}

inline XGEMConfig gemPort() {
    XGEMConfig config{};
    config.tContAllocId = kAllocId;
    config.xgemPortId = kGemPort;
    return config;
}

inline BridgeServiceProvisioning service() {
    BridgeServiceProvisioning record{};
    record.gemPortId = kGemPort;
    record.bridgeId = kBridge;
    std::snprintf(record.vlanTciFilterList, sizeof record.vlanTciFilterList, "%04x", unsigned{kVid});
    record.numberOfEntries = 1;
    record.forwardOperation = 4;
    record.trafficModel = 2;
    record.pbitMap[0] = {kGemPort, 0};
    return record;
}

// Untagged frames of the port get the service's tag. The HAL exchanges UNI ports 1 and 2 in the record.
inline UniDataProvisioning row(std::uint16_t uniPort, bool add = true) {
    UniDataProvisioning record{};
    record.addFlag = add ? 1 : 0;
    record.hasTagRules = 1;
    record.bridgeId = kBridge;
    record.uniPort = uniPort;
    record.inputTpid = record.outputTpid = 0x8100;
    record.tagAction = 1;
    record.outerFilterPrio = record.innerFilterPrio = record.outerTreatmentPrio = 15;
    record.outerFilterVlanId = record.innerFilterVlanId = 4096;
    record.innerTreatmentVlanId = kVid;
    record.innerTreatmentTpidDe = 4;
    return record;
}

// Of the row that the record is about.
inline UniDataProvisioning deletion(UniDataProvisioning record) {
    record.removeType = 3;
    record.outerTreatmentPrio = record.innerTreatmentPrio = 15;
    record.outerTreatmentVlanId = record.innerTreatmentVlanId = 8191;
    record.outerTreatmentTpidDe = record.innerTreatmentTpidDe = 7;
    return record;
}

// A management host of the bridge with a fixed address.
inline IpHostProvision ipHost(std::uint16_t uniPort, std::uint16_t bridgeId = kBridge) {
    IpHostProvision record{};
    record.bridgeId = bridgeId;
    record.uniPort = uniPort;
    record.macAddress = "02:00:00:00:00:77";
    record.ipAddress = "10.0.0.5";
    record.subnetMask = "255.255.255.0";
    record.gateway = "10.0.0.1";
    return record;
}

}  // namespace internet_service

#endif
