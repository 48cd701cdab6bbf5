// Memory for the daemon's records.
#ifndef HAL_MEMORY_H
#define HAL_MEMORY_H

#include "hal/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// size bytes, all zero, for omci_free(); null with a printed text when size is below 1 or memory has run out.
VORN_API void* omci_malloc(int size);
// Frees *block and sets it to null. A null pointer, or a pointer to one, prints a text.
VORN_API void omci_free(void** block);

#ifdef __cplusplus
}
#endif

#endif
