// What G.988 says of a frame, written from the standard's tables and from nothing else: no rule, no planner.
#ifndef TESTS_G988_STANDARD_MODEL_H
#define TESTS_G988_STANDARD_MODEL_H

#include <array>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "VirtualOnu.h"

namespace standard {

using virtual_onu::Frame;
using virtual_onu::VlanTag;

// Codes as in the 16-byte row.
struct Field {
    unsigned priority = 15, vid = 4096, tpid = 0;
};

struct Row {
    Field outerFilter, innerFilter;
    unsigned etherType = 0;  // 1 IPv4, 2 PPPoE, 3 ARP, 4 IPv6, 5 EAPOL
    unsigned remove = 0;
    Field outerTreatment, innerTreatment;
    std::optional<unsigned> bridge;  // none: a row from the start

    unsigned kind() const;
    bool isDefault() const;
    std::vector<unsigned> order() const;  // rows are tried in this order, no two are equal in it
};

struct Port {
    bool hasTable = true;
    std::set<unsigned> bridges;
    std::vector<Row> rows;  // in the order in which they are tried
    unsigned inputTpid = 0x8100, outputTpid = 0x8100, downstreamMode = 0;

    Port();
    void set(const Row& row);
    void erase(const Row& row);
};

struct Tci {
    unsigned pbits = 0, dei = 0, vid = 0;
};

struct PonSide {
    unsigned bridge = 1;
    unsigned operation = 0;
    std::vector<Tci> list;
    std::array<std::optional<std::pair<unsigned, unsigned>>, 8> gemAndQueue;  // by p-bits
    unsigned defaultPbits = 0;
    bool igmpOnly = false;

    bool passes(const Frame& frame) const;
    bool owns(unsigned gem) const;
};

struct Up {
    unsigned gem = 0, queue = 0;
    Frame frame;
    bool operator==(const Up& other) const { return gem == other.gem && queue == other.queue && frame == other.frame; }
};

struct Board {
    Port port;
    std::vector<PonSide> sides;  // by bridge, then in the order of their making

    std::optional<Up> up(const Frame& frame) const;
    std::optional<Frame> down(unsigned gem, const Frame& frame) const;

private:
    unsigned bridgeFor(const Frame& frame) const;
    std::optional<Frame> comesOut(unsigned bridge, const Frame& frame) const;
};

}  // namespace standard

#endif
