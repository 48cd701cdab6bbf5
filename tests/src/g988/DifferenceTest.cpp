// What a change asks of the kit, and what is left when the kit fails in the middle of it.
#include <random>

#include "BRCM/BCM968580/DATA/g988/CarryOut.h"
#include "src/g988/PlannedBoard.h"

namespace {

constexpr unsigned kRows = 96;

// Customer VLAN i of a bridge becomes service VLAN 1000 + i, with its p-bits.
g988::TaggingRow translation(unsigned customer, unsigned service) {
    g988::TaggingRow row;
    row.innerFilter = {g988::filter_code::kAnyPbits, static_cast<std::uint16_t>(customer), 0};
    row.tagsToRemove = 1;
    row.innerTreatment = {g988::treatment_code::kPbitsOfInner, static_cast<std::uint16_t>(service),
                          g988::treatment_code::kTpid8100};
    row.bridge = 1;
    return row;
}

g988::Tables manyRows(unsigned rows) {
    g988::Tables tables;
    auto& port = tables.uniPorts[0];
    port.bridges = {1};
    port.tagging.emplace();
    for (unsigned i = 0; i < rows; ++i) port.tagging->set(translation(100 + i, 1000 + i));
    g988::PonPort pon;
    pon.mapper.places.fill(g988::GemPlace{10, 0});
    tables.bridges[1] = {pon};
    return tables;
}

g988::TaggingTable& rowsOf(g988::Tables& tables) {
    return *tables.uniPorts[0].tagging;
}

class Difference : public PlannedBoard {
protected:
    void SetUp() override {
        PlannedBoard::SetUp();
        tables_ = manyRows(kRows);
        ASSERT_TRUE(g988::carryOut(g988::planOf(tables_), rules_).done);
    }

    // Rules that the change of the tables inserts and removes, carried out.
    std::pair<unsigned, unsigned> change() {
        std::pair<unsigned, unsigned> count;
        const g988::Plan plan = g988::planOf(tables_);
        for (const auto& one : g988::differences(rules_, plan))
            ++(one.step.kind == g988::Step::Kind::Remove ? count.second : count.first);
        EXPECT_TRUE(g988::carryOut(plan, rules_).done);
        return count;
    }

    g988::Tables tables_;
    g988::Installed rules_;
};

using Count = std::pair<unsigned, unsigned>;

// One rule in each direction.
TEST_F(Difference, ChangeOfOneRowAsksForTheRulesOfThatRow) {
    rowsOf(tables_).set(translation(90, 990));  // before all others
    EXPECT_EQ(change(), Count(2, 0));
    rowsOf(tables_).set(translation(300, 1300));  // behind them, before the default row
    EXPECT_EQ(change(), Count(2, 0));
    rowsOf(tables_).set(translation(150, 2000));  // in the middle, to another VLAN
    EXPECT_EQ(change(), Count(2, 2));
    rowsOf(tables_).erase(translation(151, 0));
    EXPECT_EQ(change(), Count(0, 2));
    EXPECT_EQ(change(), Count(0, 0));
}

// A row that must come behind others comes with copies of what must come behind it: the rule for the rest.
TEST_F(Difference, RowForTheRestTakesWhatStandsBehindItAlong) {
    g988::TaggingRow any = translation(0, 900);
    any.innerFilter.vid = g988::filter_code::kAnyVid;
    rowsOf(tables_).set(any);
    EXPECT_EQ(change(), Count(2, 1));  // the default row upstream has no frames any more
    const auto sent = onu().sendFromPort("sid0", [] {
        virtual_onu::Frame frame;
        frame.tags = {virtual_onu::VlanTag{0x8100, 3, false, 77}};
        return frame;
    }());
    ASSERT_EQ(sent.exits.size(), 1u);
    EXPECT_EQ(sent.exits[0].frame.text(), "VID 900 p3, IPv4");
}

TEST_F(Difference, RefusedPlanAsksForNothing) {
    rowsOf(tables_).downstreamMode = 9;
    onu().clearTrace();
    const auto outcome = g988::carryOut(g988::planOf(tables_), rules_);
    EXPECT_FALSE(outcome.done);
    EXPECT_EQ(outcome.reason, "sid0: there is no such downstream mode");
    EXPECT_TRUE(onu().traceTexts().empty());
}

// The kit refuses the last of all removals. Rules of the later bridge were put in front of those of the earlier one.
TEST_F(Difference, RulesThatComeBackHaveTheirOrder) {
    g988::PonPort later;
    later.mapper.places.fill(g988::GemPlace{11, 0});
    tables_.bridges[2] = {later};
    ASSERT_TRUE(g988::carryOut(g988::planOf(tables_), rules_).done);
    const auto order = [&] {
        std::vector<std::string> origins;
        for (const auto& [key, table] : rules_)
            for (const g988::InstalledRule& one : table.inOrder())
                origins.push_back(key.device + " " + one.rule.origin);
        return origins;
    };
    const auto before = order();
    g988::Plan nothing;
    g988::emptyOthers(nothing, rules_);
    onu().failNext("vlanCtl_removeTagRule", static_cast<int>(before.size()), 5);
    const auto outcome = g988::carryOut(nothing, rules_);
    EXPECT_FALSE(outcome.done || outcome.isPartly) << outcome.reason;
    EXPECT_EQ(order(), before);
    EXPECT_EQ(onu().ruleCount(), before.size());
}

// ---- the steps of one table, without a device ----

struct Seen {
    unsigned pbits, vid, etherType;
};
constexpr Seen kFrames[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 2, 0}, {1, 2, 0},
                            {0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}, {0, 2, 1}, {1, 2, 1}};
