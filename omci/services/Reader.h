// Reads the MIB for whoever plans, and keeps who has read what: a change concerns its readers alone.
#ifndef OMCI_SERVICES_READER_H
#define OMCI_SERVICES_READER_H

#include <cstdint>
#include <set>
#include <unordered_map>
#include <vector>

#include "omci/mib/Mib.h"
#include "omci/services/Cause.h"

namespace omci::services {

// What a reader may depend on.
enum class Subject : std::uint8_t {
    kEntity,    // whether the entity exists, and its attributes
    kPointers,  // who points at it
    kUsers,     // which kinds of ports to the user's side a bridge has
};

// Who depends on what. A reader is named by the entity that it plans.
class Readers {
public:
    void add(EntityKey reader, Subject subject, EntityKey key);
    void forget(EntityKey reader);
    // Appends the readers of the subject.
    void appendTo(std::set<EntityKey>& readers, Subject subject, EntityKey key) const;

private:
    std::unordered_map<std::uint64_t, std::set<EntityKey>> readers_;
    std::unordered_map<std::uint32_t, std::vector<std::uint64_t>> subjects_;
};

// The messages that made each entity as it is.
class History {
public:
    void add(EntityKey key, MessageRef message);
    void forget(EntityKey key) { messages_.erase(packed(key)); }
    void appendTo(std::vector<MessageRef>& messages, EntityKey key) const;

private:
    static std::uint32_t packed(EntityKey key) { return std::uint32_t{key.classId} << 16 | key.instance; }
    std::unordered_map<std::uint32_t, std::vector<MessageRef>> messages_;
};

class Reader {
public:
    Reader(const Mib& mib, Readers& readers, EntityKey reader) : mib_(mib), readers_(readers), reader_(reader) {}

    // Null when it does not exist (yet).
    const Entity* find(ClassId classId, InstanceId instance);
    // The same of what is no cause of the plan, such as the ONU itself.
    const Entity* look(ClassId classId, InstanceId instance);
    // The entities of a class with a pointer at key, by rising instance numbers, each once.
    std::vector<InstanceId> pointingAt(EntityKey key, ClassId classId);
    // Place of an instance among those of its class, counted from 0 by rising numbers: how the board numbers what the
    // ONU made by itself.
    unsigned placeOf(EntityKey key) const;
    // The same of a priority queue among those of its T-CONT or port.
    unsigned placeAmongQueues(const Entity& queue) const;
    void dependOnUsers(EntityKey bridge) { readers_.add(reader_, Subject::kUsers, bridge); }

    // The entities found so far.
    const std::vector<EntityKey>& found() const { return found_; }

private:
    const Mib& mib_;
    Readers& readers_;
    EntityKey reader_;
    std::vector<EntityKey> found_;
};

}  // namespace omci::services

#endif
