#include "kit/Tconts.h"

#include "kit/StateEntries.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"

namespace kit {

namespace {

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

bool bindTcont(int tContIndex, std::uint16_t allocId) {
    // The driver keeps an earlier binding of the T-CONT unless it is cleared first.
    GponCtlTcontAllocId record = binding(tContIndex, kNoAllocId);
    const bool cleared = gponCtl_configTcontAllocId(&record) == 0;
    record.allocId = allocId;
    return gponCtl_configTcontAllocId(&record) == 0 && cleared;
}

bool unbindTcont(int tContIndex) {
    const GponCtlTcontAllocId record = binding(tContIndex, 0);
    return gponCtl_deconfigTcontAllocId(&record) == 0;
}

bool initTcontQueues(int tContIndex) {
    const TmctlIf interface = tmInterface(tContIndex);
    return tmctl_portTmInit(TMCTL_DEV_GPON, &interface, kNoTmFlags, kDefaultQueueCount) == 0;
}

bool createTcontQueues(int tContIndex) {
    for (unsigned queue = 0; queue < kQueuesPerTcont; ++queue) {
        TmctlQueueCfg config{};
        config.queueId = queue;
        config.priority = queue;
        config.queueSize = kQueueSize;
        config.weight = kStrictWeight;
        config.schedMode = TMCTL_SCHED_STRICT_PRIORITY;
        if (!setTcontQueue(tContIndex, config)) return false;
    }
    noteTcontQueues(tContIndex, true);
    return true;
}

std::optional<TmctlQueueCfg> tcontQueue(int tContIndex, unsigned queue) {
    const TmctlIf interface = tmInterface(tContIndex);
    TmctlQueueCfg config{};
    if (tmctl_getQueueCfg(TMCTL_DEV_GPON, &interface, static_cast<int>(queue), &config) != 0) return std::nullopt;
    return config;
}

bool setTcontQueue(int tContIndex, const TmctlQueueCfg& config) {
    const TmctlIf interface = tmInterface(tContIndex);
    return tmctl_setQueueCfg(TMCTL_DEV_GPON, &interface, &config) == 0;
}

std::vector<TmctlQueueCfg> tcontQueues(int tContIndex) {
    std::vector<TmctlQueueCfg> queues;
    for (unsigned queue = 0; queue < kQueuesPerTcont; ++queue)
        if (const auto config = tcontQueue(tContIndex, queue)) queues.push_back(*config);
    return queues;
}

bool deleteTcontQueue(int tContIndex, unsigned queue) {
    const TmctlIf interface = tmInterface(tContIndex);
    return tmctl_delQueueCfg(TMCTL_DEV_GPON, &interface, static_cast<int>(queue)) == 0;
}

bool releaseTcontQueues(int tContIndex) {
    const TmctlIf interface = tmInterface(tContIndex);
    return tmctl_portTmUninit(TMCTL_DEV_GPON, &interface) == 0;
}

void resetTcont(int tContIndex) {
    for (unsigned queue = 0; queue < kQueuesPerTcont; ++queue) deleteTcontQueue(tContIndex, queue);
    releaseTcontQueues(tContIndex);
    unbindTcont(tContIndex);
    noteTcontQueues(tContIndex, false);
}

void noteTcontQueues(int tContIndex, bool exist) {
    noteMark(exist, Entry::TcontQueues, static_cast<std::uint16_t>(tContIndex));
}

}  // namespace kit
