// What the contract lets stay on the device after a service has been taken down, or keeps from being made again. Every
// row is as narrow as its reason, so that anything else that stays is a finding.
#ifndef FAULT_SWEEP_STAYS_H
#define FAULT_SWEEP_STAYS_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "RuleAgreement.h"

namespace fault_sweep {

// What the device refused, read from the trace of a run.
struct Refusals {
    std::vector<RulePlace> ruleRemovals;
    static Refusals of(const std::vector<std::string>& trace);
    bool refused(const RulePlace& rule) const;
    // Of the table that a line of the state text stands for ("rule sid0 rx 1: ...").
    std::size_t countOf(const std::string& ruleLine) const;
};

// What a run has been through.
struct RunHistory {
    std::vector<std::string> failedCalls;  // as the trace has them
    std::set<std::string> operations;      // of the scenario
};

// Lines are those of the state text, but for bridges, which have a line for each thing: "bridge br0 up",
// "bridge br0 stp off forward-delay 0", "bridge br0 port sid0". Three kinds are added: "leave br3 sid0.3", a leave that
// was left out, "record sid0 rx 1", a rule that is in the engine's map alone, and "unrecorded sid0 rx 1", one that
// is on the device alone.

// Makes the tables' patterns, which takes as long as a short run: once, before the runs are forked off.
void compileStays();

// Why the contract has a line there, or be missing, without any fault.
std::optional<std::string> whyItRemains(const std::string& line, const RunHistory& now, bool missing);

// Of what exists without a fault: a service that was refused has less of it.
bool mayBeLess(const std::string& line);

// Why the contract has a line be otherwise than in a run without a fault after these calls have failed. again: when the
// scenario has been provisioned again, with no call failing.
std::optional<std::string> whyItDiffers(const std::string& line, const RunHistory& now, bool again);

// The VEIP's rules share one rule id variable: one that the device refuses is recorded under the id of the rule before.
bool maybeRecordedTwice(const RulePlace& rule, const std::vector<std::string>& failedCalls);

}  // namespace fault_sweep

#endif
