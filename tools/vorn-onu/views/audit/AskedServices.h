// What the calls of a scenario ask for, as the tables of G.988: tagging rows of ports, filters and mappers of the PON
// side.
#ifndef VORN_ONU_AUDIT_ASKED_SERVICES_H
#define VORN_ONU_AUDIT_ASKED_SERVICES_H

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "running/scenario/Scenario.h"
#include "views/audit/TaggingTable.h"
#include "views/audit/VlanFilter.h"

namespace vorn_onu::audit {

struct UniPort {
    TaggingTable table;
    std::set<unsigned> bridges;
};

// The device of a port that the HAL numbers from 1: "sid0".
std::string deviceOf(unsigned uniPort);

// What is asked for and not compared: it has no tagging row of a port.
struct NotCovered {
    std::string kind;     // "multicast service", "IGMP service", "VEIP service", "IP host"
    unsigned number = 0;  // bridge; of a VEIP service its GEM port
    std::string text;     // "multicast service of step 12"
};

class AskedServices {
public:
    // noun: what the numbers of steps are called to people.
    explicit AskedServices(std::string noun = "step") : noun_(std::move(noun)) {}
    void take(const Step& step);  // steps that ask for nothing change nothing
    // Notes what of a step is not compared, and nothing else.
    void takeLeftOut(const Step& step);
    void set(const std::string& device, UniPort port) { uniPorts_[device] = std::move(port); }
    void add(AniPort port) { aniPorts_.push_back(std::move(port)); }
    const std::string& noun() const { return noun_; }
    const std::map<std::string, UniPort>& uniPorts() const { return uniPorts_; }  // by device: "sid0"
    const std::vector<AniPort>& aniPorts() const { return aniPorts_; }
    const std::vector<NotCovered>& notCovered() const { return notCovered_; }

private:
    void leaveOut(const std::string& kind, unsigned number, std::size_t step);
    void forgetLeftOut(const std::string& kind, unsigned number);
    void takeRow(const Step& step);
    void takeFilter(const Step& step);
    void takeGemPortsAway(const Step& step);
    std::string noun_;
    std::map<std::string, UniPort> uniPorts_;
    std::vector<AniPort> aniPorts_;
    std::vector<NotCovered> notCovered_;
};

// The row or the filter that a step asks for: "sid0: untagged → add VID 100 p0", "forward operation 4, VID 100 p0".
// "" for a step that asks for none.
std::string askedText(const Step& step);

}  // namespace vorn_onu::audit

#endif
