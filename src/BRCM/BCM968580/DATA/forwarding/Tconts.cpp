#include "BRCM/BCM968580/DATA/forwarding/Tconts.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BRCM/BCM968580/DATA/forwarding/Rollback.h"
#include "kit/Asked.h"
#include "kit/Tconts.h"
#include "xpon/PonMaps.h"

namespace forwarding {

namespace {

constexpr std::uint16_t kMaxTcont = 255;  // GPON control would take a higher one for another

std::string nameOfTcont(std::uint16_t tContIndex) {
    return "T-CONT " + std::to_string(tContIndex);
}

std::optional<std::uint16_t> allocIdOf(std::uint16_t tContIndex) {
    const auto& bound = ponAdapter().allocIdMap;
    const auto found =
        std::find_if(bound.begin(), bound.end(), [&](const auto& one) { return one.second == tContIndex; });
    if (found == bound.end()) return std::nullopt;
    return found->first;
}

class TcontToBind {
public:
    explicit TcontToBind(const TContProvisioning& record)
        : allocId_(record.allocId), index_(record.tContIndex), allocIdBefore_(allocIdOf(index_)) {}

    // What is refused; "": nothing was. With another alloc-id the T-CONT keeps the queues that GEM ports have set.
    std::string make() {
        if (!kit::bindTcont(index_, allocId_)) return "alloc-id " + std::to_string(allocId_) + " cannot be bound";
        if (!allocIdBefore_ && (!kit::initTcontQueues(index_) || !kit::createTcontQueues(index_)))
            return nameOfTcont(index_) + " gets no queues";
        if (allocIdBefore_) ponAdapter().deleteAllocIdMapEntry(*allocIdBefore_);
        ponAdapter().insertAllocIdMapEntry(allocId_, index_);
        return "";
    }
    void undo(Rollback& rollback) {
        if (allocIdBefore_) {
            if (!kit::bindTcont(index_, *allocIdBefore_))
                rollback.cannotRestore("the binding of " + nameOfTcont(index_));
        } else {
            kit::resetTcont(index_);
            if (kit::tcontQueue(index_, 0)) rollback.stays(nameOfTcont(index_));
        }
    }

private:
    const std::uint16_t allocId_, index_;
    const std::optional<std::uint16_t> allocIdBefore_;
};

// The binding goes last: it is not to undo.
std::string takeDown(std::uint16_t tContIndex, const std::vector<TmctlQueueCfg>& queues) {
    for (const TmctlQueueCfg& queue : queues)
        if (!kit::deleteTcontQueue(tContIndex, queue.queueId))
            return "queue " + std::to_string(queue.queueId) + " of " + nameOfTcont(tContIndex) + " cannot be removed";
    if (!queues.empty() && !kit::releaseTcontQueues(tContIndex))
        return "traffic management does not give " + nameOfTcont(tContIndex) + " up";
    return kit::unbindTcont(tContIndex) ? "" : nameOfTcont(tContIndex) + " stays bound";
}

void giveBack(std::uint16_t tContIndex, const std::vector<TmctlQueueCfg>& queues, Rollback& rollback) {
    bool done = queues.empty() || kit::initTcontQueues(tContIndex);
    for (const TmctlQueueCfg& queue : queues) done = kit::setTcontQueue(tContIndex, queue) && done;
    if (!done) rollback.cannotRestore("its queues");
}

}  // namespace

bool addTcont(const TContProvisioning& record) {
    constexpr const char* kOperation = "tcont_set";
    const std::string allocId = "alloc-id " + std::to_string(record.allocId);
    if (record.allocId == kit::kNoAllocId || record.tContIndex > kMaxTcont)
        return isDone(kOperation, {false, "no " + allocId + " or no " + nameOfTcont(record.tContIndex)});
    const auto bound = ponAdapter().allocIdMap.find(record.allocId);
    if (bound != ponAdapter().allocIdMap.end()) {
        kit::noteNeed(kit::Entry::AllocIds, record.allocId);
        return bound->second == record.tContIndex ||
               isDone(kOperation, {false, allocId + " is that of " + nameOfTcont(bound->second)});
    }
    const kit::BegunStep step(kit::Step::BindTcont, record.allocId, record.tContIndex);
    TcontToBind tcont(record);
    const std::string problem = tcont.make();
    if (problem.empty()) {
        kit::noteNeed(kit::Entry::AllocIds, record.allocId);
        return true;
    }
    Rollback rollback(problem);
    tcont.undo(rollback);
    return rollback.report(kOperation);
}

bool removeTcont(std::uint16_t allocId) {
    const auto bound = ponAdapter().allocIdMap.find(allocId);
    if (bound == ponAdapter().allocIdMap.end()) return true;
    const std::uint16_t tContIndex = bound->second;
    const kit::BegunStep step(kit::Step::ResetTcont, allocId);
    if (allocId != kit::kKeptAllocId) {
        const std::vector<TmctlQueueCfg> queues = kit::tcontQueues(tContIndex);
        const std::string problem = takeDown(tContIndex, queues);
        if (!problem.empty()) {
            Rollback rollback(problem);
            giveBack(tContIndex, queues, rollback);
            return rollback.report("tcont_reset");
        }
        kit::noteTcontQueues(tContIndex, false);
    }
    ponAdapter().deleteAllocIdMapEntry(allocId);
    return true;
}

}  // namespace forwarding
