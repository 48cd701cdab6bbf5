// The report of a run: one HTML page without outside references or scripts.
#ifndef VORN_ONU_REPORT_H
#define VORN_ONU_REPORT_H

#include <string>
#include <vector>

#include "DeviceState.h"
#include "VirtualOnu.h"

namespace vorn_onu {

struct ReportStep {
    std::string words;  // what the step does
    std::string answer;
    std::string effects;
    std::string note;
    bool passed = true;
    bool isCheck = false;
    std::vector<std::string> failures;
};

struct ReportWalk {
    std::string title;    // "upstream from sid0: untagged IPv4"
    std::string verdict;  // "leaves in GEM port 1001, queue 0, as VID 100 p0, IPv4"
    bool passed = true;   // the expectations held; true where there were none
    bool leaves = true;   // some copy leaves the device
    virtual_onu::Walk walk;
};

struct ReportInput {
    std::string title;
    std::string description;
    std::string source;  // the scenario's file name
    std::vector<ReportStep> steps;
    std::vector<ReportWalk> walks;
    DeviceState state;
    DeviceState newBoard;
};

std::string htmlReport(const ReportInput& input);

// ReportPicture.cpp: devices, bridges, GEM ports and T-CONTs, one lane a service. "" when there is no service.
std::string topologyPicture(const DeviceState& state);

// Text made safe inside an element or a quoted attribute.
std::string escaped(const std::string& text);

}  // namespace vorn_onu

#endif
