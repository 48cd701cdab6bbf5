// From "these tags go, those come" to the commands of a rule.
#ifndef BRCM_BCM968580_DATA_G988_TAG_REWRITE_H
#define BRCM_BCM968580_DATA_G988_TAG_REWRITE_H

#include <cstdint>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Rule.h"

namespace g988 {

// Where a field of a new tag comes from.
struct FieldSource {
    enum class Kind : std::uint8_t { Value, Tag, Dscp } kind = Kind::Value;
    // The value, or the tag of the frame as it was before that it is copied from (0 outermost).
    std::uint16_t number = 0;
    static FieldSource value(std::uint16_t number) { return {Kind::Value, number}; }
    static FieldSource tag(std::uint16_t number) { return {Kind::Tag, number}; }
};

struct NewTag {
    FieldSource pbits, dei, vid, tpid;  // DSCP is a source of p-bits alone
};

// The frame's outermost `removed` tags go and the new ones (outermost first, at most two) come in their place; all
// copies are of the frame as it was. The frame has the tags that are removed or copied from. Two tags that exchange
// fields need room for one more tag meanwhile.
std::vector<Command> rewriteTags(unsigned removed, const std::vector<NewTag>& added);

}  // namespace g988

#endif
