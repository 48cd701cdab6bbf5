// Every field of the board's records, changed one by one: equality, the state, the comparison of states, expectations
// and board files must see it where its list says so. A field that one of them forgot would be a change that nobody is
// shown.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <type_traits>

#include "StateJson.h"
#include "VirtualOnu.h"
#include "platform/gponctl.h"
#include "platform/kit_numbers.h"
#include "platform/tmctl.h"
#include "running/scenario/expect/Expect.h"
#include "running/state/Diff.h"
#include "tools/vorn-onu/RunProgram.h"

namespace {

using namespace virtual_onu;
using nlohmann::json;
using vorn_onu::DeviceState;

template <typename Field, typename Value>
void change(const Field& field, Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        value = !value;
    } else if constexpr (std::is_arithmetic_v<Value>) {
        const bool isHigh = field.range && static_cast<std::int64_t>(value) + 2 > field.range->highest;
        value = static_cast<Value>(isHigh ? value - 2 : value + 2);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        const char* forms[] = {"other", "other", "00:11:22:33:44:55", "00000000-0000-4000-8000-000000000000"};
        value = forms[static_cast<std::size_t>(field.form)];
    } else if constexpr (std::is_same_v<Value, std::vector<std::string>>) {
        value.emplace_back("other");
    } else if constexpr (std::is_same_v<Value, std::vector<std::uint32_t>>) {
        value.at(0) += 2;
    } else if constexpr (IsListOfRecords<Value>::value) {
        value.clear();
    } else {
        value["other"] = 2;
    }
}

// Where records of a kind are found; "" where they are not.
template <typename Record>
struct Kind {
    const char* expectation;                       // "devices"
    const char* section;                           // of a board file
    const char* key;                               // there
    const char* inRecord;                          // JSON pointer
    std::function<Record&(DeviceState&)> inState;  // the one of a state that has one of each
};

DeviceState oneOfEach() {
    DeviceState state;
    state.devices.resize(1);
    state.devices[0].name = "sid0";
    state.devices[0].mac = "02:00:00:00:00:01";
    state.bridges.resize(1);
    state.bridges[0].ports.resize(1);
    state.tconts.resize(1);
    state.tconts[0].queues.resize(1);
    state.gemPorts.resize(1);
    state.gemPorts[0].counters.resize(pon::kCounters);
    state.images.resize(1);
    state.phys.resize(1);
    return state;
}

template <typename Visit>
void forEachKind(Visit visit) {
    using State = DeviceState;
    visit(Kind<NetworkDevice>{"devices", "network.devices", "@sid0", "",
                              [](State& s) { return std::ref(s.devices[0]); }});
    visit(Kind<Bridge>{"bridges", "network.bridges", "@br3", "", [](State& s) { return std::ref(s.bridges[0]); }});
    visit(Kind<BridgePort>{"", "network.bridges", "@br3", "/ports/0",
                           [](State& s) { return std::ref(s.bridges[0].ports[0]); }});
    visit(Kind<Tcont>{"tconts", "pon.tconts", "1", "", [](State& s) { return std::ref(s.tconts[0]); }});
    visit(Kind<Queue>{"queues", "pon.tconts", "1", "/queues/0",
                      [](State& s) { return std::ref(s.tconts[0].queues[0]); }});
    visit(Kind<GemPort>{"gemPorts", "pon.gemPorts", "1001", "", [](State& s) { return std::ref(s.gemPorts[0]); }});
    visit(Kind<board::Identity>{"", "board.identity", "", "", [](State& s) { return std::ref(s.identity); }});
    visit(Kind<board::Image>{"", "board.images", "1", "", [](State& s) { return std::ref(s.images[0]); }});
    visit(Kind<board::Phy>{"phys", "board.phys", "0", "", [](State& s) { return std::ref(s.phys[0]); }});
}

template <typename Record, typename = void>
struct HasEquality : std::false_type {};
template <typename Record>
struct HasEquality<Record, std::void_t<decltype(std::declval<Record>() == std::declval<Record>())>> : std::true_type {};

