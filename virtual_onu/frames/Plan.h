// The device as frames meet it, made ready once and used until something changes: names are numbers, tables are
// compiled, what does not let frames pass says why. Nothing here changes any more; walks keep the plan that they were
// made with.
#ifndef VIRTUAL_ONU_PLAN_H
#define VIRTUAL_ONU_PLAN_H

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "frames/RuleTable.h"
#include "kernel/DeviceCounters.h"

namespace virtual_onu::datapath {

// A class of the runner that forwards frames of a port by itself.
struct RunnerClass {
    std::string name, egress;
    std::size_t tags = 0;
    std::uint16_t etherType = 0;
    std::optional<VlanTag> pushed;
};

struct PlanPort {
    DeviceId device = kNoDevice;
    std::uint64_t learningFromMs = 0, forwardingFromMs = 0;  // where it runs
    bool isolated = false;
};

struct PlanBridge {
    std::vector<PlanPort> ports;    // in the order of joining
    std::vector<Mac> ownAddresses;  // of the bridge, its ports and the devices on it
    bool carriesDevice = false;     // an IP host is on it
    bool stp = false;
    bool snooping = true;
    std::uint64_t ageingMs = 0;
    const PlanPort* portOf(DeviceId device) const;
};

struct PlanDevice {
    std::string name;
    int index = 0;  // of the kernel; 0 where there is no such device
    // Why no frame passes the device, and why none passes it from or to outside; "" where frames do.
    std::string blocked;
    std::string noEntry, noExit;
    bool isBridge = false, routed = false;
    bool endpoint = false;  // somebody is behind it rather than a bridge: the gateway or the IP host
    DeviceId master = kNoDevice, realDevice = kNoDevice;
    std::size_t mtu = 0;
    // By direction and number of tags of the frame; null where the device has no table for it.
    std::array<std::array<const CompiledTable*, kMaxTags + 1>, 2> tables{};
    std::vector<DeviceId> flows;  // where flows from here lead, in the order of creation
    std::unique_ptr<const PlanBridge> bridge;
    std::vector<RunnerClass> runner;
    network::DeviceCounters* counters = nullptr;  // null where nothing counts
};

struct PlanQueue {
    unsigned id = 0;
    Queue* live = nullptr;
};

struct PlanGemPort {
    unsigned index = 0, portId = 0;
    bool enabled = false, downstreamOnly = false;
    unsigned allocId = 0;
    std::optional<unsigned> tcont;  // index; nothing where the alloc-id is bound to none
    std::vector<PlanQueue> queues;
    GemPort* live = nullptr;  // null where nothing counts
};

class Plan {
public:
    enum class Counting { On, Off };
    // Of the device as it is. With the device lock held. Counting plans point into it and are good until it
    // changes.
    explicit Plan(Counting counting);

    DeviceId idOf(const std::string& name) const;  // kNoDevice where nothing names it
    const PlanDevice& device(DeviceId id) const { return devices_[id]; }
    const std::vector<PlanDevice>& devices() const { return devices_; }
    DeviceId ponDevice() const { return ponDevice_; }
    OutOfRangeFilters outOfRange() const { return outOfRange_; }
    const PlanGemPort* gemPort(unsigned portId) const;
    const PlanGemPort* gemPortOfIndex(unsigned index) const;

private:
    friend class PlanBuilder;
    std::vector<PlanDevice> devices_;
    std::unordered_map<std::string, DeviceId> ids_;
    std::vector<std::unique_ptr<const CompiledTable>> tables_;
    std::vector<PlanGemPort> gemPorts_;
    std::unordered_map<unsigned, std::size_t> byPortId_, byIndex_;
    DeviceId ponDevice_ = kNoDevice;
    OutOfRangeFilters outOfRange_ = OutOfRangeFilters::NeverMatch;
};

}  // namespace virtual_onu::datapath

#endif
