// Which values the attributes may take.
#ifndef OMCI_MIB_LIMITS_H
#define OMCI_MIB_LIMITS_H

#include "omci/message/Bytes.h"
#include "omci/message/ManagedEntities.h"

namespace omci {

// False for a value that the attribute cannot have: a code without a meaning, a number out of its range.
bool isAllowed(ClassId classId, const AttributeInfo& attribute, ByteView value);

// The instance numbers that a class's entities may have.
bool isAllowedInstance(EntityKey key);

// The quality-of-service attributes that the OLT may set only where bit is set in the ONU's "QoS configuration
// flexibility"; 0 for all others.
std::uint16_t flexibilityNeeded(ClassId classId, AttributeNumber attribute);

}  // namespace omci

#endif
