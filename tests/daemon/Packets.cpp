// For real packets: a transparent service between UNI port 3 (sid2) and GEM port 1001. It says "up" on standard output,
// takes the port off the bridge on SIGUSR1 and puts it back on SIGUSR2; SIGTERM ends it.
//   closing    closes every descriptor that it does not know, by each call that there is, and again
//   forking    goes into the background with a board that its parent has begun
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>

#include "daemon/Modes.h"
#include "support/InternetService.h"

namespace {

using internet_service::kGemPort;
constexpr std::uint16_t kTransparentBridge = 5, kUniPort = 3;

void say(const char* word) {
    std::printf("\ndaemon %d: %s\n", static_cast<int>(getpid()), word);
    std::fflush(stdout);
}

bool provisionPon(VornHal& hal) {
    TContProvisioning tcont = internet_service::tcont();
    XGEMConfig gemPort = internet_service::gemPort();
    BridgeServiceProvisioning service{};
    service.gemPortId = kGemPort;
    service.bridgeId = kTransparentBridge;
    service.trafficModel = 2;
    service.pbitMap[0] = {kGemPort, 0};
    return hal.vorn_omci_hal_tcont_set(nullptr, &tcont) == 0 && hal.vorn_omci_hal_gemflow_add(&gemPort) == 0 &&
           hal.vorn_omci_hal_configureBridge(kTransparentBridge, 0) == 0 &&
           hal.vorn_omci_hal_configureAniTagRules(&service) == 0;
}

bool setUni(VornHal& hal, bool onTheBridge) {
    UniDataProvisioning row{};
    row.addFlag = onTheBridge ? 1 : 0;
    row.bridgeId = kTransparentBridge;
    row.uniPort = kUniPort;
    return hal.vorn_omci_hal_filter_flow_add(&row) == 0;
}

// Every number that is free afterwards stands for a file of this program's own.
void closeEverything() {
    for (int fd = 3; fd < 4096; ++fd) close(fd);
    closefrom(3);
    syscall(SYS_close_range, 3u, UINT_MAX, 0);
    const int own = open("/dev/null", O_RDWR);
    for (int fd = own + 1; fd < 4096; ++fd) dup2(own, fd);
}

}  // namespace

int test_daemon::carryPackets(const std::string& mode, const std::string&) {
    sigset_t orders;
    sigemptyset(&orders);
    for (const int one : {SIGUSR1, SIGUSR2, SIGTERM}) sigaddset(&orders, one);
    sigprocmask(SIG_BLOCK, &orders, nullptr);
    VornHal& hal = test_daemon::hal();
    if (mode == "closing") closeEverything();
    if (!provisionPon(hal)) return 1;
    if (mode == "forking" && fork() != 0) {
        int order = 0;  // the parent's board stays without the port
        while (sigwait(&orders, &order) == 0 && order != SIGTERM) {
        }
        return 0;
    }
    if (!setUni(hal, true)) return 1;
    if (mode == "closing") closeEverything();
    say("up");
    for (int order = 0; sigwait(&orders, &order) == 0 && order != SIGTERM;) {
        const bool onTheBridge = order == SIGUSR2;
        if (mode == "closing") closeEverything();
        if (!setUni(hal, onTheBridge)) return 1;
        say(onTheBridge ? "port on the bridge" : "port off the bridge");
    }
    return 0;
}
