// NGPON2 queries: bytes copied between the HAL's and the driver's records, which have the same layout where they are
// copied.
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "kit/GemPorts.h"
#include "xpon/OnuXponHalAdapterBCM.h"
#include "xpon/OnuXponHalAdapterBcmNgponLib.h"

namespace {

using Lib = OnuXponHalAdapterBcmNgponLib;

// Bytes first to last of both records.
struct Bytes {
    std::size_t first;
    std::size_t last;
};
using ByteRanges = std::initializer_list<Bytes>;

constexpr Bytes kChannel{0, 0};

template <typename From, typename To>
void copyBytes(const From& from, To& to, ByteRanges ranges) {
    static_assert(sizeof(From) == sizeof(To), "the two records have the same layout");
    static_assert(std::is_trivially_copyable<From>::value && std::is_trivially_copyable<To>::value, "copied as bytes");
    for (const Bytes& range : ranges) {
        std::memcpy(reinterpret_cast<unsigned char*>(&to) + range.first,
                    reinterpret_cast<const unsigned char*>(&from) + range.first, range.last - range.first + 1);
    }
}

// Sends the `in` bytes of the HAL's record to the driver; on success driver holds its answer.
template <typename Driver, typename Hal>
int ask(int (Lib::*request)(Driver*), const Hal* record, ByteRanges in, Driver& driver) {
    if (record == nullptr) return EINVAL;
    copyBytes(*record, driver, in);
    return (Lib::getInstance()->*request)(&driver);
}

// The same, and copies the `out` bytes of the answer back. A failure leaves the HAL's record as it was.
template <typename Driver, typename Hal>
int exchange(int (Lib::*request)(Driver*), Hal* record, ByteRanges in, ByteRanges out) {
    Driver driver{};
    const int result = ask(request, record, in, driver);
    if (result == 0) copyBytes(driver, *record, out);
    return result;
}

// Kept as it is: one sum over all channels and for the life of the process.
std::uint32_t ploamRunningTotal = 0;

}  // namespace

int OnuXponHalAdapterBCM::getTxChannelState(TWDMSystemProfile* record) {
    return exchange(&Lib::getTxChannelState, record, {}, {{0, 1}});
}

int OnuXponHalAdapterBCM::getRxChannelState(TWDMSystemProfile* record) {
    return exchange(&Lib::getRxChannelState, record, {}, {{0, 1}});
}

int OnuXponHalAdapterBCM::getTwdmSystemProfileME(TWDMSystemProfileMe_t* record) {
    return exchange(&Lib::getTwdmSystemProfileME, record, {kChannel}, {{0, 1}, {4, 23}});
}

int OnuXponHalAdapterBCM::setTwdmSystemProfileME(TWDMSystemProfileMe_t* record) {
    return exchange(&Lib::setTwdmSystemProfileME, record, {{0, 1}, {4, 23}}, {});
}

int OnuXponHalAdapterBCM::getTwdmChannelME(TWDMChannelProfile_t* record) {
    return exchange(&Lib::getTwdmChannelME, record, {kChannel}, {{1, 4}});
}

int OnuXponHalAdapterBCM::getTwdmLodspmMe(TWDMLodsPmData_t* record) {
    return exchange(&Lib::getTwdmLodspmMe, record, {kChannel}, {{8, 63}});
}

int OnuXponHalAdapterBCM::getTwdmChannelXgemHDME(TWDMChannelXGEMPMHistoryData_t* record) {
    if (record == nullptr) return EINVAL;
    const kit::GemPortCounters gem = kit::countersOfAllGemPorts();

    BCM_TWDMChannelXGEMPMHistoryData driver{};
    const int result = ask(&Lib::getTwdmChannelXgemHDME, record, {kChannel}, driver);
    if (result != 0) return result;
    record->firstGemCounter = gem.port.counter[4];
    record->firstGemCounterHigh = 0;
    record->secondGemCounter = gem.port.counter[5];
    record->secondGemCounterHigh = 0;
    copyBytes(driver, *record, {{16, 23}, {32, 71}});
    return 0;
}

int OnuXponHalAdapterBCM::getTwdmPloamPmHist1Me(TWDMPloamPM1_t* record) {
    BCM_TWDMPloamPM1 driver{};
    const int result = ask(&Lib::getTwdmPloamPmHist1, record, {kChannel}, driver);
    if (result != 0) return result;
    ploamRunningTotal += driver.sinceLastRead;
    record->runningTotal = ploamRunningTotal;
    copyBytes(driver, *record, {{4, 7}, {12, 27}});
    return 0;
}

int OnuXponHalAdapterBCM::getTwdmPloamPmHist2Me(TWDMPloamPM2_t* record) {
    return exchange(&Lib::getTwdmPloamPmHist2, record, {kChannel}, {{4, 59}});
}

int OnuXponHalAdapterBCM::getTwdmPloamPmHist3Me(TWDMPloamPM3_t* record) {
    return exchange(&Lib::getTwdmPloamPmHist3, record, {kChannel}, {{4, 47}});
}

int OnuXponHalAdapterBCM::getTwdmMTunningPMHistory1(TWDMChannelTuningPMHistoryData1_t* record) {
    return exchange(&Lib::getTwdmMTunningPMHistory1, record, {kChannel}, {{4, 55}});
}

int OnuXponHalAdapterBCM::getTwdmChannelTuningHD2ME(TWDMChannelTuningPMHistoryData2_t* record) {
    return exchange(&Lib::getTwdmChannelTuningHD2ME, record, {kChannel}, {{4, 55}});
}

int OnuXponHalAdapterBCM::getTwdmChannelTuningHD3ME(TWDMChannelTuningPMHistoryData3_t* record) {
    return exchange(&Lib::getTwdmChannelTuningHD3ME, record, {kChannel}, {{4, 35}});
}

int OnuXponHalAdapterBCM::getTwdmChannelOmciHDME(TWDMChannelOMCIPMHistoryData_t* record) {
    return exchange(&Lib::getTwdmChannelOmciHDME, record, {kChannel}, {{4, 15}});
}

int OnuXponHalAdapterBCM::getI2CDump(char* buffer) {
    return OnuXponHalAdapterBcmNgponLib::getInstance()->fetchI2CDump(buffer);
}
