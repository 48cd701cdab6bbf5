// A device's state as the virtual ONU dumps it, read back: from the running process, or from a file that another
// process has left.
#ifndef VORN_ONU_DEVICE_STATE_H
#define VORN_ONU_DEVICE_STATE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "Fields.h"

namespace vorn_onu {

struct RuleState {
    std::vector<std::string> terms;  // filters and commands, as RuleTerm::text() writes them
    unsigned number = 0;             // by which the device knows it, and a frame's walk names it
};

struct TableState {
    std::string device;
    bool receive = true;
    unsigned tags = 0;
    std::vector<RuleState> rules;
    std::optional<std::string> defaultAction;  // "drop", or the device that frames without a rule go to
};

struct FailedCall {
    std::uint64_t number = 0;  // in the trace
    std::string name, arguments;
    long code = 0;
    std::string text() const { return name + "(" + arguments + ") = " + std::to_string(code); }
};

// A port that is a TAP device of the host.
struct TapState {
    std::string port;       // "sid0", "gem 1001"
    std::string interface;  // "tap0", "tap0 in customer"
    bool linkUp = false;
    std::uint64_t framesIn = 0, framesOut = 0, octetsIn = 0, octetsOut = 0;
    std::uint64_t dropped = 0, elsewhere = 0, lostIn = 0, lostOut = 0;
    std::uint64_t segmentsIn = 0, segmentFramesIn = 0, segmentsOut = 0, segmentFramesOut = 0;
    std::string whyNoOffload;  // "" where there is some
    std::string lastDrop, lastElsewhere;
    std::string became;  // "deleted", "renamed to tap1"; "" while it is what it was
};

struct DeviceState {
    std::vector<virtual_onu::NetworkDevice> devices;
    std::vector<virtual_onu::Bridge> bridges;
    std::vector<virtual_onu::LearnedAddress> learned;  // by bridge
    std::vector<TableState> tables;
    std::vector<std::pair<std::string, std::string>> flows;
    std::vector<virtual_onu::Tcont> tconts;
    std::vector<virtual_onu::GemPort> gemPorts;
    std::optional<unsigned> adminState;
    virtual_onu::board::Identity identity;
    std::vector<virtual_onu::board::Image> images;
    std::vector<virtual_onu::board::Phy> phys;
    std::map<std::string, std::string> persistent;  // values of the kit's persistent storage
    std::vector<std::string> runnerObjects, ingressKeys, ipRules, ipRoutes;
    std::vector<std::string> messages;         // to the gateway, as messageText() writes them
    std::vector<std::string> strangeCommands;  // shell commands that were not understood
    std::vector<FailedCall> failedCalls;       // calls into the device kit that answered a failure
    std::vector<TapState> taps;
    std::vector<std::string> armedFaults;  // in words
    std::size_t calls = 0;

    std::size_t ruleCount() const;
    const virtual_onu::NetworkDevice* device(const std::string& name) const;
};

using virtual_onu::isFailedCall;

// Texts become one line each: the state is read for people. Throws nlohmann::json::exception when it is no state of a
// device.
DeviceState readState(const nlohmann::json& state);
// As the board is now, without calls that have failed.
DeviceState stateNow(const virtual_onu::VirtualOnu& onu);

}  // namespace vorn_onu

#endif
