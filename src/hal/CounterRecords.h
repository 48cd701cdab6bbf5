// Records of the counter functions (device/Counters.h), shared with the OMCI daemon: the order, width and natural
// alignment of their fields are a binary contract. Every counter counts up from 0 and is a 64-bit number.
#ifndef HAL_COUNTER_RECORDS_H
#define HAL_COUNTER_RECORDS_H

#include <stddef.h>
#include <stdint.h>

// Which counters the split by destination address stands for.
enum IntfStatsSplit {
    kIntfStatsSplitNone = 0,  // the kernel's receive-multicast counter is all there is; the other split counters are 0
    kIntfStatsSplitFull = 1,  // multicast, broadcast and unicast are all given, in both directions
};

// Absolute counters of one network device since it was made. Frames are those that the device's driver counts; octets
// are counted the way the driver does it, in general without preamble and frame check sequence. What "veip0" and the
// ANI devices ("gpon…") receive is downstream and what they transmit upstream; on a LAN port ("eth…", "sid…") it is the
// other way round. The attributes that the counters serve are at EthernetPmDirection.
typedef struct IntfStats {
    uint64_t rxOctets;
    uint64_t rxFrames;
    uint64_t rxErrors;
    uint64_t rxDiscards;
    uint64_t rxMulticastFrames;
    uint64_t rxBroadcastFrames;
    uint64_t rxUnicastFrames;
    uint64_t txOctets;
    uint64_t txFrames;
    uint64_t txErrors;
    uint64_t txDiscards;
    uint64_t txMulticastFrames;
    uint64_t txBroadcastFrames;
    uint64_t txUnicastFrames;
    uint32_t split;     // IntfStatsSplit
    uint32_t reserved;  // 0
} IntfStats;

// What PmRequest asks for.
enum PmKind {
    kPmEthernet = 1,          // answered with EthernetPmRecord, for reader 0
    kPmEthernetOfReader = 2,  // answered with EthernetPmReaderRecord, for the reader that the request names
};

enum PmInterval {
    kPmAbsolute = 0,     // since the device was made
    kPmInterval = 1,     // since the 15-minute interval began
    kPmIntervalEnd = 2,  // the same, and the next interval begins here
};

// Performance-monitoring request.
typedef struct PmRequest {
    uint16_t kind;     // PmKind
    uint8_t interval;  // PmInterval
    uint8_t reader;    // of kPmEthernetOfReader: whose interval, 0 to 255; else not read
} PmRequest;

// One direction of EthernetPmRecord. In brackets the attributes of the Ethernet frame extended PM entity (G.988 class
// 334, and 425 with 64 bits) that a counter serves; those of the classes 321 and 322 have the same names.
typedef struct EthernetPmDirection {
    uint64_t octets;           // [octets]
    uint64_t frames;           // [frames]
    uint64_t multicastFrames;  // [multicast frames]
    uint64_t broadcastFrames;  // [broadcast frames]
    uint64_t errors;    // frames that the driver found to be in error [CRC errored frames, as far as they are that]
    uint64_t discards;  // frames dropped for want of a buffer or by the driver [drop events]
} EthernetPmDirection;

// Answer to kPmEthernet: the subscriber side's traffic as "veip0" counts it.
typedef struct EthernetPmRecord {
    EthernetPmDirection received;     // by veip0, from the PON: downstream
    EthernetPmDirection transmitted;  // by veip0, to the PON: upstream
} EthernetPmRecord;

// Answer to kPmEthernetOfReader.
typedef struct EthernetPmReaderRecord {
    EthernetPmDirection received;     // downstream
    EthernetPmDirection transmitted;  // upstream
    uint32_t split;     // IntfStatsSplit, of an interval: whether it was known all the time. When it is none, multicast
                        // frames are known downstream only, and the other counts by destination are 0
    uint32_t reserved;  // 0
} EthernetPmReaderRecord;

#ifdef __cplusplus
static_assert(sizeof(IntfStats) == 120 && offsetof(IntfStats, txOctets) == 56, "binary contract");
static_assert(sizeof(PmRequest) == 4 && sizeof(EthernetPmRecord) == 96, "binary contract");
static_assert(sizeof(EthernetPmReaderRecord) == 104 && offsetof(EthernetPmReaderRecord, split) == 96,
              "binary contract");
#endif

#endif
