// GPON control of the device kit: T-CONT bindings, GEM ports, link state.
//
// Every function answers 0 for success and a non-zero code for failure unless stated. Pointers are never null.
#ifndef PLATFORM_GPONCTL_H
#define PLATFORM_GPONCTL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    uint8_t tcontIndex;
    uint8_t reserved;
    uint16_t allocId;  // 65535 unbinds the T-CONT
} GponCtlTcontAllocId;

typedef struct {
    uint16_t gemIndex;  // in: 65535 = the driver chooses, out: the chosen index
    uint16_t gemPortId;
    uint16_t allocId;
    uint8_t downstreamOnly;  // 1 exactly when allocId is 65535
    uint8_t flag;            // always 1
    uint8_t kind;            // always 3
    uint8_t reserved;
} GponCtlGemPortConfig;

typedef struct {
    uint16_t gemIndex;  // in: 65535 = look up by port id, out: the port's index
    uint16_t gemPortId;
    uint8_t output[12];
} GponCtlGemPort;

typedef struct {
    uint16_t gemIndex;
    uint16_t gemPortId;
    uint8_t enable;  // 1 enable, 0 disable
    uint8_t reserved;
} GponCtlGemPortEnable;

typedef struct {
    uint16_t gemIndex;
    uint16_t gemPortId;
} GponCtlGemPortDeconfig;

typedef struct {
    uint32_t reserved;
    uint16_t gemIndex;
    uint16_t gemPortId;
    uint32_t counter[10];  // counter[i] is at byte 8 + 4 i
} GponCtlGemPortCounters;

typedef struct {
    uint32_t state;
    uint32_t reserved[3];
} GponCtlAdminState;

int gponCtl_configTcontAllocId(const GponCtlTcontAllocId* record);
int gponCtl_deconfigTcontAllocId(const GponCtlTcontAllocId* record);
int gponCtl_configGemPort(GponCtlGemPortConfig* record);  // 258 when the port already exists
int gponCtl_deconfigGemPort(const GponCtlGemPortDeconfig* record);
int gponCtl_getGemPort(GponCtlGemPort* record);
int gponCtl_enableGemPort(GponCtlGemPortEnable* record);
int gponCtl_getGemPortCounters(GponCtlGemPortCounters* record);
int gponCtl_startAdminState(const GponCtlAdminState* record);
// The library's text for an error number; never null, static storage.
const char* gponCtl_getMsgError(int error);

#ifdef __cplusplus
}
#endif

#endif
