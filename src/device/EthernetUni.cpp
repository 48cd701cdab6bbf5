#include "device/EthernetUni.h"

#include <cstdio>
#include <cstdlib>

#include "hal/Shell.h"
#include "hal/Text.h"
#include "platform/devctl.h"

namespace {

constexpr int kPhyUnit = 0;

struct UniPort {
    unsigned short instance;
    int phyPort;
    int device;  // number of the eth device
};
constexpr UniPort kUniPorts[] = {{1, 4, 1}, {2, 0, 0}};

const UniPort* findPort(unsigned short instance) {
    for (const UniPort& port : kUniPorts) {
        if (port.instance == instance) return &port;
    }
    return nullptr;
}

}  // namespace

void updateEthernetUniSpeed(unsigned short uniInstance, unsigned short speed, unsigned char duplex) {
    std::printf("\nIn updateEthernetUniSpeed: uniInstance(%d) speed(%d) duplex(%d)\n", uniInstance, speed, duplex);
    const UniPort* port = findPort(uniInstance);
    if (port == nullptr) {
        std::printf("updateEthernetUniSpeed: Invalid uniInstance(%d)\n", uniInstance);
        return;
    }
    const int result = bcm_phy_mode_set(kPhyUnit, port->phyPort, speed, duplex);
    if (result == 0) {
        std::puts("updateEthernetUniSpeed: Succesfully set speed and duplex");
    } else {
        std::printf("updateEthernetUniSpeed: Unable to set the speed and duplex retVal(%d)\n", result);
    }
}

void setEthernetUniStatus(unsigned short uniInstance, unsigned char adminState) {
    std::printf("\nIn setEthernetUniStatus: uniInstance(%d) admin state(%d) \n", uniInstance, adminState);
    const UniPort* port = findPort(uniInstance);
    if (port == nullptr) {
        std::printf("ERROR: setEthernetUniStatus: Invalid uniInstance(%d)\n", uniInstance);
        return;
    }
    const auto command = adminState != 0 ? FixedText<128>("ifconfig eth%d up", port->device)
                                         : FixedText<128>("ifconfig eth%d down", port->device);
    runShell(command.get());
    // Kept as it is: reported as a success whatever the command did.
    std::printf("setEthernetUniStatus: Succesfully set eth%d link status:%d\n", port->device, adminState);
}

int getEthernetUniOperState(unsigned short uniInstance) {
    constexpr int kEnabled = 0;
    constexpr int kDisabled = 1;
    const UniPort* port = findPort(uniInstance);
    if (port == nullptr) {
        std::printf("getEthernetUniOperState: Invalid uniInstance(%d)\n", uniInstance);
        return kDisabled;
    }
    int status = 0;
    if (const int result = bcm_get_linkstatus(kPhyUnit, port->phyPort, &status, 0); result != 0) {
        std::printf("bcm_get_linkstatus: FAILED error(%d)\n", result);
        status = 0;
    }
    return status == 0 ? kDisabled : kEnabled;
}

int getEthernetUniConfig(unsigned short uniInstance, bool wantSpeed) {
    const UniPort* port = findPort(uniInstance);
    if (port == nullptr) {
        std::printf("ERROR: getEthernetUniConfig: Invalid uniInstance(%d)\n", uniInstance);
        return 0;
    }
    int speed = 0;
    int duplex = 0;
    const int result = bcm_phy_mode_get(kPhyUnit, port->phyPort, &speed, &duplex);
    if (result != 0) {
        std::printf("ERROR: getEthernetUniConfig: bcm_phy_mode_get() failed on LAN%d retVal(%d) \n", port->phyPort,
                    result);
        return 0;
    }
    std::printf("getEthernetUniConfig: LAN%d speed(%d) and duplex(%d)\n", port->phyPort, speed, duplex);
    return wantSpeed ? speed : duplex;
}
