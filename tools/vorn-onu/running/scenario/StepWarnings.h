// Where the HAL keeps to its contract and yet does what a caller may not expect: reported when it happens.
#ifndef VORN_ONU_STEP_WARNINGS_H
#define VORN_ONU_STEP_WARNINGS_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "running/scenario/Scenario.h"

namespace vorn_onu {

// Follows a run from step to step.
class StepWarnings {
public:
    explicit StepWarnings(const virtual_onu::VirtualOnu& onu);
    // One line each for what the step has just done; "br3 is gone: its 3 members are on no bridge now".
    std::vector<std::string> after(const Step& step, const virtual_onu::VirtualOnu& onu);

private:
    struct Rules {
        std::size_t onDevice = 0;  // on the device
        std::size_t recorded = 0;  // by the engine: what its removals take
        bool full = false;         // the engine records no further rule
    };
    struct Device {
        std::string master;   // the bridge, "" for none
        std::string real;     // the device under it
        std::string address;  // the first one
    };
    // What is compared from step to step.
    struct DeviceContents {
        std::map<std::string, std::vector<std::string>> bridges;  // and their members
        std::map<std::string, Device> devices;
        std::map<std::string, Rules> rules;
        std::map<std::uint32_t, std::string> outOfRange;  // by id, rules that ask for what no frame carries, in words
        int multicastCount = 0;
        static DeviceContents of(const virtual_onu::VirtualOnu& onu);
    };
    using Lines = std::vector<std::string>;
    void lostBridges(const DeviceContents& now, Lines& lines) const;
    void portsLeftOut(const DeviceContents& now, Lines& lines) const;
    void rulesPastTheLimit(const DeviceContents& now, Lines& lines);
    void lostVeip(const Step& step, const DeviceContents& now, Lines& lines);
    void multicastCount(const DeviceContents& now, Lines& lines) const;
    void outOfRange(const DeviceContents& now, Lines& lines) const;

    DeviceContents before_;
    std::map<std::string, std::size_t> unrecorded_;    // rules of a device that the engine does not know
    std::map<std::string, std::string> veipServices_;  // created and not deleted: their arguments, and their names
};

}  // namespace vorn_onu

#endif
