// Message bus, timers, memory and persistent storage of the device kit.
//
// Every int function answers 0 for success and a non-zero code for failure unless stated. Pointers are never null.
#ifndef PLATFORM_CMS_H
#define PLATFORM_CMS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Header of every message; dataLength bytes of payload follow it in the same block. Little-endian on the wire.
typedef struct {
    uint32_t type;
    uint32_t source;       // entity id of the sender
    uint32_t destination;  // entity id of the receiver
    uint16_t flags;        // bit 0 event, bit 1 request
    uint8_t reserved[14];  // sequence number, link and word data: the bus's own
    uint32_t dataLength;
} CmsMsgHeader;

int cmsMsg_init(unsigned int entityId, void** handle);
int cmsMsg_send(void* handle, const CmsMsgHeader* message);
// Waits at most timeoutMs. On success the caller owns *message and frees it with cmsMem_free.
int cmsMsg_receiveWithTimeout(void* handle, CmsMsgHeader** message, unsigned int timeoutMs);
// A descriptor that select() reports readable while a message waits. It belongs to the bus: never close it.
int cmsMsg_getEventHandle(void* handle, int* descriptor);
void cmsMem_free(void* block);

int cmsTmr_init(void** handle);
// UINT32_MAX when no timer is set.
int cmsTmr_getTimeToNextEvent(void* handle, unsigned int* milliseconds);
void cmsTmr_executeExpiredEvents(void* handle);

// Answers the number of bytes read, 0 when nothing is stored under the key.
int cmsPsp_get(const char* key, void* buffer, unsigned int size);
int cmsPsp_set(const char* key, const void* buffer, unsigned int size);

#ifdef __cplusplus
}
#endif

#endif
