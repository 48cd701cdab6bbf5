// The PON adapter: T-CONTs with their alloc-ids and queues, GEM ports, and the queries of the NGPON2 (TWDM) managed
// entities.
//
// One object a process, reached through getInstance(). Creation and destruction of the object are locked; everything
// else is called from the daemon's provisioning thread only and is not locked. No operation throws. Unless stated, a
// result is 1 for success and 0 for failure, failures are printed to standard output, and what a failing operation has
// already done stays done. 65535 stands for "none" in alloc-ids and GEM indexes; a GEM index is valid up to 255.
#ifndef XPON_ONU_XPON_HAL_ADAPTER_BCM_H
#define XPON_ONU_XPON_HAL_ADAPTER_BCM_H

#include <cstdint>
#include <map>
#include <mutex>

#include "hal/Export.h"
#include "hal/PonRecords.h"
#include "hal/TwdmRecords.h"

// GEM ports that hold the default GPON device up: one for each successful configure, less one for each removal with a
// valid index. May fall below 0.
extern "C" VORN_API std::int32_t g_GemCnt;

// Tells whoever loads the library that it answers: a constant text.
extern "C" VORN_API const char* onu_xpon_hal_adapter_bcm_hello_world(void);

class VORN_API OnuXponHalAdapterBCM {
public:
    // The one object, made on the first call. Any thread.
    static OnuXponHalAdapterBCM* getInstance();
    // Destroys the object and the NGPON2 adapter with it; harmless without one. The hardware keeps its state. Nobody
    // may use the object meanwhile.
    static void destroyInstance();
    OnuXponHalAdapterBCM(const OnuXponHalAdapterBCM&) = delete;
    OnuXponHalAdapterBCM& operator=(const OnuXponHalAdapterBCM&) = delete;

    static OnuXponHalAdapterBCM* instance;  // null while there is no object; only the library changes it
    static std::mutex singletonLock;

    enum OmciAccessType { kOmciAccessLocal = 0, kOmciAccessRemote = 1 };
    int gpon_omci_api_init(OmciAccessType access);  // nothing to do: 0

    // ---- T-CONTs (OnuXponHalAdapterBCMTcont.cpp) ----

    // Binds the alloc-id to the T-CONT and gives the T-CONT its eight queues. An alloc-id that is bound already, even
    // to another T-CONT, is success and changes nothing. After a failure of the queues the alloc-id stays bound.
    int provisionTCont(const TContProvisioning& record);
    // Unbinds the alloc-id and resets its T-CONT; 65535 does nothing. 0 for an alloc-id that is not bound.
    int deprovisionTCont(const TContProvisioning& record);
    int createAllocId(unsigned short allocId, unsigned char policy, unsigned short tContIndex);
    // Alloc-id 255 is only forgotten: its T-CONT keeps queues and binding.
    int deleteAllocId(unsigned short allocId);
    int resetTContObject(int tContIndex);  // always 1
    // Queue n, 0 to 7, becomes a strict-priority queue of priority n. 0 on the first queue that is refused.
    int createPriorityQueueForTcont(int tContIndex);

    // ---- GEM ports (OnuXponHalAdapterBCMXgem.cpp) ----

    // Configures and enables the port, sets its upstream queue and brings the default GPON device up. Once more for the
    // same port sets queue and enable state again and counts once more. 0 when the driver gives no valid GEM index.
    int configureXGEM(const XGEMConfig& config);
    int deconfigureXGEM(const XGEMConfig& config);  // always 1
    // The GEM index, existing or new; above 255 for failure. upstreamQueue is not used.
    int createXGEMPort(unsigned short xgemPortId, unsigned short tContAllocId, unsigned short upstreamQueue);
    // The GEM index removed, or 65535: unknown port, or the driver has it at index 0. When the driver does not answer,
    // the index that it left in the query, and nothing is deconfigured.
    int deleteXGEMPort(unsigned short xgemPortId);
    int enableXGEM(unsigned short xgemPortId, unsigned short gemIndex);   // the GEM index that the driver leaves
    int disableXGEM(unsigned short xgemPortId, unsigned short gemIndex);  // always 1
    // GPON control's result, low 16 bits; 65535 for an unknown port.
    int setXgemStatus(unsigned short xgemPortId, bool enable);
    // Sets queue 0..7 of a T-CONT; other queues are ignored. schedPolicy 2 is weighted round robin with weight 0..255
    // scaled to 1..63, else strict priority. qosArg is not used.
    void configGemPortQosUs(unsigned short queue, unsigned short tContIndex, unsigned char schedPolicy,
                            unsigned char priority, unsigned short qosArg, unsigned char weight);
    // Sets the priority of a queue and takes its shaper off. flag is not used.
    void configGemPortShapingUs(unsigned short queue, unsigned short tContIndex, unsigned char priority, bool flag);
    // Count the port in or out of the default GPON device and switch the device with the first and the last port.
    // Indexes above 255 are ignored.
    void addGemToDefaultGponIf(unsigned short gemIndex);
    void removeGemFromDefaultGponIf(unsigned short gemIndex);
    // Discarded frames of data->gemPortId. GPON control's result, 0 for success; -1 for null.
    int getGalEthPmHistDataME(GalEthPMHistoryData_t* data);

