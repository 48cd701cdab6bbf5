// Which of a run's calls into the device fail.
#ifndef FAULT_SWEEP_FAULT_PLAN_H
#define FAULT_SWEEP_FAULT_PLAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fault_sweep {

// Calls are counted from 1 over the whole run, as VirtualOnu::failCall does. No calls: nothing fails.
struct FaultPlan {
    std::vector<std::uint64_t> calls;  // rising
    bool onwards = false;              // all behind the last one fail too, until the scenario has ended

    bool none() const { return calls.empty(); }
    std::string text() const;  // "17", "17+19", "17-"
    // Nothing when the text says no plan.
    static std::optional<FaultPlan> of(const std::string& text);
};

}  // namespace fault_sweep

#endif
