#include "omci/agent/Outbox.h"

#include "omci/agent/Locks.h"

namespace omci {

void Outbox::send(EntityKey entity, MessageType type, std::uint16_t transaction, const Content& content) {
    Message message;
    message.transaction = transaction;
    message.type = type;
    message.set = set_;
    message.entity = entity;
    encodeContent(message, content);
    messages_.push_back(std::move(message));
}

void Outbox::sendAlarm(EntityKey entity, const AlarmState& state) {
    send(entity, MessageType::kAlarm, 0, state);
}

void Outbox::sendTestResult(EntityKey entity, std::uint16_t transaction, Bytes result) {
    send(entity, MessageType::kTestResult, transaction, TestContent{std::move(result)});
}

void Outbox::change(EntityKey key, AttributeNumber attribute, ByteView value) {
    Entity* entity = mib_.edit(key);
    if (entity == nullptr || !entity->setBytes(attribute, value)) return;
    const AttributeInfo* info = entity->info().attribute(attribute);
    mib_.commit(*entity, maskOf(attribute));
    if ((info->access & kAvc) == 0 || !entity->has(attribute) || isSilenced(mib_, key)) return;
    send(key, MessageType::kAttributeValueChange, 0,
         AttributeValues{maskOf(attribute), entity->bytes(attribute).copy()});
}

void Outbox::change(EntityKey key, AttributeNumber attribute, std::uint64_t value) {
    const Entity* entity = mib_.find(key);
    if (entity == nullptr) return;
    Entity changed = *entity;  // writes the number in the attribute's size
    changed.setNumber(attribute, value);
    change(key, attribute, changed.bytes(attribute));
}

}  // namespace omci
