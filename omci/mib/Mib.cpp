#include "omci/mib/Mib.h"

#include <algorithm>
#include <utility>

#include "omci/mib/Relations.h"

namespace omci {

Mib::Mib() : classes_(managedEntities().size()) {}

const Entity* Mib::find(EntityKey key) const {
    const Instances& all = instances(key.classId);
    const auto found = all.find(key.instance);
    return found != all.end() ? &found->second : nullptr;
}

const Mib::Instances& Mib::instances(ClassId classId) const {
    static const Instances none;
    const ClassInfo* info = findClass(classId);
    return info != nullptr ? classes_[info->index()] : none;
}

const std::vector<EntityKey>& Mib::pointingAt(EntityKey key) const {
    static const std::vector<EntityKey> nobody;
    const auto found = pointersTo_.find(packed(key));
    return found != pointersTo_.end() ? found->second : nobody;
}

void Mib::removeObserver(MibObserver& observer) {
    observers_.erase(std::remove(observers_.begin(), observers_.end(), &observer), observers_.end());
}

bool Mib::create(Entity entity) {
    Instances& all = classes_[entity.info().index()];
    const auto [made, isNew] = all.emplace(entity.instance(), std::move(entity));
    if (!isNew) return false;
    link(made->second);
    report(ChangeKind::kCreated, made->second, made->second.info().all());
    return true;
}

bool Mib::erase(EntityKey key) {
    const ClassInfo* info = findClass(key.classId);
    if (info == nullptr) return false;
    const auto gone = classes_[info->index()].extract(key.instance);
    if (gone.empty()) return false;
    unlink(key);
    report(ChangeKind::kDeleted, gone.mapped(), info->all());
    return true;
}

Entity* Mib::edit(EntityKey key) {
    return const_cast<Entity*>(find(key));
}

void Mib::commit(const Entity& entity, AttributeMask changed) {
    if (changed == 0) return;
    unlink(entity.key());
    link(entity);
    report(ChangeKind::kChanged, entity, changed);
}

bool Mib::setNumber(EntityKey key, AttributeNumber attribute, std::uint64_t value) {
    Entity* entity = edit(key);
    if (entity == nullptr) return false;
    if (entity->setNumber(attribute, value)) commit(*entity, maskOf(attribute));
    return true;
}

bool Mib::setBytes(EntityKey key, AttributeNumber attribute, ByteView value) {
    Entity* entity = edit(key);
    if (entity == nullptr) return false;
    if (entity->setBytes(attribute, value)) commit(*entity, maskOf(attribute));
    return true;
}

bool Mib::setRows(EntityKey key, AttributeNumber table, TableRows rows) {
    Entity* entity = edit(key);
    if (entity == nullptr) return false;
    if (entity->setRows(table, std::move(rows))) commit(*entity, maskOf(table));
    return true;
}

void Mib::link(const Entity& entity) {
    const std::vector<Pointer> pointers = pointersOf(entity);
    if (pointers.empty()) return;
    std::vector<EntityKey>& targets = pointersFrom_[packed(entity.key())];
    for (const Pointer& pointer : pointers) {
        targets.push_back(pointer.target);
        pointersTo_[packed(pointer.target)].push_back(entity.key());
    }
}

void Mib::unlink(EntityKey key) {
    const auto targets = pointersFrom_.find(packed(key));
    if (targets == pointersFrom_.end()) return;
    for (const EntityKey target : targets->second) {
        const auto pointers = pointersTo_.find(packed(target));
        const auto one = std::find(pointers->second.begin(), pointers->second.end(), key);
        pointers->second.erase(one);
        if (pointers->second.empty()) pointersTo_.erase(pointers);
    }
    pointersFrom_.erase(targets);
}

void Mib::report(ChangeKind kind, const Entity& entity, AttributeMask attributes) {
    const Change change{kind, entity.key(), attributes, &entity, cause_};
    for (MibObserver* observer : observers_) observer->onChange(change);
}

}  // namespace omci
