// Frames through the virtual ONU: where does a frame go, and how does it leave? Included by VirtualOnu.h.
#ifndef VIRTUAL_ONU_FRAMES_H
#define VIRTUAL_ONU_FRAMES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Export.h"

namespace virtual_onu {

constexpr std::size_t kMaxTags = 4;  // of a frame

struct VIRTUAL_ONU_API VlanTag {
    std::uint16_t tpid = 0x8100;  // the type word in front of the tag
    std::uint8_t pbits = 0;       // 0..7
    bool dei = false;
    std::uint16_t vid = 0;  // 0..4095
    bool operator==(const VlanTag& other) const;
    std::string text() const;  // "VID 100 p5", "VID 100 p5 DEI TPID 0x88a8"
};

// An IGMP or MLD message, after the frame's EtherType; what a bridge needs of it.
struct VIRTUAL_ONU_API GroupMessage {
    enum class Kind { Query, Report, Leave };
    Kind kind = Kind::Report;
    std::string group;               // "239.1.2.3", "ff15::1"; "" for a general query
    unsigned maxResponseMs = 10000;  // of a query
    // A report of IGMPv3 or MLDv2 tells of several groups: of the others, as they come. Frame::bytes() leaves them out.
    struct Record {
        Kind kind = Kind::Report;
        std::array<std::uint8_t, 16> group{};  // IPv4 has four octets, the others are 0
    };
    std::vector<Record> more{};
    bool operator==(const GroupMessage& other) const;
    std::string text() const;  // "query", "leave 239.1.2.3, report 239.1.2.4"
};

struct VIRTUAL_ONU_API Frame {
    std::string source = "02:00:5e:00:00:01";
    std::string destination = "02:00:5e:00:00:02";
    std::vector<VlanTag> tags;         // outermost first, at most 4
    std::uint16_t etherType = 0x0800;  // of the payload
    std::optional<std::uint8_t> ipProtocol;
    std::uint8_t dscp = 0;  // 0..63
    // Octets behind the last type word, an IP packet's length for instance; 0: as few as such a frame can have.
    std::size_t payloadSize = 0;
    std::optional<GroupMessage> groupMessage;
    bool operator==(const Frame& other) const;
    std::string text() const;     // "untagged IPv4", "VID 100 p5, VID 7 p0, IPv4"
    std::size_t payload() const;  // payloadSize, or what it is when it is 0
    // On the wire without check sum, padded to 60 bytes: whole headers of IPv4, IPv6, ARP, PPPoE and EAPOL.
    std::vector<std::uint8_t> bytes() const;
    std::vector<std::uint8_t> header() const;  // its addresses, tags and type word alone
    std::size_t size() const;                  // of bytes()
};

struct WireFrame {
    Frame frame;
    std::size_t payloadAt = 0;  // where the payload begins in the bytes
};
// A frame's bytes as fields. Tags are taken as such with the TPIDs 0x8100, 0x88a8 and 0x9100, at most kMaxTags.
// wireSize is the frame's size where the bytes are only its beginning. False for fewer bytes than an Ethernet header.
// made is used again from frame to frame, so that its memory is.
VIRTUAL_ONU_API bool readFrame(const std::uint8_t* bytes, std::size_t size, std::size_t wireSize, WireFrame& made);
// The frame that left, with everything behind the last type word of the one that came in.
VIRTUAL_ONU_API void writeFrame(const Frame& left, const std::uint8_t* bytes, std::size_t size, std::size_t payloadAt,
                                std::vector<std::uint8_t>& out);

// The rule that came nearest to taking a frame that no rule took: the first of those with the fewest filters against
// it. Rules that ask for the right VLAN device come before all others.
struct VIRTUAL_ONU_API NearestRule {
    std::uint32_t rule = 0;
    std::string text;                  // of the rule
    std::vector<std::string> against;  // "p-bits are 3, not 5"
    // "rule 7 (rxdev=sid1.3 vid0=100 pbits0=5) would take it, but p-bits are 3, not 5"
    std::string words() const;
};

// One look-up on a frame's path.
struct Hop {
    enum class Kind { Table, Bridge, Flow, Runner };
    Kind kind = Kind::Table;
    int from = -1;           // index of the hop before, -1 for the first: a bridge that floods makes a tree
    std::string device;      // the real device whose table it is, the bridge, the VLAN device of a flow, the class
    unsigned direction = 0;  // of the table
    unsigned table = 0;      // number of tags that the table stands for
    std::optional<std::uint32_t> rule;     // id of the rule that matched; nothing: the default action
    std::string detail;                    // the rule's text, "default: drop", "flooded", ...
    std::string to;                        // the VLAN device or port that the frame goes to next; "" where it ends
    Frame frame;                           // after this hop
    std::optional<NearestRule> nearest{};  // where no rule matched although the table has some
};

namespace datapath {
class WalkRecord;
}

// The hops of a walk. Their words are made when somebody first looks at one; until then the list costs little.
class VIRTUAL_ONU_API Hops {
public:
    Hops() = default;
    Hops(std::vector<Hop> hops);  // NOLINT(google-explicit-constructor): a list of hops is one
    Hops(std::initializer_list<Hop> hops) : Hops(std::vector<Hop>(hops)) {}
    explicit Hops(std::shared_ptr<const datapath::WalkRecord> record);
    std::size_t size() const;
    bool empty() const { return size() == 0; }
    const std::vector<Hop>& all() const;
    operator const std::vector<Hop>&() const { return all(); }  // NOLINT(google-explicit-constructor)
    const Hop& operator[](std::size_t place) const { return all()[place]; }
    const Hop& at(std::size_t place) const { return all().at(place); }
    const Hop& front() const { return all().front(); }
    const Hop& back() const { return all().back(); }
    std::vector<Hop>::const_iterator begin() const { return all().begin(); }
    std::vector<Hop>::const_iterator end() const { return all().end(); }

private:
    std::shared_ptr<const datapath::WalkRecord> record_;
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

// What a host has left to be done of a frame that it hands over: its checksum, or to be cut into many. Octets from the
// frame's first one.
struct VIRTUAL_ONU_API Offload {
    enum class Cut : std::uint8_t { None, TcpIpv4, TcpIpv6, Udp };
    Cut cut = Cut::None;
    bool ecn = false;                // TCP's CWR is set, which is the first frame's alone
    bool checksum = false;           // instead of it there is the sum of the pseudo header; always where there is a cut
    std::uint16_t checksumFrom = 0;  // where TCP or UDP begins
    std::uint16_t checksumPlace = 0;  // behind that
    std::uint16_t headers = 0;        // up to the content that is cut
    std::uint16_t segmentOctets = 0;  // of the content in each frame; the last one has the rest
    bool operator==(const Offload& other) const;
};
// The frames, as the wire carries them; none where the offload does not fit the bytes.
VIRTUAL_ONU_API std::vector<std::vector<std::uint8_t>> framesOf(const std::vector<std::uint8_t>& bytes,
                                                                const Offload& offload);

// A copy that leaves, as bytes.
struct VIRTUAL_ONU_API WireExit {
    std::string device;
    std::optional<unsigned> gemPort;  // on the PON side only
    std::vector<std::uint8_t> bytes;
    Offload offload{};  // what is still to be done
};

struct Drop {
    int hop = -1;
    std::string device;
    std::string reason;
};

struct Walk {
    Frame sent;
    Hops hops;
    std::vector<Exit> exits;
    std::vector<Drop> drops;
};

// Whether the device remembers the frame: bridges where it came from, counters that it passed.
enum class Learning { On, Off };

namespace datapath {
class Frozen;
}

// The data path at one moment. Bridges learn from frames and time passes as on the device; nothing is counted, and
// the device itself does not notice. Copies are the same one. May be called from any thread.
class VIRTUAL_ONU_API FrozenDataPath {
public:
    explicit FrozenDataPath(std::shared_ptr<datapath::Frozen> frozen) : frozen_(std::move(frozen)) {}
    Walk sendFromPort(const std::string& device, const Frame& frame) const;
    Walk sendFromPon(unsigned gemPortId, const Frame& frame) const;
    void pass(std::uint64_t milliseconds) const;

private:
    std::shared_ptr<datapath::Frozen> frozen_;
};

}  // namespace virtual_onu

#endif
