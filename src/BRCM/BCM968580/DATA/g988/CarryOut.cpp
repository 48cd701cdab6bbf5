#include "BRCM/BCM968580/DATA/g988/CarryOut.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"

namespace g988 {

namespace {

// 0, or the kit's code and nothing has changed. A rule that is inserted gets its id.
int take(TableStep& wanted, Installed& installed) {
    Step& step = wanted.step;
    const bool removes = step.kind == Step::Kind::Remove, inFront = step.kind == Step::Kind::InsertFront;
    InstalledTable& table = installed[wanted.table];
    int result = 0;
    if (removes) {
        result = removeRule(wanted.table, step.id);
        if (result == 0) table.erase(step.rule.match.source(), step.id);
    } else {
        step.id = VLANCTL_DONT_CARE;
        result = insertRule(wanted.table, step.rule, inFront ? Position::Front : Position::End, &step.id);
        if (result == 0 && inFront) table.insertFront(step.id, step.rule);
        if (result == 0 && !inFront) table.append(step.id, step.rule);
    }
    if (result == 0) noteRule(wanted.table, step.id);
    if (table.isEmpty()) installed.erase(wanted.table);
    return result;
}

Installed installedBefore(const std::vector<TableStep>& done, Installed installed) {
    for (auto one = done.rbegin(); one != done.rend(); ++one) {
        const auto& [table, step] = *one;
        if (step.kind == Step::Kind::Remove)
            installed[table].insert({step.id, step.rule, step.place});
        else
            installed[table].erase(step.rule.match.source(), step.id);
    }
    return installed;
}

// Rules come back in the order that they had among each other, whatever their sources are.
void sortByPlace(std::vector<TableStep>& steps, Installed& before) {
    for (auto& [table, step] : steps)
        for (const InstalledRule& one : before[table].of(step.rule.match.source()))
            if (step.kind != Step::Kind::Remove && one.rule == step.rule) step.place = one.place;
    for (auto first = steps.begin(); first != steps.end();) {
        const auto& [table, step] = *first;
        const bool rises = step.kind == Step::Kind::Append;
        const auto last = std::find_if(first, steps.end(), [&, kind = step.kind, &key = table](const TableStep& other) {
            return other.step.kind != kind || !(other.table == key);
        });
        std::stable_sort(first, last, [rises](const TableStep& left, const TableStep& right) {
            return rises ? left.step.place < right.step.place : left.step.place > right.step.place;
        });
        first = last;
    }
}

// Back from the steps that are done. A rule that was there twice is there once for the same frames.
std::vector<TableStep> stepsBack(const std::vector<TableStep>& done, const Installed& installed) {
    Installed before = installedBefore(done, installed);
    Plan plan;
    for (const auto& [table, step] : done) {
        const std::uint16_t source = step.rule.match.source();
        const auto [rules, isNew] = plan.tables[table].try_emplace(source);
        if (!isNew) continue;
        for (const InstalledRule& one : before[table].of(source)) rules->second.push_back(one.rule);
    }
    auto steps = differences(installed, plan);
    sortByPlace(steps, before);
    return steps;
}

std::string textOf(const TableStep& failed, int code) {
    const bool removes = failed.step.kind == Step::Kind::Remove;
    return failed.step.rule.origin + ": the kit answers " + std::to_string(code) + " to the " +
           (removes ? "removal" : "insertion") + " of a rule at " + failed.table.device;
}

}  // namespace

void noteRule(const TableKey& table, std::uint32_t id) {
    kit::noteChange(kit::Entry::PlannedRules, table.device, static_cast<std::uint8_t>(table.direction),
                    static_cast<std::uint8_t>(table.tags), id);
}

std::string obstacleTo(const Plan& plan, const Installed& installed) {
    if (!plan.refusals.empty()) return plan.refusals.front().text();
    for (const auto& [table, wanted] : plan.tables) {
        const auto has = installed.find(table);
        std::size_t rules = has == installed.end() ? 0 : has->second.size();
        for (const auto& [source, list] : wanted) {
            rules += list.size();
            if (has != installed.end()) rules -= has->second.of(source).size();
        }
        if (rules >= kMaxRulesOfTable) return table.device + ": the service needs more rules than a table holds";
    }
    return "";
}

Outcome carryOut(const Plan& plan, Installed& installed) {
    const std::string obstacle = obstacleTo(plan, installed);
    if (!obstacle.empty()) return {false, obstacle};
    auto steps = differences(installed, plan);
    if (steps.empty()) return {true, ""};
    const kit::VlanCtlSession session;
    if (session.result() != 0) return {false, "vlanctl answers " + std::to_string(session.result())};
    for (auto step = steps.begin(); step != steps.end(); ++step) {
        const int code = take(*step, installed);
        if (code == 0) continue;
        Outcome outcome{false, textOf(*step, code)};
        steps.erase(step, steps.end());
        for (TableStep& back : stepsBack(steps, installed)) {
            const int refusal = take(back, installed);
            if (refusal == 0) continue;
            outcome.isPartly = true;
            outcome.reason += "; taking back what was done, " + textOf(back, refusal);
        }
        return outcome;
    }
    return {true, ""};
}

}  // namespace g988
