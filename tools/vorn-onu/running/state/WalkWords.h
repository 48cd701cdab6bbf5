// A frame's path through the device, in words.
#ifndef VORN_ONU_WALK_WORDS_H
#define VORN_ONU_WALK_WORDS_H

#include <string>
#include <vector>

#include "VirtualOnu.h"

namespace vorn_onu {

// One look-up, for a table's columns.
struct HopWords {
    std::string where;  // "sid0 receives", "bridge br3"
    std::string what;   // "untagged frames: push VID 100, p-bits 0", "floods"
    std::string to;     // "sid0.3"; "" where the frame ends
    std::string frame;  // as it leaves this hop, where that is new: "VID 100 p0, IPv4"
    bool dropped = false;
    std::string fate;  // of this copy, where there are several: "leaves at sid1: untagged IPv4", "dropped at sid2: ..."
    // What is in front of the look-up in a list, so that the list reads as a tree: "", "├ ", "│ └ ". One step to
    // the right is two columns.
    std::string tree;
    std::size_t place = 0;  // of the hop in the walk
    unsigned depth = 0;     // the tree's columns, in steps: how many times the frame has been copied on the way here
};
// Each copy of the frame from where it was made to where it ends, one copy after the other.
std::vector<HopWords> hopWords(const virtual_onu::Walk& walk);
// The same as plain lines.
std::vector<std::string> hopLines(const virtual_onu::Walk& walk);

std::string exitWords(const virtual_onu::Exit& exit);  // "GEM port 1001, T-CONT 0, queue 2: VID 100 p0, IPv4"
std::string dropWords(const virtual_onu::Drop& drop);  // "dropped at gpon3: no rule matches, the default drops"
// The same and, where no rule fitted, the nearest one: "...; rule 7 (vid0=100 pbits0=5) would take it, but p-bits are
// 3, not 5".
std::string dropWords(const virtual_onu::Walk& walk, const virtual_onu::Drop& drop);
// All of it in one line: where it leaves, or the reasons why it does not.
std::string verdictOf(const virtual_onu::Walk& walk);

}  // namespace vorn_onu

#endif
