#include "running/state/DeviceState.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "StateJson.h"
#include "running/io/Printed.h"
#include "running/io/Words.h"
#include "running/state/FaultWords.h"
#include "running/state/MessageText.h"

namespace vorn_onu {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TapState, port, interface, linkUp, framesIn, framesOut, octetsIn, octetsOut, dropped,
                                   lastDrop, elsewhere, lastElsewhere, lostIn, lostOut)

namespace {

using nlohmann::json;

template <typename Record>
std::vector<Record> recordsOf(const json& list) {
    std::vector<Record> records;
    for (const json& one : list) virtual_onu::readStateJson(one, records.emplace_back());
    return records;
}

void readBridges(const json& bridges, DeviceState& state) {
    state.bridges = recordsOf<virtual_onu::Bridge>(bridges);
    for (const json& bridge : bridges) {
        if (!bridge.contains("learned")) continue;
        for (auto& one : recordsOf<virtual_onu::LearnedAddress>(bridge.at("learned"))) {
            bridge.at("name").get_to(one.bridge);
            state.learned.push_back(std::move(one));
        }
    }
}

TableState tableOf(const json& j) {
    TableState table;
    j.at("device").get_to(table.device);
    table.receive = j.at("direction") == "receive";
    j.at("tags").get_to(table.tags);
    for (const json& rule : j.at("rules")) {
        table.rules.emplace_back();
        rule.at("id").get_to(table.rules.back().number);
        for (const char* part : {"filters", "commands"})
            for (const json& term : rule.at(part)) table.rules.back().terms.push_back(term.get<std::string>());
    }
    if (j.contains("default")) {
        const json& action = j.at("default");
        table.defaultAction = action.at("action") == "drop" ? "drop" : action.at("device").get<std::string>();
    }
    return table;
}

TapState tapOf(const json& j) {
    auto tap = j.get<TapState>();
    if (const auto netns = j.at("netns").get<std::string>(); !netns.empty()) tap.interface += " in " + netns;
    tap.became = j.value("became", "");
    tap.segmentsIn = j.value("segmentsIn", std::uint64_t{0});
    tap.segmentFramesIn = j.value("segmentFramesIn", std::uint64_t{0});
    tap.segmentsOut = j.value("segmentsOut", std::uint64_t{0});
    tap.segmentFramesOut = j.value("segmentFramesOut", std::uint64_t{0});
    tap.whyNoOffload = j.value("whyNoOffload", "");
    return tap;
}

void readRest(const json& state, DeviceState& result) {
    for (const json& object : state.at("runner").at("objects"))
        result.runnerObjects.push_back(object.at("name").get<std::string>());
    state.at("runner").at("ingressQueue").at("keys").get_to(result.ingressKeys);
    state.at("bus").at("persistent").get_to(result.persistent);
    for (const json& message : state.at("bus").at("sent"))
        result.messages.push_back(messageText(message.at("type").get<std::uint32_t>(),
                                              bytesOfDigits(message.at("payload").get<std::string>())));
    for (const json& command : state.at("shell").at("commands"))
        if (!command.at("understood").get<bool>())
            result.strangeCommands.push_back(command.at("text").get<std::string>());
    state.at("calls").get_to(result.calls);
}

void readFailedCalls(const json& trace, DeviceState& result) {
    for (const json& entry : trace) {
        const auto name = entry.at("name").get<std::string>();
        const auto code = entry.at("result").get<long>();
        if (entry.at("kind") != "platform" || !isFailedCall(name, code)) continue;
        result.failedCalls.push_back({entry.at("number").get<std::uint64_t>(), oneLine(name),
                                      oneLine(entry.at("arguments").get<std::string>()), code});
    }
}

}  // namespace

std::size_t DeviceState::ruleCount() const {
    std::size_t count = 0;
    for (const TableState& table : tables) count += table.rules.size();
    return count;
}

const virtual_onu::NetworkDevice* DeviceState::device(const std::string& name) const {
    const auto found = std::find_if(devices.begin(), devices.end(), [&](const auto& d) { return d.name == name; });
    return found == devices.end() ? nullptr : &*found;
}

DeviceState readState(const json& whole) {
    // Its trace is long, and looked at only where a call failed.
    json state = json::object();
    for (const char* part : {"network", "vlan", "pon", "runner", "bus", "board", "shell", "calls"})
        state[part] = oneLines(whole.at(part));
    DeviceState result;
    const json& network = state.at("network");
    result.devices = recordsOf<virtual_onu::NetworkDevice>(network.at("devices"));
    readBridges(network.at("bridges"), result);
    network.at("ipRules").get_to(result.ipRules);
    network.at("ipRoutes").get_to(result.ipRoutes);
    for (const json& one : state.at("vlan").at("tables")) result.tables.push_back(tableOf(one));
    for (const json& flow : state.at("vlan").at("flows"))
        result.flows.emplace_back(flow.at("from").get<std::string>(), flow.at("to").get<std::string>());
    const json& pon = state.at("pon");
    result.tconts = recordsOf<virtual_onu::Tcont>(pon.at("tconts"));
    result.gemPorts = recordsOf<virtual_onu::GemPort>(pon.at("gemPorts"));
    if (!pon.at("adminState").is_null()) result.adminState = pon.at("adminState").get<unsigned>();
    const json& board = state.at("board");
    virtual_onu::readStateJson(board, result.identity);
    result.images = recordsOf<virtual_onu::board::Image>(board.at("images"));
    result.phys = recordsOf<virtual_onu::board::Phy>(board.at("phys"));
    readRest(state, result);
    if (whole.contains("taps"))
        for (const json& one : oneLines(whole.at("taps"))) result.taps.push_back(tapOf(one));
    if (whole.contains("faults")) result.armedFaults = faultWords(oneLines(whole.at("faults")));
    readFailedCalls(whole.at("trace"), result);
    return result;
}

DeviceState stateNow(const virtual_onu::VirtualOnu& onu) {
    return readState(onu.toJsonWithoutTrace());
}

}  // namespace vorn_onu
