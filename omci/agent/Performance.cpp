#include "omci/agent/Performance.h"

#include <algorithm>
#include <vector>

namespace omci {

namespace {

constexpr AttributeNumber kIntervalEndTime = 1;
constexpr AttributeNumber kThresholds = 2;  // identifier or control block
constexpr AttributeNumber kFirstCounter = 3;

// The control block of classes 334 and 425: thresholds' identifier first, then 2 bytes each at these places.
constexpr std::size_t kAccumulationDisable = 6;
constexpr std::size_t kAlertDisable = 8;
constexpr std::uint16_t kAllOff = 0x4000;      // of both disable fields
constexpr std::uint16_t kBeginAnew = 0x8000;   // of the accumulation disable field, reads 0
constexpr std::uint16_t kContinuous = 0x0001;  // of the control fields

bool hasControlBlock(const Entity& pm) {
    return pm.classId() == class_id::kExtendedPm || pm.classId() == class_id::kExtendedPm64;
}

std::uint16_t controlField(const Entity& pm, std::size_t place) {
    return hasControlBlock(pm) ? number16(pm.bytes(kThresholds), place) : std::uint16_t{0};
}

// The identifier comes first in a control block.
InstanceId thresholdsOf(const Entity& pm) {
    return number16(pm.bytes(kThresholds), 0);
}

// Bit 1 stands for the first counter.
bool isOff(std::uint16_t field, AttributeNumber counter) {
    return (field & kAllOff) != 0 || (field & 1U << (counter - kFirstCounter)) != 0;
}

std::uint64_t most(const AttributeInfo& counter) {
    return counter.size >= 8 ? UINT64_MAX : (std::uint64_t{1} << counter.size * 8U) - 1;
}

}  // namespace

Performance::Performance(Mib& mib, Alarms& alarms, CounterSources& sources, std::uint64_t nowMs)
    : mib_(mib), alarms_(alarms), sources_(sources), intervalBeginMs_(nowMs) {
    mib_.addObserver(*this);
}

Performance::~Performance() {
    mib_.removeObserver(*this);
}

void Performance::onChange(const Change& change) {
    if (!change.entity->info().isPerformance()) return;
    if (change.kind == ChangeKind::kCreated) begins_[change.key] = sources_.read(*change.entity);
    if (change.kind == ChangeKind::kDeleted) begins_.erase(change.key);
}

CounterValues Performance::since(const Entity& pm, const CounterValues& begin) {
    CounterValues values = sources_.read(pm);
    const std::uint16_t disabled = controlField(pm, kAccumulationDisable);
    for (const AttributeInfo& counter : pm.info().attributes()) {
        std::uint64_t& value = values[counter.number];
        if (counter.number < kFirstCounter) continue;
        // A counter below its value at the beginning has started again in the meantime. A full one stays full.
        value = std::min(value >= begin[counter.number] ? value - begin[counter.number] : value, most(counter));
        if (isOff(disabled, counter.number)) value = 0;
    }
    return values;
}

GetOutcome Performance::current(EntityKey key, AttributeMask mask, std::size_t room) {
    Entity running = *mib_.find(key);
    const CounterValues values = since(running, begins_[key]);
    for (const AttributeInfo& counter : running.info().attributes()) {
        if (counter.number >= kFirstCounter) running.setNumber(counter.number, values[counter.number]);
    }
    running.setNumber(kIntervalEndTime, interval_);
    return readAttributes(running, mask, room);
}

void Performance::written(EntityKey key) {
    const Entity* pm = mib_.find(key);
    if (pm == nullptr || (controlField(*pm, kAccumulationDisable) & kBeginAnew) == 0) return;
    begins_[key] = sources_.read(*pm);
    Bytes block = pm->bytes(kThresholds).copy();
    block[kAccumulationDisable] = static_cast<std::uint8_t>(block[kAccumulationDisable] & 0x7FU);
    mib_.setBytes(key, kThresholds, block);
}

void Performance::tick(std::uint64_t nowMs) {
    const std::uint64_t over = (nowMs - intervalBeginMs_) / kIntervalMs;
    intervalBeginMs_ += over * kIntervalMs;
    // Of several that nobody looked after, the first has all that was counted and the last has nothing.
    if (over > 0) endInterval();
    if (over > 1) {
        interval_ = static_cast<std::uint8_t>(interval_ + over - 2);
        endInterval();
    }
    for (const auto& [key, begin] : begins_) {
        const Entity* pm = mib_.find(key);
        const bool alerts = std::any_of(pm->info().attributes().begin(), pm->info().attributes().end(),
                                        [](const AttributeInfo& counter) { return counter.thresholdAlarm >= 0; });
        if (alerts && !isNull(thresholdsOf(*pm))) checkThresholds(*pm, since(*pm, begin));
    }
}

void Performance::synchronize(std::uint64_t nowMs) {
    intervalBeginMs_ = nowMs;
    interval_ = 0;
    for (auto& [key, begin] : begins_) {
        Entity* pm = mib_.edit(key);
        begin = sources_.read(*pm);
        close(*pm, CounterValues{});
    }
}

void Performance::close(Entity& pm, const CounterValues& values) {
    AttributeMask changed = pm.setNumber(kIntervalEndTime, interval_) ? maskOf(kIntervalEndTime) : AttributeMask{0};
    for (const AttributeInfo& counter : pm.info().attributes()) {
        if (counter.number < kFirstCounter) continue;
        if (pm.setNumber(counter.number, values[counter.number])) changed |= maskOf(counter.number);
        if (counter.thresholdAlarm >= 0) alarms_.set(pm.key(), static_cast<unsigned>(counter.thresholdAlarm), false);
    }
    mib_.commit(pm, changed);
}

void Performance::endInterval() {
    for (auto& [key, begin] : begins_) {
        Entity* pm = mib_.edit(key);
        close(*pm, since(*pm, begin));
        if ((controlField(*pm, kControlFields) & kContinuous) == 0) begin = sources_.read(*pm);
    }
    ++interval_;
}

void Performance::checkThresholds(const Entity& pm, const CounterValues& values) {
    const InstanceId thresholds = thresholdsOf(pm);
    const Entity* first = mib_.find(class_id::kThreshold1, thresholds);
    const Entity* second = mib_.find(class_id::kThreshold2, thresholds);
    const std::uint16_t disabled = controlField(pm, kAlertDisable);
    // Thresholds are in the order of the alerts (not certain where those leave a number out).
    AttributeNumber place = 0;
    for (const AttributeInfo& counter : pm.info().attributes()) {
        if (counter.thresholdAlarm < 0) continue;
        ++place;
        const Entity* holder = place <= 7 ? first : second;
        if (holder == nullptr || isOff(disabled, counter.number)) continue;
        const std::uint64_t threshold = holder->number(static_cast<AttributeNumber>(place <= 7 ? place : place - 7));
        if (threshold != 0 && values[counter.number] >= threshold) {
            alarms_.set(pm.key(), static_cast<unsigned>(counter.thresholdAlarm), true);
        }
    }
}

}  // namespace omci
