// Records of the PON side (T-CONTs and GEM ports), shared with the OMCI daemon: a binary contract.
#ifndef HAL_PON_RECORDS_H
#define HAL_PON_RECORDS_H

#include <cstdint>

// A T-CONT and the alloc-id to bind to it (G.988 9.2.2).
struct TContProvisioning {
    std::uint16_t allocId;  // 0..65534; 65535: none is assigned, and a removal does nothing
    // Hardware index, from 0 to one below the number of T-CONTs of the device (32 on the virtual ONU). GPON control
    // sees the low eight bits.
    std::uint16_t tContIndex;
    std::uint8_t policy;  // carried, not used
};

// A GEM port with its T-CONT and upstream queue (G.988 9.2.3).
struct XGEMConfig {
    std::uint16_t tContAllocId;  // alloc-id that is bound to the port's T-CONT; 65535: a downstream-only port
    // GEM port id on the PON, 0..65535, with forwarding by G.988 to 65534. The driver gives it an index of its
    // own, 0..255: there is room for 256.
    std::uint16_t xgemPortId;
    std::uint16_t upstreamQueue;  // queue on the T-CONT, 0..7; above, no queue is set
    std::uint16_t qosArg;         // carried, not used
    std::uint8_t schedPolicy;     // 2 weighted round robin, other values strict priority
    std::uint8_t priority;        // of the queue, with strict priority: 0..7, as the traffic manager takes it
    std::uint8_t weight;          // of the queue, with weighted round robin: 0..255, which become 1..63
};

// Sets a GEM port up or down.
struct XgemStatusRecord {
    std::uint16_t xgemPortId;  // GEM port id, 0..65535
    std::uint8_t enable;       // non-zero enables
};

// GAL Ethernet performance monitoring (G.988 9.2.7): discarded frames of one GEM port.
struct GalEthPMHistoryData_t {
    std::uint16_t gemPortId;        // in: GEM port id, 0..65535
    std::uint32_t discardedFrames;  // out: frames, as GPON control counts them; wraps at 2^32
};

#endif
