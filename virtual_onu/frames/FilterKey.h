// From the filters of a tag rule to a mask and a value.
#ifndef VIRTUAL_ONU_FILTER_KEY_H
#define VIRTUAL_ONU_FILTER_KEY_H

#include "frames/RuleTable.h"

namespace virtual_onu::datapath {

// Adds one filter term. txDevice is the plan's number of the device that a TxDevice term names.
void addTerm(Filter& filter, const RuleTerm& term, DeviceId txDevice, OutOfRangeFilters outOfRange);

}  // namespace virtual_onu::datapath

#endif
