// What a board was asked for, as the tables of G.988: tagging rows of UNI ports (9.3.13), and for each bridge the ports
// on its PON side with VLAN tagging filter (9.3.11), 802.1p mapper (9.3.10) and GEM ports. Values without behaviour
// that touches a device; the planner makes rules of them.
#ifndef BRCM_BCM968580_DATA_G988_TABLES_H
#define BRCM_BCM968580_DATA_G988_TABLES_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/TaggingTable.h"

namespace g988 {

// An entry of a VLAN tagging filter's list, compared with the outermost tag of a frame.
struct FilterTci {
    std::uint8_t pbits = 0;  // 0..7
    std::uint8_t dei = 0;    // 0, 1
    std::uint16_t vid = 0;   // 0..4095
};

constexpr std::uint8_t kLastForwardOperation = 0x21;
constexpr std::size_t kMaxFilterEntries = 12;

struct VlanFilter {
    std::uint8_t forwardOperation = 0;  // 0..kLastForwardOperation; 0 passes everything
    std::vector<FilterTci> list;        // at most kMaxFilterEntries
};

constexpr std::uint16_t kLastQueue = 7;

// Where an upstream frame leaves: the kit's index of a GEM port and a queue of its T-CONT.
struct GemPlace {
    std::uint16_t gemIndex = 0;
    std::uint16_t queue = 0;  // 0..kLastQueue
    bool operator==(const GemPlace& other) const { return gemIndex == other.gemIndex && queue == other.queue; }
    bool operator!=(const GemPlace& other) const { return !(*this == other); }
};

struct PbitMapper {
    std::array<std::optional<GemPlace>, 8> places;  // by p-bits; none: frames with these p-bits are dropped
    // The unmarked frame option: which p-bits an untagged frame is taken for.
    enum class Unmarked : std::uint8_t { DefaultPbits, FromDscp } unmarked = Unmarked::DefaultPbits;
    std::uint8_t defaultPbits = 0;  // 0..7
    DscpMap dscpMap = classSelectors();
};

// A bridge port on the PON side.
struct PonPort {
    VlanFilter filter;
    PbitMapper mapper;
    // GEM ports that are for downstream frames alone, such as a multicast service's; indices of the kit.
    std::set<std::uint16_t> downstreamGems;
    // Upstream the port takes frames of this IP protocol alone; ports that ask for one are tried before the others.
    std::optional<std::uint8_t> ipProtocol;
};

// A UNI port: device "sid" + number.
struct UniPort {
    std::set<std::uint16_t> bridges;      // that the port is a member of
    std::optional<TaggingTable> tagging;  // none: all frames pass as they are
};

struct Tables {
    std::map<std::uint16_t, UniPort> uniPorts;              // by number, from 0
    std::map<std::uint16_t, std::vector<PonPort>> bridges;  // PON side of each, in the order of the ports
};

}  // namespace g988

#endif
