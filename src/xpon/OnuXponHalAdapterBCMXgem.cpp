// GEM ports: driver configuration, upstream queues, and the default GPON device that is up while there are any.
#include <cstdio>
#include <cstdlib>

#include "hal/Shell.h"
#include "hal/Text.h"
#include "kit/Asked.h"
#include "kit/Devices.h"
#include "kit/GemPorts.h"
#include "kit/Tconts.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "xpon/GemPortSettings.h"
#include "xpon/OnuXponHalAdapterBCM.h"
#include "xpon/PonMaps.h"

using kit::kMaxGemIndex;
using kit::kNoAllocId;
using kit::kNoGemIndex;

namespace {

constexpr std::uint8_t kGemPortKind = 3;
constexpr unsigned char kWeightedRoundRobin = 2;

constexpr std::uint32_t kFirstQueueSize = 2035;
constexpr std::uint32_t kQueueSize = 256;
constexpr int kDropThreshold = 100660224;  // the runner's encoding; the same for every queue

// A weight of 0..255 onto the scheduler's 1..63.
constexpr std::uint32_t schedulerWeight(unsigned char weight) {
    return weight * 62U / 255U + 1U;
}

constexpr unsigned kDiscardedFramesCounter = 6;  // of the GEM port's counters

}  // namespace

int OnuXponHalAdapterBCM::configureXGEM(const XGEMConfig& config) {
    const state::Operation operation;
    unsigned short tContIndex = 0;
    const bool hasTCont =
        config.tContAllocId != kNoAllocId && getTcontIdxFromAllocIdMapEntry(config.tContAllocId, &tContIndex) != 0;
    std::printf("\nconfigureXGEM:: xgemConfig.xgemPortId=%d xgemConfig.tContAllocId=%d xgemConfig.upstreamQueue=%d \n",
                config.xgemPortId, config.tContAllocId, config.upstreamQueue);
    const auto gemIndex =
        static_cast<unsigned short>(createXGEMPort(config.xgemPortId, config.tContAllocId, config.upstreamQueue));
    if (hasTCont) {
        configGemPortQosUs(config.upstreamQueue, tContIndex, config.schedPolicy, config.priority, config.qosArg,
                           config.weight);
    }
    enableXGEM(config.xgemPortId, gemIndex);
    if (gemIndex > kMaxGemIndex) return 0;

    insertGemPortMapEntry(config.xgemPortId, gemIndex);
    kit::noteNeed(kit::Entry::PonGem, config.xgemPortId);
    if (hasTCont) insertTcontIdxToGemPortMapEntry(tContIndex, gemIndex);
    addGemToDefaultGponIf(gemIndex);
    return 1;
}

int OnuXponHalAdapterBCM::createXGEMPort(unsigned short xgemPortId, unsigned short tContAllocId,
                                         unsigned short /*upstreamQueue*/) {
    unsigned short known = 0;
    if (getGemIdxFromGemPortMapEntry(xgemPortId, &known) != 0) {
        kit::noteIncomplete();
        return known;
    }

    const state::Operation operation;
    GponCtlGemPortConfig config = gemPortConfig(xgemPortId, tContAllocId);
    if (kit::createGemPort(config) == GPONCTL_ERROR_GEM_PORT_EXISTS) {
        const kit::GemPortAnswer existing = kit::gemPortById(xgemPortId);
        if (existing.known()) disableXGEM(existing.port.gemPortId, existing.port.gemIndex);
    }
    // Kept: for a port that exists this is what the driver left in the record, not the index it reported.
    return config.gemIndex;
}

int OnuXponHalAdapterBCM::deconfigureXGEM(const XGEMConfig& config) {
    const state::Operation operation;
    const auto gemIndex = static_cast<unsigned short>(deleteXGEMPort(config.xgemPortId));
    if (gemIndex <= kMaxGemIndex) {
        deleteGemPortMapEntry(config.xgemPortId);
        // Kept: the port id is compared with GEM indexes, so an entry goes only when the two numbers coincide.
        deleteGemPortFromTcontIdxToGemPortMap(config.xgemPortId);
    }
    removeGemFromDefaultGponIf(gemIndex);
    return 1;
}

int OnuXponHalAdapterBCM::deleteXGEMPort(unsigned short xgemPortId) {
    unsigned short known = 0;
    if (getGemIdxFromGemPortMapEntry(xgemPortId, &known) == 0) return kNoGemIndex;

    const kit::GemPortAnswer answer = kit::gemPortById(xgemPortId);
    if (answer.port.gemIndex == 0) return kNoGemIndex;  // Kept: index 0 is never deconfigured
    if (answer.known()) kit::removeGemPort(answer.port, xgemPortId);
    return answer.port.gemIndex;
}

