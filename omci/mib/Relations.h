// Who points at whom among the managed entities (ITU-T G.988, clause 8.2).
#ifndef OMCI_MIB_RELATIONS_H
#define OMCI_MIB_RELATIONS_H

#include <vector>

#include "omci/mib/Entity.h"

namespace omci {

// A pointer of an entity, and what it names; that need not exist (yet).
struct Pointer {
    AttributeNumber attribute = 0;  // 0: the link is the instance number, which is the other's too
    EntityKey target;
};

// Every pointer of the entity that is set (not 0xFFFF; 0 is the number of an instance as well). Where another attribute
// says what class is meant, that one is followed; a class of termination points that this library does not know is no
// target. The upstream traffic management pointer of a GEM port gives two, priority queue and T-CONT: only the ONU-G
// says which of them is meant.
std::vector<Pointer> pointersOf(const Entity& entity);

// What a bridge port's TP type, a mapper's TP type, the association types of both tagging entities name; 0 for none or
// one that is not known.
ClassId bridgePortTarget(std::uint8_t tpType);
ClassId mapperTarget(std::uint8_t tpType);
ClassId vlanTaggingTarget(std::uint8_t associationType);
ClassId extendedTaggingTarget(std::uint8_t associationType);

}  // namespace omci

#endif
