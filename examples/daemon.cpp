// A small OMCI-like daemon: provisions one internet service the way a daemon does when the OLT creates the managed
// entities of it, and says what it did. It knows the HAL and nothing of what the HAL runs on: on the device this is all
// there is to it, on a workstation start it with
//
//   vorn-onu exec -- example-daemon
//
// With --stay it starts as daemons do, connected to the gateway side and detached from the terminal, and lives on until
// a signal ends it. With --state FILE it finds what it has provisioned on the device when it is started again, asks for
// all of it as after a boot, and has what it does not ask for any more taken away:
//
//   vorn-onu exec --board BOARD -- example-daemon --state FILE
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "hal/HALFactory.h"
#include "hal/HalState.h"
#include "hal/ProvisioningRecords.h"
#include "hal/VornHal.h"

namespace {

constexpr std::uint16_t kBridge = 3;
constexpr std::uint16_t kUniPort = 1;  // the HAL exchanges 1 and 2 on the way to the board: device sid1
constexpr std::uint16_t kServiceVid = 100;
constexpr std::uint16_t kAllocId = 256;
constexpr std::uint16_t kTcont = 1;
constexpr std::uint16_t kGemPort = 1001;
constexpr std::uint8_t kForwardTagged = 4;  // forward operation: tagged frames whose VID is in the list

void say(const std::string& text) {
    std::printf("\ndaemon: %s\n", text.c_str());
    std::fflush(stdout);
}

bool provisionPon(VornHal& hal) {
    TContProvisioning tcont{kAllocId, kTcont, 0};
    XGEMConfig gemPort{};
    gemPort.tContAllocId = kAllocId;
    gemPort.xgemPortId = kGemPort;
    return hal.vorn_omci_hal_tcont_set(nullptr, &tcont) == 0 && hal.vorn_omci_hal_gemflow_add(&gemPort) == 0;
}

BridgeServiceProvisioning internetService() {
    BridgeServiceProvisioning service{};
    service.gemPortId = kGemPort;
    service.bridgeId = kBridge;
    std::snprintf(service.vlanTciFilterList, sizeof service.vlanTciFilterList, "%04x",
                  static_cast<unsigned>(kServiceVid));
    service.numberOfEntries = 1;
    service.forwardOperation = kForwardTagged;
    service.trafficModel = vorn_tagging::kOneServiceFilter;
    service.pbitMap[0] = {kGemPort, 0};
    return service;
}

// Untagged frames of the subscriber get the service's tag; it comes off again downstream.
UniDataProvisioning untaggedToService() {
    UniDataProvisioning row{};
    row.addFlag = 1;
    row.hasTagRules = 1;
    row.bridgeId = kBridge;
    row.uniPort = kUniPort;
    row.inputTpid = row.outputTpid = 0x8100;
    row.tagAction = vorn_tagging::kPushTag;
    row.outerFilterPrio = row.innerFilterPrio = vorn_tagging::kNoTag;  // zeros would ask for p-bits 0
    row.outerFilterVlanId = row.innerFilterVlanId = vorn_tagging::kAnyVid;
    row.outerTreatmentPrio = vorn_tagging::kNoTag;
    row.innerTreatmentPrio = 0;
    row.innerTreatmentVlanId = kServiceVid;
    row.innerTreatmentTpidDe = vorn_tagging::kTpid8100;
    return row;
}

bool provisionService(VornHal& hal) {
    const BridgeServiceProvisioning service = internetService();
    UniDataProvisioning row = untaggedToService();
    return hal.vorn_omci_hal_configureBridge(kBridge, 0) == 0 &&
           hal.vorn_omci_hal_configureAniTagRules(&service) == 0 && hal.vorn_omci_hal_filter_flow_add(&row) == 0;
}

// What follows the word; null when the word is not there, or nothing behind it.
const char* argumentBehind(const std::string& word, int argc, char** argv) {
    for (int i = 1; i + 1 < argc; ++i)
        if (argv[i] == word) return argv[i + 1];
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    VornHal* hal = HALFactory::getInstance()->CreateHALObject(0);
    if (hal == nullptr) return 1;
    const bool stays = std::find(argv + 1, argv + argc, std::string("--stay")) != argv + argc;
    const char* const state = argumentBehind("--state", argc, argv);
    if (state != nullptr && vorn_hal_state_open(state) < 0) {
        say("the state cannot be used; the HAL's log tells why");
        return 1;
    }
    if (stays && hal->vorn_omci_hal_init() != 0) return 1;
    hal->vorn_omci_hal_nvram_info_get();
    unsigned char serial[64] = {};
    hal->vorn_omci_hal_sn_get(serial, sizeof serial);
    say(std::string("serial number ") + reinterpret_cast<const char*>(serial));
    if (!provisionPon(*hal) || !provisionService(*hal)) {
        say("the service could not be provisioned");
        return 1;
    }
    if (state != nullptr) say(std::to_string(vorn_hal_state_settle()) + " leftovers of the last run removed");
    say("the service is up");
    while (stays) pause();
    return 0;
}
