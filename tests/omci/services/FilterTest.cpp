// What filters and the settings of a bridge do to frames, through agent, services and HAL on the virtual ONU.
#include <algorithm>
#include <set>

#include "omci/olt/OperatorServices.h"
#include "omci/services/OnuLine.h"
#include "views/audit/VlanFilter.h"

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
    olt::Requests requests = olt::requestsOf(olt::kTransparent);
    requests.erase(std::remove_if(requests.begin(), requests.end(),
                                  [](const olt::Request& request) {
                                      return request.entity.classId == class_id::kVlanFilter ||
                                             request.entity.classId == class_id::kExtendedTagging;
                                  }),
                   requests.end());
    return requests;
}

using Tags = std::vector<VlanTag>;

VlanTag tag(std::uint16_t vid, std::uint8_t pbits = 0) {
    return {0x8100, pbits, false, vid};
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

class Filter : public OltAndOnu {
protected:
    void SetUp() override { ask(plainService()); }
    void ask(const olt::Requests& requests) { EXPECT_EQ(olt_.send(requests), ""); }
    static std::optional<Frame> up(const Frame& frame) {
        onu().forgetLearned();
        return leaving(onu().sendFromPort("sid2", frame), "gpondef");
    }
    static std::optional<Frame> down(const Frame& frame) {
        onu().forgetLearned();
        return leaving(onu().sendFromPon(kGemPort, frame), "sid2");
    }
};

TEST_F(Filter, OfEveryForwardOperationTakesTheFramesOfTheStandard) {
    using vorn_onu::audit::FilterTci;
    const std::vector<FilterTci> list = {{3, false, 100}, {0, false, 200}};
    auto filter = create(class_id::kVlanFilter, kService, {{attr::vlan_filter::kNumberOfEntries, 2}});
    olt::Bytes entries;
    for (const FilterTci& tci : list) omci::appendNumber(entries, std::uint64_t{tci.pbits} << 13 | tci.vid, 2);
    entries.resize(24);
    filter.values.push_back({attr::vlan_filter::kFilterList, entries});
    ask({filter});
    // Reported as problems: frames of listed VIDs and TCIs are not dropped, and of TCIs only the VIDs count downstream.
    const std::set<unsigned> drop = {0x05, 0x06, 0x0D, 0x0E}, tci = {0x0B, 0x0C, 0x13, 0x14, 0x1A, 0x1B, 0x20, 0x21};
    const Tags tagged[] = {{}, {tag(100, 3)}, {tag(100, 1)}, {tag(200)}, {tag(300, 3), tag(100)}, {tag(300, 5)}};
    for (unsigned operation = 0; operation <= 0x21; ++operation) {
        SCOPED_TRACE(operation);
        const bool dropsNone = drop.count(operation) != 0, vidAlone = tci.count(operation) != 0;
        const vorn_onu::audit::VlanFilter standard{operation, list};
        const unsigned passesVid = standard.passes({}) ? 0x03 : 0x04;  // by what it does with untagged frames
        const vorn_onu::audit::VlanFilter downstream{vidAlone ? passesVid : operation, list};
        ask({olt::set(class_id::kVlanFilter, kService, {{attr::vlan_filter::kForwardOperation, operation}})});
        for (const Tags& tags : tagged) {
            const Frame frame = frameWith(tags);
            const bool passes = dropsNone && !tags.empty();
            EXPECT_EQ(up(frame).has_value(), passes || standard.passes(frame)) << frame.text();
            EXPECT_EQ(down(frame).has_value(), passes || downstream.passes(frame)) << frame.text();
        }
        EXPECT_EQ(!line_.services.problems().empty(), dropsNone || vidAlone);
    }
}

constexpr omci::InstanceId kBridge = 3;

olt::Request portToUser(omci::InstanceId instance, unsigned tpType, unsigned pointer) {
    return create(class_id::kBridgePort, instance,
                  {{attr::bridge_port::kBridgeIdPointer, kBridge},
                   {attr::bridge_port::kPortNum, 9},
                   {attr::bridge_port::kTpType, tpType},
                   {attr::bridge_port::kTpPointer, pointer}});
}

std::string placesOf(const virtual_onu::Walk& walk) {
    std::string places;
    for (const auto& exit : walk.exits) places += exit.device + " ";
    return places;
}

// 9.3.1, learning and ageing time: which of ports 3 and 4 gets a frame to a station that port 3 has heard before.
TEST_F(Filter, LearningLastsAsLongAsTheBridgeIsTold) {
    ask({portToUser(0x1199, 1, 0x0104)});
    const struct {
        unsigned learns, seconds, passed;
        std::string heard;
        int ageing;  // hundredths of a second
    } kCases[] = {
        {1, 300, 290, "sid2 ", 30000},       {1, 10, 9, "sid2 ", 1000},          {1, 10, 11, "sid2 sid3 ", 1000},
        {0, 10, 0, "sid2 sid3 ", 0},         {0, 0, 0, "sid2 sid3 ", 0},         {1, 0, 290, "sid2 ", 30000},
        {1, 5000000, 1, "sid2 ", 100000000}, {1, 300, 301, "sid2 sid3 ", 30000},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(std::to_string(one.learns) + " " + std::to_string(one.seconds) + " s");
        ask({olt::set(
            class_id::kBridge, kBridge,
            {{attr::bridge::kLearningInd, one.learns}, {attr::bridge::kDynamicFilteringAgeingTime, one.seconds}})});
        Frame frame;
        frame.source = "02:00:5e:00:00:77";
        onu().sendFromPort("sid2", frame);
        onu().advance(one.passed * 1000);
        std::swap(frame.source, frame.destination);
        EXPECT_EQ(placesOf(onu().sendFromPon(kGemPort, frame)), one.heard);
        EXPECT_EQ(onu().bridge("br3")->ageingTime, one.ageing);
    }
    EXPECT_TRUE(line_.services.problems().empty());
}

// 9.3.1, port bridging: what ports 3 and 4 of a bridge hear of one another, and of the PON.
TEST_F(Filter, PortBridgingPassesFramesBetweenThePortsOfABridgeOnlyWhileItIsOn) {
    const auto bridging = [](unsigned on) {
        return olt::set(class_id::kBridge, kBridge, {{attr::bridge::kPortBridgingInd, on}});
    };
    const auto row = [](const char* digits) {
        return olt::setBytes({class_id::kExtendedTagging, kService}, attr::extended_tagging::kTaggingTable,
                             olt::hex(digits));
    };
    const auto secondPort = portToUser(0x1199, 1, 0x0104);
    ask({bridging(0)});
    const std::string alone = "gpondef ", together = "gpondef sid3 ";
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
         {create(
              class_id::kExtendedTagging, kService,
              {{attr::extended_tagging::kAssociationType, 2}, {attr::extended_tagging::kAssociatedMePointer, kPort}}),
          row("F8000000 F8000000 000F0000 00000004")},
         alone},
        {"and another row", {row("F8000000 80320000 400F0000 00080A0C")}, alone},
        {"the others go",
         {olt::erase({class_id::kBridgePort, 0x1199}), olt::erase({class_id::kBridgePort, 0x1198})},
         alone},
    };
    for (const auto& step : kSteps) {
        SCOPED_TRACE(step.what);
        ask(step.requests);
        onu().forgetLearned();
        EXPECT_EQ(placesOf(onu().sendFromPort("sid2", frameWith({}))), step.heard);
        for (const auto& call : line_.calls) EXPECT_EQ(call.result, 0) << omci::services::nameOf(call.call.operation);
        line_.calls.clear();
    }
    EXPECT_TRUE(line_.services.problems().empty());
}

}  // namespace