int OnuXponHalAdapterBCM::enableXGEM(unsigned short xgemPortId, unsigned short gemIndex) {
    kit::enableGemPort(xgemPortId, &gemIndex, true);
    return gemIndex;
}

int OnuXponHalAdapterBCM::disableXGEM(unsigned short xgemPortId, unsigned short gemIndex) {
    kit::enableGemPort(xgemPortId, &gemIndex, false);
    return 1;
}

int OnuXponHalAdapterBCM::setXgemStatus(unsigned short xgemPortId, bool enable) {
    unsigned short gemIndex = 0;
    if (getGemIdxFromGemPortMapEntry(xgemPortId, &gemIndex) == 0) return kNoGemIndex;
    return static_cast<std::uint16_t>(kit::enableGemPort(xgemPortId, &gemIndex, enable));
}

void OnuXponHalAdapterBCM::configGemPortQosUs(unsigned short queue, unsigned short tContIndex,
                                              unsigned char schedPolicy, unsigned char priority,
                                              unsigned short /*qosArg*/, unsigned char weight) {
    if (queue > kMaxGemQueue) return;
    if (const std::optional<TmctlQueueCfg> config = kit::tcontQueue(tContIndex, queue))
        setGemPortQueue(tContIndex, queue, *config, {schedPolicy, priority, weight});
}

bool setGemPortQueue(unsigned short tContIndex, unsigned short queue, TmctlQueueCfg config,
                     const GemPortScheduling& scheduling) {
    if (scheduling.policy == kWeightedRoundRobin) {
        config.priority = 0;
        config.schedMode = TMCTL_SCHED_WEIGHTED_ROUND_ROBIN;
        config.weight = schedulerWeight(scheduling.weight);
    } else {
        config.priority = scheduling.priority;
        config.schedMode = TMCTL_SCHED_STRICT_PRIORITY;
    }
    config.queueSize = queue == 0 ? kFirstQueueSize : kQueueSize;
    if (!kit::setTcontQueue(tContIndex, config)) return false;

    // The runner numbers a T-CONT's egress scheduler one above the T-CONT index.
    const FixedText<255> command("bs /b/c egress_tm/dir=us,index=%d queue_cfg[%d]={drop_threshold=%d}", tContIndex + 1,
                                 queue, kDropThreshold);
    return runShell(command.get()) == 0;
}

GponCtlGemPortConfig gemPortConfig(unsigned short gemPortId, unsigned short allocId) {
    GponCtlGemPortConfig config{};
    config.gemIndex = GPONCTL_GEM_INDEX_UNKNOWN;
    config.gemPortId = gemPortId;
    config.allocId = allocId;
    config.downstreamOnly = allocId == kNoAllocId ? 1 : 0;
    config.flag = 1;
    config.kind = kGemPortKind;
    return config;
}

void OnuXponHalAdapterBCM::configGemPortShapingUs(unsigned short queue, unsigned short tContIndex,
                                                  unsigned char priority, bool /*flag*/) {
    if (queue > kMaxGemQueue) return;
    std::optional<TmctlQueueCfg> config = kit::tcontQueue(tContIndex, queue);
    if (!config) return;
    config->priority = priority;
    config->shapingRate = 0;
    config->shapingBurst = 0;
    kit::setTcontQueue(tContIndex, *config);
}

void OnuXponHalAdapterBCM::addGemToDefaultGponIf(unsigned short gemIndex) {
    if (gemIndex > kMaxGemIndex) return;
    const state::Operation operation;
    if (g_GemCnt == 0) kit::raisePonDevice();
    countGemPorts(1);
}

void OnuXponHalAdapterBCM::removeGemFromDefaultGponIf(unsigned short gemIndex) {
    if (gemIndex > kMaxGemIndex) return;
    // Kept: no floor at 0. An unmatched removal leaves the device down until the count has been made up for.
    countGemPorts(-1);
    if (g_GemCnt == 0) kit::setPonDeviceUp(false);
}

int OnuXponHalAdapterBCM::getGalEthPmHistDataME(GalEthPMHistoryData_t* data) {
    if (data == nullptr) return -1;
    const kit::GemPortCounters counters = kit::countersOfGemPort(data->gemPortId);
    if (counters.result == 0) data->discardedFrames = counters.port.counter[kDiscardedFramesCounter];
    return counters.result;
}
