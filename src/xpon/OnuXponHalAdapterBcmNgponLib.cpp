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

// The stack's requests: the member that makes it and the name under which its failure is printed. Kept: the names are
// those of the first driver release, misspelt ones and the channel's SET included; field support searches for them.
// "[ERROR %s] %-10s, %d: NGPON2 ioctl error in NGPON_STACK_IOC_GET_TX_CHENNEL\n" is such a line.
struct StackRequest {
    unsigned long number;
    const char* member;
    const char* name;
};
constexpr StackRequest kStackRequests[] = {
    {NGPON_STACK_IOC_GET_TX_CHANNEL, "getTxChannelState", "NGPON_STACK_IOC_GET_TX_CHENNEL"},
    {NGPON_STACK_IOC_GET_RX_CHANNEL, "getRxChannelState", "NGPON_STACK_IOC_GET_RX_CHENNEL"},
    {NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE, "getTwdmSystemProfileME", "NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE"},
    {NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE, "setTwdmSystemProfileME", "NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL, "getTwdmChannelME", "NGPON_STACK_IOC_SET_TWDM_CHANNEL"},
    {NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA, "getTwdmLodspmMe", "NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD, "getTwdmChannelXgemHDME", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1, "getTwdmPloamPmHist1", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2, "getTwdmPloamPmHist2", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3, "getTwdmPloamPmHist3", "NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3"},
    {NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HD1, "getTwdmMTunningPMHistory1", "NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HS1"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2, "getTwdmChannelTuningHD2ME",
     "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD3, "getTwdmChannelTuningHD3ME",
     "NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_HD3"},
    {NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD, "getTwdmChannelOmciHDME",
     "NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD"},
};

// line is the source line that is printed with a failure.
int stackRequest(unsigned long number, void* record, int line) {
    if (record == nullptr) return EINVAL;
    const int result =
        OnuXponHalAdapterBcmNgponLib::ngpon_execCmd(static_cast<int>(number), record, NGPON2_STACK_DEVICE);
    if (result == 0) return 0;
    for (const StackRequest& request : kStackRequests) {
        if (request.number != number) continue;
        std::printf("[ERROR %s] %-10s, %d: NGPON2 ioctl error in %s\n", kTag, request.member, line, request.name);
    }
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
    return stackRequest(NGPON_STACK_IOC_GET_TX_CHANNEL, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getRxChannelState(BCM_NgponChannelStateInfo* record) {
    return stackRequest(NGPON_STACK_IOC_GET_RX_CHANNEL, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmSystemProfileME(BCM_TWDMSystemProfile* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::setTwdmSystemProfileME(BCM_TWDMSystemProfile* record) {
    return stackRequest(NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelME(BCM_TWDMChannelProfile* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmLodspmMe(BCM_TWDMLodsPmData* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelXgemHDME(BCM_TWDMChannelXGEMPMHistoryData* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist1(BCM_TWDMPloamPM1* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist2(BCM_TWDMPloamPM2* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmPloamPmHist3(BCM_TWDMPloamPM3* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmMTunningPMHistory1(BCM_TWDMChannelTuningPMHistoryData1* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HD1, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelTuningHD2ME(BCM_TWDMChannelTuningPMHistoryData2* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelTuningHD3ME(BCM_TWDMChannelTuningPMHistoryData3* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD3, record, __LINE__);
}

int OnuXponHalAdapterBcmNgponLib::getTwdmChannelOmciHDME(BCM_TWDMChannelOMCIPMHistoryData* record) {
    return stackRequest(NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD, record, __LINE__);
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
    if (buffer == nullptr) return 0;  // Kept: the device stays open
    const int result = ioctl(laserFd_, LASER_IOC_GET_I2C_DUMP, buffer);
    if (result < 0) {
        std::printf("[ERROR %s] %-10s, %d: Laser driver IOCTL error on I2C dump\n", kTag, "fetchI2CDump", __LINE__);
    }
    closeLaserFd();
    return result;
}
