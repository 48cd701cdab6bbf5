// Traffic-management control of the device kit: the upstream queues of a T-CONT.
//
// Every function answers 0 for success and a non-zero code for failure. Pointers are never null.
#ifndef PLATFORM_TMCTL_H
#define PLATFORM_TMCTL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TMCTL_DEV_GPON 2  // device type: the PON side, addressed by T-CONT index

typedef struct {
    uint32_t tcontIndex;
} TmctlIf;

typedef struct {
    uint32_t queueId;
    uint32_t priority;
    uint32_t queueSize;  // packets
    uint32_t weight;
    uint32_t schedMode;  // 1 strict priority, 2 weighted round robin
    uint32_t shapingRate;
    uint32_t shapingBurst;
    uint32_t reserved;
} TmctlQueueCfg;

int tmctl_portTmInit(int deviceType, const TmctlIf* interface, unsigned int configFlags, int queueCount);
int tmctl_portTmUninit(int deviceType, const TmctlIf* interface);
int tmctl_getQueueCfg(int deviceType, const TmctlIf* interface, int queueId, TmctlQueueCfg* config);
int tmctl_setQueueCfg(int deviceType, const TmctlIf* interface, const TmctlQueueCfg* config);
int tmctl_delQueueCfg(int deviceType, const TmctlIf* interface, int queueId);

#ifdef __cplusplus
}
#endif

#endif
