// What a service carries at its ends, as an operator names it: VLANs ("untagged", "VID 100", "VID 500/7"), T-CONTs and
// queues.
#ifndef VORN_ONU_SERVICE_WORDS_H
#define VORN_ONU_SERVICE_WORDS_H

#include <string>
#include <vector>

#include "running/state/Services.h"

namespace vorn_onu {

// What comes in at the port for the end's VLAN device; each once, in the order of the rules. Empty where no rule lets
// anything in.
std::vector<std::string> vlansAt(const Service& service, const ServiceEnd& end);

// What goes up on the GEM port, or comes down on one that nothing goes up on.
std::vector<std::string> vlansOnGemPort(const Service& service, unsigned gemIndex);

// "untagged, VID 20 +3", with as many as fit into the width; the rest is counted.
std::string vlanList(const std::vector<std::string>& vlans, std::size_t width);

struct TcontWords {
    std::string tcont;    // "T-CONT 1 · queue 0", or "downstream only"
    std::string allocId;  // "alloc-id 256"; "" for a port that nothing goes up on
    std::string text() const { return tcont + (allocId.empty() ? "" : " · " + allocId); }
};
TcontWords tcontWords(const DeviceState& state, const Service& service, const virtual_onu::GemPort& port);

}  // namespace vorn_onu

#endif