constexpr std::uint16_t kSources = 3;  // GEM ports

// What the table does to a frame: the receiver of the first rule that takes it.
std::string outcome(const g988::InstalledTable& table, unsigned gem, const Seen& frame) {
    for (const g988::InstalledRule& one : table.inOrder()) {
        const g988::Match& match = one.rule.match;
        if (match.gemIndexOf() == gem && match.pbitsOf(0).value_or(frame.pbits) == frame.pbits &&
            match.vidOf(0).value_or(frame.vid) == frame.vid &&
            match.typeWordOf(1).value_or(frame.etherType) == frame.etherType)
            return one.rule.receiver;
    }
    return "";
}

g988::Rule drawnRule(std::mt19937& chance) {
    g988::Rule rule;
    rule.match.gemIndex(static_cast<unsigned>(chance() % kSources));
    if (chance() % 2 == 0) rule.match.pbits(0, static_cast<unsigned>(chance() % 2));
    if (chance() % 2 == 0) rule.match.vid(0, static_cast<unsigned>(chance() % 3));
    if (chance() % 3 == 0) rule.match.typeWord(1, static_cast<unsigned>(chance() % 2));
    rule.receiver = "device " + std::to_string(chance() % 3);
    return rule;
}

void takeStep(g988::InstalledTable& table, const g988::Step& step, std::uint32_t id) {
    using Kind = g988::Step::Kind;
    if (step.kind == Kind::InsertFront) table.insertFront(id, step.rule);
    if (step.kind == Kind::Append) table.append(id, step.rule);
    if (step.kind == Kind::Remove) table.erase(step.rule.match.source(), step.id);
}

// From any table to any other one: each frame fares at each moment as before or as afterwards. A source that is not
// named keeps its rules.
TEST(DifferenceOfTables, FramesFareAsBeforeOrAsAfterwards) {
    std::mt19937 chance(7);
    g988::InstalledTable table;
    std::uint32_t id = 0;
    for (unsigned round = 0; round < 1000; ++round) {
        const g988::InstalledTable before = table;
        // Mostly some of the rules stay.
        const bool keeps = chance() % 3 != 0;
        g988::RuleList list;
        for (std::uint16_t gem = 0; gem < kSources; ++gem) list.begin(gem);
        for (const g988::InstalledRule& one : before.inOrder()) {
            if (chance() % 4 == 0) list.add(drawnRule(chance));
            if (keeps && chance() % 4 != 0) list.add(one.rule);
        }
        for (unsigned left = static_cast<unsigned>(chance() % 8); left > 0; --left) list.add(drawnRule(chance));
        g988::RulesBySource wanted = list.take();
        const auto unnamed = static_cast<std::uint16_t>(chance() % (2 * kSources));
        wanted.erase(unnamed);
        g988::InstalledTable after;
        for (const auto& [gem, rules] : wanted)
            for (const g988::Rule& rule : rules) after.append(0, rule);
        for (const g988::InstalledRule& one : before.of(unnamed)) after.append(0, one.rule);
        const auto forEachFrame = [&](auto look) {
            for (unsigned gem = 0; gem < kSources; ++gem)
                for (const Seen& frame : kFrames)
                    look(outcome(table, gem, frame), outcome(before, gem, frame), outcome(after, gem, frame));
        };
        for (const g988::Step& step : g988::difference(before, wanted)) {
            takeStep(table, step, ++id);
            forEachFrame([&](const auto& now, const auto& then, const auto& later) {
                ASSERT_TRUE(now == then || now == later) << "round " << round;
            });
        }
        ASSERT_EQ(table.size(), after.size());
        forEachFrame([&](const auto& now, const auto&, const auto& later) { ASSERT_EQ(now, later) << round; });
        if (HasFatalFailure()) return;
    }
}

}  // namespace
