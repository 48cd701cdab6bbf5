// What the contract lets stand on the device after a service has been taken down, or keeps from being made again. Every
// row is as narrow as its reason, so that anything else that stays is a finding.
#ifndef FAULT_SWEEP_STAYS_H
#define FAULT_SWEEP_STAYS_H

#include <optional>
#include <string>
#include <vector>

#include "RuleAgreement.h"

namespace fault_sweep {

// What the device refused, read from the trace of a run.
struct Refusals {
    std::vector<RulePlace> ruleRemovals;
    static Refusals of(const std::vector<std::string>& trace);
    bool refused(const RulePlace& rule) const;
};

// Why the contract has a line of the state text stand, or be missing, after this call has failed (as the trace has it;
// empty without a fault).
std::optional<std::string> whyItDiffers(const std::string& line, const std::string& failedCall,
                                        const Refusals& refusals);

// The VEIP's rules share one rule id variable: one that the device refuses is recorded under the id of the rule before.
bool maybeRecordedTwice(const RulePlace& rule, const std::string& failedCall);

}  // namespace fault_sweep

#endif
