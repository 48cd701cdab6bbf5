// Records of the counter functions (device/Counters.h), shared with the OMCI daemon: the order, width and natural
// alignment of their fields are a binary contract. Every counter counts up from 0 and is a 64-bit number.
#ifndef HAL_COUNTER_RECORDS_H
#define HAL_COUNTER_RECORDS_H

#include <cstddef>
#include <cstdint>

// Which counters the split by destination address stands for.
enum IntfStatsSplit : std::uint32_t {
    kIntfStatsSplitNone = 0,  // the kernel's receive-multicast counter is all there is; the other split counters are 0
    kIntfStatsSplitFull = 1,  // multicast, broadcast and unicast are all given, in both directions
};

// Absolute counters of one network device since it was made. Frames are those that the device's driver counts; octets
// are counted the way the driver does it, in general without preamble and frame check sequence.
struct IntfStats {
    std::uint64_t rxOctets;
    std::uint64_t rxFrames;
    std::uint64_t rxErrors;
    std::uint64_t rxDiscards;
    std::uint64_t rxMulticastFrames;
    std::uint64_t rxBroadcastFrames;
    std::uint64_t rxUnicastFrames;
    std::uint64_t txOctets;
    std::uint64_t txFrames;
    std::uint64_t txErrors;
    std::uint64_t txDiscards;
    std::uint64_t txMulticastFrames;
    std::uint64_t txBroadcastFrames;
    std::uint64_t txUnicastFrames;
    std::uint32_t split;     // IntfStatsSplit
    std::uint32_t reserved;  // 0
};

// What PmRequest asks for.
enum PmKind : std::uint16_t {
    kPmEthernet = 1,  // answered with EthernetPmRecord
};

enum PmInterval : std::uint8_t {
    kPmAbsolute = 0,     // since the device was made
    kPmInterval = 1,     // since the 15-minute interval began
    kPmIntervalEnd = 2,  // the same, and the next interval begins here
};

// Performance-monitoring request.
struct PmRequest {
    std::uint16_t kind;     // PmKind
    std::uint8_t interval;  // PmInterval
    std::uint8_t reserved;  // not read
};

// One direction of EthernetPmRecord.
struct EthernetPmDirection {
    std::uint64_t octets;
    std::uint64_t frames;
    std::uint64_t multicastFrames;
    std::uint64_t broadcastFrames;
    std::uint64_t errors;
    std::uint64_t discards;
};

// Answer to kPmEthernet: the subscriber side's traffic as "veip0" counts it.
struct EthernetPmRecord {
    EthernetPmDirection received;
    EthernetPmDirection transmitted;
};

static_assert(sizeof(IntfStats) == 120 && offsetof(IntfStats, txOctets) == 56, "binary contract");
static_assert(sizeof(PmRequest) == 4 && sizeof(EthernetPmRecord) == 96, "binary contract");

#endif
