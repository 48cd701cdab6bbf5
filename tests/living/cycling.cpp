// A daemon that provisions a service and takes it down again and again until SIGTERM, on one thread, while another asks
// for counters. Exit code 0: every call of the HAL succeeded. With "closing" it has closed all descriptors that it does
// not know before each round, as daemons do when they detach.
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

void closeAll() {
    for (int descriptor = 3; descriptor < 4200; ++descriptor) close(descriptor);
}

}  // namespace

int main(int argc, char** argv) {
    const bool closing = argc > 1 && std::string(argv[1]) == "closing";
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
        if (closing) closeAll();
        if (!cycle(hal)) return 2;
        ++rounds;
        usleep(closing ? 300000 : 20000);
    }
    std::fprintf(stderr, "%ld rounds\n", rounds);
    std::fflush(nullptr);
    _exit(rounds > 0 ? 0 : 3);
}
