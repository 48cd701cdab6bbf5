// What this library puts in front of libvorn_hal: the factory, whose object it wraps, and the functions beside the
// object that scenarios can call. Each finds the library's own by its linker name.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "Answers.h"
#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "RecordingHal.h"
#include "bridge/BridgeControl.h"
#include "device/Counters.h"
#include "device/EthernetUni.h"
#include "hal/HALFactory.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace recorder {

namespace {

template <typename Function>
Function next(const char* name) {
    void* const found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::fprintf(stderr, "recorder: the program has no %s behind this library; does it link libvorn_hal?\n", name);
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

}  // namespace

}  // namespace recorder

using recorder::Json;
using recorder::next;

VornHal* HALFactory::CreateHALObject(int halType) {
    static const auto real = next<VornHal* (*)(HALFactory*, int)>("_ZN10HALFactory15CreateHALObjectEi");
    VornHal* const hal = real(this, halType);
    return hal == nullptr || recorder::Recording::current() == nullptr ? hal : recorder::recordingHal(hal);
}

int VornBrcmHal::createAlarmStatsThread() {
    static const auto real = next<int (*)()>("_ZN11VornBrcmHal22createAlarmStatsThreadEv");
    recorder::RecordedCall step("VornBrcmHal::createAlarmStatsThread", Json::object());
    const int thread = real();
    step.answered(nullptr);  // a thread's identifier is another one each time
    return thread;
}

int OnuXponHalAdapterBCM::getGalEthPmHistDataME(GalEthPMHistoryData_t* data) {
    static const auto real = next<int (*)(OnuXponHalAdapterBCM*, GalEthPMHistoryData_t*)>(
        "_ZN20OnuXponHalAdapterBCM21getGalEthPmHistDataMEEP21GalEthPMHistoryData_t");
    if (data == nullptr) return real(this, data);
    recorder::RecordedCall step("getGalEthPmHistDataME", {{"gemPortId", data->gemPortId}});
    const int result = real(this, data);
    step.answered(result, result == 0 ? Json{{"discardedFrames", data->discardedFrames}} : Json::object());
    return result;
}

void updateEthernetUniSpeed(unsigned short uniInstance, unsigned short speed, unsigned char duplex) {
    static const auto real = next<decltype(&updateEthernetUniSpeed)>("updateEthernetUniSpeed");
    recorder::RecordedCall step("updateEthernetUniSpeed",
                                {{"uniInstance", uniInstance}, {"speed", speed}, {"duplex", duplex}});
    real(uniInstance, speed, duplex);
    step.answered(nullptr);
}

void setEthernetUniStatus(unsigned short uniInstance, unsigned char adminState) {
    static const auto real = next<decltype(&setEthernetUniStatus)>("setEthernetUniStatus");
    recorder::RecordedCall step("setEthernetUniStatus", {{"uniInstance", uniInstance}, {"adminState", adminState}});
    real(uniInstance, adminState);
    step.answered(nullptr);
}

int getEthernetUniOperState(unsigned short uniInstance) {
    static const auto real = next<decltype(&getEthernetUniOperState)>("getEthernetUniOperState");
    return recorder::recordedCall("getEthernetUniOperState", {{"uniInstance", uniInstance}},
                                  [&] { return real(uniInstance); });
}

int getEthernetUniConfig(unsigned short uniInstance, bool wantSpeed) {
    static const auto real = next<decltype(&getEthernetUniConfig)>("getEthernetUniConfig");
    return recorder::recordedCall("getEthernetUniConfig", {{"uniInstance", uniInstance}, {"wantSpeed", wantSpeed}},
                                  [&] { return real(uniInstance, wantSpeed); });
}

int getIntfStats(const char* interface, IntfStats* result) {
    static const auto real = next<decltype(&getIntfStats)>("getIntfStats");
    if (interface == nullptr || result == nullptr) return real(interface, result);
    recorder::RecordedCall step("getIntfStats", {{"interface", vorn_onu::textJson(interface)}});
    const int code = real(interface, result);
    step.answered(code, code != 0 ? Json::object() : vorn_onu::countersJson(*result));
    return code;
}

int br_set_port_isolated(const char* bridge, const char* port, int on) {
    static const auto real = next<decltype(&br_set_port_isolated)>("br_set_port_isolated");
    if (bridge == nullptr || port == nullptr) return real(bridge, port, on);
    return recorder::recordedCall(
        "br_set_port_isolated",
        {{"bridge", vorn_onu::textJson(bridge)}, {"port", vorn_onu::textJson(port)}, {"isolated", on != 0}},
        [&] { return real(bridge, port, on); });
}

int br_set_ageing_time(const char* bridge, timeval* time) {
    static const auto real = next<decltype(&br_set_ageing_time)>("br_set_ageing_time");
    const auto isIn = [](long number, long most) { return number >= 0 && number <= most; };
    if (bridge == nullptr || time == nullptr || !isIn(time->tv_sec, 0x7FFFFFFF) || !isIn(time->tv_usec, 999999))
        return real(bridge, time);  // refused
    return recorder::recordedCall(
        "br_set_ageing_time",
        {{"bridge", vorn_onu::textJson(bridge)}, {"seconds", time->tv_sec}, {"microseconds", time->tv_usec}},
        [&] { return real(bridge, time); });
}
