// Where the counters of performance monitoring come from: the HAL's, the device's port and GEM port counters.
#ifndef OMCI_AGENT_COUNTER_SOURCES_H
#define OMCI_AGENT_COUNTER_SOURCES_H

#include <array>
#include <cstdint>
#include <vector>

#include "omci/agent/Device.h"
#include "omci/mib/Mib.h"

class VornHal;

namespace omci {

// Place of the control fields in the control block of classes 334 and 425.
constexpr std::size_t kControlFields = 10;

// Absolute values by attribute number; what nobody counts stays 0.
using CounterValues = std::array<std::uint64_t, kMaxAttributes + 1>;

class CounterSources {
public:
    // All live as long as this object.
    CounterSources(const Mib& mib, VornHal& hal, Device& device) : mib_(mib), hal_(hal), device_(device) {}

    // The absolute counters behind a performance monitoring entity, as they are now.
    CounterValues read(const Entity& pm);

private:
    // Frames in one direction, whatever they were counted at.
    struct Traffic {
        std::uint64_t octets = 0, frames = 0, broadcast = 0, multicast = 0, errors = 0, discards = 0;
    };
    struct BothWays {
        Traffic upstream, downstream;
    };

    // An Ethernet port or VEIP, seen from the bridge: upstream is what comes from the subscriber.
    BothWays ofPort(EntityKey port);
    BothWays ofGemPort(InstanceId gemPort);
    BothWays ofBridgePort(InstanceId bridgePort);
    BothWays of(EntityKey parent);
    std::vector<InstanceId> gemPortsBehind(EntityKey terminationPoint) const;
    EntityKey parentOf(const Entity& pm) const;

    const Mib& mib_;
    VornHal& hal_;
    Device& device_;
};

}  // namespace omci

#endif
