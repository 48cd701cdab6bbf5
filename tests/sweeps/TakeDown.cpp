#include "TakeDown.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include <nlohmann/json.hpp>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "VirtualOnu.h"

namespace fault_sweep {

namespace {

using nlohmann::json;

// What takes back a call with the same arguments.
const std::map<std::string, std::string> kInverse = {
    {"vorn_omci_hal_provisionIpHost", "vorn_omci_hal_deprovisionIpHost"},
    {"vorn_omci_hal_tcont_set", "vorn_omci_hal_tcont_reset"},
    {"vorn_omci_hal_gemflow_add", "vorn_omci_hal_gemflow_del"},
    {"vorn_omci_hal_veip_createRules", "vorn_omci_hal_veip_deleteRules"},
    {"vorn_omci_hal_configureAniTagRules", "vorn_omci_hal_unsetPbitData"},
};

// The board's UNI ports 1 and 2 change places in a tagging row, but not in configureBridge.
int uniPortInRow(int uniPort) {
    return uniPort == 1 || uniPort == 2 ? 3 - uniPort : uniPort;
}

json removalOfBridge(const json& call) {
    if (call["uniPort"] == 0)
        return {{"call", "vorn_omci_hal_deprovisionAniSideBridge"}, {"bridgeId", call["bridgeId"]}};
    return {{"call", "vorn_omci_hal_filter_flow_add"},
            {"addFlag", false},
            {"bridgeId", call["bridgeId"]},
            {"uniPort", uniPortInRow(call["uniPort"].get<int>())}};
}

bool isMulticast(const json& call, const json& records) {
    json service = call.contains("record") ? records.value(call["record"].get<std::string>(), json::object()) : call;
    service.merge_patch(call);
    return service.contains("isMulticast") && service["isMulticast"] != false && service["isMulticast"] != 0;
}

// The removals of one step in the order in which they are made.
std::vector<json> removals(json step, const json& records) {
    const bool calls = step.contains("call") && !(step.contains("record") && step["record"].is_null());
    if (!calls) return {};
    const std::string name = step["call"];
    for (const char* key : {"result", "output", "note"}) step.erase(key);
    if (name == "vorn_omci_hal_configureBridge") return {removalOfBridge(step)};
    if (name == "vorn_omci_hal_filter_flow_add") {
        step["addFlag"] = false;
        return {step};
    }
    const auto inverse = kInverse.find(name);
    if (inverse == kInverse.end()) return {};
    step["call"] = inverse->second;
    std::vector<json> all = {step};
    if (name == "vorn_omci_hal_configureAniTagRules" && isMulticast(step, records)) {
        step["call"] = "vorn_omci_hal_deprovisionAniSideBridge";
        all.push_back(step);
    }
    return all;
}

}  // namespace

vorn_onu::Scenario takeDownOf(const std::string& scenarioFile, const std::string& workDirectory) {
    vorn_onu::loadScenario(scenarioFile);  // refuses what the lines below could stumble over
    json whole = json::parse(std::ifstream(scenarioFile));
    const json records = whole.value("records", json::object());
    json steps = json::array();
    for (auto step = whole["steps"].rbegin(); step != whole["steps"].rend(); ++step) {
        for (const json& removal : removals(*step, records))
            if (std::find(steps.begin(), steps.end(), removal) == steps.end()) steps.push_back(removal);
    }
    whole["steps"] = steps;
    const auto path = std::filesystem::path(workDirectory) /
                      ("taken down: " + std::filesystem::path(scenarioFile).filename().string());
    std::ofstream(path) << whole.dump(1);
    return vorn_onu::loadScenario(path);
}

bool isDue(const vorn_onu::Step& removal) {
    if (removal.name == "vorn_omci_hal_deprovisionIpHost") return EtherSwitchBcm380::numServices > 0;
    if (removal.name == "vorn_omci_hal_veip_deleteRules")
        return EtherSwitchBcm380::getInstance()->omci_service_num_get() > 0 ||
               virtual_onu::VirtualOnu::instance().deviceExists("gpon0.0");
    return true;
}

bool startsThread(const vorn_onu::Step& step) {
    return step.name == "vorn_omci_hal_init" || step.name == "VornBrcmHal::createAlarmStatsThread";
}

}  // namespace fault_sweep
