// T-CONTs: alloc-id bindings and upstream queues.
#include <cstdio>

#include "kit/Asked.h"
#include "kit/Tconts.h"
#include "xpon/OnuXponHalAdapterBCM.h"

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
    if (record.allocId == kit::kNoAllocId) return 1;
    std::printf("deprovisionTCont:: tContProvisioning.allocId=%d\n", record.allocId);
    return deleteAllocId(record.allocId);
}

int OnuXponHalAdapterBCM::createAllocId(unsigned short allocId, unsigned char /*policy*/, unsigned short tContIndex) {
    if (unsigned short bound = 0; getTcontIdxFromAllocIdMapEntry(allocId, &bound) != 0) {
        if (bound == tContIndex) {
            kit::noteNeed(kit::Entry::AllocIds, allocId);
        } else {
            kit::noteIncomplete();
        }
        return 1;
    }
    kit::noteNeed(kit::Entry::AllocIds, allocId);
    const kit::BegunStep step(kit::Step::BindTcont, allocId, tContIndex);
    kit::bindTcont(tContIndex, allocId);
    insertAllocIdMapEntry(allocId, tContIndex);
    return kit::initTcontQueues(tContIndex) ? createPriorityQueueForTcont(tContIndex) : 0;
}

int OnuXponHalAdapterBCM::createPriorityQueueForTcont(int tContIndex) {
    return kit::createTcontQueues(tContIndex) ? 1 : 0;
}

int OnuXponHalAdapterBCM::deleteAllocId(unsigned short allocId) {
    unsigned short tContIndex = 0;
    if (getTcontIdxFromAllocIdMapEntry(allocId, &tContIndex) == 0) return 0;
    const kit::BegunStep step(kit::Step::ResetTcont, allocId);
    if (allocId != kit::kKeptAllocId) resetTContObject(tContIndex);
    deleteAllocIdMapEntry(allocId);
    return 1;
}

int OnuXponHalAdapterBCM::resetTContObject(int tContIndex) {
    kit::resetTcont(tContIndex);
    return 1;
}
