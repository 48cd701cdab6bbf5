// A tag rule as a value: what it matches, what it does, and which device gets the frame. Nothing here asks the kit for
// anything.
#ifndef BRCM_BCM968580_DATA_G988_RULE_H
#define BRCM_BCM968580_DATA_G988_RULE_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace g988 {

constexpr unsigned kMaxTagIndex = 3;  // of the kit; tag 0 is the outermost

// Filters of a rule: fields that must have one value. A field that is asked for twice with different values is matched
// by no frame; the setters say false then and the match is of no use any more.
class Match {
public:
    bool pbits(unsigned tag, unsigned value) { return require(0, tag * 16 + 13, 7, value); }
    bool dei(unsigned tag, unsigned value) { return require(0, tag * 16 + 12, 1, value); }
    bool vid(unsigned tag, unsigned value) { return require(0, tag * 16, 0xFFF, value); }
    // Type word k: the TPID of tag k, or the EtherType behind the last tag. 0..4.
    bool typeWord(unsigned k, unsigned value) {
        return k < 4 ? require(1, k * 16, 0xFFFF, value) : require(2, 0, 0xFFFF, value);
    }
    bool ipProtocol(unsigned value) { return require(2, 16, 0xFF, value); }
    bool gemIndex(unsigned value) { return require(2, 32, 0xFFFF, value); }
    bool txDevice(const std::string& name);
    bool add(const Match& other);  // both

    std::optional<unsigned> pbitsOf(unsigned tag) const { return field(0, tag * 16 + 13, 7); }
    std::optional<unsigned> deiOf(unsigned tag) const { return field(0, tag * 16 + 12, 1); }
    std::optional<unsigned> vidOf(unsigned tag) const { return field(0, tag * 16, 0xFFF); }
    std::optional<unsigned> typeWordOf(unsigned k) const {
        return k < 4 ? field(1, k * 16, 0xFFFF) : field(2, 0, 0xFFFF);
    }
    std::optional<unsigned> ipProtocolOf() const { return field(2, 16, 0xFF); }
    std::optional<unsigned> gemIndexOf() const { return field(2, 32, 0xFFFF); }
    const std::string& txDeviceOf() const { return txDevice_; }  // "" for any
    // What its frames come from: the GEM index, or the number of the bridge at the end of the device's name; 0 for
    // neither.
    std::uint16_t source() const;

    // Whether some field of the tag is asked for, so that only frames that have it match.
    bool needsTag(unsigned tag) const;
    // Whether a frame can match both. True where it is not known.
    bool overlaps(const Match& other) const;
    // Whether all frames that match the other one match this one. False where it is not known.
    bool covers(const Match& other) const;
    bool operator==(const Match& other) const;

    // What the fields are kept in, for who stores a match: bits that must have a value, and those that are compared.
    using Words = std::array<std::uint64_t, 3>;
    const Words& values() const { return value_; }
    const Words& masks() const { return mask_; }
    static Match of(const Words& values, const Words& masks, const std::string& txDevice);

private:
    bool require(std::size_t word, unsigned shift, std::uint64_t bits, std::uint64_t value);
    std::optional<unsigned> field(std::size_t word, unsigned shift, std::uint64_t bits) const;
    // Word 0: 16 bits a tag as on the wire. Word 1: type words 0 to 3. Word 2: type word 4, IP protocol, GEM index.
    Words value_{}, mask_{};
    std::string txDevice_;
};

struct Command {
    enum class Kind : std::uint8_t {
        Push,
        Pop,
        SetPbits,
        SetDei,
        SetVid,
        SetTpid,
        CopyPbits,  // value: the tag that is read
        CopyDei,
        CopyVid,
        CopyTpid,
        DscpToPbits,
        Drop,
        MarkGem,
        MarkQueue,
    };
    Kind kind;
    std::uint8_t tag = 0;     // that is written
    std::uint16_t value = 0;  // p-bits, DEI, VID, TPID, GEM index, queue
    bool operator==(const Command& other) const {
        return kind == other.kind && tag == other.tag && value == other.value;
    }
};

struct Rule {
    Match match;
    std::vector<Command> commands;  // in the order in which they act
    std::string receiver;           // VLAN device that gets received frames; "" in rules for frames that are sent
    std::string origin;             // the row or port that it was made for, for the log; not compared

    bool operator==(const Rule& other) const { return match == other.match && hasOutcomeOf(other); }
    bool operator!=(const Rule& other) const { return !(*this == other); }
    bool hasOutcomeOf(const Rule& other) const { return commands == other.commands && receiver == other.receiver; }
    // The order of the two is of no matter when this is false.
    bool conflictsWith(const Rule& other) const { return !hasOutcomeOf(other) && match.overlaps(other.match); }
    bool drops() const { return !commands.empty() && commands.front().kind == Command::Kind::Drop; }
};

// A rule that drops what matches.
Rule droppingRule(const Match& match, const std::string& origin);

constexpr const char* kPonDeviceName = "gpondef";

enum class Direction : std::uint8_t { Receive, Transmit };

// A table of the kit: frames with this many tags (2: two and more), in one direction at one real device.
struct TableKey {
    std::string device;
    Direction direction = Direction::Receive;
    unsigned tags = 0;
    bool operator<(const TableKey& other) const {
        const int order = device.compare(other.device);
        return order != 0 ? order < 0 : std::tie(direction, tags) < std::tie(other.direction, other.tags);
    }
    bool operator==(const TableKey& other) const {
        return std::tie(device, direction, tags) == std::tie(other.device, other.direction, other.tags);
    }
};

constexpr unsigned kTableTags = 2;  // the highest number of tags that a table stands for

// More rules than this are no service that somebody means: filters that are multiplied with each other.
constexpr std::size_t kMaxRulesOfTable = 4096;

// Rules of one table by the source of their frames, each list in the order in which its rules are tried. All rules of a
// table ask for a source or none does. So a frame meets the rules of one list, and how the lists are mixed is of no
// matter.
using RulesBySource = std::map<std::uint16_t, std::vector<Rule>>;

class RuleList {
public:
    // Nothing where an earlier rule takes all of its frames.
    void add(Rule rule);
    // There may be no rule for the source.
    void begin(std::uint16_t source) { rules_[source]; }
    bool isFull() const { return count_ >= kMaxRulesOfTable; }
    RulesBySource take() { return std::move(rules_); }

private:
    RulesBySource rules_;
    std::size_t count_ = 0;
};

}  // namespace g988

#endif
