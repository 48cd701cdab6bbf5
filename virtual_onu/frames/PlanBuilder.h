// Makes a plan of the device as it is.
#ifndef VIRTUAL_ONU_PLAN_BUILDER_H
#define VIRTUAL_ONU_PLAN_BUILDER_H

#include <map>

#include "frames/Plan.h"
#include "kit/VlanTables.h"

namespace virtual_onu::datapath {

class PlanBuilder {
public:
    PlanBuilder(Plan& plan, bool counting) : plan_(plan), counting_(counting) {}
    void build();

private:
    DeviceId named(const std::string& name);  // also a device that there is not
    void addDevices();
    void addTables();
    const CompiledTable* compiled(const vlan::TableKey& key, const vlan::Table& table);
    void addFlows();
    void addBridges();
    void addRunnerClasses();
    void addGemPorts();

    Plan& plan_;
    bool counting_;
    std::map<std::string, Mac> macs_;
};

}  // namespace virtual_onu::datapath

#endif
