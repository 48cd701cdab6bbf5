// A bridge port on the PON side: its VLAN tagging filter data (G.988 9.3.11) and its 802.1p mapper (9.3.10).
#ifndef VORN_ONU_AUDIT_VLAN_FILTER_H
#define VORN_ONU_AUDIT_VLAN_FILTER_H

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu::audit {

// Compared with the outer tag of a frame.
struct FilterTci {
    unsigned pbits = 0;
    bool dei = false;
    unsigned vid = 0;
};

struct VlanFilter {
    unsigned forwardOperation = 0;  // above 0x21: none
    std::vector<FilterTci> list;
    bool passes(const virtual_onu::Frame& frame) const;  // the same in both directions
    std::string text() const;                            // "forward operation 4, VID 100 p0"
};

// GEM port of each p-bit, upstream; none: the frames of this p-bit are dropped.
struct PbitMapper {
    std::array<std::optional<unsigned>, 8> gemPorts;
    unsigned untagged = 0;  // p-bits that a frame without a tag is taken for
    std::optional<unsigned> gemPortOf(const virtual_onu::Frame& frame) const;
    std::set<unsigned> all() const;
};

struct AniPort {
    unsigned bridge = 0;
    VlanFilter filter;
    PbitMapper mapper;
    std::size_t step = 0;  // of the scenario, that set it
    std::string name{};    // where it does not come from a step: what it is called
};

}  // namespace vorn_onu::audit

#endif
