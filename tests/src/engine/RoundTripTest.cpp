// What a port's frame looks like when it has gone up to the PON and come down again. Rows are drawn at random; a row
// brings the frame back as it was unless one of the reasons holds that docs/round-trip.md lists.
#include <cstdlib>
#include <map>
#include <random>
#include <set>

#include "hal/ProvisioningRecords.h"
#include "src/engine/UniRows.h"

namespace {

using virtual_onu::Frame;
using virtual_onu::VlanTag;

constexpr unsigned kRows = 1200;
constexpr unsigned kFramesPerRow = 16;
constexpr std::uint16_t kInputTpid = 0x88a8;  // of UniRows::record
constexpr std::uint16_t kPppoeDiscovery = 2;
constexpr unsigned kAnyPrio = 8, kDscp = 10, kNoPrio = 15, kAnyVid = 4096;

// ---- rows and frames by chance ----

class Chance {
public:
    unsigned upTo(unsigned most) { return static_cast<unsigned>(engine_()) % (most + 1); }
    std::uint16_t of(const std::vector<unsigned>& choices) {
        return static_cast<std::uint16_t>(choices[upTo(static_cast<unsigned>(choices.size()) - 1)]);
    }
    unsigned vid() { return 2 + upTo(4000); }

    Tag filter() {
        const auto prio = static_cast<std::uint8_t>(of({kAnyPrio, kAnyPrio, upTo(7)}));
        return {prio, of({kAnyVid, vid(), vid(), vid(), 0, 1}), of({0, 4, 4, 5, 6, 7})};
    }
    Tag treatment() {
        const auto prio = static_cast<std::uint8_t>(of({upTo(7), upTo(7), 8, 9, kDscp}));
        return {prio, of({vid(), vid(), 4096, 4097}), of({0, 1, 2, 3, 4, 4, 4, 6, 7})};
    }
    // As a daemon writes them: the tag action is the balance of the tags removed and added.
    Row row() {
        Row made{};
        made.filterType = of({0, 1, 1, 2, 2});
        made.outerFilter = made.filterType == 2 ? filter() : kNoTag;
        made.innerFilter = made.filterType > 0 ? filter() : kNoTag;
        made.etherType = of({0, 0, 0, 1, 2, 3, 4});
        made.removeType = static_cast<std::uint16_t>(upTo(made.filterType));
        const unsigned added = upTo(2);
        made.outerTreatment = added == 2 ? treatment() : kNoTag;
        made.innerTreatment = added > 0 ? treatment() : kNoTag;
        constexpr std::uint16_t kActions[] = {kPopTwo, kPop, kNone, kPush, kPushTwo};
        made.tagAction = kActions[2 + added - made.removeType];
        if (added > 0 && added == made.removeType) made.tagAction = kTranslate;
        return made;
    }

