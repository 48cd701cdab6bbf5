#include "running/state/WalkWords.h"

#include <algorithm>
#include <sstream>

#include "running/state/RuleWords.h"

namespace vorn_onu {

namespace {

using virtual_onu::Drop;
using virtual_onu::Exit;
using virtual_onu::Hop;
using virtual_onu::Walk;

// The terms of a rule's text: "rxdev=sid0.3 vid0=100 | push vid0:=200".
std::vector<std::string> termsOf(const std::string& ruleText) {
    std::vector<std::string> terms;
    std::istringstream words(ruleText);
    for (std::string word; words >> word;)
        if (word != "|" && word != "any") terms.push_back(word);
    return terms;
}

const char* const kNoRuleDrops = "no rule fits, the default drops";

std::string whereOf(const Hop& hop) {
    switch (hop.kind) {
        case Hop::Kind::Table:
            return hop.device + (hop.direction == virtual_onu::kReceive ? " receives" : " sends");
        case Hop::Kind::Bridge:
            return "bridge " + hop.device;
        case Hop::Kind::Flow:
            return "VLAN flow";
        case Hop::Kind::Runner:
            return "runner";
    }
    return "";
}

std::string bridgeWords(const std::string& detail) {
    if (detail == "learned") return "knows the address";
    return detail == "flooded" ? "floods" : detail;
}

std::string whatOf(const Hop& hop) {
    if (hop.kind == Hop::Kind::Bridge) return bridgeWords(hop.detail);
    if (hop.kind == Hop::Kind::Flow) return "short cut";
    if (hop.kind == Hop::Kind::Runner) return hop.device + " " + hop.detail;
    if (!hop.rule) return hop.detail == "default: drop" ? kNoRuleDrops : "no rule fits, passed on";
    const bool receive = hop.direction == virtual_onu::kReceive;
    const RuleWords words = ruleWords(hop.device, receive, {hop.table}, termsOf(hop.detail));
    return words.frames + ": " + words.action;
}

template <typename Items, typename Words>
std::string joinedWords(const Items& items, Words words) {
    std::string text;
    for (const auto& item : items) text += (text.empty() ? "" : "; ") + words(item);
    return text;
}

}  // namespace

namespace {

// The hops in the order of a tree: a copy is followed to its end before the next one.
class Tree {
public:
    explicit Tree(const Walk& walk) : walk_(walk), hops_(walk.hops), followers_(hops_.size() + 1) {
        for (std::size_t i = 0; i < hops_.size(); ++i) followers_[placeOf(hops_[i].from)].push_back(i);
    }
    std::vector<HopWords> words() {
        // What is still to be reported, the next on top: no walk is too deep for that.
        std::vector<Pending> pending;
        push(pending, -1, "", 0);
        while (!pending.empty()) {
            const Pending next = pending.back();
            pending.pop_back();
            tell(next);
            push(pending, static_cast<int>(next.hop), next.below, next.depth);
        }
        return std::move(told_);
    }

private:
    struct Pending {
        std::size_t hop;
        std::string lead, below;  // in front of this line, and of those that follow it
        unsigned depth;
    };
    static std::size_t placeOf(int hop) { return static_cast<std::size_t>(hop) + 1; }

    void push(std::vector<Pending>& pending, int after, const std::string& lead, unsigned depth) const {
        const auto& next = followers_[placeOf(after)];
        const bool several = next.size() > 1;
        for (std::size_t i = next.size(); i-- > 0;) {
            const bool last = i + 1 == next.size();
            pending.push_back({next[i],
                               lead + (!several ? ""
                                       : last   ? "└ "
                                                : "├ "),
                               lead + (!several ? ""
                                       : last   ? "  "
                                                : "│ "),
                               depth + (several ? 1 : 0)});
        }
    }
    void tell(const Pending& one) {
        const Hop& hop = hops_[one.hop];
        HopWords words;
        words.where = whereOf(hop);
        words.what = whatOf(hop);
        words.to = hop.to;
        const auto& before = hop.from < 0 ? walk_.sent : hops_[static_cast<std::size_t>(hop.from)].frame;
        if (!(before == hop.frame)) words.frame = hop.frame.text();
        words.dropped = hop.to.empty();
        words.tree = one.lead;
        words.depth = one.depth;
        words.place = one.hop;
        if (walk_.exits.size() + walk_.drops.size() > 1) words.fate = fateOf(static_cast<int>(one.hop));
        if (words.what == kNoRuleDrops && !words.fate.empty()) words.fate = "dropped";  // why is there already
        told_.push_back(std::move(words));
    }
    std::string fateOf(int hop) const {
        std::string fate;
        const auto add = [&fate](const std::string& words) { fate += (fate.empty() ? "" : "; ") + words; };
        for (const Exit& exit : walk_.exits)
            if (exit.hop == hop) add("leaves at " + exitWords(exit));
        for (const Drop& drop : walk_.drops)
            if (drop.hop == hop) add(dropWords(drop));
        return fate;
    }

    const Walk& walk_;
    const std::vector<Hop>& hops_;
    std::vector<std::vector<std::size_t>> followers_;  // of each hop; the first entry: of the frame as it was sent
    std::vector<HopWords> told_;
};

}  // namespace

std::vector<HopWords> hopWords(const Walk& walk) {
    return Tree(walk).words();
}

std::vector<std::string> hopLines(const Walk& walk) {
    std::vector<std::string> lines;
    for (const HopWords& words : hopWords(walk)) {
        std::string line = words.tree + words.where + ", " + words.what;
        if (!words.to.empty()) line += " → " + words.to;
        if (!words.frame.empty()) line += " (" + words.frame + ")";
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string exitWords(const Exit& exit) {
    const std::string frame = ": " + exit.frame.text();
    if (!exit.gemPort) return exit.device + frame;
    return "GEM port " + std::to_string(*exit.gemPort) + ", T-CONT " + std::to_string(exit.tcont.value_or(0)) +
           ", queue " + std::to_string(exit.queue.value_or(0)) + frame;
}

std::string dropWords(const Drop& drop) {
    return "dropped at " + drop.device + ": " + drop.reason;
}

std::string dropWords(const Walk& walk, const Drop& drop) {
    if (drop.hop < 0) return dropWords(drop);
    const Hop& hop = walk.hops.at(static_cast<std::size_t>(drop.hop));
    return hop.nearest ? dropWords(drop) + "; " + hop.nearest->words() : dropWords(drop);
}

std::string verdictOf(const Walk& walk) {
    if (!walk.exits.empty()) return "leaves at " + joinedWords(walk.exits, exitWords);
    return joinedWords(walk.drops, [&walk](const Drop& drop) { return dropWords(walk, drop); });
}

}  // namespace vorn_onu
