// Where a call of the HAL comes from, and what the HAL cannot do.
#ifndef OMCI_SERVICES_CAUSE_H
#define OMCI_SERVICES_CAUSE_H

#include <cstdint>
#include <string>
#include <vector>

#include "omci/message/ManagedEntities.h"

namespace omci::services {

// A message of the OLT.
struct MessageRef {
    std::uint64_t number = 0;       // counted by whoever feeds the MIB (Mib::setCause)
    std::uint16_t transaction = 0;  // its transaction correlation identifier
};
constexpr bool operator==(MessageRef one, MessageRef other) {
    return one.number == other.number && one.transaction == other.transaction;
}
constexpr bool operator<(MessageRef one, MessageRef other) {
    return one.number < other.number;
}

struct Cause {
    std::vector<EntityKey> entities;   // what the call was planned from
    std::vector<MessageRef> messages;  // what made these entities as they are, and what the call answers; rising
};

// Something that an entity asks for and the HAL does not do.
struct Problem {
    EntityKey entity;
    std::string reason;
};
inline bool operator==(const Problem& one, const Problem& other) {
    return one.entity == other.entity && one.reason == other.reason;
}
inline bool operator<(const Problem& one, const Problem& other) {
    return one.entity != other.entity ? one.entity < other.entity : one.reason < other.reason;
}

}  // namespace omci::services

#endif