    VlanTag tag(const Tag& filter) {
        VlanTag made;
        made.pbits = static_cast<std::uint8_t>(filter.prio < kAnyPrio ? filter.prio : upTo(7));
        made.vid = static_cast<std::uint16_t>(filter.vlanId < kAnyVid ? filter.vlanId : vid());
        made.dei = filter.tpid == 7 || (filter.tpid != 6 && upTo(1) != 0);
        made.tpid = filter.tpid == 4 ? 0x8100 : filter.tpid > 4 ? kInputTpid : of({0x8100, kInputTpid});
        return made;
    }
    // One that the row takes.
    Frame frame(const Row& row) {
        Frame made;
        if (row.filterType == 2) made.tags.push_back(tag(row.outerFilter));
        if (row.filterType > 0) made.tags.push_back(tag(row.innerFilter));
        const std::map<unsigned, std::vector<unsigned>> types = {
            {0, {0x0800, 0x86DD, 0x0806}}, {1, {0x0800}}, {2, {0x8863, 0x8864}}, {3, {0x0806}}, {4, {0x8864}}};
        made.etherType = of(types.at(row.etherType));
        made.dscp = static_cast<std::uint8_t>(upTo(63));
        return made;
    }

private:
    std::mt19937 engine_{20};
};

// ---- why a row may not bring a frame back ----

enum class Field { Pbits, Vid, Dei, Tpid };
using Fields = std::set<std::pair<unsigned, Field>>;  // tag and field

bool adds(const Tag& treatment) {
    return treatment.prio != kNoPrio;
}

bool copiesInner(const Row& row) {  // with a single treatment
    return (row.filterType == 1 && row.tagAction == kPush) || row.tagAction == kTranslate;
}

// The fields of tag `at` that the upstream rule writes. alone: it is the only tag that is treated.
void addWritten(const Row& row, const Tag& treatment, unsigned at, bool alone, Fields& written) {
    const bool translates = row.tagAction == kTranslate;
    const bool hasInner = row.filterType + (row.tagAction == kPush ? 1 : 0) > 1;
    const auto copied = [&](unsigned value, unsigned fromInner) {
        if (alone) return value == fromInner && copiesInner(row) && hasInner;
        // Outer from inner, inner from outer; a tag's copy of itself changes nothing.
        return translates && value == (at == 0 ? fromInner : fromInner + 1);
    };
    if (treatment.prio < kAnyPrio || (treatment.prio == kDscp && (alone || translates)) || copied(treatment.prio, 8))
        written.emplace(at, Field::Pbits);
    if (treatment.vlanId < 4095 || copied(treatment.vlanId, 4096)) written.emplace(at, Field::Vid);
    const unsigned tpid = treatment.tpid;
    if (tpid == 4 || tpid == 6 || tpid == 7 || (alone && tpid == 3)) written.emplace(at, Field::Tpid);
    if (tpid == 6 || tpid == 7) written.emplace(at, Field::Dei);
}

void addFixed(const Tag& filter, unsigned at, Fields& fixed) {
    if (filter.prio < kAnyPrio) fixed.emplace(at, Field::Pbits);
    if (filter.vlanId < 4095) fixed.emplace(at, Field::Vid);
    if (filter.tpid >= 4) fixed.emplace(at, Field::Tpid);
    if (filter.tpid >= 6) fixed.emplace(at, Field::Dei);
}

// The fields that the upstream rule takes away and the downstream rule does not bring back.
Fields lostFields(const Row& row) {
    const unsigned pops = row.tagAction == kPop ? 1 : row.tagAction == kPopTwo ? 2 : 0;
    const unsigned pushes = row.tagAction == kPush ? 1 : row.tagAction == kPushTwo ? 2 : 0;
    const bool both = adds(row.outerTreatment);
    Fields written, restored;
    if (both) addWritten(row, row.outerTreatment, 0, false, written);
    if (adds(row.innerTreatment)) addWritten(row, row.innerTreatment, both ? 1 : 0, !both, written);
    if (adds(row.innerTreatment) && row.filterType > 0) {
        addFixed(row.filterType == 2 ? row.outerFilter : row.innerFilter, 0, restored);
        if (both && row.filterType == 2) addFixed(row.innerFilter, 1, restored);
    }
    Fields lost;
    for (unsigned tag = 0; tag < row.filterType; ++tag)
        for (const Field field : {Field::Pbits, Field::Vid, Field::Dei, Field::Tpid})
            if ((tag < pops || written.count({tag - pops + pushes, field}) != 0) && restored.count({tag, field}) == 0)
                lost.emplace(tag, field);
    return lost;
}

// The heading in docs/round-trip.md; "" for a row that brings every frame back.
std::string reasonFor(const Row& row) {
    const Tag &outer = row.outerFilter, &inner = row.innerFilter, &treatment = row.innerTreatment;
    const bool alone = !adds(row.outerTreatment) && adds(treatment);
    if (row.filterType == 0 && row.tagAction == kNone && row.etherType == 0) return "The default row";
    if (row.filterType == 0 && row.tagAction == kPush && treatment.prio == kDscp) return "p-bits from DSCP";
    const bool anyOfVidZero =
        outer.prio == kAnyPrio && inner.prio == kAnyPrio && (outer.vlanId == 0 || inner.vlanId == 0);
    const bool ofVidOne = outer.vlanId == 1 || inner.vlanId == 1;
    const bool isPppoe = row.etherType == kPppoeDiscovery;  // its second pair of rules has no exceptions
    if (anyOfVidZero && !isPppoe) return "VID 0 with any p-bits, two tags";
    if (ofVidOne && !isPppoe) return "VID 1";
    const bool copiesOpenField =
        (treatment.prio == 8 && inner.prio == kAnyPrio) || (treatment.vlanId == 4096 && inner.vlanId == kAnyVid);
    if (alone && copiesInner(row) && copiesOpenField) return "A copy of what the filter leaves open";
    const bool popped = row.tagAction == kPop || row.tagAction == kPopTwo;
    if (popped && !adds(treatment)) return "Tags that are only taken off";
    if (!lostFields(row).empty()) return popped ? "Two tags off, one tag on" : "A field that is overwritten";
    const bool rebuildsBoth = row.filterType == 2 && adds(row.outerTreatment);
    if (isPppoe && rebuildsBoth && !anyOfVidZero && !ofVidOne) return "PPPoE behind two tags";
    return "";
}

std::string text(const Row& row) {
    const auto tagText = [](const Tag& tag) {
        return "(" + std::to_string(tag.prio) + " " + std::to_string(tag.vlanId) + " " + std::to_string(tag.tpid) + ")";
    };
    return std::to_string(row.filterType) + " tags, filter " + tagText(row.outerFilter) + tagText(row.innerFilter) +
           " type " + std::to_string(row.etherType) + ", action " + std::to_string(row.tagAction) + " remove " +
           std::to_string(row.removeType) + ", treatment " + tagText(row.outerTreatment) + tagText(row.innerTreatment);
}

class RoundTrip : public UniRows {
protected:
    static constexpr std::uint16_t kGemPort = 1001;

