// The device's state sorted by service: which UNI ends, ANI devices, GEM ports and rules belong to one bridge.
#ifndef VORN_ONU_SERVICES_H
#define VORN_ONU_SERVICES_H

#include <set>
#include <string>
#include <vector>

#include "DeviceState.h"

namespace vorn_onu {

// A rule with all the tables of its device and direction that it stands in.
struct MergedRule {
    std::string device;
    bool receive = true;
    std::set<unsigned> tags;
    std::vector<std::string> terms;
};

// The same rule in the tables for different numbers of tags is one rule to a reader.
std::vector<MergedRule> mergedRules(const std::vector<const TableState*>& tables);

// One end of a service: a port and the VLAN device on it ("" where the port itself is the member).
struct ServiceEnd {
    std::string port;
    std::string device;
};

struct Service {
    std::string name;  // the bridge, or the VEIP
    bool isBridge = true;
    std::vector<ServiceEnd> unis;   // Ethernet ports; the gateway for the VEIP
    std::vector<ServiceEnd> anis;   // PON devices
    std::set<unsigned> gemIndexes;  // that its rules filter on or mark with
    std::vector<MergedRule> rules;
};

// Services in the order of their bridges, the VEIP last. The default bridge is one only if it carries more than bare
// ports.
std::vector<Service> servicesOf(const DeviceState& state);

// Rules that no service claims, such as those of a device that is gone.
std::vector<MergedRule> otherRules(const DeviceState& state, const std::vector<Service>& services);

}  // namespace vorn_onu

#endif
