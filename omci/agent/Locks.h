// Locked entities: they send no alarms, threshold crossing alerts and changed values, and neither does what depends on
// them (ITU-T G.988, administrative state of 9.1.1, 9.1.6, 9.5.1, 9.5.5).
#ifndef OMCI_AGENT_LOCKS_H
#define OMCI_AGENT_LOCKS_H

#include "omci/mib/Mib.h"

namespace omci {

// The administrative state of a class; 0 for a class that cannot be locked.
AttributeNumber administrativeState(ClassId classId);

// The entity is locked, or one that it depends on: the ONU, the circuit pack of a port or of the PON, the port of a
// bridge port, whatever performance monitoring counts.
bool isSilenced(const Mib& mib, EntityKey entity);

}  // namespace omci

#endif
