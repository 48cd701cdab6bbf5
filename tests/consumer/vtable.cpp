// A daemon that was built before this library: it has the HAL object's virtual table by heart and calls through its raw
// slots, as the C++ ABI lays them out, instead of by name. Every slot must still lead to the operation that it led to.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "VirtualOnu.h"
#include "hal/HALFactory.h"
#include "hal/ProvisioningRecords.h"

namespace {

// The first two slots destroy the object, in place and with its memory.
constexpr int kFirstOperation = 2;

// What each slot led to: the operations in their order, with the types of their arguments. VornHal is the interface's
// own do-nothing body. Of bodies that do the same the compiler may keep one.
constexpr const char* kSlots[] = {
    "_ZN11VornBrcmHalD1Ev",
    "_ZN11VornBrcmHalD0Ev",
    "_ZN11VornBrcmHal14vorn_test_callEv",
    "_ZN11VornBrcmHal18vorn_omci_hal_initEv",
    "_ZN7VornHal30vorn_omci_hal_register_link_stEPFitjPvjS0_E",
    "_ZN7VornHal22vorn_omci_hal_pkt_sendEPhj",
    "_ZN7VornHal36vorn_omci_hal_eth_port_max_frame_setEj",
    "_ZN7VornHal32vorn_omci_hal_eth_port_speed_getEjPj",
    "_ZN7VornHal33vorn_omci_hal_eth_port_duplex_getEjPj",
    "_ZN7VornHal29vorn_omci_hal_init_onu_configEv",
    "_ZN7VornHal30vorn_omci_hal_fetch_onu_configEP9ontConfig",
    "_ZN7VornHal29vorn_omci_hal_register_eth_stEPFitjPvjS0_E",
    "_ZN7VornHal31vorn_omci_hal_eth_port_mode_setEPth",
    "_ZN7VornHal23vorn_omci_hal_mic_buildEPhjj",
    "_ZN7VornHal23vorn_omci_hal_mic_checkEPh",
    "_ZN7VornHal26vorn_omci_hal_gen_mic_initEv",
    "_ZN7VornHal29vorn_omci_hal_eth_port_id_getEjPj",
    "_ZN11VornBrcmHal29vorn_omci_hal_port_enable_getEjPj",
    "_ZN7VornHal32vorn_omci_hal_eth_port_admin_setEPth",
    "_ZN11VornBrcmHal29vorn_omci_hal_provisionIpHostEPK15IpHostProvision",
    "_ZN11VornBrcmHal31vorn_omci_hal_deprovisionIpHostEPK15IpHostProvision",
    "_ZN11VornBrcmHal24vorn_hal_set_omci_actionEi",
    "_ZN7VornHal21vorn_omci_hal_vid_getEPhj",
    "_ZN11VornBrcmHal20vorn_omci_hal_sn_getEPhj",
    "_ZN11VornBrcmHal21vorn_omci_hal_mac_getEPhj",
    "_ZN11VornBrcmHal20vorn_omci_hal_pn_getEPhj",
    "_ZN7VornHal24vorn_omci_hal_hw_rev_getEPh",
    "_ZN7VornHal27vorn_omci_hal_clei_code_getEPh",
    "_ZN11VornBrcmHal28vorn_omci_hal_nvram_info_getEv",
    "_ZN11VornBrcmHal32vorn_omci_hal_rx_laser_power_getEPi",
    "_ZN11VornBrcmHal32vorn_omci_hal_tx_laser_power_getEPi",
    "_ZN11VornBrcmHal31vorn_omci_hal_gponctl_state_setEv",
    "_ZN11VornBrcmHal33vorn_omci_hal_swimage_version_getEPcii",
    "_ZN7VornHal24vorn_pon_state_mechanismEv",
    "_ZN11VornBrcmHal20vorn_omci_hal_pm_getEPvS0_",
    "_ZN7VornHal29vorn_omci_hal_iphost_rule_addEPvS0_",
    "_ZN11VornBrcmHal23vorn_omci_hal_tcont_setEPvS0_",
    "_ZN11VornBrcmHal25vorn_omci_hal_tcont_resetEPvS0_",
    "_ZN11VornBrcmHal25vorn_omci_hal_gemflow_addEPv",
    "_ZN11VornBrcmHal25vorn_omci_hal_gemflow_delEPv",
    "_ZN7VornHal27vorn_omci_hal_get_gem_countEPv",
    "_ZN11VornBrcmHal31vorn_omci_hal_set_gemPortStatusEPv",
    "_ZN7VornHal29vorn_omci_hal_filter_flow_delEPv",
    "_ZN7VornHal25vorn_omci_hal_us_flow_delEPv",
    "_ZN11VornBrcmHal29vorn_omci_hal_filter_flow_addEPv",
    "_ZN7VornHal25vorn_omci_hal_us_flow_addEPv",
    "_ZN7VornHal23vorn_omci_hal_mcast_cfgEPvS0_",
    "_ZN7VornHal33vorn_omci_hal_gem_get_idx_from_idEtPt",
    "_ZN11VornBrcmHal29vorn_omci_hal_configureBridgeEtt",
    "_ZN11VornBrcmHal34vorn_omci_hal_configureAniTagRulesEPK25BridgeServiceProvisioning",
    "_ZN11VornBrcmHal27vorn_omci_hal_unsetPbitDataEPK25BridgeServiceProvisioning",
    "_ZN11VornBrcmHal38vorn_omci_hal_deprovisionAniSideBridgeEPK25BridgeServiceProvisioning",
    "_ZN11VornBrcmHal38vorn_omci_hal_deprovisionUniSideBridgeEPK25BridgeServiceProvisioning",
    "_ZN11VornBrcmHal30vorn_omci_hal_veip_createRulesEttthPKht",
    "_ZN11VornBrcmHal30vorn_omci_hal_veip_deleteRulesEttthPKht",
    "_ZN11VornBrcmHal24vorn_hal_get_mac_ip_hostB5cxx11Ev",
    "_ZN11VornBrcmHal25vorn_hal_get_mac_sub_hostB5cxx11Ev",
};
constexpr int kSlotCount = sizeof kSlots / sizeof kSlots[0];

VornHal* hal = nullptr;
int failures = 0;

void fail(int slot, const std::string& what) {
    std::fprintf(stderr, "slot %d, %s: %s\n", slot - kFirstOperation + 1, kSlots[slot], what.c_str());
    ++failures;
}

void* const* virtualTable() {
    void* const* table = nullptr;
    std::memcpy(&table, hal, sizeof table);
    return table;
}

template <typename Result, typename... Arguments>
Result callSlot(int operation, Arguments... arguments) {
    void* address = virtualTable()[operation - 1 + kFirstOperation];
    Result (*function)(VornHal*, Arguments...) = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function(hal, arguments...);
}

// ---- what the calls give ----

unsigned char text[64];
int level;
unsigned enabled;
BridgeServiceProvisioning service{};
UniDataProvisioning row{};
IpHostProvision host{};
TContProvisioning tcont{256, 1, 0};
XGEMConfig gem{};
XgemStatusRecord gemStatus{1001, 0};
PmRequest pmRequest{kPmEthernet, 0, 0};
EthernetPmRecord pmAnswer;
const unsigned char noFilters[] = "";
// As the operations take them: a slot is called with exactly their types.
const BridgeServiceProvisioning* theService = &service;
const IpHostProvision* theHost = &host;
constexpr unsigned short kGemPort = 1001, kBridge = 3, kNone = 0;

std::string texts() {
    return reinterpret_cast<const char*>(text);
}

void* record(void* one) {
    return one;
}

int callVeip(int operation) {
    return callSlot<int>(operation, kGemPort, kBridge, kNone, static_cast<unsigned char>(0), noFilters, kNone);
}

int callForText(int operation) {
    std::strcpy(reinterpret_cast<char*>(text), callSlot<std::string>(operation).c_str());
    return 0;
}

// One call through a slot (numbered as operations, from 1) and what shows that it has arrived: a text that it returned,
// or one that is in the trace of the device or in the printed lines.
struct Call {
    int operation;
    int result;
    std::function<int()> call;
    const char* evidence;
};
// In an order in which a daemon may call them.
const Call kCalls[] = {
    {1, 4, [] { return callSlot<int>(1); }, ""},
    {2, 0, [] { return callSlot<int>(2); }, "cmsMsg_init(60"},
    {27, 0, [] { return callSlot<int>(27); }, "nandReadNvramData("},
    {22, 0, [] { return callSlot<int>(22, text, 64u); }, "returned VONU00000001"},
    {23, 0, [] { return callSlot<int>(23, text, 64u); }, "returned 02:10:20:30:40:50"},
    {24, 0, [] { return callSlot<int>(24, text, 64u); }, "returned VONU-8X"},
    {28, 0, [] { return callSlot<int>(28, &level); }, "LASER_IOC_GET_RX_POWER"},
    {29, 0, [] { return callSlot<int>(29, &level); }, "LASER_IOC_GET_TX_POWER"},
    {30, 0, [] { return callSlot<int>(30); }, "gponCtl_startAdminState("},
    {31, 0, [] { return callSlot<int>(31, reinterpret_cast<char*>(text), 64, 0); }, "devCtl_getImageVersion("},
    // Without a gateway there is no veip0 to count at.
    {33, -1, [] { return callSlot<int>(33, record(&pmRequest), record(&pmAnswer)); },
     "/sys/class/net/veip0/statistics"},
    {20, 0, [] { return callSlot<int>(20, 15); }, ""},
    {35, 0, [] { return callSlot<int>(35, record(nullptr), record(&tcont)); }, "gponCtl_configTcontAllocId("},
    {37, 0, [] { return callSlot<int>(37, record(&gem)); }, "gponCtl_configGemPort("},
    {40, 0, [] { return callSlot<int>(40, record(&gemStatus)); }, "gponCtl_enableGemPort("},
    {47, 0, [] { return callSlot<int>(47, kBridge, kNone); }, "\"br3\""},
    {48, 0, [] { return callSlot<int>(48, theService); }, "calling configureAniTagRules"},
    {43, 0, [] { return callSlot<int>(43, record(&row)); }, "\"sid1.3\""},
    {16, 0, [] { return callSlot<int>(16, 1u, &enabled); }, "SIOCGIFINDEX, \"veip0.1\""},
    {18, 0, [] { return callSlot<int>(18, theHost); }, "\"br3.2\""},
    {19, 0, [] { return callSlot<int>(19, theHost); }, "calling deprovisionIpHost"},
    {52, 0, [] { return callVeip(52); }, "calling VEIP creation"},
    {53, 0, [] { return callVeip(53); }, "calling VEIP delete"},
    {49, 0, [] { return callSlot<int>(49, theService); }, "calling unsetPbitData"},
    {51, 0, [] { return callSlot<int>(51, theService); }, "calling deprovisionUniSideBridge"},
    {50, 0, [] { return callSlot<int>(50, theService); }, "calling deprovisionAniSideBridge"},
    {38, 0, [] { return callSlot<int>(38, record(&gem)); }, "gponCtl_deconfigGemPort("},
    {36, 0, [] { return callSlot<int>(36, record(nullptr), record(&tcont)); }, "gponCtl_deconfigTcontAllocId("},
    {54, 0, [] { return callForText(54); }, "returned 02:10:20:30:40:52"},
    {55, 0, [] { return callForText(55); }, "returned 02:10:20:30:40:50"},
};

void fillRecords() {
    gem.tContAllocId = 256;
    gem.xgemPortId = 1001;
    service.gemPortId = 1001;
    service.bridgeId = 3;
    std::strcpy(service.vlanTciFilterList, "0064");
    service.numberOfEntries = 1;
    service.forwardOperation = 4;
    service.trafficModel = 2;
    service.pbitMap[0] = {1001, 0};
    row.addFlag = 1;
    row.bridgeId = 3;
    row.uniPort = 1;
    host.bridgeId = 3;
    host.uniPort = 2;
    host.ipAddress = "10.0.0.5";
    host.subnetMask = "255.255.255.0";
    host.gateway = "10.0.0.1";
}

void arrives(const Call& call, int printed) {
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.clearTrace();
    std::memset(text, 0, sizeof text);
    std::fflush(stdout);
    if (ftruncate(printed, 0) != 0 || lseek(printed, 0, SEEK_SET) != 0) std::abort();
    const int result = call.call();
    std::fflush(stdout);

    std::string seen = "returned " + texts() + "\n";
    char block[4096];
    lseek(printed, 0, SEEK_SET);
    for (ssize_t count = 0; (count = read(printed, block, sizeof block)) > 0;)
        seen.append(block, static_cast<std::size_t>(count));
    for (const auto& line : onu.traceTexts()) seen += line + "\n";
    const int slot = call.operation - 1 + kFirstOperation;
    if (result != call.result) fail(slot, "answers " + std::to_string(result));
    if (seen.find(call.evidence) == std::string::npos)
        fail(slot, "no \"" + std::string(call.evidence) + "\" in\n" + seen);
}

}  // namespace

int main() {
    hal = HALFactory::getInstance()->CreateHALObject(0);
    if (hal == nullptr) return 1;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        if (virtualTable()[slot] != dlsym(RTLD_DEFAULT, kSlots[slot])) fail(slot, "the slot leads elsewhere");
    }
    if (failures != 0) return 1;  // calls with other arguments than theirs would go astray

    // The library's printed lines go to a file, read after each call.
    std::FILE* file = std::tmpfile();
    const int printed = fileno(file);
    const int terminal = dup(STDOUT_FILENO);
    std::fflush(stdout);
    dup2(printed, STDOUT_FILENO);
    fillRecords();
    for (const Call& call : kCalls) arrives(call, printed);
    std::fflush(stdout);
    dup2(terminal, STDOUT_FILENO);
    if (failures == 0) std::printf("every slot leads where it always led\n");
    std::fflush(nullptr);
    _exit(failures == 0 ? 0 : 1);  // the library's listener lives as long as the process
}
