// What the calls of a scenario ask for, as the tables of G.988: tagging rows of ports, filters and mappers of the PON
// side.
#ifndef VORN_ONU_AUDIT_ASKED_SERVICES_H
#define VORN_ONU_AUDIT_ASKED_SERVICES_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "audit/TaggingTable.h"
#include "audit/VlanFilter.h"
#include "scenario/Scenario.h"

namespace vorn_onu::audit {

struct UniPort {
    TaggingTable table;
    std::set<unsigned> bridges;
};

// Left out: multicast services, services for IGMP alone, IP hosts and the VEIP, which have no tagging row of a port.
class AskedServices {
public:
    void take(const Step& step);  // steps that ask for nothing change nothing
    const std::map<std::string, UniPort>& uniPorts() const { return uniPorts_; }  // by device: "sid0"
    const std::vector<AniPort>& aniPorts() const { return aniPorts_; }

private:
    void takeRow(const Step& step);
    void takeFilter(const Step& step);
    void takeGemPortsAway(const Step& step);
    std::map<std::string, UniPort> uniPorts_;
    std::vector<AniPort> aniPorts_;
};

}  // namespace vorn_onu::audit

#endif