    // A transparent PON side: whatever the port's rules make of a frame goes up and comes down.
    void SetUp() override {
        UniRows::SetUp();
        addGemPortOnTcont();
        ASSERT_EQ(std::system("ifconfig gpondef up"), 0);
        BridgeServiceProvisioning service{};
        service.bridgeId = 3;
        service.trafficModel = 2;
        service.pbitMap[0] = {kGemPort, 0};
        ASSERT_TRUE(engine().configureAniTagRules(&service));
    }

    // Where the frame's path ends, when it does not come back as it was.
    static std::string roundTrip(const Frame& sent) {
        onu().forgetLearned();
        const auto up = onu().sendFromPort("sid0", sent);
        if (up.exits.size() != 1 || up.exits[0].device != "gpondef") return "does not reach the PON";
        const auto down = onu().sendFromPon(kGemPort, up.exits[0].frame);
        if (down.exits.size() != 1) return "does not come down";
        return down.exits[0].frame == sent ? "" : "comes back as " + down.exits[0].frame.text();
    }

    static void forget() {
        engine().flushUniSideVlanRules(3, 1);
        // What the removal of a port does about the DSCP shortcut.
        ASSERT_EQ(std::system("bs /b/d ingress_class/dir=us,index=11"), 0);
        ASSERT_EQ(std::system("bs /b/d vlan_action/dir=us,index=123"), 0);
        onu().clearTrace();
    }
};

TEST_F(RoundTrip, EveryRowBringsItsFramesBackExceptForTheDocumentedReasons) {
    Chance chance;
    std::map<std::string, unsigned> seen;
    for (unsigned i = 0; i < kRows; ++i) {
        const Row row = chance.row();
        const std::string reason = reasonFor(row);
        ++seen[reason];
        printedBy([&] { provision(row); });
        unsigned good = 0;
        std::string wrong;
        for (unsigned n = 0; n < kFramesPerRow; ++n) {
            const Frame sent = chance.frame(row);
            const std::string end = roundTrip(sent);
            good += end.empty() ? 1 : 0;
            if (!end.empty()) wrong = sent.text() + " " + end;
        }
        if (reason.empty())
            EXPECT_EQ(good, kFramesPerRow) << text(row) << ": " << wrong;
        else
            EXPECT_LT(good, kFramesPerRow) << text(row) << " is said to fail for: " << reason;
        printedBy(forget);
    }
    EXPECT_EQ(seen.size(), 10u) << "every reason is drawn";
    EXPECT_GT(seen[""], kRows / 3);
}

}  // namespace
