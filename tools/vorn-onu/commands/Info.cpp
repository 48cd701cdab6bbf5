// vorn-onu info [FILE]: what the HAL reports about the board: identity, software, optics, links.
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "BRCM/BCM968580/omci_brcm_hal.h"
#include "commands/Commands.h"
#include "commands/Forwarding.h"
#include "device/EthernetUni.h"
#include "hal/HALFactory.h"
#include "hal/VornHal.h"
#include "running/io/Output.h"
#include "running/program/HalOutput.h"
#include "running/scenario/Runner.h"
#include "views/Terminal.h"

namespace vorn_onu {

namespace {

constexpr double kLevelUnitsPerDecibel = 500.0;  // the HAL counts in 0.002 dB
constexpr int kNoLevel = INT32_MIN;

// One thing that the HAL tells, and under which name programs get it.
struct Fact {
    const char* key;
    const char* words;
    nlohmann::json value;  // null: not known
    const char* unit = "";
};

struct Topic {
    const char* key;
    const char* title;
    std::vector<Fact> facts;
};

using Buffer = std::array<char, 128>;

nlohmann::json known(const std::string& text) {
    return text.empty() ? nlohmann::json() : nlohmann::json(text);
}

template <typename Ask>
nlohmann::json answerOf(Ask&& ask) {
    Buffer buffer{};
    ask(buffer.data(), buffer.size() - 1);
    return known(buffer.data());
}

// In dBm, with the hundredths that the HAL's unit can tell.
template <typename Ask>
nlohmann::json levelOf(Ask&& ask) {
    int level = kNoLevel;
    ask(&level);
    if (level == kNoLevel) return nullptr;
    return std::round(level / kLevelUnitsPerDecibel * 100) / 100;
}

std::string wordsOf(const Fact& fact) {
    if (fact.value.is_null()) return "not known";
    if (fact.value.is_string()) return fact.value.get<std::string>();
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.2f %s", fact.value.get<double>(), fact.unit);
    return text.data();
}

std::string linkOf(int (*ask)(EthernetLinkStatus&)) {
    EthernetLinkStatus status = ETHERNET_LINK_UNKNOWN;
    ask(status);
    return status == ETHERNET_LINK_DOWN ? "down" : "up";
}

Topic identity(VornHal& hal) {
    hal.vorn_omci_hal_nvram_info_get();
    const auto bytes = [](char* text) { return reinterpret_cast<unsigned char*>(text); };
    return {"identity",
            "Identity",
            {{"serialNumber", "serial number",
              answerOf([&](char* b, std::size_t n) { hal.vorn_omci_hal_sn_get(bytes(b), static_cast<unsigned>(n)); })},
             {"partNumber", "part number",
              answerOf([&](char* b, std::size_t n) { hal.vorn_omci_hal_pn_get(bytes(b), static_cast<unsigned>(n)); })},
             {"mac", "MAC",
              answerOf([&](char* b, std::size_t n) { hal.vorn_omci_hal_mac_get(bytes(b), static_cast<unsigned>(n)); })},
             {"ipHostMac", "MAC of the IP host", known(hal.vorn_hal_get_mac_ip_host())},
             {"subHostMac", "MAC of the sub-host", known(hal.vorn_hal_get_mac_sub_host())}}};
}

Topic software(VornHal& hal) {
    return {"software", "Software", {{"bootedImage", "booted image", answerOf([&](char* b, std::size_t n) {
                                          hal.vorn_omci_hal_swimage_version_get(b, static_cast<int>(n), 0);
                                      })}}};
}

Topic optics(VornHal& hal) {
    return {"optics",
            "Optics",
            {{"receiveLevelDbm", "receive level", levelOf([&](int* out) { hal.vorn_omci_hal_rx_laser_power_get(out); }),
              "dBm"},
             {"transmitLevelDbm", "transmit level",
              levelOf([&](int* out) { hal.vorn_omci_hal_tx_laser_power_get(out); }), "dBm"}}};
}

Topic links() {
    const auto uni = [](unsigned short instance) {
        return std::string(getEthernetUniOperState(instance) == 0 ? "up" : "down");
    };
    return {"links",
            "Links",
            {{"eth1", "10G (eth1)", linkOf(VornBrcmHal::getBcmPmOperStatus)},
             {"eth0", "1G (eth0)", linkOf(VornBrcmHal::getBcmPmOperStatus1G)},
             {"uni1", "PHY of UNI 1", uni(1)},
             {"uni2", "PHY of UNI 2", uni(2)}}};
}

std::string asWords(const std::vector<Topic>& topics, const Terminal& terminal) {
    std::string text;
    for (const Topic& topic : topics) {
        Table table;
        for (const Fact& fact : topic.facts) table.row({fact.words, wordsOf(fact)});
        text += (text.empty() ? "" : "\n") + terminal.bold(topic.title) + "\n" + table.text(terminal);
    }
    return text;
}

std::string asJson(const std::vector<Topic>& topics) {
    nlohmann::json all = nlohmann::json::object();
    for (const Topic& topic : topics)
        for (const Fact& fact : topic.facts) all[topic.key][fact.key] = fact.value;
    return all.dump(2, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace

int InfoCommand::run() const {
    const Scenario loaded = scenario.empty() ? Scenario{} : loadScenario(scenario);
    useForwarding(forwardingOf("", loaded));
    HalOutput hal(scenario.empty() ? "info.json" : scenario);
    runScenario(loaded, {}, [](const StepRecord&) {});
    VornHal& object = *HALFactory::getInstance()->CreateHALObject(0);
    const std::vector<Topic> topics = {identity(object), software(object), optics(object), links()};
    print(hal.shown(), json ? asJson(topics) : asWords(topics, Terminal::of(hal.shown())));
    return kHeld;
}

}  // namespace vorn_onu