TEST(Fields, AChangeIsSeenWhereTheListSaysSo) {
    std::size_t seen = 0;
    forEachKind([&](const auto& kind) {
        using Record = std::decay_t<decltype(kind.inState(std::declval<DeviceState&>()))>;
        forEachField<Record>(kEverywhere, [&](const auto& field) {
            SCOPED_TRACE(std::string(kind.section) + kind.inRecord + " " + field.name);
            const DeviceState before = oneOfEach();
            DeviceState after = before;
            const Record old = kind.inState(after);
            Record& now = kind.inState(after);
            change(field, now.*field.member);
            if constexpr (HasEquality<Record>::value) {
                EXPECT_EQ(!(old == now), field.isIn(kInEquality));
            }
            EXPECT_EQ(!vorn_onu::differences(before, after).empty(), field.isIn(kInDiff));
            const json state = stateJson(now);
            EXPECT_EQ(state != stateJson(old), field.isIn(kInState));
            Record read;
            readStateJson(state, read);
            EXPECT_EQ(stateJson(read), state);
            ++seen;
        });
    });
    EXPECT_GE(seen, 60U);
}

// What a scenario may expect of a kind of thing, by the names of the state.
TEST(Fields, ScenariosCanExpectThem) {
    forEachKind([&](const auto& kind) {
        using Record = std::decay_t<decltype(kind.inState(std::declval<DeviceState&>()))>;
        if (*kind.expectation == '\0') return;
        const auto& rows = vorn_onu::expectRows();
        const auto row =
            std::find_if(rows.begin(), rows.end(), [&](const auto& one) { return one.key == kind.expectation; });
        ASSERT_NE(row, rows.end()) << kind.expectation;
        const auto& known = row->schema->at("additionalProperties").at("anyOf").at(1).at("properties");
        const std::string name = std::get<0>(fieldsOf(static_cast<const Record*>(nullptr))).name;
        const json state = stateJson(Record{});
        for (const auto& [field, value] : state.items())
            EXPECT_TRUE(value.is_structured() || field == name || known.contains(field))
                << kind.expectation << " " << field;
    });
}

// ---- board files ----

// The last of each record, by section and key.
json recordsIn(const std::string& file) {
    json records = json::object();
    std::istringstream lines(contentOf(file));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        const json sections = json::parse(line);
        for (const auto& [section, members] : sections.items())
            if (section != "crc32")
                for (const auto& [key, member] : members.items()) records[section][key] = member;
    }
    return records;
}

void write(const std::string& file, const json& records) {
    std::ofstream(file) << R"({"format":"vorn-onu board","version":1})" << '\n' << records.dump() << '\n';
}

void provision(VirtualOnu& onu) {
    onu.reset();
    EXPECT_EQ(std::system("brctl addbr br3; brctl addif br3 sid1"), 0);
    const GponCtlTcontAllocId tcont{1, 0, 1024};
    gponCtl_configTcontAllocId(&tcont);
    const TmctlIf port{1};
    tmctl_portTmInit(TMCTL_DEV_GPON, &port, 0, 8);
    const TmctlQueueCfg queue{3, 3, 256, 7, TMCTL_SCHED_WEIGHTED_ROUND_ROBIN, 0, 0, 0};
    tmctl_setQueueCfg(TMCTL_DEV_GPON, &port, &queue);
    onu.addGemPort(1001, 1, 1024);
}

TEST(Fields, ABoardFileHoldsThem) {
    const ScratchDirectory directory;
    const std::string file = directory.file("onu.board");
    VirtualOnu& onu = VirtualOnu::instance();
    provision(onu);
    onu.openBoard(file);
    onu.closeBoard();
    const json whole = recordsIn(file);
    forEachKind([&](const auto& kind) {
        using Record = std::decay_t<decltype(kind.inState(std::declval<DeviceState&>()))>;
        std::string key = kind.key;
        if (key[0] == '@') {
            for (const auto& [number, record] : whole.at(kind.section).items())
                if (record.at("name") == key.substr(1)) key = number;
        }
        const auto place =
            json::json_pointer(std::string("/") + kind.section + (key.empty() ? "" : "/" + key) + kind.inRecord);
        forEachField<Record>(kEverywhere, [&](const auto& field) {
            SCOPED_TRACE(place.to_string() + " " + field.name);
            ASSERT_EQ(whole.at(place).contains(field.name), field.isIn(kInFile));
            // Other records of the file refer to these.
            const std::vector<std::string> names = {"name", "master", "isBridge", "portId", "index", "id", "ports"};
            if (!field.isIn(kInFile) || std::count(names.begin(), names.end(), field.name) != 0) return;
            auto value = Record{}.*field.member;
            json changed = whole;
            json& there = changed.at(place)[field.name];
            if constexpr (IsListOfRecords<decltype(value)>::value) {
                there = json::array();
            } else {
                there.get_to(value);
                change(field, value);
                there = value;
            }
            write(file, changed);
            ASSERT_NO_THROW(onu.openBoard(file));
            onu.closeBoard();
            EXPECT_EQ(json::diff(recordsIn(file), changed), json::array());
        });
    });
}

}  // namespace
