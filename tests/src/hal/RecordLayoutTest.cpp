// The layout of records that cross a border, on 32-bit and on 64-bit machines alike: each field of those of the device
// kit, the size of those that the binary interface holds (abi/), and there the last field where texts or maps are
// before it. All of it is checked by the compiler; there is nothing to run.
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

// ---- NGPON2 driver and the daemon's records beside it: each pair is copied field by field at the same offset ----

#define TWDM_PAIR(driver, hal, size) \
    SIZE(driver, size);              \
    SIZE(hal, size)

TWDM_PAIR(BCM_NgponChannelStateInfo, TWDMSystemProfile, 4);
TWDM_PAIR(BCM_TWDMSystemProfile, TWDMSystemProfileMe_t, 24);
TWDM_PAIR(BCM_TWDMChannelProfile, TWDMChannelProfile_t, 8);
TWDM_PAIR(BCM_TWDMLodsPmData, TWDMLodsPmData_t, 64);
TWDM_PAIR(BCM_TWDMChannelXGEMPMHistoryData, TWDMChannelXGEMPMHistoryData_t, 72);
TWDM_PAIR(BCM_TWDMPloamPM1, TWDMPloamPM1_t, 28);
TWDM_PAIR(BCM_TWDMPloamPM2, TWDMPloamPM2_t, 60);
TWDM_PAIR(BCM_TWDMPloamPM3, TWDMPloamPM3_t, 48);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData1, TWDMChannelTuningPMHistoryData1_t, 56);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData2, TWDMChannelTuningPMHistoryData2_t, 56);
TWDM_PAIR(BCM_TWDMChannelTuningPMHistoryData3, TWDMChannelTuningPMHistoryData3_t, 36);
TWDM_PAIR(BCM_TWDMChannelOMCIPMHistoryData, TWDMChannelOMCIPMHistoryData_t, 16);

// ---- daemon ----

SIZE(TContProvisioning, 6);

SIZE(XGEMConfig, 12);

SIZE(XgemStatusRecord, 4);
FIELD(XgemStatusRecord, xgemPortId, 0, 2);
FIELD(XgemStatusRecord, enable, 2, 1);

SIZE(GalEthPMHistoryData_t, 8);

SIZE(PmRequest, 4);
SIZE(EthernetPmRecord, 96);
FIELD(EthernetPmRecord, transmitted, 48, 48);
SIZE(IntfStats, 120);

SIZE(UniDataProvisioning, 44);
FIELD(UniDataProvisioning, innerTreatmentPrio, 42, 1);

using PbitMap = std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>>;
SIZE(PbitMap, 6 * sizeof(void*));
FIELD(BridgeServiceProvisioning, pbitMap, 264, sizeof(PbitMap));

FIELD(BridgeServiceProvisioning, restoreVlanFlows, 264 + sizeof(PbitMap) + 42, 1);

// Texts are libstdc++'s (32 bytes with 64-bit pointers, 24 without), one byte before the second one fills a word.
constexpr std::size_t kText = sizeof(std::string);
constexpr std::size_t kWord = alignof(std::string);
SIZE(std::string, sizeof(void*) == 8 ? 32 : 24);
FIELD(IpHostProvision, useSharedBridge, 9 + 4 * kText + kWord, 1);

// ---- the engine's records that it hands out ----

SIZE(VlanTagFilter_t, 8);
SIZE(VLAN_RULE_INFO, 32);
SIZE(VLAN_RULE_MAP_ENTRY, 6188);
