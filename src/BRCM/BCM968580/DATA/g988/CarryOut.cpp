#include "BRCM/BCM968580/DATA/g988/CarryOut.h"

#include <algorithm>

#include "BRCM/BCM968580/DATA/g988/RuleCalls.h"

namespace g988 {

namespace {

// 0, or the kit's code and nothing has changed.
int take(const TableStep& wanted, Installed& installed) {
    const Step& step = wanted.step;
    const bool removes = step.kind == Step::Kind::Remove, inFront = step.kind == Step::Kind::InsertFront;
    auto& rules = installed[wanted.table];
    int result = 0;
    std::uint32_t id = step.id;
    if (removes) {
        result = removeRule(wanted.table, step.id);
        const auto isIt = [&](const InstalledRule& one) { return one.id == step.id; };
        if (result == 0) rules.erase(std::remove_if(rules.begin(), rules.end(), isIt), rules.end());
    } else {
        InstalledRule made{VLANCTL_DONT_CARE, step.rule};
        if (!rules.empty()) made.place = inFront ? rules.front().place - 1 : rules.back().place + 1;
        result = insertRule(wanted.table, step.rule, inFront ? Position::Front : Position::End, &made.id);
        id = made.id;
        if (result == 0) rules.insert(inFront ? rules.begin() : rules.end(), made);
    }
    if (result == 0) noteRule(wanted.table, id);
    if (rules.empty()) installed.erase(wanted.table);
    return result;
}

// What is there in the tables of the steps, as a plan to go back to. A rule that is there twice is there once for the
// same frames.
std::map<TableKey, std::vector<Rule>> rulesBefore(const std::vector<TableStep>& steps, const Installed& installed) {
    std::map<TableKey, std::vector<Rule>> tables;
    for (const TableStep& step : steps) {
        const auto [table, isNew] = tables.try_emplace(step.table);
        const auto rules = installed.find(step.table);
        if (!isNew || rules == installed.end()) continue;
        for (const InstalledRule& one : rules->second) table->second.push_back(one.rule);
    }
    return tables;
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

Outcome carryOut(const Plan& plan, Installed& installed) {
    if (!plan.refusals.empty()) return {false, plan.refusals.front().text()};
    const auto isPlanned = [&](const TableKey& key) { return !plan.scope || plan.scope->covers(key.device); };
    const auto steps = differences(installed, plan.tables, isPlanned);
    if (steps.empty()) return {true, ""};
    const kit::VlanCtlSession session;
    if (session.result() != 0) return {false, "vlanctl answers " + std::to_string(session.result())};
    const auto before = rulesBefore(steps, installed);
    const auto isTouched = [&](const TableKey& key) { return before.count(key) != 0; };
    for (const TableStep& step : steps) {
        const int code = take(step, installed);
        if (code == 0) continue;
        Outcome outcome{false, textOf(step, code)};
        for (const TableStep& back : differences(installed, before, isTouched)) {
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
