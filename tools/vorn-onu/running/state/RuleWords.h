// Tag rules in words: "untagged frames from sid0: push VID 100 → sid0.3".
#ifndef VORN_ONU_RULE_WORDS_H
#define VORN_ONU_RULE_WORDS_H

#include <set>
#include <string>
#include <vector>

namespace vorn_onu {

// What a rule says, taken apart for a table's columns.
struct RuleWords {
    std::string frames;  // "untagged frames", "frames with VID 100, p-bits 5"
    std::string from;    // where they come from: the real device, or the VLAN device they are sent on
    std::string action;  // "push VID 100, p-bits 0", "as they are", "drop"
    std::string to;      // where they go; "" when they are dropped
    // frames from ...: action → to
    std::string sentence() const;
};

// device, receive: the table; tags: the tables (by number of tags) that the same rule is in; terms: the rule's
// filters and commands as the virtual ONU writes them, such as "rxdev=sid0.3", "vid0=100", "push", "vid0:=200".
RuleWords ruleWords(const std::string& device, bool receive, const std::set<unsigned>& tags,
                    const std::vector<std::string>& terms);

}  // namespace vorn_onu

#endif
