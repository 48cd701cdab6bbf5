// What the driver and traffic management are given for a GEM port.
#ifndef XPON_GEM_PORT_SETTINGS_H
#define XPON_GEM_PORT_SETTINGS_H

#include "platform/gponctl.h"
#include "platform/tmctl.h"

constexpr unsigned short kMaxGemQueue = 7;  // a GEM port with a higher upstream queue sets none

// As in XGEMConfig.
struct GemPortScheduling {
    unsigned char policy, priority, weight;
};

GponCtlGemPortConfig gemPortConfig(unsigned short gemPortId, unsigned short allocId);

// The queue, `config` as traffic management has it, gets the scheduling and its size, and in the runner its drop
// threshold. False when one of the two refuses.
bool setGemPortQueue(unsigned short tContIndex, unsigned short queue, TmctlQueueCfg config,
                     const GemPortScheduling& scheduling);

#endif
