// The entities in which the MIB describes itself: OMCI (287), managed entity (288), attribute (289).
#ifndef OMCI_MIB_DESCRIPTION_H
#define OMCI_MIB_DESCRIPTION_H

#include <vector>

#include "omci/mib/Mib.h"

namespace omci {

// Adds one entity for each class and each attribute that this library knows.
void addDescription(std::vector<Entity>& entities);
// Brings the list of a class's instances up to date; nothing where the MIB does not describe itself.
void refreshInstances(Mib& mib, ClassId classId);
// Entities that describe are not in an upload.
bool isDescription(ClassId classId);

}  // namespace omci

#endif
