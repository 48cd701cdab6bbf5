// A tag-rule table made ready for frames: each rule is a mask and a value over the frame's fields, and rules with the
// same mask share a hash table, so that a frame finds its rule without looking at the others.
#ifndef VIRTUAL_ONU_RULE_TABLE_H
#define VIRTUAL_ONU_RULE_TABLE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "VirtualOnu.h"
#include "frames/Packet.h"

namespace virtual_onu::datapath {

// A device of the plan, by its place there.
using DeviceId = std::uint16_t;
constexpr DeviceId kNoDevice = 0xFFFF;

// All that a filter can ask of a frame, packed: the tags' contents, the type words in front of them, and the rest.
struct Key {
    std::array<std::uint64_t, 3> word{};
    std::uint8_t tags = 0;

    Key(const Packet& packet, const Marks& marks, DeviceId txDevice);
    Key() = default;
};

// The filters of a rule.
struct Filter {
    Key mask, value;  // value.tags: tags that the frame has at least
    bool never = false;

    bool takes(const Key& key) const {
        return key.tags >= value.tags && (key.word[0] & mask.word[0]) == value.word[0] &&
               (key.word[1] & mask.word[1]) == value.word[1] && (key.word[2] & mask.word[2]) == value.word[2];
    }
};

struct CompiledRule {
    TagRule rule;  // as it was installed, for the words
    Filter filter;
    std::vector<RuleTerm> commands;  // in the order added
    DeviceId receiver = kNoDevice;
};

// Carries out the rule's commands in the order in which they were added. Answers why the frame ends here, or null.
const char* apply(const CompiledRule& rule, Packet& packet, Marks& marks);

class CompiledTable {
public:
    struct Default {
        bool drops = false;
        DeviceId device = kNoDevice;
    };

    CompiledTable(unsigned number, std::vector<CompiledRule> rules, std::optional<Default> defaultAction);

    unsigned number() const { return number_; }      // of tags that the table stands for
    const CompiledRule* find(const Key& key) const;  // the first rule that takes it, or null
    const std::vector<CompiledRule>& rules() const { return rules_; }
    const std::optional<Default>& defaultAction() const { return defaultAction_; }

private:
    // The rules that ask for the same fields.
    struct Group {
        Key mask;
        std::uint8_t leastTags = 0;
        std::uint32_t first = 0;           // the lowest place of its rules
        std::vector<std::uint32_t> slots;  // places of rules by hash, a power of two of them; kFree where there is none
    };
    static constexpr std::uint32_t kFree = 0xFFFFFFFF;

    void fillSlots(Group& group, const std::vector<std::uint32_t>& places) const;

    unsigned number_;
    std::vector<CompiledRule> rules_;
    std::optional<Default> defaultAction_;
    std::vector<Group> groups_;  // by their first rule; empty where the table is short enough to be read through
};

}  // namespace virtual_onu::datapath

#endif
