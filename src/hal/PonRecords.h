// Records of the PON side (T-CONTs and GEM ports), shared with the OMCI daemon: a binary contract.
#ifndef HAL_PON_RECORDS_H
#define HAL_PON_RECORDS_H

#include <cstdint>

// A T-CONT and the alloc-id to bind to it (G.988 9.2.2).
struct TContProvisioning {
    std::uint16_t allocId;     // 65535: none assigned
    std::uint16_t tContIndex;  // hardware T-CONT index
    std::uint8_t policy;       // carried, not used
};

// A GEM port with its T-CONT and upstream queue (G.988 9.2.3).
struct XGEMConfig {
    std::uint16_t tContAllocId;  // 65535: downstream-only port
    std::uint16_t xgemPortId;
    std::uint16_t upstreamQueue;  // 0..7 on the T-CONT
    std::uint16_t qosArg;         // carried, not used
    std::uint8_t schedPolicy;     // 2 weighted round robin, else strict priority
    std::uint8_t priority;        // strict priority of the queue
    std::uint8_t weight;          // 0..255, scaled to 1..63 for weighted round robin
};

// Sets a GEM port up or down.
struct XgemStatusRecord {
    std::uint16_t xgemPortId;
    std::uint8_t enable;  // non-zero enables
};

// GAL Ethernet performance monitoring (G.988 9.2.7): discarded frames of one GEM port.
struct GalEthPMHistoryData_t {
    std::uint16_t gemPortId;        // in
    std::uint32_t discardedFrames;  // out
};

#endif
