// The link status monitor: a thread that watches the two Ethernet links for the multicast proxy.
#include <errno.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>

#include "BRCM/BCM968580/DATA/EngineLog.h"
#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "hal/BackgroundThread.h"
#include "hal/SharedVariable.h"
#include "kit/DeviceNames.h"

// Neither up nor down, so that the first look counts as a change.
std::int32_t VornBrcmHal::operStatus = ETHERNET_LINK_INITIAL;
std::int32_t VornBrcmHal::operStatus1G = ETHERNET_LINK_INITIAL;

namespace {

constexpr const char* kHalSource = "src/BRCM/BCM968580/omci_brcm_hal";
constexpr int kNoThread = 0;            // no thread has this identifier: its low 32 bits point into the thread's stack
constexpr unsigned kSettleSeconds = 1;  // the link's own changes are through by then

// A link whose state cannot be read counts as up.
EthernetLinkStatus linkStatus(const char* path, const char* unreadable) {
    std::ifstream file(path);
    std::string state;
    if (file.is_open()) {
        std::getline(file, state);
    } else {
        std::cout << unreadable;
    }
    return state == "down" ? ETHERNET_LINK_DOWN : ETHERNET_LINK_UP;
}

void followLink(EthernetLinkStatus seen, std::int32_t& last, const char* changed) {
    if (seen == last) return;
    std::puts(changed);
    if (loadShared(EtherSwitchBcm380::multicastEnable) != 0) {
        sleep(kSettleSeconds);
        EtherSwitchBcm380::updateMcpdConf();
    }
    last = seen;
}

}  // namespace

int VornBrcmHal::createAlarmStatsThread() {
    std::printf("Alarms Thread \n");
    pthread_t thread{};
    // Joinable, which is what the default attributes say.
    const int error = startBackgroundThread(&thread, &VornBrcmHal::sfuNotificationDdlCallbacks);
    if (error != 0) {
        std::printf("Alaram Status Changes : pthread_create returns: %d\n", error);
        errno = error;
        return kNoThread;  // and none to name
    }
    pthread_setname_np(thread, "AlarmStatsMon");
    return static_cast<int>(thread);
}

int VornBrcmHal::getBcmPmOperStatus(EthernetLinkStatus& status) {
    status = linkStatus("/sys/class/net/eth1/operstate", "couldnt read eth1 file");
    return 0;
}

int VornBrcmHal::getBcmPmOperStatus1G(EthernetLinkStatus& status) {
    status = linkStatus("/sys/class/net/eth0/operstate", "couldnt read eth0 file");
    return 0;
}

void VornBrcmHal::updateStatus() {
    EthernetLinkStatus status = ETHERNET_LINK_DOWN;
    getBcmPmOperStatus(status);
    followLink(status, operStatus, "\n updStatestate not matching 10G");
    status = ETHERNET_LINK_DOWN;
    getBcmPmOperStatus1G(status);
    followLink(status, operStatus1G, "\n updStatestate not matching 1G");
}

void* VornBrcmHal::sfuNotificationDdlCallbacks(void* /*unused*/) {
    for (;;) {
        timeval second{1, 0};
        if (select(0, nullptr, nullptr, nullptr, &second) != 0) continue;  // interrupted: no second has passed
        ENGINE_LOG("sfuNotificationDdlCallbacks", kHalSource, kLogInfo, "PM Timer TIMED OUT \n");
        updateStatus();
    }
}
