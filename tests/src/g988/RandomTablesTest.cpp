// A board whose tables are changed by chance, one thing after the other: after each change frames fare as the
// standard's tables say, and the rules are those of a new board with the final tables. While a change is carried out,
// frames that it does not concern notice nothing.
//
// VORN_G988_FRAMES and VORN_G988_SEED choose how many frames (20,000) and which (1).
#include <cstdlib>

#include "BRCM/BCM968580/DATA/g988/Stored.h"
#include "src/g988/AuditedTables.h"
#include "src/g988/PlannedBoard.h"
#include "src/g988/RandomTables.h"

namespace {

using g988::Tables;
using virtual_onu::Frame;
using virtual_onu::Learning;
using virtual_onu::Walk;

unsigned numberFrom(const char* variable, unsigned otherwise) {
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

constexpr unsigned kFramesOfATable = 30;
constexpr unsigned kWatchedFrames = 10;

class RandomTablesTest : public PlannedBoard {
protected:
    // A frame that came up or went down, and where it left.
    struct Sent {
        bool goesUp = true;
        unsigned gemIndex = 0;  // downstream: that it comes in
        Frame frame;
    };
    struct Fate {
        std::optional<AuditedTables::Up> up;
        std::optional<Frame> down;
        bool operator==(const Fate& other) const { return up == other.up && down == other.down; }
    };

    static Fate standardFate(const AuditedTables& standard, const Sent& sent) {
        if (sent.goesUp) return {standard.up(sent.frame), std::nullopt};
        return {std::nullopt, standard.down(sent.gemIndex, sent.frame)};
    }

    static Walk walkOf(const Sent& sent) {
        return sent.goesUp ? onu().sendFromPort("sid0", sent.frame, Learning::Off)
                           : onu().sendFromPon(sent.gemIndex - kFirstIndex + kFirstPortId, sent.frame, Learning::Off);
    }

    // Nothing for a frame that the kit has no room for: a rule pushes more than four tags.
    static std::optional<Fate> deviceFate(const Sent& sent) {
        const Walk walk = walkOf(sent);
        for (const auto& drop : walk.drops)
            if (contains(drop.reason, "more than 4 tags")) return std::nullopt;
        Fate fate;
        EXPECT_LE(walk.exits.size(), 1u);
        for (const auto& exit : walk.exits) {
            if (exit.gemPort) fate.up = {*exit.gemIndex, *exit.queue, exit.frame};
            if (!exit.gemPort) fate.down = exit.frame;
        }
        return fate;
    }

    static std::string textOf(const Fate& fate) {
        if (fate.up)
            return "GEM index " + std::to_string(fate.up->gemIndex) + " queue " + std::to_string(fate.up->queue) + " " +
                   fate.up->frame.text();
        return fate.down ? fate.down->text() : "dropped";
    }

    static std::string textOf(const Sent& sent) {
        return (sent.goesUp ? "up " : "down GEM index " + std::to_string(sent.gemIndex) + " ") + sent.frame.text();
    }

    static std::string hopsOf(const Sent& sent) {
        const Walk walk = walkOf(sent);
        std::string text;
        for (const auto& hop : walk.hops.all()) text += "\n  " + hop.device + ": " + hop.detail;
        for (const auto& drop : walk.drops) text += "\n  " + drop.device + ": " + drop.reason;
        return text;
    }

    static std::string textOf(const Tables& tables) {
        std::string text;
        if (const auto& tagging = tables.uniPorts.at(0).tagging) {
            text += "\n mode " + std::to_string(tagging->downstreamMode);
            for (const g988::TaggingRow& row : tagging->rows())
                text += "\n " + row.text() + ", removes " + std::to_string(row.tagsToRemove);
        }
        for (const auto& [bridge, sides] : tables.bridges)
            for (const g988::PonPort& side : sides)
                text += "\n bridge " + std::to_string(bridge) + " operation " +
                        std::to_string(side.filter.forwardOperation);
        return text;
    }

    // Whether the device does what the standard says.
    bool fares(const Tables& tables, const AuditedTables& standard, const Sent& sent) {
        const auto device = deviceFate(sent);
        const Fate wanted = standardFate(standard, sent);
        ++frames_;
        if (!device || *device == wanted) return true;
        ADD_FAILURE() << "change " << changes_ << ": " << textOf(sent) << ": the standard says " << textOf(wanted)
                      << ", the device " << textOf(*device) << hopsOf(sent) << textOf(tables);
        return false;
    }

    bool sendFrames(const Tables& tables, RandomTables& chance) {
        const AuditedTables standard(tables);
        for (unsigned i = 0; i < kFramesOfATable; i += 3) {
            const Sent up{true, 0, chance.frameUp(tables)};
            if (!fares(tables, standard, up)) return false;
            if (const auto left = standard.up(up.frame);
                left && !fares(tables, standard, {false, left->gemIndex, left->frame}))
                return false;
            if (!fares(tables, standard, {false, chance.gemIndex(), chance.frameDown(tables)})) return false;
        }
        return true;
    }

    static std::vector<Sent> watched(const Tables& before, const Tables& after, RandomTables& chance) {
        const AuditedTables then(before), now(after);
        std::vector<Sent> result;
        for (unsigned i = 0; i < kWatchedFrames; ++i) {
            const Sent up{true, 0, chance.frameUp(before)}, down{false, chance.gemIndex(), chance.frameDown(before)};
            for (const Sent& sent : {up, down})
                if (standardFate(then, sent) == standardFate(now, sent)) result.push_back(sent);
        }
        return result;
    }

    static std::string bytesOf(const std::vector<g988::PonPort>& ports) {
        state::ByteWriter bytes;
        store(g988::PonSide{ports, std::vector<g988::PonPortKey>(ports.size())}, bytes);
        return bytes.take();
    }

    static g988::Entries replaced(const Tables& before, const Tables& after) {
        g988::Entries entries;
        state::ByteWriter portBefore, portAfter;
        store(before.uniPorts.at(0), portBefore);
        store(after.uniPorts.at(0), portAfter);
        if (portBefore.bytes() != portAfter.bytes()) entries.uniPorts.insert(0);
        const auto side = [](const Tables& tables, std::uint16_t bridge) {
            const auto found = tables.bridges.find(bridge);
            return found == tables.bridges.end() ? "" : bytesOf(found->second);
        };
        for (const std::uint16_t bridge : {std::uint16_t{1}, std::uint16_t{2}})
            if (side(before, bridge) != side(after, bridge)) entries.bridges.insert(bridge);
        return entries;
    }

    using Rules = std::map<g988::TableKey, g988::RulesBySource>;

    static Rules withoutEmpty(Rules rules) {
        for (auto table = rules.begin(); table != rules.end();) {
            auto& sources = table->second;
            for (auto one = sources.begin(); one != sources.end();)
                one = one->second.empty() ? sources.erase(one) : std::next(one);
            table = sources.empty() ? rules.erase(table) : std::next(table);
        }
        return rules;
    }

    // What is planned of the entries that are replaced, in the place of what there was, is the plan of the whole.
    static void expectPartsOfPlan(const Tables& before, const Tables& after, const g988::Plan& whole) {
        Rules rules = g988::planOf(before).tables;
        const auto part = g988::planOf(after, g988::scopeOf(replaced(before, after), before, after));
        for (const auto& [table, sources] : part.tables)
            for (const auto& [source, list] : sources) rules[table][source] = list;
        EXPECT_TRUE(withoutEmpty(rules) == withoutEmpty(whole.tables));
    }

    void change(const Tables& before, const Tables& after, RandomTables& chance, bool isWatched) {
        const g988::Plan plan = g988::planOf(after);
        ASSERT_TRUE(plan.refusals.empty()) << plan.refusals.front().text();
        expectPartsOfPlan(before, after, plan);
        std::vector<Sent> sent;
        if (isWatched) sent = watched(before, after, chance);
        const AuditedTables standard(after);
        carryOut(plan, [&](const g988::TableStep& done) {
            for (const Sent& one : sent) {
                const auto fate = deviceFate(one);
                if (fate && !(*fate == standardFate(standard, one)))
                    ADD_FAILURE() << "change " << changes_ << ": " << textOf(one) << " notices "
                                  << (done.step.kind == g988::Step::Kind::Remove ? "the removal" : "the insertion")
                                  << " of a rule for " << done.step.rule.origin << " at " << done.table.device << ": "
                                  << textOf(*fate) << " instead of " << textOf(standardFate(standard, one))
                                  << hopsOf(one);
            }
        });
        ASSERT_EQ(differsFrom(plan), "") << "change " << changes_;
    }

    unsigned frames_ = 0, changes_ = 0;
};

TEST_F(RandomTablesTest, FramesFareAsTheTablesSay) {
    RandomTables chance(numberFrom("VORN_G988_SEED", 1), kFirstIndex, kGemPorts);
    const unsigned most = numberFrom("VORN_G988_FRAMES", 20000);
    Tables tables;
    tables.uniPorts[0].bridges = {1};
    tables.uniPorts[0].tagging.emplace();
    while (frames_ < most && !HasFailure()) {
        Tables changed = tables;
        // Two things at once may let a frame through for a moment that the one dropped before and the other drops now.
        const unsigned things = 1 + chance.below(2);
        for (unsigned left = things; left > 0; --left) chance.change(changed);
        ++changes_;
        change(tables, changed, chance, things == 1);
        if (HasFatalFailure()) return;
        tables = std::move(changed);
        if (!sendFrames(tables, chance)) return;
        onu().clearTrace();
    }
    RecordProperty("frames", static_cast<int>(frames_));
    RecordProperty("changes", static_cast<int>(changes_));
    // Everything taken back: nothing is left.
    carryOut({});
    EXPECT_EQ(onu().ruleCount(), 0u);
}

}  // namespace
