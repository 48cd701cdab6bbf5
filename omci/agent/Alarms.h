// The alarms of all entities, what holds them back (ARC, alarm reporting control), and how the OLT learns of them.
#ifndef OMCI_AGENT_ALARMS_H
#define OMCI_AGENT_ALARMS_H

#include <cstdint>
#include <map>
#include <vector>

#include "omci/agent/Outbox.h"
#include "omci/message/Contents.h"
#include "omci/mib/Mib.h"

namespace omci {

class Alarms : private MibObserver {
public:
    // Both live as long as this object.
    Alarms(Mib& mib, Outbox& outbox);
    ~Alarms() override;
    Alarms(const Alarms&) = delete;
    Alarms& operator=(const Alarms&) = delete;

    // Raises or clears an alarm (0..223) of an entity that exists; the OLT is notified when that changes something. An
    // entity that is locked, or depends on one, has no alarms (Locks.h).
    void set(EntityKey entity, unsigned alarm, bool raised);
    bool isRaised(EntityKey entity, unsigned alarm) const;

    // The OLT has set ARC or its interval.
    void controlChanged(EntityKey entity, std::uint64_t nowMs);
    // Ends the intervals of ARC that are over.
    void tick(std::uint64_t nowMs);

    // Freezes a copy of all entities with an alarm, without those held back where the OLT asks so; the sequence numbers
    // start again. Answers how many parts the copy has in the message set.
    std::uint16_t startCopy(bool heldBackToo, MessageSet set, std::uint64_t nowMs);
    // A part of the copy, in the message set that it was begun in; nothing otherwise.
    AlarmEntries copyPart(std::uint16_t number, MessageSet set, std::uint64_t nowMs);

    // After a MIB reset nothing is held back any more.
    void releaseAll();
    // As after a restart.
    void clear();

private:
    struct State {
        AlarmBits bits{};
        bool unreported = false;  // changed while it was held back
    };
    void onChange(const Change& change) override;
    void forgetSilenced();
    bool isHeldBack(EntityKey entity) const;
    void report(EntityKey entity, State& state);

    Mib& mib_;
    Outbox& outbox_;
    std::map<EntityKey, State> states_;
    std::map<EntityKey, std::uint64_t> arcEndsMs_;  // entities whose ARC ends by itself
    std::uint8_t sequence_ = 0;                     // of the last alarm
    std::vector<AlarmEntries> copy_;
    MessageSet copySet_ = MessageSet::kBaseline;
    std::uint64_t lastReadMs_ = 0;
};

}  // namespace omci

#endif
