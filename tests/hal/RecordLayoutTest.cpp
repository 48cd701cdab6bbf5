// The layout of every record that crosses a border: to the daemon, to the device kit, to the NGPON2 driver, to the
// gateway. All of it is checked by the compiler, on 32-bit and on 64-bit machines alike; there is nothing to run.
#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "hal/ProvisioningRecords.h"
#include "platform/cms.h"
#include "platform/gponctl.h"
#include "platform/tmctl.h"
#include "xpon/TwdmDriverRecords.h"

#define SIZE(record, size) static_assert(sizeof(record) == (size), "size of " #record)
#define FIELD(record, field, offset, size) \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (size), #record "::" #field)

// The records with texts and maps in them are no C structs; their layout is fixed all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "bus messages go out as they stand in memory, and the bus is little-endian");

// ---- device kit ----

SIZE(GponCtlTcontAllocId, 4);
FIELD(GponCtlTcontAllocId, tcontIndex, 0, 1);
FIELD(GponCtlTcontAllocId, allocId, 2, 2);

SIZE(GponCtlGemPortConfig, 10);
FIELD(GponCtlGemPortConfig, gemIndex, 0, 2);
FIELD(GponCtlGemPortConfig, gemPortId, 2, 2);
FIELD(GponCtlGemPortConfig, allocId, 4, 2);
FIELD(GponCtlGemPortConfig, downstreamOnly, 6, 1);
FIELD(GponCtlGemPortConfig, flag, 7, 1);
FIELD(GponCtlGemPortConfig, kind, 8, 1);

SIZE(GponCtlGemPort, 16);
FIELD(GponCtlGemPort, gemIndex, 0, 2);
FIELD(GponCtlGemPort, gemPortId, 2, 2);
FIELD(GponCtlGemPort, output, 4, 12);

SIZE(GponCtlGemPortEnable, 6);
FIELD(GponCtlGemPortEnable, gemPortId, 2, 2);
FIELD(GponCtlGemPortEnable, enable, 4, 1);

SIZE(GponCtlGemPortDeconfig, 4);
FIELD(GponCtlGemPortDeconfig, gemIndex, 0, 2);
FIELD(GponCtlGemPortDeconfig, gemPortId, 2, 2);

SIZE(GponCtlGemPortCounters, 48);
FIELD(GponCtlGemPortCounters, gemIndex, 4, 2);
FIELD(GponCtlGemPortCounters, gemPortId, 6, 2);
FIELD(GponCtlGemPortCounters, counter, 8, 40);

SIZE(GponCtlAdminState, 16);
FIELD(GponCtlAdminState, state, 0, 4);

SIZE(TmctlIf, 4);
SIZE(TmctlQueueCfg, 32);
FIELD(TmctlQueueCfg, queueId, 0, 4);
FIELD(TmctlQueueCfg, priority, 4, 4);
FIELD(TmctlQueueCfg, queueSize, 8, 4);
FIELD(TmctlQueueCfg, weight, 12, 4);
FIELD(TmctlQueueCfg, schedMode, 16, 4);
FIELD(TmctlQueueCfg, shapingRate, 20, 4);
FIELD(TmctlQueueCfg, shapingBurst, 24, 4);

SIZE(CmsMsgHeader, 32);
FIELD(CmsMsgHeader, type, 0, 4);
FIELD(CmsMsgHeader, source, 4, 4);
FIELD(CmsMsgHeader, destination, 8, 4);
FIELD(CmsMsgHeader, flags, 12, 2);
FIELD(CmsMsgHeader, dataLength, 28, 4);

// ---- gateway ----

SIZE(OMCI_SERVICE_MAP_ENTRY, 60);
FIELD(OMCI_SERVICE_MAP_ENTRY, ifName, 0, 32);
FIELD(OMCI_SERVICE_MAP_ENTRY, pbits, 32, 4);
FIELD(OMCI_SERVICE_MAP_ENTRY, vlanId, 36, 4);
FIELD(OMCI_SERVICE_MAP_ENTRY, serviceStatus, 41, 1);
FIELD(OMCI_SERVICE_MAP_ENTRY, gemPortIndex, 44, 4);
FIELD(OMCI_SERVICE_MAP_ENTRY, gemPortId, 48, 4);
FIELD(OMCI_SERVICE_MAP_ENTRY, serviceType, 56, 4);

// ---- NGPON2 driver and the daemon's records beside it: each pair is copied field by field at the same offset ----

#define TWDM_PAIR(driver, hal, size) \
    SIZE(driver, size);              \
    SIZE(hal, size)

