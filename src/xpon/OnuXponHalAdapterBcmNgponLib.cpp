#include "xpon/OnuXponHalAdapterBcmNgponLib.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "hal/SharedVariable.h"
#include "hal/Text.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"

namespace {

constexpr const char* kTag = "ngponctl";

// A request of the stack: the member that makes it and the name under which its failure is printed, as in
// "[ERROR %s] %-10s, %d: NGPON2 ioctl error in NGPON_STACK_IOC_GET_TX_CHENNEL\n". The names are kept as they are,
// misspelt ones and the channel's SET included.
struct StackRequest {
    unsigned long number;
    const char* member;
    const char* name;
};
// clang-format off
constexpr StackRequest kGetTxChannelState = {NGPON_STACK_IOC_GET_TX_CHANNEL, "getTxChannelState", "NGPON_STACK_IOC_GET_TX_CHENNEL"};
constexpr StackRequest kGetRxChannelState = {NGPON_STACK_IOC_GET_RX_CHANNEL, "getRxChannelState", "NGPON_STACK_IOC_GET_RX_CHENNEL"};
constexpr StackRequest kGetTwdmSystemProfileME = {NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE, "getTwdmSystemProfileME", "NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE"};
constexpr StackRequest kSetTwdmSystemProfileME = {NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE, "setTwdmSystemProfileME", "NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE"};
constexpr StackRequest kGetTwdmChannelME = {NGPON_STACK_IOC_GET_TWDM_CHANNEL, "getTwdmChannelME", "NGPON_STACK_IOC_SET_TWDM_CHANNEL"};
constexpr StackRequest kGetTwdmLodspmMe = {NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA, "getTwdmLodspmMe", "NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA"};
constexpr StackRequest kGetTwdmChannelXgemHDME = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD, "getTwdmChannelXgemHDME", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD"};
constexpr StackRequest kGetTwdmPloamPmHist1 = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1, "getTwdmPloamPmHist1", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1"};
constexpr StackRequest kGetTwdmPloamPmHist2 = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2, "getTwdmPloamPmHist2", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2"};
constexpr StackRequest kGetTwdmPloamPmHist3 = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3, "getTwdmPloamPmHist3", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3"};
constexpr StackRequest kGetTwdmMTunningPMHistory1 = {NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HD1, "getTwdmMTunningPMHistory1", "NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HS1"};
constexpr StackRequest kGetTwdmChannelTuningHD2ME = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2, "getTwdmChannelTuningHD2ME", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2"};
constexpr StackRequest kGetTwdmChannelTuningHD3ME = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD3, "getTwdmChannelTuningHD3ME", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_HD3"};
constexpr StackRequest kGetTwdmChannelOmciHDME = {NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD, "getTwdmChannelOmciHDME", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD"};
// clang-format on

// line is the source line that is printed with a failure.
int ask(const StackRequest& request, void* record, int line) {
    if (record == nullptr) return EINVAL;
    const int result =
        OnuXponHalAdapterBcmNgponLib::ngpon_execCmd(static_cast<int>(request.number), record, NGPON2_STACK_DEVICE);
    if (result != 0)
        std::printf("[ERROR %s] %-10s, %d: NGPON2 ioctl error in %s\n", kTag, request.member, line, request.name);
    return result;
}

int openDevice(const char* device) {
    if (device == nullptr) {
        errno = EFAULT;
        return -1;
    }
    return open(device, O_RDWR);
}

}  // namespace

OnuXponHalAdapterBcmNgponLib* OnuXponHalAdapterBcmNgponLib::instance = nullptr;
std::mutex OnuXponHalAdapterBcmNgponLib::singletonLock;

OnuXponHalAdapterBcmNgponLib* OnuXponHalAdapterBcmNgponLib::getInstance() {
    if (OnuXponHalAdapterBcmNgponLib* existing = loadShared(instance)) return existing;
    const std::lock_guard<std::mutex> lock(singletonLock);
    if (instance == nullptr) storeShared(instance, new OnuXponHalAdapterBcmNgponLib);
    return instance;
}

void OnuXponHalAdapterBcmNgponLib::destroyInstance() {
    if (loadShared(instance) == nullptr) return;
    const std::lock_guard<std::mutex> lock(singletonLock);
    delete instance;
    storeShared<OnuXponHalAdapterBcmNgponLib*>(instance, nullptr);
}

int OnuXponHalAdapterBcmNgponLib::ngpon_execCmd(int request, void* record, const char* device) {
    const int fd = openDevice(device);
    if (fd < 0) {
        std::printf("[ERROR %s] %-10s, %d: %s: %s\n", kTag, "ngpon_open", __LINE__, printable(device),
                    gponCtl_getMsgError(errno));
        std::printf("[ERROR %s] %-10s, %d: Failed to bcm_dev_open %s\n\n", kTag, "ngpon_execCmd", __LINE__,
                    printable(device));
        return kNoStackDevice;
    }
    const int result = ioctl(fd, static_cast<unsigned>(request), record) != 0 ? errno : 0;
    close(fd);
    return result;
}

int OnuXponHalAdapterBcmNgponLib::getTxChannelState(BCM_NgponChannelStateInfo* record) {
    return ask(kGetTxChannelState, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getRxChannelState(BCM_NgponChannelStateInfo* record) {
    return ask(kGetRxChannelState, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmSystemProfileME(BCM_TWDMSystemProfile* record) {
    return ask(kGetTwdmSystemProfileME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::setTwdmSystemProfileME(BCM_TWDMSystemProfile* record) {
    return ask(kSetTwdmSystemProfileME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelME(BCM_TWDMChannelProfile* record) {
    return ask(kGetTwdmChannelME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmLodspmMe(BCM_TWDMLodsPmData* record) {
    return ask(kGetTwdmLodspmMe, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelXgemHDME(BCM_TWDMChannelXGEMPMHistoryData* record) {
    return ask(kGetTwdmChannelXgemHDME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist1(BCM_TWDMPloamPM1* record) {
    return ask(kGetTwdmPloamPmHist1, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist2(BCM_TWDMPloamPM2* record) {
    return ask(kGetTwdmPloamPmHist2, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist3(BCM_TWDMPloamPM3* record) {
    return ask(kGetTwdmPloamPmHist3, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmMTunningPMHistory1(BCM_TWDMChannelTuningPMHistoryData1* record) {
    return ask(kGetTwdmMTunningPMHistory1, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelTuningHD2ME(BCM_TWDMChannelTuningPMHistoryData2* record) {
    return ask(kGetTwdmChannelTuningHD2ME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelTuningHD3ME(BCM_TWDMChannelTuningPMHistoryData3* record) {
    return ask(kGetTwdmChannelTuningHD3ME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelOmciHDME(BCM_TWDMChannelOMCIPMHistoryData* record) {
    return ask(kGetTwdmChannelOmciHDME, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::initLaser() {
    laserFd_ = -1;
    laserFd_ = open(LASER_DEVICE, O_RDWR);
    if (laserFd_ < 0) {
        std::printf("[ERROR %s] %-10s, %d: open system call is failed for laser driver\n", kTag, "initLaser", __LINE__);
    }
    return laserFd_;
}

void OnuXponHalAdapterBcmNgponLib::closeLaserFd() {
    if (laserFd_ >= 0) close(laserFd_);
}

int OnuXponHalAdapterBcmNgponLib::fetchI2CDump(char* buffer) {
    initLaser();
    if (buffer == nullptr) return 0;  // kept as it is: the device stays open
    const int result = ioctl(laserFd_, LASER_IOC_GET_I2C_DUMP, buffer);
    if (result < 0) {
        std::printf("[ERROR %s] %-10s, %d: Laser driver IOCTL error on I2C dump\n", kTag, "fetchI2CDump", __LINE__);
    }
    closeLaserFd();
    return result;
}
