// What filters and tagging rows of the standard do to frames, through agent, services and HAL on the virtual ONU.
#include <gtest/gtest.h>

#include <algorithm>

#include "omci/olt/Olt.h"
#include "omci/olt/OperatorServices.h"
#include "omci/services/Apart.h"
#include "omci/services/OnuLine.h"

namespace {

using olt::create;
using virtual_onu::Frame;
using virtual_onu::VlanTag;
namespace attr = omci::attr;
namespace class_id = omci::class_id;

constexpr omci::InstanceId kPort = 0x0103, kService = 0x1020;
constexpr unsigned kGemPort = 1021;

// Port 3 and a GEM port on a bridge, without any filter or tagging: the transparent service before it has any.
olt::Requests plainService() {
    olt::Requests requests = olt::transparent().requests;
    requests.erase(std::remove_if(requests.begin(), requests.end(),
                                  [](const olt::Request& request) {
                                      return request.entity.classId == class_id::kVlanFilter ||
                                             request.entity.classId == class_id::kExtendedTagging;
                                  }),
                   requests.end());
    return requests;
}

using Tags = std::vector<VlanTag>;

VlanTag tag(std::uint16_t vid, std::uint8_t pbits = 0, std::uint16_t tpid = 0x8100) {
    return {tpid, pbits, false, vid};
}

Frame frameWith(const Tags& tags) {
    Frame frame;
    frame.tags = tags;
    return frame;
}

// The frame as it leaves, nothing when it is dropped.
std::optional<Frame> leaving(const virtual_onu::Walk& walk, const std::string& device) {
    if (walk.exits.size() != 1 || walk.exits.front().device != device) return std::nullopt;
    return walk.exits.front().frame;
}
std::optional<Frame> up(const Frame& frame) {
    virtual_onu::VirtualOnu::instance().forgetLearned();
    return leaving(virtual_onu::VirtualOnu::instance().sendFromPort("sid2", frame), "gpondef");
}
std::optional<Frame> down(const Frame& frame) {
    virtual_onu::VirtualOnu::instance().forgetLearned();
    return leaving(virtual_onu::VirtualOnu::instance().sendFromPon(kGemPort, frame), "sid2");
}

// Forward operations, 0x00 on: what becomes of tagged frames (a pass, c drop, h pass on match, g drop on match), what
// is compared (v VID, p p-bits, t both), what becomes of untagged frames.
const char* const kOperations[] = {"a-a", "c-a", "a-c", "hva", "hvc", "gva", "gvc", "hpa", "hpc", "gpa", "gpc", "hta",
                                   "htc", "gta", "gtc", "hva", "hvc", "hpa", "hpc", "hta", "htc", "a-c", "hva", "hvc",
                                   "hpa", "hpc", "hta", "htc", "hva", "hvc", "hpa", "hpc", "hta", "htc"};
// The filter list.
struct Tci {
    std::uint8_t pbits;
    std::uint16_t vid;
};
constexpr Tci kList[] = {{3, 100}, {0, 200}};

bool passes(const char* operation, const Frame& frame, bool isUp) {
    if (frame.tags.empty()) return operation[2] == 'a';
    if (operation[0] == 'a' || operation[0] == 'c') return operation[0] == 'a';
    const VlanTag& tag = frame.tags.front();
    const bool match = std::any_of(std::begin(kList), std::end(kList), [&](const Tci& tci) {
        if (operation[1] == 'p') return tag.pbits == tci.pbits;
        // Reported as a problem: the HAL compares the VID alone downstream.
        const bool priority = operation[1] == 'v' || !isUp || tag.pbits == tci.pbits;
        return tag.vid == tci.vid && priority;
    });
    // Reported as a problem: frames of these VIDs and TCIs are not dropped.
    if (operation[0] == 'g' && operation[1] != 'p') return true;
    return match == (operation[0] == 'h');
}

TEST(Filter, OfEveryForwardOperationTakesTheFramesOfTheStandard) {
    const std::string wrong = apart([] {
        startHal();
        OnuLine line;
        olt::Olt olt(line);
        std::string text = olt.send(plainService());
        auto filter = create(class_id::kVlanFilter, kService, {{attr::vlan_filter::kNumberOfEntries, 2}});
        olt::Bytes list;
        for (const Tci& tci : kList) omci::appendNumber(list, std::uint64_t{tci.pbits} << 13 | tci.vid, 2);
        list.resize(24);
        filter.values.push_back({attr::vlan_filter::kFilterList, list});
        text += olt.send(olt::Requests{filter});
        const Tags tagged[] = {{}, {tag(100, 3)}, {tag(100, 1)}, {tag(200)}, {tag(300, 3), tag(100)}, {tag(300, 5)}};
        for (unsigned operation = 0; operation < std::size(kOperations); ++operation) {
            const char* expected = kOperations[operation];
            text += olt.send(olt::Requests{
                olt::set(class_id::kVlanFilter, kService, {{attr::vlan_filter::kForwardOperation, operation}})});
            for (const Tags& tags : tagged) {
                const Frame frame = frameWith(tags);
                const std::string name = "operation " + std::to_string(operation) + ", " + frame.text();
                if (up(frame).has_value() != passes(expected, frame, true)) text += name + " up\n";
                if (down(frame).has_value() != passes(expected, frame, false)) text += name + " down\n";
            }
            const bool reported = !line.services.problems().empty();
            if (reported != (expected[1] == 't' || (expected[0] == 'g' && expected[1] == 'v')))
                text += "operation " + std::to_string(operation) + ": problems\n";
        }
        return text + "end";
    });
    EXPECT_EQ(wrong, "end");
}

constexpr omci::InstanceId kBridge = 3;

olt::Request portToUser(omci::InstanceId instance, unsigned tpType, unsigned pointer) {
    return create(class_id::kBridgePort, instance,
                  {{attr::bridge_port::kBridgeIdPointer, kBridge},
                   {attr::bridge_port::kPortNum, 9},
                   {attr::bridge_port::kTpType, tpType},
                   {attr::bridge_port::kTpPointer, pointer}});
}

// 9.3.1, learning and ageing time: which of ports 3 and 4 gets a frame to a station that port 3 has heard before.
TEST(Learning, LastsAsLongAsTheBridgeIsTold) {
    const std::string wrong = apart([] {
        startHal();
        OnuLine line;
        olt::Olt olt(line);
        std::string text = olt.send(plainService());
        text += olt.send(portToUser(0x1199, 1, 0x0104)) == omci::Result::kSuccess ? "" : "no second port\n";
        const auto set = [](unsigned learns, unsigned seconds) {
            return olt::set(
                class_id::kBridge, kBridge,
                {{attr::bridge::kLearningInd, learns}, {attr::bridge::kDynamicFilteringAgeingTime, seconds}});
        };
        const struct {
            unsigned learns, seconds, passed;
            std::string heard;
            int ageing;  // hundredths of a second
        } kCases[] = {
            {1, 300, 290, "sid2 ", 30000},       {1, 10, 9, "sid2 ", 1000},          {1, 10, 11, "sid2 sid3 ", 1000},
            {0, 10, 0, "sid2 sid3 ", 0},         {0, 0, 0, "sid2 sid3 ", 0},         {1, 0, 290, "sid2 ", 30000},
            {1, 5000000, 1, "sid2 ", 100000000}, {1, 300, 301, "sid2 sid3 ", 30000},
        };
        auto& onu = virtual_onu::VirtualOnu::instance();
        for (const auto& one : kCases) {
            text += olt.send(olt::Requests{set(one.learns, one.seconds)});
            Frame frame;
            frame.source = "02:00:5e:00:00:77";
            onu.sendFromPort("sid2", frame);
            onu.advance(one.passed * 1000);
            std::swap(frame.source, frame.destination);
            std::string heard;
            for (const auto& exit : onu.sendFromPon(kGemPort, frame).exits) heard += exit.device + " ";
            const int ageing = onu.bridge("br3")->ageingTime;
            if (heard == one.heard && ageing == one.ageing) continue;
            text += std::to_string(one.learns) + " " + std::to_string(one.seconds) + " s: " + heard +
                    std::to_string(ageing) + "\n";
        }
        if (line.services.problems().size() != 0) text += "problems that nobody has any more\n";
        return text + "end";
    });
    EXPECT_EQ(wrong, "end");
}

// 9.3.1, port bridging: what ports 3 and 4 of a bridge hear of one another, and of the PON.
TEST(PortBridging, PassesFramesBetweenThePortsOfABridgeOnlyWhileItIsOn) {
    const std::string wrong = apart([] {
        startHal();
        OnuLine line;
        olt::Olt olt(line);
        const auto bridging = [](unsigned on) {
            return olt::set(class_id::kBridge, kBridge, {{attr::bridge::kPortBridgingInd, on}});
        };
        const auto row = [](const char* digits) {
            return olt::setBytes({class_id::kExtendedTagging, kService}, attr::extended_tagging::kTaggingTable,
                                 olt::hex(digits));
        };
        const auto secondPort = portToUser(0x1199, 1, 0x0104);
        std::string text = olt.send(plainService());
        text += olt.send(olt::Requests{bridging(0)});
        const std::string alone = "gpondef ", together = "gpondef sid3 ", nobody;
        const struct {
            const char* what;
            olt::Requests requests;
            std::string heard;
        } kSteps[] = {
            {"one port", {}, alone},
            {"and a management host that is off", {portToUser(0x1198, 4, 0)}, alone},
            {"two ports, off", {secondPort}, alone},
            {"on", {bridging(1)}, together},
            {"off again", {bridging(0)}, alone},
            {"a table of rows comes",
             {create(class_id::kExtendedTagging, kService,
                     {{attr::extended_tagging::kAssociationType, 2},
                      {attr::extended_tagging::kAssociatedMePointer, kPort}}),
              row("F8000000 F8000000 000F0000 00000004")},
             alone},
            {"and another row", {row("F8000000 80320000 400F0000 00080A0C")}, alone},
            {"the others go",
             {olt::erase({class_id::kBridgePort, 0x1199}), olt::erase({class_id::kBridgePort, 0x1198})},
             alone},
        };
        for (const auto& step : kSteps) {
            text += olt.send(step.requests);
            virtual_onu::VirtualOnu::instance().forgetLearned();
            std::string heard;
            for (const auto& exit : virtual_onu::VirtualOnu::instance().sendFromPort("sid2", frameWith({})).exits)
                heard += exit.device + " ";
            if (heard != step.heard) text += std::string(step.what) + ": heard at " + heard + "\n";
            for (const auto& call : line.calls)
                if (call.result != 0) text += std::string(step.what) + ": a call failed\n";
            line.calls.clear();
        }
        for (const auto& problem : line.services.problems()) text += problem.reason + "\n";
        return text + "end";
    });
    EXPECT_EQ(wrong, "end");
}

struct RowCase {
    const char* name;
    const char* row;
    std::uint16_t etherType;
    Tags subscriber, pon;
};

class Row : public ::testing::TestWithParam<RowCase> {};

TEST_P(Row, TreatsAFrameUpAndBringsItBackAsItWas) {
    const std::string wrong = apart([] {
        const RowCase& given = GetParam();
        startHal();
        OnuLine line;
        olt::Olt olt(line);
        std::string text = olt.send(plainService());
        text += olt.send(olt::Requests{
            create(
                class_id::kExtendedTagging, kService,
                {{attr::extended_tagging::kAssociationType, 2}, {attr::extended_tagging::kAssociatedMePointer, kPort}}),
            olt::set(class_id::kExtendedTagging, kService, {{attr::extended_tagging::kOutputTpid, 0x88A8}})});
        const auto untouched = comparableState();
        olt::Bytes row = olt::hex(given.row);
        const olt::EntityKey table{class_id::kExtendedTagging, kService};
        text += olt.send(olt::Requests{olt::setBytes(table, attr::extended_tagging::kTaggingTable, row)});
        Frame frame = frameWith(given.subscriber);
        frame.etherType = given.etherType;
        const auto sent = up(frame);
        if (!sent || sent->tags != given.pon) text += "up: " + (sent ? sent->text() : "dropped") + "\n";
        frame.tags = given.pon;
        const auto back = down(frame);
        if (!back || back->tags != given.subscriber) text += "down: " + (back ? back->text() : "dropped") + "\n";
        for (const auto& problem : line.problems) text += problem.reason + "\n";
        // A row with a key of its own can be deleted; the untagged one has replaced a default row.
        std::fill(row.begin() + 8, row.end(), std::uint8_t{0xFF});
        if (row[4] == 0xF8 && row[7] == 0) return text + "end";
        text += olt.send(olt::Requests{olt::setBytes(table, attr::extended_tagging::kTaggingTable, row)});
        if (comparableState() != untouched) text += "the deleted row has left something\n";
        return text + "end";
    });
    EXPECT_EQ(wrong, "end");
}

constexpr std::uint16_t kIp = 0x0800, kPppoeDiscovery = 0x8863, kPppoeSession = 0x8864, kArp = 0x0806;
const RowCase kRowCases[] = {
    {"UntaggedAdds", "F8000000 F8000000 000F0000 00000A0C", kIp, {}, {tag(321)}},
    {"TranslatedKeepsPbits", "F8000000 80320000 400F0000 00080A0C", kIp, {tag(100, 5)}, {tag(321, 5)}},
    {"ServiceTagTakesPbitsOver",
     "F8000000 88000000 000F0000 00081C22",
     kIp,
     {tag(7, 6)},
     {tag(900, 6, 0x88A8), tag(7, 6)}},
    {"TwoTagsOnUntagged", "F8000000 F8000000 00001C24 00000194", kIp, {}, {tag(900), tag(50)}},
    {"DiscoveryAlone", "F8000000 F8000002 000F0000 0005003C", kPppoeDiscovery, {}, {tag(7, 5)}},
    {"SessionAsWell", "F8000000 F8000002 000F0000 0005003C", kPppoeSession, {}, {tag(7, 5)}},
    {"ArpUntagged", "F8000000 F8000003 000F0000 0005003C", kArp, {}, {tag(7, 5)}},
    {"PriorityTag", "F8000000 80000000 400F0000 00080A0C", kIp, {tag(0, 3)}, {tag(321, 3)}},
    {"OuterOfTwo", "81C20000 80320000 400F0000 0009190C", kIp, {tag(900, 4), tag(100, 1)}, {tag(801, 4), tag(100, 1)}},
    {"OtherVlansPass", "F8000000 80320000 400F0000 00080A0C", kIp, {tag(55, 2)}, {tag(55, 2)}},
};
INSTANTIATE_TEST_SUITE_P(Services, Row, ::testing::ValuesIn(kRowCases),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
