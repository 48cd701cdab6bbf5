// Records that go to and come from "/dev/ngpon2_stack", as far as the adapter uses them. Each has the layout of the HAL
// record that it is copied to (hal/TwdmRecords.h). Byte 0 is the input, the TWDM channel number. The driver may fill a
// record to its end, reserved bytes included; they go to it as zeros and are not copied.
#ifndef XPON_TWDM_DRIVER_RECORDS_H
#define XPON_TWDM_DRIVER_RECORDS_H

#include <cstddef>
#include <cstdint>

// State of the transmit or receive channel: output only.
struct BCM_NgponChannelStateInfo {
    std::uint8_t state;
    std::uint8_t detail;
    std::uint8_t reserved[2];
};

struct BCM_TWDMSystemProfile {
    std::uint8_t channel;
    std::uint8_t partition;
    std::uint8_t reserved[2];
    std::uint32_t words[5];
};

struct BCM_TWDMChannelProfile {
    std::uint8_t channel;
    std::uint8_t profile[4];
    std::uint8_t reserved[3];
};

struct BCM_TWDMLodsPmData {
    std::uint8_t channel;
    std::uint8_t reserved[7];
    std::uint64_t total;
    std::uint32_t counters[12];
};

struct BCM_TWDMChannelXGEMPMHistoryData {
    std::uint8_t channel;
    std::uint8_t reserved[15];  // the adapter takes what belongs here from GPON control
    std::uint64_t channelCounter;
    std::uint8_t reserved24[8];  // likewise
    std::uint64_t channelCounters[5];
};

struct BCM_TWDMPloamPM1 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    std::uint32_t first;
    std::uint32_t sinceLastRead;
    std::uint32_t counters[4];
};

struct BCM_TWDMPloamPM2 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[56];
};

struct BCM_TWDMPloamPM3 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[44];
};

struct BCM_TWDMChannelTuningPMHistoryData1 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[52];
};

struct BCM_TWDMChannelTuningPMHistoryData2 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[52];
};

struct BCM_TWDMChannelTuningPMHistoryData3 {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    alignas(4) std::uint8_t counters[32];
};

struct BCM_TWDMChannelOMCIPMHistoryData {
    std::uint8_t channel;
    std::uint8_t reserved[3];
    std::uint32_t counters[3];
};

static_assert(sizeof(BCM_NgponChannelStateInfo) == 4, "driver contract");
static_assert(sizeof(BCM_TWDMSystemProfile) == 24 && offsetof(BCM_TWDMSystemProfile, words) == 4, "driver contract");
static_assert(sizeof(BCM_TWDMChannelProfile) == 8, "driver contract");
static_assert(sizeof(BCM_TWDMLodsPmData) == 64 && offsetof(BCM_TWDMLodsPmData, total) == 8, "driver contract");
static_assert(sizeof(BCM_TWDMChannelXGEMPMHistoryData) == 72 &&
                  offsetof(BCM_TWDMChannelXGEMPMHistoryData, channelCounter) == 16 &&
                  offsetof(BCM_TWDMChannelXGEMPMHistoryData, channelCounters) == 32,
              "driver contract");
static_assert(sizeof(BCM_TWDMPloamPM1) == 28 && offsetof(BCM_TWDMPloamPM1, sinceLastRead) == 8, "driver contract");
static_assert(sizeof(BCM_TWDMPloamPM2) == 60 && sizeof(BCM_TWDMPloamPM3) == 48, "driver contract");
static_assert(sizeof(BCM_TWDMChannelTuningPMHistoryData1) == 56 && sizeof(BCM_TWDMChannelTuningPMHistoryData2) == 56 &&
                  sizeof(BCM_TWDMChannelTuningPMHistoryData3) == 36,
              "driver contract");
static_assert(sizeof(BCM_TWDMChannelOMCIPMHistoryData) == 16 &&
                  offsetof(BCM_TWDMChannelOMCIPMHistoryData, counters) == 4,
              "driver contract");

#endif
