// A daemon for tests with real packets: a transparent service between UNI port 3 (sid2) and GEM port 1001. It says "up"
// on standard output, takes the port off the bridge on SIGUSR1 and puts it back on SIGUSR2; SIGTERM ends it.
//   tap-test-daemon            as it is
//   tap-test-daemon closing    closes every descriptor that it does not know, in each way that there is, and again
//   tap-test-daemon forking    goes into the background with a board that its parent has begun
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>

#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"

namespace {

constexpr std::uint16_t kBridge = 5, kUniPort = 3, kAllocId = 256, kGemPort = 1001;

void say(const char* word) {
    std::printf("\ndaemon %d: %s\n", static_cast<int>(getpid()), word);
    std::fflush(stdout);
}

bool provisionPon(VornHal& hal) {
    TContProvisioning tcont{kAllocId, 1, 0};
    XGEMConfig gemPort{};
    gemPort.tContAllocId = kAllocId;
    gemPort.xgemPortId = kGemPort;
    BridgeServiceProvisioning service{};
    service.gemPortId = kGemPort;
    service.bridgeId = kBridge;
    service.trafficModel = 2;
    service.pbitMap[0] = {kGemPort, 0};
    return hal.vorn_omci_hal_tcont_set(nullptr, &tcont) == 0 && hal.vorn_omci_hal_gemflow_add(&gemPort) == 0 &&
           hal.vorn_omci_hal_configureBridge(kBridge, 0) == 0 && hal.vorn_omci_hal_configureAniTagRules(&service) == 0;
}

bool setUni(VornHal& hal, bool onTheBridge) {
    UniDataProvisioning row{};
    row.addFlag = onTheBridge ? 1 : 0;
    row.bridgeId = kBridge;
    row.uniPort = kUniPort;
    return hal.vorn_omci_hal_filter_flow_add(&row) == 0;
}

// Every number that is free afterwards stands for a file of this program's own.
void closeAll() {
    for (int fd = 3; fd < 4096; ++fd) close(fd);
    closefrom(3);
    syscall(SYS_close_range, 3u, UINT_MAX, 0);
    const int own = open("/dev/null", O_RDWR);
    for (int fd = own + 1; fd < 4096; ++fd) dup2(own, fd);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    sigset_t orders;
    sigemptyset(&orders);
    for (const int one : {SIGUSR1, SIGUSR2, SIGTERM}) sigaddset(&orders, one);
    sigprocmask(SIG_BLOCK, &orders, nullptr);
    VornHal& hal = *HALFactory::getInstance()->CreateHALObject(0);
    if (mode == "closing") closeAll();
    if (!provisionPon(hal)) return 1;
    if (mode == "forking" && fork() != 0) {
        int order = 0;  // the parent's board stays without the port
        while (sigwait(&orders, &order) == 0 && order != SIGTERM) {
        }
        return 0;
    }
    if (!setUni(hal, true)) return 1;
    if (mode == "closing") closeAll();
    say("up");
    for (int order = 0; sigwait(&orders, &order) == 0 && order != SIGTERM;) {
        const bool onTheBridge = order == SIGUSR2;
        if (mode == "closing") closeAll();
        if (!setUni(hal, onTheBridge)) return 1;
        say(onTheBridge ? "port on the bridge" : "port off the bridge");
    }
    return 0;
}
