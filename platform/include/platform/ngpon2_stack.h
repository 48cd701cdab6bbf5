// The NGPON2 stack's character device "/dev/ngpon2_stack", requests 200 to 214. Its requests are in kit_numbers.h;
// the records that go with them are declared by the library (xpon/TwdmDriverRecords.h), sized to the byte ranges that
// it exchanges with the driver.
#ifndef PLATFORM_NGPON2_STACK_H
#define PLATFORM_NGPON2_STACK_H

#include "platform/kit_numbers.h"

#endif
