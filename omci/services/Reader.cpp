#include "omci/services/Reader.h"

#include <algorithm>
#include <iterator>

namespace omci::services {

namespace {

constexpr std::size_t kMaxMessages = 32;  // that are kept of one entity: the first and the latest

std::uint32_t packed(EntityKey key) {
    return std::uint32_t{key.classId} << 16 | key.instance;
}
std::uint64_t packed(Subject subject, EntityKey key) {
    return std::uint64_t{static_cast<std::uint8_t>(subject)} << 32 | packed(key);
}

}  // namespace

void Readers::add(EntityKey reader, Subject subject, EntityKey key) {
    const std::uint64_t number = packed(subject, key);
    if (readers_[number].insert(reader).second) subjects_[packed(reader)].push_back(number);
}

void Readers::forget(EntityKey reader) {
    const auto subjects = subjects_.find(packed(reader));
    if (subjects == subjects_.end()) return;
    for (const std::uint64_t number : subjects->second) {
        const auto readers = readers_.find(number);
        readers->second.erase(reader);
        if (readers->second.empty()) readers_.erase(readers);
    }
    subjects_.erase(subjects);
}

void Readers::appendTo(std::set<EntityKey>& readers, Subject subject, EntityKey key) const {
    const auto found = readers_.find(packed(subject, key));
    if (found != readers_.end()) readers.insert(found->second.begin(), found->second.end());
}

void History::add(EntityKey key, MessageRef message) {
    auto& messages = messages_[packed(key)];
    if (!messages.empty() && messages.back() == message) return;
    if (messages.size() == kMaxMessages) messages.erase(messages.begin() + 1);
    messages.push_back(message);
}

void History::appendTo(std::vector<MessageRef>& messages, EntityKey key) const {
    const auto found = messages_.find(packed(key));
    if (found != messages_.end()) messages.insert(messages.end(), found->second.begin(), found->second.end());
}

const Entity* Reader::look(ClassId classId, InstanceId instance) {
    readers_.add(reader_, Subject::kEntity, {classId, instance});
    return mib_.find(classId, instance);
}

const Entity* Reader::find(ClassId classId, InstanceId instance) {
    const Entity* entity = look(classId, instance);
    if (entity != nullptr && std::find(found_.begin(), found_.end(), entity->key()) == found_.end())
        found_.push_back(entity->key());
    return entity;
}

std::vector<InstanceId> Reader::pointingAt(EntityKey key, ClassId classId) {
    readers_.add(reader_, Subject::kPointers, key);
    std::vector<InstanceId> instances;
    for (const EntityKey from : mib_.pointingAt(key)) {
        if (from.classId == classId) instances.push_back(from.instance);
    }
    std::sort(instances.begin(), instances.end());
    instances.erase(std::unique(instances.begin(), instances.end()), instances.end());
    return instances;
}

unsigned Reader::placeOf(EntityKey key) const {
    const Mib::Instances& all = mib_.instances(key.classId);
    return static_cast<unsigned>(std::distance(all.begin(), all.lower_bound(key.instance)));
}

unsigned Reader::placeAmongQueues(const Entity& queue) const {
    const auto related = [](const Entity& one) { return number16(one.bytes(attr::priority_queue::kRelatedPort), 0); };
    const Mib::Instances& all = mib_.instances(class_id::kPriorityQueue);
    return static_cast<unsigned>(std::count_if(all.begin(), all.lower_bound(queue.instance()),
                                               [&](const auto& one) { return related(one.second) == related(queue); }));
}

}  // namespace omci::services
