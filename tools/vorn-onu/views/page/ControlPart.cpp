#include "views/page/ControlPart.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include <nlohmann/json.hpp>

#include "running/state/FaultWords.h"
#include "views/Html.h"

namespace vorn_onu::page {

namespace {

using namespace html;
using nlohmann::json;

// what: what pressing it does, for those who hear the button without its row.
std::string button(const std::string& text, const std::string& what, const json& step) {
    const std::string words = step.dump(-1, ' ', true, json::error_handler_t::replace);
    return "<button type=\"button\" data-step=\"" + escaped(words) + "\" aria-label=\"" + escaped(what) + "\">" +
           escaped(text) + "</button>";
}

std::string stateWord(bool good, const std::string& text) {
    return element("span", escaped(text), good ? "lamp on" : "lamp");
}

// key: what stays the same when rows come and go.
std::string row(const std::string& key, const std::string& name, const std::string& state, const std::string& button) {
    return "<li data-key=\"" + escaped(key) + "\">" + element("span", name, "what") + state + button + "</li>\n";
}

bool isPort(const json& device) {
    return device.value("realDevice", "").empty() && !device.value("isBridge", false);
}

// Those that carry something, and behind them the others.
std::vector<json> devicesByUse(const json& device) {
    const json& all = device.at("network").at("devices");
    std::set<std::string> carrying;  // a VLAN device, or real packets
    for (const json& one : all) carrying.insert(one.value("realDevice", ""));
    for (const json& tap : device.value("taps", json::array())) carrying.insert(tap.value("port", ""));
    std::vector<json> sorted(all.begin(), all.end());
    std::stable_partition(sorted.begin(), sorted.end(),
                          [&](const json& one) { return carrying.count(one.value("name", "")) != 0; });
    return sorted;
}

std::string links(const json& device) {
    std::string rows;
    for (const json& one : devicesByUse(device)) {
        if (!isPort(one)) continue;
        const std::string name = one.value("name", "");
        const bool up = one.value("operState", "") == "up";
        rows += row(name, code(name), stateWord(up, up ? "link up" : "link down"),
                    button(up ? "Pull" : "Plug in", up ? "Pull the cable of " + name : "Plug in the cable of " + name,
                           {{"board", {{"links", {{name, up ? "down" : "up"}}}}}}));
    }
    return element("h3", "Links") + element("ul", rows, "switches");
}

std::string fibre(const json& device, const json& newBoard) {
    const auto level = [](const json& state, const char* key) {
        return state.at("files").at("characterDevices").value(key, 0U);
    };
    const unsigned receive = level(device, "rawReceiveLevel"), transmit = level(device, "rawTransmitLevel");
    constexpr double kMany = 1e-4;
    const bool lit = receive != 0;
    const bool errs = device.at("files").at("characterDevices").value("bitErrorRatio", 0.0) > 0;
    const json step = {
        {"board", {{"optics", {{"receive", lit ? 0U : level(newBoard, "rawReceiveLevel")}, {"transmit", transmit}}}}}};
    return element("h3", "Fibre") +
           element("ul",
                   row("fibre", "receives", stateWord(lit, lit ? "level " + std::to_string(receive) : "dark"),
                       button(lit ? "Pull" : "Plug in", lit ? "Pull the fibre" : "Plug in the fibre", step)) +
                       row("bits", "wrong bits", stateWord(!errs, errs ? "some" : "none"),
                           button(errs ? "Clean" : "Disturb", errs ? "Clean the fibre" : "Let bits come down wrong",
                                  {{"board", {{"bitErrorRatio", errs ? 0.0 : kMany}}}})),
                   "switches");
}

std::string gateway(const json& device) {
    const json& bus = device.at("bus");
    const bool answers = bus.value("gateway", "") == "answers";
    const std::string state =
        answers ? "answers after " + std::to_string(bus.value("answerDelayMs", std::uint64_t{0})) + " ms" : "silent";
    return element("h3", "Gateway") + element("ul",
                                              row("gateway", "service messages", stateWord(answers, state),
                                                  button(answers ? "Silence" : "Let it answer",
                                                         answers ? "Silence the gateway" : "Let the gateway answer",
                                                         {{"gateway", answers ? "silent" : "answers"}})),
                                              "switches");
}

std::string answers() {
    const auto fault = [](const char* key, const char* name, const char* text, const char* what, const json& value) {
        return row(key, name, "", button(text, what, {{"fault", {{"omci", {{key, value}}}}}}));
    };
    return element("h3", "Answers to the OLT") +
           element("ul",
                   fault("drop", "the next answer", "Drop", "Drop the next answer to the OLT", 1) +
                       fault("delay", "the next answer", "Delay", "Send the next answer to the OLT a second later", 1) +
                       fault("duplicate", "the next answer", "Duplicate", "Send the next answer to the OLT twice", 1) +
                       fault("damage", "the next answer", "Damage", "Damage the next answer to the OLT", 1) +
                       fault("unknownClass", "MIB uploads", "Add a class", "Add an unknown class to MIB uploads", 350) +
                       fault("dataSync", "MIB data sync", "Mismatch", "Move the data sync counter on by one", 1) +
                       fault("reboot", "the ONU", "Reboot", "Let the ONU restart by itself", true),
                   "switches");
}

std::string armedFaults(const json& device) {
    std::string rows;
    for (const std::string& words : faultWords(device.value("faults", json::array())))
        rows += element("li", escaped(words));
    return rows.empty() ? "" : element("h3", "Armed faults") + element("ul", rows);
}

std::string choice(const std::string& value) {
    return "<option value=\"" + escaped(value) + "\"></option>";
}

}  // namespace

std::string controlPart(const json& device, const json& newBoard, bool hasOlt) {
    return element("div", links(device), "card") +
           element("div", fibre(device, newBoard) + gateway(device) + (hasOlt ? answers() : "") + armedFaults(device),
                   "card");
}

std::string placePart(const json& device) {
    std::string ports, devices, gemPorts;
    for (const json& one : devicesByUse(device)) (isPort(one) ? ports : devices) += choice(one.value("name", ""));
    for (const json& port : device.at("pon").at("gemPorts"))
        gemPorts += choice("gem " + std::to_string(port.value("portId", 0U)));
    return ports + gemPorts + devices;
}

}  // namespace vorn_onu::page