TWDM_PAIR(BCM_NgponChannelStateInfo, TWDMSystemProfile, 4);
TWDM_PAIR(BCM_TWDMSystemProfile, TWDMSystemProfileMe_t, 24);
FIELD(BCM_TWDMSystemProfile, words, 4, 20);
FIELD(TWDMSystemProfileMe_t, words, 4, 20);
TWDM_PAIR(BCM_TWDMChannelProfile, TWDMChannelProfile_t, 8);
FIELD(BCM_TWDMChannelProfile, profile, 1, 4);
FIELD(TWDMChannelProfile_t, profile, 1, 4);
TWDM_PAIR(BCM_TWDMLodsPmData, TWDMLodsPmData_t, 64);
FIELD(BCM_TWDMLodsPmData, total, 8, 8);
FIELD(TWDMLodsPmData_t, total, 8, 8);
FIELD(BCM_TWDMLodsPmData, counters, 16, 48);
FIELD(TWDMLodsPmData_t, counters, 16, 48);
TWDM_PAIR(BCM_TWDMChannelXGEMPMHistoryData, TWDMChannelXGEMPMHistoryData_t, 72);
FIELD(BCM_TWDMChannelXGEMPMHistoryData, channelCounter, 16, 8);
FIELD(BCM_TWDMChannelXGEMPMHistoryData, channelCounters, 32, 40);
FIELD(TWDMChannelXGEMPMHistoryData_t, firstGemCounter, 8, 4);
FIELD(TWDMChannelXGEMPMHistoryData_t, channelCounter, 16, 8);
FIELD(TWDMChannelXGEMPMHistoryData_t, secondGemCounter, 24, 4);
FIELD(TWDMChannelXGEMPMHistoryData_t, channelCounters, 32, 40);
TWDM_PAIR(BCM_TWDMPloamPM1, TWDMPloamPM1_t, 28);
FIELD(BCM_TWDMPloamPM1, first, 4, 4);
FIELD(BCM_TWDMPloamPM1, sinceLastRead, 8, 4);
FIELD(BCM_TWDMPloamPM1, counters, 12, 16);
FIELD(TWDMPloamPM1_t, runningTotal, 8, 4);
FIELD(TWDMPloamPM1_t, counters, 12, 16);
TWDM_PAIR(BCM_TWDMPloamPM2, TWDMPloamPM2_t, 60);
FIELD(BCM_TWDMPloamPM2, counters, 4, 56);
TWDM_PAIR(BCM_TWDMPloamPM3, TWDMPloamPM3_t, 48);
FIELD(BCM_TWDMPloamPM3, counters, 4, 44);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData1, TWDMChannelTuningPMHistoryData1_t, 56);
FIELD(BCM_TWDMChannelTuningPMHistoryData1, counters, 4, 52);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData2, TWDMChannelTuningPMHistoryData2_t, 56);
FIELD(BCM_TWDMChannelTuningPMHistoryData2, counters, 4, 52);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData3, TWDMChannelTuningPMHistoryData3_t, 36);
FIELD(BCM_TWDMChannelTuningPMHistoryData3, counters, 4, 32);
TWDM_PAIR(BCM_TWDMChannelOMCIPMHistoryData, TWDMChannelOMCIPMHistoryData_t, 16);
FIELD(BCM_TWDMChannelOMCIPMHistoryData, counters, 4, 12);

// ---- daemon ----

SIZE(TContProvisioning, 6);
FIELD(TContProvisioning, allocId, 0, 2);
FIELD(TContProvisioning, tContIndex, 2, 2);
FIELD(TContProvisioning, policy, 4, 1);

SIZE(XGEMConfig, 12);
FIELD(XGEMConfig, tContAllocId, 0, 2);
FIELD(XGEMConfig, xgemPortId, 2, 2);
FIELD(XGEMConfig, upstreamQueue, 4, 2);
FIELD(XGEMConfig, qosArg, 6, 2);
FIELD(XGEMConfig, schedPolicy, 8, 1);
FIELD(XGEMConfig, priority, 9, 1);
FIELD(XGEMConfig, weight, 10, 1);

SIZE(XgemStatusRecord, 4);
FIELD(XgemStatusRecord, xgemPortId, 0, 2);
FIELD(XgemStatusRecord, enable, 2, 1);

SIZE(GalEthPMHistoryData_t, 8);
FIELD(GalEthPMHistoryData_t, gemPortId, 0, 2);
FIELD(GalEthPMHistoryData_t, discardedFrames, 4, 4);

SIZE(PmRequest, 4);
SIZE(EthernetPmRecord, 96);
FIELD(EthernetPmRecord, transmitted, 48, 48);
SIZE(IntfStats, 120);
FIELD(IntfStats, rxOctets, 0, 8);
FIELD(IntfStats, txOctets, 56, 8);

