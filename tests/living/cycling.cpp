// A daemon that provisions a service and takes it down again and again until SIGTERM, on one thread, while another asks
// for counters. Exit code 0: every call of the HAL succeeded. With "closing" it has closed all descriptors that it does
// not know before each round, as daemons do when they detach, and has taken their numbers for files of its own: 4 when
// one of those was closed. With "leaving" it ends by itself after some rounds, through its destructors, slowly.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>

#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"

namespace {

std::atomic<bool> ended{false};

void end(int /*signal*/) {
    ended = true;
}

bool cycle(VornHal& hal) {
    BridgeServiceProvisioning service{};
    service.bridgeId = 3;
    service.gemPortId = 1001;
    std::snprintf(service.vlanTciFilterList, sizeof service.vlanTciFilterList, "0064");
    service.numberOfEntries = 1;
    service.forwardOperation = 4;
    service.trafficModel = 2;
    service.pbitMap[0] = {1001, 0};
    UniDataProvisioning row{};
    row.addFlag = row.hasTagRules = 1;
    row.bridgeId = 3;
    row.uniPort = 1;
    row.inputTpid = row.outputTpid = 0x8100;
    row.tagAction = 1;
    row.outerFilterPrio = row.innerFilterPrio = 15;
    row.outerFilterVlanId = row.innerFilterVlanId = 4096;
    row.outerTreatmentPrio = 15;
    row.innerTreatmentVlanId = 100;
    row.innerTreatmentTpidDe = 4;
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

}  // namespace

// Takes its time when the process ends: what was made later is gone by then.
struct SlowEnd {
    ~SlowEnd() { usleep(500000); }
};

int main(int argc, char** argv) {
    const bool closing = argc > 1 && std::string(argv[1]) == "closing";
    const bool leaving = argc > 1 && std::string(argv[1]) == "leaving";
    static const SlowEnd slow;
    std::signal(SIGTERM, end);
    VornHal& hal = *HALFactory::getInstance()->CreateHALObject(0);
    TContProvisioning tcont{256, 1, 0};
    XGEMConfig gemPort{};
    gemPort.tContAllocId = 256;
    gemPort.xgemPortId = 1001;
    if (hal.vorn_omci_hal_tcont_set(nullptr, &tcont) != 0 || hal.vorn_omci_hal_gemflow_add(&gemPort) != 0) return 1;
    std::fprintf(stderr, "cycling\n");
    long rounds = 0;
    while (!ended) {
        if (closing) closeAllAndTakeNumbers();
        if (!cycle(hal)) return 2;
        ++rounds;
        if (leaving && rounds == 50) {
            std::fprintf(stderr, "leaving\n");
            return 0;
        }
        usleep(closing ? 300000 : 20000);
        if (closing && !ownAreOpen()) return 4;
    }
    std::fprintf(stderr, "%ld rounds\n", rounds);
    std::fflush(nullptr);
    _exit(rounds > 0 ? 0 : 3);
}
