// The report of a run: one HTML page without outside references or scripts.
#ifndef VORN_ONU_REPORT_H
#define VORN_ONU_REPORT_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "VirtualOnu.h"
#include "running/state/DeviceState.h"
#include "running/state/Services.h"
#include "running/state/WalkWords.h"

namespace vorn_onu {

struct ReportStep {
    std::size_t number = 0;
    std::string kind;   // "call", "expect", "frame", ...
    std::string name;   // of a call: the operation
    std::string words;  // what the step does
    std::string answer;
    std::string effects;
    std::string note;  // the author's own words
    bool passed = true;
    std::vector<std::string> failures;
    std::uint64_t lastTraceEntry = 0;        // number of the last entry of the trace when the step was over
    std::vector<std::size_t> messages = {};  // numbers of those that it came from
    std::string asked = {};                  // the row or filter that it asks for: "sid0: untagged → add VID 100 p0"
    std::vector<MergedRule> rules = {};      // that it has put into the device
};

// A message of the management channel.
struct ReportMessage {
    std::size_t number = 0;
    std::string from;  // "OLT", "ONU"
    std::string transaction, type, entity;
    std::string values;                                      // its attributes in words
    std::string result, answer;                              // the ONU's: the result, and the values beside it
    std::vector<std::string> differences;                    // to the answer in the capture
    std::vector<std::string> problems;                       // what the HAL cannot do
    std::vector<std::pair<std::size_t, std::string>> calls;  // steps that came of it, number and name
    bool passed = true;
};

struct ReportWalk {
    std::size_t step = 0;
    std::string title;                  // "untagged IPv4 from sid0"
    std::string note;                   // the author's own words
    std::string verdict;                // "leaves at GEM port 1001, T-CONT 0, queue 0: VID 100 p0, IPv4"
    bool passed = true;                 // the expectations held; true where there were none
    std::vector<std::string> expected;  // of a frame that went elsewhere
    virtual_onu::Walk walk;
    std::vector<std::size_t> origins = {};  // for each hop the step that its rule came with, 0 for none
};

struct ReportInput {
    std::string title;
    std::string description;
    std::string source;  // the scenario's file name
    std::vector<ReportMessage> messages;
    std::vector<ReportStep> steps;
    std::vector<ReportWalk> walks;
    std::string moment;  // of the state: "after step 11 of 17"; "" for the end of the run
    DeviceState state;
    DeviceState newBoard;
    std::string audit;  // the part that compares the device with the standard, as HTML; "" for none
};

std::string htmlReport(const ReportInput& input);
// Parts of it. Each "" when there is nothing to show.
std::string warningsPart(const ReportInput& input);
std::string picturePart(const DeviceState& state);
// The look-ups of a frame; with links to the steps that their rules came with, where origins has them.
std::string hopTable(const std::vector<HopWords>& way, const std::vector<std::size_t>& origins = {},
                     const std::string& stepNoun = "");

// ReportDevice.cpp: the parts that show what is on the device. Each "" when there is nothing to show.
std::string servicesPart(const DeviceState& state);
std::string ponPart(const DeviceState& state);
std::string tapsPart(const DeviceState& state);  // real packets
std::string devicesPart(const DeviceState& state, const DeviceState& newBoard);
std::string listsPart(const DeviceState& state);
// Rules in words, in the order given.
std::string ruleTable(const std::vector<MergedRule>& rules);

// ReportMessages.cpp: the messages of an OLT, each with the steps that came of it. "" when there are none.
std::string messagesPart(const std::vector<ReportMessage>& messages);
std::string messageAnchor(std::size_t number);
std::string stepAnchor(std::size_t number);

// ReportPicture.cpp: devices, bridges, GEM ports and T-CONTs, one image a service. "" when there is no service.
std::string topologyPicture(const DeviceState& state);
std::string pictureStyle();  // what its page's style needs: a page may forbid styles at elements

}  // namespace vorn_onu

#endif
