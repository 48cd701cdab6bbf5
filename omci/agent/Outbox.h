// What the ONU sends by itself, in order, until it is taken.
#ifndef OMCI_AGENT_OUTBOX_H
#define OMCI_AGENT_OUTBOX_H

#include <cstdint>
#include <utility>
#include <vector>

#include "omci/message/Contents.h"
#include "omci/mib/Mib.h"

namespace omci {

class Outbox {
public:
    explicit Outbox(Mib& mib) : mib_(mib) {}

    // Not certain: which set autonomous messages come in. They follow the set that the OLT used last, as far as it has
    // used the extended one at all.
    void follow(MessageSet set) { set_ = set; }

    void sendAlarm(EntityKey entity, const AlarmState& state);
    // The answer to a test with the same transaction.
    void sendTestResult(EntityKey entity, std::uint16_t transaction, Bytes result);

    // A value that changes by itself: it goes into the MIB, and where the standard says so the OLT is notified, unless
    // the entity is locked.
    void change(EntityKey entity, AttributeNumber attribute, ByteView value);
    void change(EntityKey entity, AttributeNumber attribute, std::uint64_t value);

    std::vector<Message> take() { return std::exchange(messages_, {}); }
    void clear() { messages_.clear(); }

private:
    void send(EntityKey entity, MessageType type, std::uint16_t transaction, const Content& content);

    Mib& mib_;
    MessageSet set_ = MessageSet::kBaseline;
    std::vector<Message> messages_;
};

}  // namespace omci

#endif
