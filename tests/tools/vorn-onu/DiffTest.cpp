// What differs between two device states, in words.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "VirtualOnu.h"
#include "running/state/Diff.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using vorn_onu::DeviceState;
using vorn_onu::TableState;
using Lines = std::vector<std::string>;

virtual_onu::NetworkDevice deviceOn(const std::string& name, const std::string& realDevice = "") {
    virtual_onu::NetworkDevice one;
    one.name = name;
    one.up = true;
    one.mac = "02:00:00:00:00:01";
    one.realDevice = realDevice;
    return one;
}

TableState table(unsigned tags, const std::vector<Lines>& rules) {
    TableState one{"sid0", true, tags, {}, "drop"};
    for (const auto& terms : rules) one.rules.push_back({terms});
    return one;
}

const Lines kUntagged = {"rxdev=sid0.3", "push", "vid0:=100"};
const Lines kTagged = {"rxdev=sid0.3", "vid0=100"};

DeviceState service() {
    DeviceState state;
    state.devices = {deviceOn("sid0"), deviceOn("sid0.3", "sid0"), deviceOn("br3")};
    state.devices.back().isBridge = true;
    virtual_onu::Bridge bridge;
    bridge.name = "br3";
    bridge.ports = {{"sid0.3"}, {"sid2.3"}};
    state.bridges = {bridge};
    state.tables = {table(0, {kUntagged}), table(1, {kTagged, kUntagged})};
    virtual_onu::Tcont tcont;
    tcont.index = 1;
    tcont.allocId = 256;
    tcont.queues.resize(1);
    state.tconts = {tcont};
    state.gemPorts = {{1, 1001, 256, false, true, {}}};
    state.messages = {"application up"};
    return state;
}

TEST(Diff, TellsEachChangeInWords) {
    const struct {
        const char* name;
        void (*change)(DeviceState& state);
        Lines expected;
    } cases[] = {
        {"the same work with other indexes and addresses made up from them",
         [](DeviceState& s) {
             s.devices[0].index = 77;
             s.devices[0].mac = "02:00:00:00:00:4d";
         },
         {}},
        {"a bridge, reported once",
         [](DeviceState& s) {
             s.devices.push_back(deviceOn("br4"));
             s.devices.back().isBridge = true;
             s.bridges.emplace_back();
             s.bridges.back().name = "br4";
         },
         {"bridge br4 has appeared: up, members none"}},
        {"settings",
         [](DeviceState& s) {
             s.devices[0].mtu = 2000;
             s.devices[0].mac = "00:11:22:33:44:55";
             s.devices[0].addresses = {"10.0.0.5"};
             auto& bridge = s.bridges[0];
             bridge.ports = {{"sid0.3"}, {"sid1.3"}};
             bridge.ports[0].pathCost = 4;
             bridge.stp = true;
             bridge.ageingTime = 100;
             bridge.multicastSnooping = false;
             s.identity.serialNumber = "VONU00000002";
             s.persistent["key"] = "value";
             s.tables[0].defaultAction = s.tables[1].defaultAction = "sid0.3";
             s.tconts[0].allocId = 65535;
             s.tconts[0].queues[0].schedMode = 2;
             s.tconts[0].queues[0].weight = 7;
             s.gemPorts[0].enabled = false;
             s.adminState = 1;
             s.messages.clear();
             s.failedCalls = {{1, "f", "", 1}};
         },
         {"device sid0: MTU 1500 → 2000", "device sid0: MAC its own → 00:11:22:33:44:55",
          "device sid0: address added: 10.0.0.5", "bridge br3: sid2.3 has left", "bridge br3: sid1.3 has joined",
          "bridge br3: port sid0.3: path cost 100 → 4", "bridge br3: spanning tree off → on",
          "bridge br3: ageing time 30000 → 100", "bridge br3: multicast snooping on → off",
          "sid0 receives, frames with 0, 1 tags, default: drop → pass to sid0.3", "T-CONT 1: alloc-id 256 → none",
          "T-CONT 1: queue 0: weight 0 → 7", "T-CONT 1: queue 0: scheduling strict → weighted",
          "GEM port 1001: up → down", "PON link: not started → 1", "board: serial number none → VONU00000002",
          "stored value added: key = value", "message to the gateway removed: application up",
          "failed call added: f() = 1"}},
        {"a rule that goes from several tables is one",
         [](DeviceState& s) {
             s.tables = {table(0, {}), table(1, {kTagged})};
         },
         {"sid0 receives, rule removed: any frames from sid0: push VID 100 → sid0.3"}},
        {"a rule that is there twice",
         [](DeviceState& s) { s.tables[1].rules.push_back({kTagged}); },
         {"sid0 receives, rule added: single-tagged frames with VID 100 from sid0: as they are → sid0.3"}},
        {"the order of rules",
         [](DeviceState& s) { std::reverse(s.tables[1].rules.begin(), s.tables[1].rules.end()); },
         {"sid0 receives, frames with 1 tag: rules are in another order"}},
    };
    for (const auto& one : cases) {
        const DeviceState before = service();
        DeviceState after = before;
        one.change(after);
        EXPECT_EQ(vorn_onu::differences(before, after), one.expected) << one.name;
        EXPECT_EQ(vorn_onu::differences(after, before).empty(), one.expected.empty()) << one.name << ", backwards";
    }
}

TEST(Diff, AnswersByItsExitCodeAndNamesABadFile) {
    const ScratchDirectory directory;
    auto& onu = virtual_onu::VirtualOnu::instance();
    onu.reset();
    const std::string board = directory.write("board.json", onu.toJson().dump());
    const std::string run = directory.write("run.json", "{\"device\": " + onu.toJson().dump() + "}");
    onu.addDevice("sid9");
    const std::string other = directory.write("other.json", onu.toJson().dump());

    for (const auto& [after, code, line] : std::vector<std::tuple<std::string, int, std::string>>{
             {run, 0, "no difference\n"},
             {other, 1, "device sid9 has appeared: down, MTU 1500\n"},
             {directory.file("none"), 2, directory.file("none") + ": cannot be opened: No such file or directory\n"},
             {directory.file("."), 2, directory.file(".") + ": is a directory\n"},
             {directory.write("text", "no JSON"), 2, directory.file("text") + ": line 1, column 2: is not JSON: "},
             {directory.write("onu.board", "{\"format\":\"vorn-onu board\",\"version\":2}\n{}\n"), 2,
              directory.file("onu.board") + ": is a board, not a state: "},
             {directory.write("list", "[1]"), 2, directory.file("list") + ": is no device state: "},
             {directory.write("empty", "{}"), 2,
              directory.file("empty") + ": is no device state: key 'network' not found\n"}}) {
        const auto result = runTool({"diff", board, after});
        EXPECT_EQ(result.code, code) << after;
        EXPECT_EQ(runTool({"diff", "--json", board, after}).code, code);
        const std::string reported = (code == 2 ? "vorn-onu: " : "") + line;
        EXPECT_EQ(result.output.substr(0, reported.size()), reported);
        EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
    }
    const auto json = nlohmann::json::parse(runTool({"diff", "--json", board, other}).output);
    EXPECT_EQ(json.at("differences"), nlohmann::json{"device sid9 has appeared: down, MTU 1500"});
}

}  // namespace
