// Both answers to each frame, the standard's and the device's, and how they differ.
#ifndef VORN_ONU_AUDIT_AUDIT_H
#define VORN_ONU_AUDIT_AUDIT_H

#include <functional>
#include <string>
#include <vector>

#include "views/audit/AskedServices.h"

namespace vorn_onu::audit {

// Frames of one kind on which the same row or filter decides and which fare alike.
struct Group {
    bool upstream = true;
    std::string port;     // "sid0"
    std::string subject;  // the row or filter: "row of step 11: untagged → add VID 100 p0"
    std::string kind;     // of the frames: "untagged"
    bool differs = false;
    std::string difference;  // "dropped", "passes", "tags", "GEM port"; "" where both say the same
    std::string rule;        // of the device, that is responsible for a difference
    std::size_t frames = 0;
    std::set<std::uint16_t> types;  // of their payloads
    Frame example;                  // the first of them
    std::string from;               // where it arrives: "sid0", "gem 1001"
    std::string standard, device;   // what becomes of the example: "GEM port 1001: VID 100 p0", "dropped"
};

struct Result {
    std::size_t step = 0;    // of the scenario, after which the device was looked at
    std::size_t frames = 0;  // tried
    std::size_t open = 0;    // of them left to the ONU by the standard
    std::size_t rows = 0, filters = 0;
    std::vector<std::string> notCovered;  // what is asked for and not compared: "VEIP service of step 9"
    std::vector<Group> groups;
    std::size_t differing() const;  // frames
};

// Sends a frame into a place ("sid0", "gem 1001").
using Device = std::function<virtual_onu::Walk(const std::string& from, const Frame& frame)>;

Untaken untakenWith(const std::string& forwarding);  // "contract" or "g988"

Result auditOf(const AskedServices& asked, const Device& device, Untaken untaken);
Result auditOf(const AskedServices& asked, const virtual_onu::FrozenDataPath& path, Untaken untaken);

// The beginning of a command line that sends a frame: commandFor("send", "internet.json").
std::string commandFor(const std::string& command, const std::string& file);
// The command line that tries a group's example.
std::string sendLine(const Group& group, const std::string& command);

}  // namespace vorn_onu::audit

#endif
