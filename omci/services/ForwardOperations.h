// What the forward operations of a VLAN tagging filter say (G.988 9.3.11).
#ifndef OMCI_SERVICES_FORWARD_OPERATIONS_H
#define OMCI_SERVICES_FORWARD_OPERATIONS_H

#include "omci/services/AniRules.h"

namespace omci::services {

enum class Tagged : std::uint8_t { kPass, kDrop, kMatch, kMismatch };  // what happens to tagged frames
enum class Part : std::uint8_t { kVid, kPriority, kTci };              // which part of a TCI is compared

struct Forward {
    Tagged tagged;
    Part part;
    bool untagged;  // untagged frames pass
};

// An operation above 0x21 passes everything, as operation 0 does.
Forward forwardOf(const VlanFilter& filter);

}  // namespace omci::services

#endif
