// The layout of records that cross a border and that abi/ does not show: those of the device kit, and those that the
// daemon passes as void*. All of it is checked by the compiler, for 32 and for 64 bits; there is nothing to run.
#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "hal/ProvisioningRecords.h"
#include "platform/cms.h"
#include "platform/gponctl.h"
#include "platform/tmctl.h"

#define SIZE(record, size) static_assert(sizeof(record) == (size), "size of " #record)
#define FIELD(record, field, offset, size) \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (size), #record "::" #field)

// The records with texts and maps in them are no C structs; their layout is fixed all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "bus messages go out as they are in memory, and the bus is little-endian");

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

// ---- daemon ----

SIZE(XgemStatusRecord, 4);
FIELD(XgemStatusRecord, xgemPortId, 0, 2);
FIELD(XgemStatusRecord, enable, 2, 1);

SIZE(PmRequest, 4);
SIZE(EthernetPmRecord, 96);
FIELD(EthernetPmRecord, transmitted, 48, 48);

// Texts and maps have other sizes with 32 bits, where abi/ was not taken.
using PbitMap = std::map<std::uint8_t, std::pair<std::uint16_t, std::uint16_t>>;
FIELD(BridgeServiceProvisioning, pbitMap, 264, 6 * sizeof(void*));
FIELD(BridgeServiceProvisioning, restoreVlanFlows, 264 + sizeof(PbitMap) + 42, 1);
FIELD(IpHostProvision, useSharedBridge, 9 + 4 * sizeof(std::string) + alignof(std::string), 1);
