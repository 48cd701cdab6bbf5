// The MIB: the managed entities that exist, and who is notified when one of them changes.
#ifndef OMCI_MIB_MIB_H
#define OMCI_MIB_MIB_H

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "omci/mib/Entity.h"

namespace omci {

enum class ChangeKind : std::uint8_t { kCreated, kChanged, kDeleted };

// What happened to one entity. A message makes one change of an entity at most; a MIB reset makes one for each entity
// that goes or takes other values.
struct Change {
    ChangeKind kind = ChangeKind::kChanged;
    EntityKey key;
    AttributeMask attributes = 0;    // what has another value now; of one created or deleted, everything
    const Entity* entity = nullptr;  // as it is now, of a deleted one as it was; never null, valid during the call
    std::uint64_t cause = 0;         // number of the message (Mib::setCause); 0: the ONU by itself
};

class MibObserver {
public:
    virtual ~MibObserver() = default;
    // The MIB is as it is after the change. It must not be changed from here.
    virtual void onChange(const Change& change) = 0;
};

// Not thread safe.
class Mib {
public:
    using Instances = std::map<InstanceId, Entity>;

    Mib();
    Mib(const Mib&) = delete;
    Mib& operator=(const Mib&) = delete;

    // Null when it does not exist. An entity stays where it is until it is deleted.
    const Entity* find(EntityKey key) const;
    const Entity* find(ClassId classId, InstanceId instance) const { return find(EntityKey{classId, instance}); }
    // By rising instance numbers; empty for a class that nobody knows.
    const Instances& instances(ClassId classId) const;
    // The entities with a pointer at key, which need not exist itself: once for each pointer (Relations.h), in the
    // order in which the pointers were set.
    const std::vector<EntityKey>& pointingAt(EntityKey key) const;

    // Observers are notified in the order of their registration, and must live until they are removed or the MIB ends.
    void addObserver(MibObserver& observer) { observers_.push_back(&observer); }
    void removeObserver(MibObserver& observer);
    // The number of the message that the following changes come from.
    void setCause(std::uint64_t message) { cause_ = message; }

    // ---- Changes ----

    // A new entity that exists already when the observers are notified of it: whatever it is to begin with is given as
    // entity. False, with nothing changed, when there is one with its key.
    bool create(Entity entity);
    bool erase(EntityKey key);
    // An entity to be changed, null when it does not exist. commit() has to follow each change.
    Entity* edit(EntityKey key);
    // Makes known what edit() changed. Nothing happens for a mask of 0.
    void commit(const Entity& entity, AttributeMask changed);

    // One attribute; false when the entity does not exist. Nobody is notified of a value that was there before.
    bool setNumber(EntityKey key, AttributeNumber attribute, std::uint64_t value);
    bool setBytes(EntityKey key, AttributeNumber attribute, ByteView value);
    bool setRows(EntityKey key, AttributeNumber table, TableRows rows);

private:
    static std::uint32_t packed(EntityKey key) { return std::uint32_t{key.classId} << 16 | key.instance; }
    void link(const Entity& entity);
    void unlink(EntityKey key);
    void report(ChangeKind kind, const Entity& entity, AttributeMask attributes);

    std::vector<Instances> classes_;  // by ClassInfo::index()
    std::vector<MibObserver*> observers_;
    std::uint64_t cause_ = 0;
    std::unordered_map<std::uint32_t, std::vector<EntityKey>> pointersFrom_;  // where each entity points
    std::unordered_map<std::uint32_t, std::vector<EntityKey>> pointersTo_;    // and who points at each key
};

}  // namespace omci

#endif
