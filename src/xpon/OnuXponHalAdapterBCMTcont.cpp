// T-CONTs: alloc-id bindings and upstream queues.
#include <cstdio>

#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "state/Facts.h"
#include "state/Journal.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

constexpr std::uint16_t kNoAllocId = 65535;
constexpr unsigned short kKeptAllocId = 255;  // its T-CONT is never reset
constexpr unsigned kQueuesPerTcont = 8;
constexpr unsigned kQueueSize = 256;
constexpr unsigned kStrictWeight = 1;
constexpr unsigned kNoTmFlags = 0;
constexpr int kDefaultQueueCount = -1;

// GPON control addresses a T-CONT with eight bits.
GponCtlTcontAllocId binding(int tContIndex, std::uint16_t allocId) {
    GponCtlTcontAllocId record{};
    record.tcontIndex = static_cast<std::uint8_t>(tContIndex);
    record.allocId = allocId;
    return record;
}

TmctlIf tmInterface(int tContIndex) {
    return {static_cast<std::uint32_t>(tContIndex)};
}

}  // namespace

int OnuXponHalAdapterBCM::provisionTCont(const TContProvisioning& record) {
    std::printf("\nRECEIVED  TCONT PROVISIONING: allocId: %d tContIndex:%d\n", record.allocId, record.tContIndex);
    const int result = createAllocId(record.allocId, record.policy, record.tContIndex);
    if (result != 0) {
        std::printf("Inside provisionTCont success %d", record.allocId);
    } else {
        std::printf("Inside provisionTCont failed %d", record.allocId);
    }
    return result;
}

int OnuXponHalAdapterBCM::deprovisionTCont(const TContProvisioning& record) {
    if (record.allocId == kNoAllocId) return 1;
    std::printf("deprovisionTCont:: tContProvisioning.allocId=%d\n", record.allocId);
    return deleteAllocId(record.allocId);
}

int OnuXponHalAdapterBCM::createAllocId(unsigned short allocId, unsigned char /*policy*/, unsigned short tContIndex) {
    if (findAllocIdMapEntry(allocId)) return 1;
    const state::BegunStep step(state::Step::BindTcont, allocId, tContIndex);

    // The driver keeps an earlier binding of the T-CONT unless it is cleared first.
    GponCtlTcontAllocId record = binding(tContIndex, kNoAllocId);
    gponCtl_configTcontAllocId(&record);
    record.allocId = allocId;
    gponCtl_configTcontAllocId(&record);

    insertAllocIdMapEntry(allocId, tContIndex);

    const TmctlIf interface = tmInterface(tContIndex);
    if (tmctl_portTmInit(TMCTL_DEV_GPON, &interface, kNoTmFlags, kDefaultQueueCount) != 0) return 0;
    return createPriorityQueueForTcont(tContIndex);
}

int OnuXponHalAdapterBCM::createPriorityQueueForTcont(int tContIndex) {
    const TmctlIf interface = tmInterface(tContIndex);
    for (unsigned queue = 0; queue < kQueuesPerTcont; ++queue) {
        TmctlQueueCfg config{};
        config.queueId = queue;
        config.priority = queue;
        config.queueSize = kQueueSize;
        config.weight = kStrictWeight;
        config.schedMode = TMCTL_SCHED_STRICT_PRIORITY;
        if (tmctl_setQueueCfg(TMCTL_DEV_GPON, &interface, &config) != 0) return 0;
    }
    state::tcontQueues(static_cast<std::uint16_t>(tContIndex), true);
    return 1;
}

int OnuXponHalAdapterBCM::deleteAllocId(unsigned short allocId) {
    unsigned short tContIndex = 0;
    if (getTcontIdxFromAllocIdMapEntry(allocId, &tContIndex) == 0) return 0;
    const state::BegunStep step(state::Step::ResetTcont, allocId);
    if (allocId != kKeptAllocId) resetTContObject(tContIndex);
    deleteAllocIdMapEntry(allocId);
    return 1;
}

int OnuXponHalAdapterBCM::resetTContObject(int tContIndex) {
    const TmctlIf interface = tmInterface(tContIndex);
    for (int queue = 0; queue < static_cast<int>(kQueuesPerTcont); ++queue) {
        tmctl_delQueueCfg(TMCTL_DEV_GPON, &interface, queue);
    }
    tmctl_portTmUninit(TMCTL_DEV_GPON, &interface);
    const GponCtlTcontAllocId record = binding(tContIndex, 0);
    gponCtl_deconfigTcontAllocId(&record);
    state::tcontQueues(static_cast<std::uint16_t>(tContIndex), false);
    return 1;
}
