#include "omci/agent/Locks.h"

#include "omci/message/Lookup.h"
#include "omci/mib/Relations.h"

namespace omci {

namespace {

constexpr unsigned kLocked = 1;
constexpr InstanceId kIntegratedSlot = 0x0100;  // circuit packs of slots that cannot be plugged

bool isLocked(const Mib& mib, EntityKey key) {
    const Entity* entity = mib.find(key);
    return entity != nullptr && entity->number(administrativeState(key.classId)) == kLocked;
}

// Instances of these are numbered by slot and port.
bool isInSlot(ClassId classId) {
    return classId == class_id::kEthernetUni || classId == class_id::kVeip || classId == class_id::kAniG;
}

bool isPort(ClassId classId) {
    return classId == class_id::kEthernetUni || classId == class_id::kVeip;
}

// What the entity depends on beside its slot; another class 0 for nothing.
EntityKey superiorOf(const Mib& mib, EntityKey key) {
    const Entity* entity = mib.find(key);
    if (entity == nullptr) return {};
    const bool counts = entity->info().isPerformance();
    if (!counts && key.classId != class_id::kBridgePort) return {};
    for (const Pointer& pointer : pointersOf(*entity)) {
        if (counts ? pointer.target.classId != class_id::kThreshold1 : isPort(pointer.target.classId))
            return pointer.target;
    }
    return {};
}

}  // namespace

AttributeNumber administrativeState(ClassId classId) {
    static constexpr std::pair<ClassId, AttributeNumber> kStates[] = {
        {class_id::kOnuG, attr::onu_g::kAdministrativeState},
        {class_id::kCircuitPack, attr::circuit_pack::kAdministrativeState},
        {class_id::kEthernetUni, attr::ethernet_uni::kAdministrativeState},
        {class_id::kVeip, attr::veip::kAdministrativeState},
    };
    return lookUp(kStates, classId, AttributeNumber{0});
}

bool isSilenced(const Mib& mib, EntityKey entity) {
    if (isLocked(mib, {class_id::kOnuG, 0})) return true;
    constexpr int kDeepest = 3;  // performance monitoring, bridge port, port
    for (int depth = 0; depth < kDeepest && entity.classId != 0; ++depth) {
        if (isLocked(mib, entity)) return true;
        if (isInSlot(entity.classId)) {
            const auto pack = static_cast<InstanceId>(kIntegratedSlot | entity.instance >> 8U);
            return isLocked(mib, {class_id::kCircuitPack, pack});
        }
        entity = superiorOf(mib, entity);
    }
    return false;
}

}  // namespace omci
