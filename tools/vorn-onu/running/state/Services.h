// The device's state sorted by service: which UNI ends, ANI devices, GEM ports and rules belong to one bridge.
#ifndef VORN_ONU_SERVICES_H
#define VORN_ONU_SERVICES_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "running/state/DeviceState.h"

namespace vorn_onu {

// A rule with all the tables of its device and direction that it is in.
struct MergedRule {
    std::string device;
    bool receive = true;
    std::set<unsigned> tags;
    std::vector<std::string> terms;
    unsigned times = 1;            // that it is in each of these tables
    std::set<unsigned> numbers{};  // of it in all of them
};

// The same rule in the tables for different numbers of tags, or several times over, is one rule to a reader.
std::vector<MergedRule> mergedRules(const std::vector<const TableState*>& tables);

// By which a frame's walk names it: "18", "18, 20-22".
std::string numbersOf(const MergedRule& rule);

// " (rule occurs twice)", or nothing for a rule that occurs once.
std::string repetition(const MergedRule& rule);

// One end of a service: a port and the VLAN device on it ("" where the port itself is the member).
struct ServiceEnd {
    std::string port;
    std::string device;
};

struct Service {
    std::string name;  // the bridge, or the VEIP
    bool isBridge = true;
    std::vector<ServiceEnd> unis;                   // Ethernet ports; the gateway for the VEIP
    std::vector<ServiceEnd> anis;                   // PON devices
    std::vector<std::string> flowDevices;           // of other services, to which VLAN flows lead past the bridge
    std::set<unsigned> gemIndexes;                  // that its rules filter on or mark with
    std::map<unsigned, std::set<unsigned>> queues;  // of the frames sent in each of these GEM ports
    std::vector<MergedRule> rules;
};

// Services in the order of their bridges, the VEIP last. The default bridge is one only if it carries more than bare
// ports.
std::vector<Service> servicesOf(const DeviceState& state);

// Whether the rule acts on frames on their way to the PON.
bool isUpstream(const DeviceState& state, const MergedRule& rule);

// The rules of one direction in the order in which a frame meets them.
std::vector<MergedRule> inFrameOrder(const DeviceState& state, std::vector<MergedRule> rules, bool upstream);

// Rules that no service claims, such as those of a device that is gone.
std::vector<MergedRule> otherRules(const DeviceState& state, const std::vector<Service>& services);

}  // namespace vorn_onu

#endif
