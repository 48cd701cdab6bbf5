// Access to the NGPON2 stack's device, one ioctl a request, and to the optical module's I2C contents.
//
// One object a process, made by the PON adapter on first use and destroyed with it. Creation and destruction are
// locked; the rest is called from the daemon's provisioning thread only. Failures are printed to standard output.
#ifndef XPON_ONU_XPON_HAL_ADAPTER_BCM_NGPON_LIB_H
#define XPON_ONU_XPON_HAL_ADAPTER_BCM_NGPON_LIB_H

#include <mutex>

#include "hal/Export.h"
#include "xpon/TwdmDriverRecords.h"

class VORN_API OnuXponHalAdapterBcmNgponLib {
public:
    static constexpr int kNoStackDevice = 101;  // the stack's device cannot be opened

    static OnuXponHalAdapterBcmNgponLib* getInstance();
    static void destroyInstance();  // harmless without an object
    OnuXponHalAdapterBcmNgponLib(const OnuXponHalAdapterBcmNgponLib&) = delete;
    OnuXponHalAdapterBcmNgponLib& operator=(const OnuXponHalAdapterBcmNgponLib&) = delete;

    static OnuXponHalAdapterBcmNgponLib* instance;  // null while there is no object; only the library changes it
    static std::mutex singletonLock;

    // Opens the device, makes the request with the record and closes the device again. 0, the request's errno value, or
    // kNoStackDevice.
    static int ngpon_execCmd(int request, void* record, const char* device);

    // One request each: input in byte 0 of the record (the setter: the whole record), the answer in the record. Results
    // as of ngpon_execCmd; EINVAL for null.
    int getTxChannelState(BCM_NgponChannelStateInfo* record);
    int getRxChannelState(BCM_NgponChannelStateInfo* record);
    int getTwdmSystemProfileME(BCM_TWDMSystemProfile* record);
    int setTwdmSystemProfileME(BCM_TWDMSystemProfile* record);
    int getTwdmChannelME(BCM_TWDMChannelProfile* record);
    int getTwdmLodspmMe(BCM_TWDMLodsPmData* record);
    int getTwdmChannelXgemHDME(BCM_TWDMChannelXGEMPMHistoryData* record);
    int getTwdmPloamPmHist1(BCM_TWDMPloamPM1* record);
    int getTwdmPloamPmHist2(BCM_TWDMPloamPM2* record);
    int getTwdmPloamPmHist3(BCM_TWDMPloamPM3* record);
    int getTwdmMTunningPMHistory1(BCM_TWDMChannelTuningPMHistoryData1* record);
    int getTwdmChannelTuningHD2ME(BCM_TWDMChannelTuningPMHistoryData2* record);
    int getTwdmChannelTuningHD3ME(BCM_TWDMChannelTuningPMHistoryData3* record);
    int getTwdmChannelOmciHDME(BCM_TWDMChannelOMCIPMHistoryData* record);

    // Opens the laser device and keeps its descriptor, which is the result; negative on failure.
    int initLaser();
    void closeLaserFd();
    // The optical module's I2C contents into buffer, which must hold what the driver dumps. The ioctl's result. A null
    // buffer answers 0 and leaves the device open.
    int fetchI2CDump(char* buffer);

private:
    OnuXponHalAdapterBcmNgponLib() = default;
    ~OnuXponHalAdapterBcmNgponLib() = default;

    int laserFd_ = -1;
};

#endif
