// Records of the TWDM managed entities (G.988 9.16), shared with the OMCI daemon: a binary contract. Each is as large
// as the bytes that the PON adapter exchanges with the NGPON2 stack need, rounded up to whole words. On failure a
// record stays as the caller filled it.
//
// The library copies values without looking at them: range, unit and order within an array are the stack's own, and a
// counter runs and wraps as the stack lets it, in the width of its field.
#ifndef HAL_TWDM_RECORDS_H
#define HAL_TWDM_RECORDS_H

#include <cstddef>
#include <cstdint>

// State of the transmit or receive channel: output only.
struct TWDMSystemProfile {
    std::uint8_t state;        // out: state of the channel
    std::uint8_t detail;       // out: what the stack tells of the state
    std::uint8_t reserved[2];  // neither read nor written
};

// TWDM system profile. A query writes the channel and the partition too.
struct TWDMSystemProfileMe_t {
    std::uint8_t channel;      // in: TWDM channel number
    std::uint8_t partition;    // in and out: second byte of the stack's profile
    std::uint8_t reserved[2];  // neither read nor written
    std::uint32_t words[5];    // in and out: the profile in the stack's order
};

// TWDM channel.
struct TWDMChannelProfile_t {
    std::uint8_t channel;      // in: TWDM channel number
    std::uint8_t profile[4];   // out: the channel's profile, byte by byte
    std::uint8_t reserved[3];  // neither read nor written
};

// Loss-of-downstream-synchronisation counters.
struct TWDMLodsPmData_t {
    std::uint8_t channel;        // in: TWDM channel number
    std::uint8_t reserved[7];    // neither read nor written
    std::uint64_t total;         // out: 64-bit counter in front of the others
    std::uint32_t counters[12];  // out: counters in the stack's order
};

// XGEM counters of a channel: two of them come from GPON control (32 bits, their high halves 0), the others from the
// stack.
struct TWDMChannelXGEMPMHistoryData_t {
    std::uint8_t channel;                // in: TWDM channel number
    std::uint8_t reserved[7];            // neither read nor written
    std::uint32_t firstGemCounter;       // out: counter 4 of GPON control over all GEM ports
    std::uint32_t firstGemCounterHigh;   // out: always 0
    std::uint64_t channelCounter;        // out: 64-bit counter of the channel
    std::uint32_t secondGemCounter;      // out: counter 5 of GPON control over all GEM ports
    std::uint32_t secondGemCounterHigh;  // out: always 0
    std::uint64_t channelCounters[5];    // out: further 64-bit counters of the channel
};

// PLOAM counters of a channel, first part.
struct TWDMPloamPM1_t {
    std::uint8_t channel;      // in: TWDM channel number
    std::uint8_t reserved[3];  // neither read nor written
    std::uint32_t first;       // out: first counter
    // out: sum of what the stack has reported here since the process began, over all channels; wraps at 2^32
    std::uint32_t runningTotal;
    std::uint32_t counters[4];  // out: counters in the stack's order
};

// PLOAM counters of a channel, second part.
struct TWDMPloamPM2_t {
    std::uint8_t channel;                  // in: TWDM channel number
    std::uint8_t reserved[3];              // neither read nor written
    alignas(4) std::uint8_t counters[56];  // out: counters as the stack lays them out
};

// PLOAM counters of a channel, third part.
struct TWDMPloamPM3_t {
    std::uint8_t channel;                  // in: TWDM channel number
    std::uint8_t reserved[3];              // neither read nor written
    alignas(4) std::uint8_t counters[44];  // out: counters as the stack lays them out
};

// Tuning counters of a channel, first part.
struct TWDMChannelTuningPMHistoryData1_t {
    std::uint8_t channel;                  // in: TWDM channel number
    std::uint8_t reserved[3];              // neither read nor written
    alignas(4) std::uint8_t counters[52];  // out: counters as the stack lays them out
};

// Tuning counters of a channel, second part.
struct TWDMChannelTuningPMHistoryData2_t {
    std::uint8_t channel;                  // in: TWDM channel number
    std::uint8_t reserved[3];              // neither read nor written
    alignas(4) std::uint8_t counters[52];  // out: counters as the stack lays them out
};

// Tuning counters of a channel, third part.
struct TWDMChannelTuningPMHistoryData3_t {
    std::uint8_t channel;                  // in: TWDM channel number
    std::uint8_t reserved[3];              // neither read nor written
    alignas(4) std::uint8_t counters[32];  // out: counters as the stack lays them out
};

// OMCI message counters of a channel.
struct TWDMChannelOMCIPMHistoryData_t {
    std::uint8_t channel;       // in: TWDM channel number
    std::uint8_t reserved[3];   // neither read nor written
    std::uint32_t counters[3];  // out: counters in the stack's order
};

static_assert(sizeof(TWDMSystemProfile) == 4, "binary contract");
static_assert(sizeof(TWDMSystemProfileMe_t) == 24 && offsetof(TWDMSystemProfileMe_t, words) == 4, "binary contract");
static_assert(sizeof(TWDMChannelProfile_t) == 8, "binary contract");
static_assert(sizeof(TWDMLodsPmData_t) == 64 && offsetof(TWDMLodsPmData_t, total) == 8 &&
                  offsetof(TWDMLodsPmData_t, counters) == 16,
              "binary contract");
static_assert(sizeof(TWDMChannelXGEMPMHistoryData_t) == 72 &&
                  offsetof(TWDMChannelXGEMPMHistoryData_t, firstGemCounter) == 8 &&
                  offsetof(TWDMChannelXGEMPMHistoryData_t, channelCounter) == 16 &&
                  offsetof(TWDMChannelXGEMPMHistoryData_t, secondGemCounter) == 24 &&
                  offsetof(TWDMChannelXGEMPMHistoryData_t, channelCounters) == 32,
              "binary contract");
static_assert(sizeof(TWDMPloamPM1_t) == 28 && offsetof(TWDMPloamPM1_t, runningTotal) == 8 &&
                  offsetof(TWDMPloamPM1_t, counters) == 12,
              "binary contract");
static_assert(sizeof(TWDMPloamPM2_t) == 60 && offsetof(TWDMPloamPM2_t, counters) == 4, "binary contract");
static_assert(sizeof(TWDMPloamPM3_t) == 48 && offsetof(TWDMPloamPM3_t, counters) == 4, "binary contract");
static_assert(sizeof(TWDMChannelTuningPMHistoryData1_t) == 56 &&
                  offsetof(TWDMChannelTuningPMHistoryData1_t, counters) == 4,
              "binary contract");
static_assert(sizeof(TWDMChannelTuningPMHistoryData2_t) == 56 &&
                  offsetof(TWDMChannelTuningPMHistoryData2_t, counters) == 4,
              "binary contract");
static_assert(sizeof(TWDMChannelTuningPMHistoryData3_t) == 36 &&
                  offsetof(TWDMChannelTuningPMHistoryData3_t, counters) == 4,
              "binary contract");
static_assert(sizeof(TWDMChannelOMCIPMHistoryData_t) == 16 && offsetof(TWDMChannelOMCIPMHistoryData_t, counters) == 4,
              "binary contract");

#endif
