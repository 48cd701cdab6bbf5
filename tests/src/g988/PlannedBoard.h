// A virtual ONU whose rules come from the planner: port sid0 in bridges 1 and 2, GEM ports on one T-CONT.
#ifndef TESTS_G988_PLANNED_BOARD_H
#define TESTS_G988_PLANNED_BOARD_H

#include <functional>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Difference.h"
#include "BRCM/BCM968580/DATA/g988/Planner.h"
#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"
#include "platform/vlanctl.h"
#include "support/OnuFixture.h"

class PlannedBoard : public OnuFixture {
protected:
    static constexpr unsigned kGemPorts = 6;  // port ids and indexes below, and one each for every number
    static constexpr unsigned kFirstPortId = 1000;
    static constexpr unsigned kFirstIndex = 10;

    void SetUp() override {
        OnuFixture::SetUp();
        printedBy([&] {
            char pon[] = "gpondef";
            engine().ifUp(pon);
            for (const unsigned short bridge : {std::uint16_t{1}, std::uint16_t{2}}) {
                engine().configureBridge(bridge, 0, false);
                engine().configureBridge(bridge, 1, false);
            }
        });
        makeTcont(0, 1024, {0, 1, 2, 3, 4, 5, 6, 7});
        for (unsigned i = 0; i < kGemPorts; ++i) {
            onu().addGemPort(kFirstPortId + i, kFirstIndex + i, 1024);
            enableGemPort(kFirstPortId + i);
        }
    }

    // Asks the kit for the difference to the plan of a whole board; looks after each call that has changed a table.
    void carryOut(g988::Plan plan, const std::function<void(const g988::TableStep&)>& look = nullptr) {
        using Kind = g988::Step::Kind;
        vlanCtl_init();
        g988::emptyOthers(plan, installed_);
        for (const auto& [table, step] : g988::differences(installed_, plan)) {
            EXPECT_NE(step.rule.origin, "") << "a refusal could not say what it is about";
            auto& rules = installed_[table];
            if (step.kind == Kind::Remove) {
                ASSERT_EQ(g988::removeRule(table, step.id), 0);
                rules.erase(step.rule.match.source(), step.id);
            } else {
                const bool front = step.kind == Kind::InsertFront;
                std::uint32_t id = 0;
                ASSERT_EQ(g988::insertRule(table, step.rule, front ? g988::Position::Front : g988::Position::End, &id),
                          0);
                if (front)
                    rules.insertFront(id, step.rule);
                else
                    rules.append(id, step.rule);
            }
            if (rules.isEmpty()) installed_.erase(table);
            if (look) look({table, step});
        }
        vlanCtl_cleanup();
    }

    // What differs from a table that was made of the plan at once: "" when rules and their order, where it matters, are
    // the same and the kit has them.
    std::string differsFrom(const g988::Plan& plan) const {
        if (installed_.size() != plan.tables.size()) return "the tables are others";
        for (const auto& [key, sources] : plan.tables) {
            const std::string name = key.device + " " + std::to_string(key.tags);
            const auto found = installed_.find(key);
            if (found == installed_.end()) return name + " is missing";
            const auto installed = found->second.inOrder();
            std::vector<g988::Rule> wanted;
            for (const auto& rules : sources) wanted.insert(wanted.end(), rules.second.begin(), rules.second.end());
            std::vector<std::size_t> places;
            for (const g988::Rule& rule : wanted) {
                std::size_t at = 0;
                while (at < installed.size() && installed[at].rule != rule) ++at;
                if (at == installed.size()) return name + " has no rule for " + rule.origin;
                for (std::size_t earlier = 0; earlier < places.size(); ++earlier)
                    if (places[earlier] > at && wanted[earlier].conflictsWith(rule))
                        return name + ": " + rule.origin + " is before " + wanted[earlier].origin;
                places.push_back(at);
            }
            if (installed.size() != wanted.size()) return name + " has rules too many";
            const auto kits = onu().rules(key.device, key.direction == g988::Direction::Receive ? 0 : 1, key.tags);
            for (std::size_t i = 0; i < wanted.size(); ++i)
                if (kits.size() != wanted.size() || kits[i].id != installed[i].id) return name + " is not the kit's";
        }
        return "";
    }

    g988::Installed installed_;
};

#endif