    // ---- Bookkeeping (OnuXponHalAdapterBCM.cpp) ----
    // A key is never overwritten: inserting one that is present answers 0. A lookup writes its output only when it
    // answers 1. Deleting a key that is missing answers 0.

    bool findAllocIdMapEntry(unsigned short allocId);
    int getTcontIdxFromAllocIdMapEntry(unsigned short allocId, unsigned short* tContIndex);
    int insertAllocIdMapEntry(unsigned short allocId, unsigned short tContIndex);
    int deleteAllocIdMapEntry(unsigned short allocId);
    int getGemIdxFromGemPortMapEntry(unsigned short xgemPortId, unsigned short* gemIndex);
    int insertGemPortMapEntry(unsigned short xgemPortId, unsigned short gemIndex);
    int deleteGemPortMapEntry(unsigned short xgemPortId);
    int insertTcontIdxToGemPortMapEntry(unsigned short tContIndex, unsigned short gemIndex);
    int deleteTcontIdxFromTcontIdxToGemPortMap(unsigned short tContIndex);
    // Deletes the first entry, by ascending T-CONT index, whose value is this one.
    int deleteGemPortFromTcontIdxToGemPortMap(unsigned short value);

    // ---- Device control (OnuXponHalAdapterBCM.cpp) ----

    // Flags up, running, multicast and MTU 1500; every flag but up. 1 when the flags were set.
    int ifUp(const char* name);
    int ifDown(const char* name);
    int getInterfaceIndex(const char* name);  // -1 for null and for an unknown device
    bool isInterfaceExisted(const char* name);

    // ---- NGPON2 (OnuXponHalAdapterBCMTwdm.cpp) ----
    // Each answers 0 and fills the record's output bytes (the setter sends them), or leaves the record as it was and
    // answers the driver's errno value, 101 when the stack's device cannot be opened, or EINVAL for null.

    int getTxChannelState(TWDMSystemProfile* record);
    int getRxChannelState(TWDMSystemProfile* record);
    int getTwdmSystemProfileME(TWDMSystemProfileMe_t* record);
    int setTwdmSystemProfileME(TWDMSystemProfileMe_t* record);
    int getTwdmChannelME(TWDMChannelProfile_t* record);
    int getTwdmLodspmMe(TWDMLodsPmData_t* record);
    int getTwdmChannelXgemHDME(TWDMChannelXGEMPMHistoryData_t* record);
    int getTwdmPloamPmHist1Me(TWDMPloamPM1_t* record);
    int getTwdmPloamPmHist2Me(TWDMPloamPM2_t* record);
    int getTwdmPloamPmHist3Me(TWDMPloamPM3_t* record);
    int getTwdmMTunningPMHistory1(TWDMChannelTuningPMHistoryData1_t* record);
    int getTwdmChannelTuningHD2ME(TWDMChannelTuningPMHistoryData2_t* record);
    int getTwdmChannelTuningHD3ME(TWDMChannelTuningPMHistoryData3_t* record);
    int getTwdmChannelOmciHDME(TWDMChannelOMCIPMHistoryData_t* record);
    // The optical module's I2C contents: the driver's result, negative on failure. The driver decides on the size;
    // buffer must be large enough. 0 for null, which leaves the laser device open.
    int getI2CDump(char* buffer);

private:
    OnuXponHalAdapterBCM() = default;
    ~OnuXponHalAdapterBCM();

    // Keeps the maps below where programs that are built already read them.
    __attribute__((unused)) void* reserved_ = nullptr;

public:
    // Bookkeeping only; nothing reconciles it with the hardware. Read it freely, change it through the operations
    // above.
    std::map<std::uint16_t, std::uint16_t> gemPortMap;            // XGEM port id to GEM index
    std::map<std::uint16_t, std::uint16_t> allocIdMap;            // alloc-id to T-CONT index
    std::map<std::uint16_t, std::uint16_t> tcontIdxToGemPortMap;  // T-CONT index to the first GEM index on it
};

#endif
