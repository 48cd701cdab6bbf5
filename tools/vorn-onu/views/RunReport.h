// What is kept of a run for its report and its capture.
#ifndef VORN_ONU_RUN_REPORT_H
#define VORN_ONU_RUN_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "running/scenario/Runner.h"
#include "running/state/RuleOrigins.h"
#include "views/Capture.h"
#include "views/Report.h"
#include "views/audit/AskedServices.h"
#include "views/audit/Audit.h"

namespace vorn_onu {

class RunReport {
public:
    // audit: the page has a part that compares the device with the standard.
    RunReport(const Scenario& scenario, DeviceState newBoard, std::optional<audit::Untaken> audit = std::nullopt);
    // After every step: the page shows the device at the moment at which it holds most.
    void add(const StepRecord& record, const virtual_onu::VirtualOnu& onu);
    // atEnd: the device when the run is over; what was sent, run and refused is that of the whole run.
    ReportInput finish(const DeviceState& atEnd) &&;

private:
    ReportInput input_;
    std::size_t steps_;
    FullestMoment fullest_;
    std::optional<audit::Untaken> audit_;
    std::string file_;
    RuleOrigins origins_;
    audit::AskedServices asked_, askedThen_;  // now, and at the moment that the page shows
    std::optional<virtual_onu::FrozenDataPath> pathThen_;
};

// The frames of the frame steps, as they came in and as their copies left.
Capture captureOf(const std::vector<StepRecord>& records);

}  // namespace vorn_onu

#endif
