// What is left of another daemon on the board. "disturb": hands that know no state file. The other two open it and
// print what came of it, where the HAL prints nothing. "settle": asks for an internet service, and takes away what
// nobody has asked for. "clean": takes away all of it.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "BRCM/BCM968580/DATA/EngineState.h"
#include "daemon/Modes.h"
#include "hal/HalState.h"
#include "support/InternetService.h"

namespace {

void askForInternet() {
    TContProvisioning tcont = internet_service::tcont();
    XGEMConfig port = internet_service::gemPort();
    BridgeServiceProvisioning service = internet_service::service();
    UniDataProvisioning row = internet_service::row(2);
    VornHal& hal = test_daemon::hal();
    hal.vorn_omci_hal_tcont_set(nullptr, &tcont);
    hal.vorn_omci_hal_gemflow_add(&port);
    hal.vorn_omci_hal_configureBridge(service.bridgeId, 0);
    hal.vorn_omci_hal_configureAniTagRules(&service);
    hal.vorn_omci_hal_filter_flow_add(&row);
}

// What the device does not show.
void printMaps() {
    for (const auto& [bridge, port] : m_BridgeIdToUniId) std::fprintf(stderr, "bridge %d: UNI port %d\n", bridge, port);
    for (const auto& [key, entry] : m_VLAN_RULE_MAP_ENTRY)
        std::fprintf(stderr, "%s %d: %u rules, %u before\n", key.ifName.c_str(), key.phyId, entry->nbrOfNewRules,
                     entry->nbrOfOldRules);
    for (const auto& [port, index] : tGemPortMap) std::fprintf(stderr, "GEM port %d: index %d\n", port, index);
    for (const auto& [port, mark] : m_dscpConfigInfo) std::fprintf(stderr, "UNI port %u: DSCP %d\n", port, int{mark});
    for (const auto& [port, mark] : m_cTagConfigInfo) std::fprintf(stderr, "UNI port %u: C-tag %d\n", port, int{mark});
}

void disturb() {
    askForInternet();
    XGEMConfig port = internet_service::gemPort(), other = port;
    other.xgemPortId = 4000;
    test_daemon::hal().vorn_omci_hal_gemflow_del(&port);
    test_daemon::hal().vorn_omci_hal_gemflow_add(&other);  // gets its index
    test_daemon::hal().vorn_omci_hal_gemflow_add(&port);
    for (const char* command :
         {"ifconfig gpondef down", "ifconfig gpon3.3 down", "ifconfig br3 down", "brctl delbr br3",
          "brctl delif br0 sid2", "brctl addif br0 gpon3.3", "brctl addbr br9"})
        if (std::system(command) != 0) std::fprintf(stderr, "refused: %s\n", command);
}

}  // namespace

int test_daemon::takeOver(const std::string& mode, const std::string& file) {
    if (mode == "disturb") {
        disturb();
        return 0;
    }
    const int records = vorn_hal_state_open(file.c_str());
    if (mode == "settle") askForInternet();
    const int answer = mode == "settle" ? vorn_hal_state_settle() : vorn_hal_clean_device();
    std::fprintf(stderr, "%d records, answer %d\n", records, answer);
    printMaps();
    return 0;
}
