// Frames through the virtual ONU: where does a frame go, and how does it leave? Included by VirtualOnu.h.
#ifndef VIRTUAL_ONU_FRAMES_H
#define VIRTUAL_ONU_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Export.h"

namespace virtual_onu {

constexpr std::size_t kMostTags = 4;  // of a frame

struct VIRTUAL_ONU_API VlanTag {
    std::uint16_t tpid = 0x8100;  // the type word in front of the tag
    std::uint8_t pbits = 0;       // 0..7
    bool dei = false;
    std::uint16_t vid = 0;  // 0..4095
    bool operator==(const VlanTag& other) const;
    std::string text() const;  // "VID 100 p5", "VID 100 p5 DEI TPID 0x88a8"
};

struct VIRTUAL_ONU_API Frame {
    std::string source = "02:00:5e:00:00:01";
    std::string destination = "02:00:5e:00:00:02";
    std::vector<VlanTag> tags;         // outermost first, at most 4
    std::uint16_t etherType = 0x0800;  // of the payload
    std::optional<std::uint8_t> ipProtocol;
    std::uint8_t dscp = 0;  // 0..63
    bool operator==(const Frame& other) const;
    std::string text() const;  // "untagged IPv4", "VID 100 p5, VID 7 p0, IPv4"
    // On the wire, padded to 60 bytes: IPv4 and IPv6 get a header with DSCP and protocol.
    std::vector<std::uint8_t> bytes() const;
};

// One look-up on a frame's way.
struct Hop {
    enum class Kind { Table, Bridge, Flow, Runner };
    Kind kind = Kind::Table;
    int from = -1;           // index of the hop before, -1 for the first: a bridge that floods makes a tree
    std::string device;      // the real device whose table it is, the bridge, the VLAN device of a flow, the class
    unsigned direction = 0;  // of the table
    unsigned table = 0;      // number of tags that the table stands for
    std::optional<std::uint32_t> rule;  // id of the rule that matched; nothing: the default action
    std::string detail;                 // the rule's text, "default: drop", "flooded", ...
    std::string to;                     // the VLAN device or port that the frame goes to next; "" where it ends
    Frame frame;                        // after this hop
};

// A copy of the frame that leaves the device.
struct Exit {
    int hop = -1;                     // index of the last hop
    std::string device;               // a UNI port, the VEIP, the IP host's device, the PON device; the runner's "wan0"
    std::optional<unsigned> gemPort;  // these four on the PON side only
    std::optional<unsigned> gemIndex;
    std::optional<unsigned> tcont;  // index
    std::optional<unsigned> queue;
    Frame frame;
};

struct Drop {
    int hop = -1;
    std::string device;
    std::string reason;
};

struct Walk {
    Frame sent;
    std::vector<Hop> hops;
    std::vector<Exit> exits;
    std::vector<Drop> drops;
};

enum class Learning { On, Off };  // whether bridges remember where the frame came from

}  // namespace virtual_onu

#endif
