// What is kept of a run for its report and its capture.
#ifndef VORN_ONU_RUN_REPORT_H
#define VORN_ONU_RUN_REPORT_H

#include <vector>

#include "scenario/Runner.h"
#include "show/Capture.h"
#include "show/Report.h"

namespace vorn_onu {

class RunReport {
public:
    RunReport(const Scenario& scenario, DeviceState newBoard);
    // After every step: the page shows the device at the moment at which most stands on it.
    void add(const StepRecord& record, const virtual_onu::VirtualOnu& onu);
    // atEnd: the device when the run is over; what was sent, run and refused is told of the whole run.
    ReportInput finish(const DeviceState& atEnd) &&;

private:
    ReportInput input_;
    std::size_t steps_;
    FullestMoment fullest_;
};

// The frames of the frame steps, as they came in and as their copies left.
Capture captureOf(const std::vector<StepRecord>& records);

}  // namespace vorn_onu

#endif
