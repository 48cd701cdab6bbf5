#include "frames/Plan.h"

#include <algorithm>

#include "frames/PlanBuilder.h"

namespace virtual_onu::datapath {

const PlanPort* PlanBridge::portOf(DeviceId device) const {
    const auto port =
        std::find_if(ports.begin(), ports.end(), [&](const PlanPort& one) { return one.device == device; });
    return port == ports.end() ? nullptr : &*port;
}

Plan::Plan(Counting counting) {
    PlanBuilder(*this, counting == Counting::On).build();
}

DeviceId Plan::idOf(const std::string& name) const {
    const auto id = ids_.find(name);
    return id == ids_.end() ? kNoDevice : id->second;
}

const PlanGemPort* Plan::gemPort(unsigned portId) const {
    const auto place = byPortId_.find(portId);
    return place == byPortId_.end() ? nullptr : &gemPorts_[place->second];
}

const PlanGemPort* Plan::gemPortOfIndex(unsigned index) const {
    const auto place = byIndex_.find(index);
    return place == byIndex_.end() ? nullptr : &gemPorts_[place->second];
}

}  // namespace virtual_onu::datapath
