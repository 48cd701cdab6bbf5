// Provisions a service and takes it down again and again until SIGTERM. With "closing" it has closed all descriptors
// that it does not know before each round, as daemons do when they detach, and has taken their numbers for files of its
// own: 4 when one of those was closed. With "leaving" it ends by itself after some rounds, through its destructors,
// slowly.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>

#include "daemon/Modes.h"
#include "support/InternetService.h"

namespace {

std::atomic<bool> ended{false};

void end(int /*signal*/) {
    ended = true;
}

bool provisionAndRemove(VornHal& hal) {
    BridgeServiceProvisioning service = internet_service::service();
    UniDataProvisioning row = internet_service::row(1);
    bool good = hal.vorn_omci_hal_configureBridge(3, 0) == 0 && hal.vorn_omci_hal_configureAniTagRules(&service) == 0 &&
                hal.vorn_omci_hal_filter_flow_add(&row) == 0;
    row.addFlag = 0;
    good = hal.vorn_omci_hal_filter_flow_add(&row) == 0 && good;
    return hal.vorn_omci_hal_deprovisionAniSideBridge(&service) == 0 && good;
}

constexpr int kFirstOwn = 4000, kEndOfOwn = 4200;  // numbers that the program takes for itself

void closeAllAndTakeNumbers() {
    for (int descriptor = 3; descriptor < 4200; ++descriptor) close(descriptor);
    for (int descriptor = kFirstOwn; descriptor < kEndOfOwn; ++descriptor) dup2(STDERR_FILENO, descriptor);
}

// Still open, and nobody else's.
bool ownAreOpen() {
    struct stat own {
    }, found{};
    fstat(STDERR_FILENO, &own);
    for (int descriptor = kFirstOwn; descriptor < kEndOfOwn; ++descriptor)
        if (fstat(descriptor, &found) != 0 || found.st_ino != own.st_ino) return false;
    return true;
}

// Takes its time when the process ends: what was made later is gone by then.
struct SlowEnd {
    ~SlowEnd() { usleep(500000); }
};

}  // namespace

int test_daemon::cycle(const std::string& mode, const std::string&) {
    const bool closing = mode == "closing", leaving = mode == "leaving";
    static const SlowEnd slow;
    std::signal(SIGTERM, end);
    VornHal& hal = test_daemon::hal();
    TContProvisioning tcont = internet_service::tcont();
    XGEMConfig gemPort = internet_service::gemPort();
    if (hal.vorn_omci_hal_tcont_set(nullptr, &tcont) != 0 || hal.vorn_omci_hal_gemflow_add(&gemPort) != 0) return 1;
    std::fprintf(stderr, "cycling\n");
    long rounds = 0;
    while (!ended) {
        if (closing) closeAllAndTakeNumbers();
        if (!provisionAndRemove(hal)) return 2;
        ++rounds;
        usleep(closing ? 300000 : 20000);  // for those who look at what is between two rounds
        if (!closing) continue;
        if (!ownAreOpen()) return 4;
        std::fprintf(stderr, "round %ld\n", rounds);
    }
    std::fprintf(stderr, "%ld rounds\n", rounds);
    std::fflush(nullptr);
    if (leaving) return 0;
    _exit(rounds > 0 ? 0 : 3);
}
