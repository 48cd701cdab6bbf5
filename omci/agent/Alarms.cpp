#include "omci/agent/Alarms.h"

#include <algorithm>
#include <iterator>

#include "omci/agent/Locks.h"
#include "omci/mib/Upload.h"

namespace omci {

namespace {

constexpr std::uint8_t kUntilCleared = 255;  // interval of ARC
constexpr std::uint64_t kMinuteMs = 60'000;
constexpr std::size_t kEntrySize = 4 + kAlarmBytes;

// The attributes of alarm reporting control, 0 where a class has none.
struct Control {
    AttributeNumber arc = 0;
    AttributeNumber interval = 0;
};
Control controlOf(ClassId classId) {
    switch (classId) {
        case class_id::kCardholder:
            return {attr::cardholder::kArc, attr::cardholder::kArcInterval};
        case class_id::kEthernetUni:
            return {attr::ethernet_uni::kArc, attr::ethernet_uni::kArcInterval};
        case class_id::kAniG:
            return {attr::ani_g::kArc, attr::ani_g::kArcInterval};
        default:
            return {};
    }
}

std::uint8_t bitOf(unsigned alarm) {
    return static_cast<std::uint8_t>(0x80U >> alarm % 8);
}

bool anySet(const AlarmBits& bits) {
    return !allAre({bits.data(), bits.size()}, 0);
}

}  // namespace

Alarms::Alarms(Mib& mib, Outbox& outbox) : mib_(mib), outbox_(outbox) {
    mib_.addObserver(*this);
}

Alarms::~Alarms() {
    mib_.removeObserver(*this);
}

void Alarms::onChange(const Change& change) {
    if (change.kind == ChangeKind::kDeleted) states_.erase(change.key);
    if (change.kind == ChangeKind::kChanged) forgetSilenced();  // it may have been locked
}

// The OLT clears what a locked entity has reported; nothing is sent.
void Alarms::forgetSilenced() {
    for (auto state = states_.begin(); state != states_.end();)
        state = isSilenced(mib_, state->first) ? states_.erase(state) : std::next(state);
}

bool Alarms::isHeldBack(EntityKey key) const {
    const Entity* entity = mib_.find(key);
    return entity != nullptr && entity->number8(controlOf(key.classId).arc) == 1;
}

bool Alarms::isRaised(EntityKey entity, unsigned alarm) const {
    const auto found = states_.find(entity);
    return found != states_.end() && alarm < kAlarmBytes * 8 && (found->second.bits[alarm / 8] & bitOf(alarm)) != 0;
}

void Alarms::set(EntityKey entity, unsigned alarm, bool raised) {
    if (alarm >= kAlarmBytes * 8 || isRaised(entity, alarm) == raised || mib_.find(entity) == nullptr) return;
    if (isSilenced(mib_, entity)) return;
    State& state = states_[entity];
    state.bits[alarm / 8] = static_cast<std::uint8_t>(state.bits[alarm / 8] ^ bitOf(alarm));
    if (isHeldBack(entity)) {
        state.unreported = true;
    } else {
        report(entity, state);
    }
}

void Alarms::report(EntityKey entity, State& state) {
    sequence_ = static_cast<std::uint8_t>(sequence_ == 255 ? 1 : sequence_ + 1);
    outbox_.sendAlarm(entity, {state.bits, sequence_});
    state.unreported = false;
}

void Alarms::controlChanged(EntityKey key, std::uint64_t nowMs) {
    const Control control = controlOf(key.classId);
    const Entity* entity = mib_.find(key);
    if (entity == nullptr || control.arc == 0) return;
    arcEndsMs_.erase(key);
    const std::uint8_t minutes = entity->number8(control.interval);
    if (entity->number8(control.arc) == 1) {
        if (minutes != kUntilCleared) arcEndsMs_[key] = nowMs + minutes * kMinuteMs;
        return;
    }
    const auto state = states_.find(key);
    if (state != states_.end() && state->second.unreported) report(key, state->second);
}

void Alarms::tick(std::uint64_t nowMs) {
    std::vector<EntityKey> over;
    for (const auto& [key, endMs] : arcEndsMs_) {
        if (nowMs >= endMs) over.push_back(key);
    }
    for (const EntityKey key : over) {
        outbox_.change(key, controlOf(key.classId).arc, 0);
        controlChanged(key, nowMs);
    }
}

std::uint16_t Alarms::startCopy(bool heldBackToo, MessageSet set, std::uint64_t nowMs) {
    const std::size_t perPart = set == MessageSet::kExtended ? kMaxExtendedContent / kEntrySize : 1;
    copy_.clear();
    copySet_ = set;
    lastReadMs_ = nowMs;
    sequence_ = 0;
    for (const auto& [key, state] : states_) {
        if (!anySet(state.bits) || (!heldBackToo && isHeldBack(key))) continue;
        if (copy_.empty() || copy_.back().entries.size() >= perPart) copy_.emplace_back();
        copy_.back().entries.push_back({key, state.bits});
    }
    return static_cast<std::uint16_t>(std::min<std::size_t>(copy_.size(), 0xFFFF));
}

AlarmEntries Alarms::copyPart(std::uint16_t number, MessageSet set, std::uint64_t nowMs) {
    if (set != copySet_) return {};
    if (nowMs - lastReadMs_ > kCopyLifetimeMs) copy_.clear();
    lastReadMs_ = nowMs;
    return number < copy_.size() ? copy_[number] : AlarmEntries{};
}

void Alarms::releaseAll() {
    arcEndsMs_.clear();
    for (auto& [key, state] : states_) {
        if (state.unreported) report(key, state);
    }
}

void Alarms::clear() {
    states_.clear();
    arcEndsMs_.clear();
    copy_.clear();
    sequence_ = 0;
}

}  // namespace omci