SIZE(UniDataProvisioning, 44);
FIELD(UniDataProvisioning, addFlag, 0, 1);
FIELD(UniDataProvisioning, hasTagRules, 1, 1);
FIELD(UniDataProvisioning, bridgeId, 2, 2);
FIELD(UniDataProvisioning, uniPort, 4, 2);
FIELD(UniDataProvisioning, inputTpid, 6, 2);
FIELD(UniDataProvisioning, outputTpid, 8, 2);
FIELD(UniDataProvisioning, downstreamMode, 10, 2);
FIELD(UniDataProvisioning, filterType, 12, 2);
FIELD(UniDataProvisioning, tagAction, 14, 2);
FIELD(UniDataProvisioning, etherType, 16, 2);
FIELD(UniDataProvisioning, outerFilterTpidDe, 18, 2);
FIELD(UniDataProvisioning, outerFilterVlanId, 20, 2);
FIELD(UniDataProvisioning, outerFilterPrio, 22, 1);
FIELD(UniDataProvisioning, innerFilterTpidDe, 24, 2);
FIELD(UniDataProvisioning, innerFilterVlanId, 26, 2);
FIELD(UniDataProvisioning, innerFilterPrio, 28, 1);
FIELD(UniDataProvisioning, removeType, 30, 2);
FIELD(UniDataProvisioning, outerTreatmentTpidDe, 32, 2);
FIELD(UniDataProvisioning, outerTreatmentVlanId, 34, 2);
FIELD(UniDataProvisioning, outerTreatmentPrio, 36, 1);
FIELD(UniDataProvisioning, innerTreatmentTpidDe, 38, 2);
FIELD(UniDataProvisioning, innerTreatmentVlanId, 40, 2);
FIELD(UniDataProvisioning, innerTreatmentPrio, 42, 1);

using PbitMap = std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>>;
SIZE(PbitMap, 6 * sizeof(void*));
FIELD(BridgeServiceProvisioning, gemPortId, 0, 2);
FIELD(BridgeServiceProvisioning, bridgeId, 2, 2);
FIELD(BridgeServiceProvisioning, vlanTciFilterList, 4, 256);
FIELD(BridgeServiceProvisioning, forwardOperation, 260, 1);
FIELD(BridgeServiceProvisioning, numberOfEntries, 261, 1);
FIELD(BridgeServiceProvisioning, trafficModel, 262, 1);
FIELD(BridgeServiceProvisioning, pbitMap, 264, sizeof(PbitMap));

#define BEHIND_MAP(field, offset, size) FIELD(BridgeServiceProvisioning, field, 264 + sizeof(PbitMap) + (offset), size)
BEHIND_MAP(protocolNumber, 0, 1);
BEHIND_MAP(isMulticast, 1, 1);
BEHIND_MAP(multicastService, 2, 1);
BEHIND_MAP(inputTpid, 4, 2);
BEHIND_MAP(outputTpid, 6, 2);
BEHIND_MAP(dsMode, 8, 2);
BEHIND_MAP(filterTagCount, 10, 2);
BEHIND_MAP(tagTreatment, 12, 2);
BEHIND_MAP(etherTypeFilter, 14, 2);
BEHIND_MAP(outerTpidFilter, 16, 2);
BEHIND_MAP(outerVlanIdFilter, 18, 2);
BEHIND_MAP(outerVlanPrioFilter, 20, 2);
BEHIND_MAP(innerTpidFilter, 22, 2);
BEHIND_MAP(innerVlanIdFilter, 24, 2);
BEHIND_MAP(innerVlanPrioFilter, 26, 2);
BEHIND_MAP(removeType, 28, 2);
BEHIND_MAP(outerTpidAction, 30, 2);
BEHIND_MAP(outerVlanIdAction, 32, 2);
BEHIND_MAP(outerVlanPrioAction, 34, 2);
BEHIND_MAP(innerTpidAction, 36, 2);
BEHIND_MAP(innerVlanIdAction, 38, 2);
BEHIND_MAP(innerVlanPrioAction, 40, 2);
BEHIND_MAP(restoreVlanFlows, 42, 1);

// Texts are libstdc++'s (32 bytes with 64-bit pointers, 24 without), one byte before the second one fills a word.
constexpr std::size_t kText = sizeof(std::string);
constexpr std::size_t kWord = alignof(std::string);
SIZE(std::string, sizeof(void*) == 8 ? 32 : 24);
FIELD(IpHostProvision, allocId, 0, 2);
FIELD(IpHostProvision, gemId, 2, 2);
FIELD(IpHostProvision, bridgeId, 4, 2);
FIELD(IpHostProvision, uniPort, 6, 2);
FIELD(IpHostProvision, macAddress, 8, kText);
FIELD(IpHostProvision, ipOptions, 8 + kText, 1);
FIELD(IpHostProvision, ipAddress, 8 + kText + kWord, kText);
FIELD(IpHostProvision, subnetMask, 8 + 2 * kText + kWord, kText);
FIELD(IpHostProvision, gateway, 8 + 3 * kText + kWord, kText);
FIELD(IpHostProvision, dhcpEnabled, 8 + 4 * kText + kWord, 1);
FIELD(IpHostProvision, useSharedBridge, 9 + 4 * kText + kWord, 1);

// ---- the engine's records that it hands out ----

SIZE(VlanTagFilter_t, 8);
FIELD(VlanTagFilter_t, prio, 0, 1);
FIELD(VlanTagFilter_t, vlanId, 2, 2);
FIELD(VlanTagFilter_t, tpid_de, 4, 4);
SIZE(VLAN_RULE_INFO, 32);
FIELD(VLAN_RULE_INFO, outer, 12, 8);
FIELD(VLAN_RULE_INFO, inner, 20, 8);
SIZE(VLAN_RULE_MAP_ENTRY, 6188);
FIELD(VLAN_RULE_MAP_ENTRY, newRules, 44, 3072);
FIELD(VLAN_RULE_MAP_ENTRY, oldRules, 3116, 3072);
