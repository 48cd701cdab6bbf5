// Records of the TWDM managed entities (G.988 9.16), shared with the OMCI daemon: a binary contract. Each is as large
// as the bytes that the PON adapter exchanges with the NGPON2 stack need, rounded up to whole words. Byte 0 is the input, the TWDM channel number;
// bytes named reserved are neither read nor written. On failure a record stays as the caller filled it.
#ifndef HAL_TWDM_RECORDS_H
#define HAL_TWDM_RECORDS_H

#include <cstddef>
#include <cstdint>

// State of the transmit or receive channel: output only.
struct TWDMSystemProfile {
    std::uint8_t state;
    std::uint8_t detail;
    std::uint8_t reserved[2];
};

struct TWDMSystemProfileMe_t {
    std::uint8_t channel;
    std::uint8_t partition;
    std::uint8_t reserved[2];
    std::uint32_t words[5];
};

struct TWDMChannelProfile_t {
    std::uint8_t channel;
    std::uint8_t profile[4];
    std::uint8_t reserved[3];
};

// Loss-of-downstream-synchronisation counters.
struct TWDMLodsPmData_t {
    std::uint8_t channel;
    std::uint8_t reserved[7];
    std::uint64_t total;
    std::uint32_t counters[12];
};

// XGEM counters of a channel: two of them come from GPON control (32 bits, their high halves 0), the others from the
// stack.
struct TWDMChannelXGEMPMHistoryData_t {
    std::uint8_t channel;
    std::uint8_t reserved[7];
    std::uint32_t firstGemCounter;
    std::uint32_t firstGemCounterHigh;  // always 0
    std::uint64_t channelCounter;
    std::uint32_t secondGemCounter;
    std::uint32_t secondGemCounterHigh;  // always 0
    std::uint64_t channelCounters[5];
};

struct TWDMPloamPM1_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    std::uint32_t first;
    std::uint32_t runningTotal;  // sum of what the stack has reported here since the process began, over all channels
    std::uint32_t counters[4];
};

struct TWDMPloamPM2_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[56];  // as the stack lays them out
};

struct TWDMPloamPM3_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[44];  // as the stack lays them out
};

struct TWDMChannelTuningPMHistoryData1_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[52];  // as the stack lays them out
};

struct TWDMChannelTuningPMHistoryData2_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[52];  // as the stack lays them out
};

struct TWDMChannelTuningPMHistoryData3_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[32];  // as the stack lays them out
};

struct TWDMChannelOMCIPMHistoryData_t {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    std::uint32_t counters[3];
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
