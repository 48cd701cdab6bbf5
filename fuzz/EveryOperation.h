// Any operation of the HAL's interface with any arguments: fields beyond their ranges, texts that fill their field to
// the last byte, null pointers, keys that are no p-bits.
#ifndef FUZZ_EVERY_OPERATION_H
#define FUZZ_EVERY_OPERATION_H

#include <fuzzer/FuzzedDataProvider.h>

// One operation. Left out are those that start a thread, which a process does once.
void anyOperation(FuzzedDataProvider& input);

// Answers whoever waits for the gateway, within a millisecond: from now on, on a thread of its own.
void answerForTheGateway();

#endif
