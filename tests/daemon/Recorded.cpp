// For recordings: calls everything that a daemon can call.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "bridge/BridgeControl.h"
#include "daemon/Modes.h"
#include "device/Counters.h"
#include "device/EthernetUni.h"
#include "support/InternetService.h"
#include "xpon/OnuXponHalAdapterBCM.h"

namespace {

TContProvisioning tcont{256, 1, 3};
XGEMConfig gemPort{256, 1001, 2, 0, 2, 0, 40};

void provision(VornHal& hal) {
    XgemStatusRecord status{1001, 1};
    BridgeServiceProvisioning service = internet_service::service();
    service.pbitMap = {{0, {1001, 2}}, {5, {1001, 0}}};
    UniDataProvisioning row = internet_service::row(1);
    hal.vorn_omci_hal_tcont_set(nullptr, &tcont);
    hal.vorn_omci_hal_gemflow_add(&gemPort);
    hal.vorn_omci_hal_set_gemPortStatus(&status);
    hal.vorn_omci_hal_configureBridge(3, 0);
    hal.vorn_omci_hal_configureAniTagRules(&service);
    hal.vorn_omci_hal_filter_flow_add(&row);
    setEthernetUniStatus(1, 1);
    updateEthernetUniSpeed(2, 1, 1);
}

void remove(VornHal& hal) {
    BridgeServiceProvisioning service{};
    service.gemPortId = 1001;
    service.bridgeId = 3;
    hal.vorn_omci_hal_unsetPbitData(&service);
    hal.vorn_omci_hal_deprovisionUniSideBridge(&service);
    hal.vorn_omci_hal_deprovisionAniSideBridge(&service);
    hal.vorn_omci_hal_gemflow_del(&gemPort);
    hal.vorn_omci_hal_tcont_reset(nullptr, &tcont);
}

void query(VornHal& hal) {
    unsigned int number = 7;
    unsigned short index = 7, port = 2;
    int level = 7;
    unsigned char text[64] = "the daemon's own";
    char version[64] = {};
    PmRequest request{kPmEthernet, kPmAbsolute, 0};
    EthernetPmRecord counters{};
    IntfStats stats{};
    timeval ageing{60, 500000};
    GalEthPMHistoryData_t discarded{1001, 0};
    hal.vorn_omci_hal_eth_port_max_frame_set(9000);
    hal.vorn_omci_hal_eth_port_speed_get(1, &number);
    hal.vorn_omci_hal_eth_port_duplex_get(1, &number);
    hal.vorn_omci_hal_eth_port_mode_set(&port, 4);
    hal.vorn_omci_hal_eth_port_id_get(1, &number);
    hal.vorn_omci_hal_port_enable_get(1, &number);
    hal.vorn_omci_hal_eth_port_admin_set(&port, 1);
    hal.vorn_hal_set_omci_action(4);
    hal.vorn_omci_hal_vid_get(text, sizeof text);
    hal.vorn_omci_hal_nvram_info_get();
    hal.vorn_omci_hal_sn_get(text, sizeof text);
    hal.vorn_omci_hal_mac_get(text, 9);
    hal.vorn_omci_hal_pn_get(text, sizeof text);
    hal.vorn_omci_hal_rx_laser_power_get(&level);
    hal.vorn_omci_hal_tx_laser_power_get(&level);
    hal.vorn_omci_hal_swimage_version_get(version, sizeof version, 0);
    hal.vorn_omci_hal_pm_get(&request, &counters);
    hal.vorn_omci_hal_gem_get_idx_from_id(1001, &index);
    getEthernetUniOperState(1);
    getEthernetUniConfig(2, true);
    getIntfStats("eth0", &stats);
    br_set_port_isolated("br3", "sid1.3", 1);
    br_set_ageing_time("br3", &ageing);
    OnuXponHalAdapterBCM::getInstance()->getGalEthPmHistDataME(&discarded);
    VornBrcmHal::createAlarmStatsThread();
}

template <typename Result, typename... Arguments>
void callWithNothing(VornHal& hal, Result (VornHal::*operation)(Arguments...)) {
    (hal.*operation)(Arguments{}...);
}

// Zeros and null pointers.
void callEverythingWithNothing(VornHal& hal) {
#define OPERATION(slot, name, parameters, arguments, fields, changes, doc) callWithNothing(hal, &VornHal::name);
#include "running/scenario/operations/Operations.def"
}

// Values out of every range, texts that are no UTF-8 and no texts at all.
void callOddly(VornHal& hal) {
    BridgeServiceProvisioning service{};
    service.bridgeId = 4;
    std::memset(service.vlanTciFilterList, '0', sizeof service.vlanTciFilterList);  // no zero at its end
    service.numberOfEntries = 200;
    service.trafficModel = 9;
    service.innerVlanIdFilter = 65535;
    service.pbitMap = {{9, {1001, 2}}};
    UniDataProvisioning row{};
    row.bridgeId = 4;
    row.outerFilterPrio = 255;
    IpHostProvision host{};
    host.bridgeId = 4;
    host.macAddress = "\xc3\x28 \xff";
    host.ipAddress = "10.0.0.5\";\n";
    const auto* list = reinterpret_cast<const unsigned char*>("00\xff");
    const std::string longList(600, 'a');
    unsigned char text[64] = {};
    PmRequest request{7, 9, 0};
    hal.vorn_omci_hal_configureAniTagRules(&service);
    hal.vorn_omci_hal_filter_flow_add(&row);
    hal.vorn_omci_hal_provisionIpHost(&host);
    hal.vorn_omci_hal_deprovisionIpHost(&host);
    hal.vorn_omci_hal_veip_createRules(1001, 4, 1, 1, list, 2);
    hal.vorn_omci_hal_veip_createRules(1001, 4, 1, 255, reinterpret_cast<const unsigned char*>(longList.c_str()), 9);
    hal.vorn_omci_hal_veip_deleteRules(1001, 4, 1, 1, nullptr, 2);
    hal.vorn_omci_hal_pm_get(&request, text);
    hal.vorn_hal_set_omci_action(-3);
    hal.vorn_omci_hal_sn_get(nullptr, 64);
    hal.vorn_omci_hal_sn_get(text, 0);
    hal.vorn_omci_hal_swimage_version_get(reinterpret_cast<char*>(text), -1, 0);
}

void callFromThreads(VornHal& hal) {
    const auto work = [&hal] {
        for (int i = 0; i < 100; ++i) hal.vorn_test_call();
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (auto& thread : threads) thread.join();
}

// The child goes on, as of a program that puts itself into the background.
void callFromChild(VornHal& hal) {
    hal.vorn_test_call();
    const pid_t child = fork();
    if (child == 0) {
        hal.vorn_test_call();
        std::_Exit(0);
    }
    waitpid(child, nullptr, 0);
}

void closeDescriptors(VornHal& hal) {
    hal.vorn_test_call();
    for (int descriptor = 3; descriptor < 64; ++descriptor) close(descriptor);
    hal.vorn_test_call();
}

}  // namespace

int test_daemon::record(const std::string& mode, const std::string&) {
    VornHal& hal = test_daemon::hal();
    if (mode == "everything") {
        provision(hal);
        query(hal);
        callEverythingWithNothing(hal);
        callOddly(hal);
        remove(hal);
    }
    if (mode == "killed") {
        provision(hal);
        std::raise(SIGKILL);
    }
    if (mode == "threads") callFromThreads(hal);
    if (mode == "forks") callFromChild(hal);
    if (mode == "closes") closeDescriptors(hal);
    return 0;
}
