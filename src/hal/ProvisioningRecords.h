// All records that the OMCI daemon hands to the HAL or gets from it.
#ifndef HAL_PROVISIONING_RECORDS_H
#define HAL_PROVISIONING_RECORDS_H

#include "hal/BridgeRecords.h"   // IWYU pragma: export
#include "hal/CounterRecords.h"  // IWYU pragma: export
#include "hal/PonRecords.h"      // IWYU pragma: export
#include "hal/TwdmRecords.h"     // IWYU pragma: export

#endif
