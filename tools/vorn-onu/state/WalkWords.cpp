#include "state/WalkWords.h"

#include <algorithm>
#include <sstream>

#include "state/RuleWords.h"

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

std::string whatOf(const Hop& hop) {
    if (hop.kind == Hop::Kind::Bridge && hop.detail == "learned") return "knows the address";
    if (hop.kind == Hop::Kind::Bridge && hop.detail == "flooded") return "floods";
    if (hop.kind == Hop::Kind::Flow) return "short cut";
    if (hop.kind == Hop::Kind::Runner) return hop.device + " " + hop.detail;
    if (!hop.rule) return hop.detail == "default: drop" ? "no rule fits, dropped" : "no rule fits, passed on";
    const bool receive = hop.direction == virtual_onu::kReceive;
    const RuleWords words = ruleWords(hop.device, receive, {hop.table}, termsOf(hop.detail));
    return words.frames + ": " + words.action;
}

// How often the frame has been copied before this hop: at every hop with several followers.
unsigned branchOf(const std::vector<Hop>& hops, std::size_t index) {
    unsigned branch = 0;
    for (int at = static_cast<int>(index); at >= 0; at = hops[static_cast<std::size_t>(at)].from) {
        const int from = hops[static_cast<std::size_t>(at)].from;
        const auto siblings = std::count_if(hops.begin(), hops.end(), [&](const Hop& one) { return one.from == from; });
        if (siblings > 1) ++branch;
    }
    return branch;
}

template <typename Items, typename Words>
std::string joinedWords(const Items& items, Words words) {
    std::string text;
    for (const auto& item : items) text += (text.empty() ? "" : "; ") + words(item);
    return text;
}

}  // namespace

std::vector<HopWords> hopWords(const Walk& walk) {
    std::vector<HopWords> all;
    for (std::size_t i = 0; i < walk.hops.size(); ++i) {
        const Hop& hop = walk.hops[i];
        HopWords words{whereOf(hop), whatOf(hop), hop.to, "", false, branchOf(walk.hops, i)};
        const auto& before = hop.from < 0 ? walk.sent : walk.hops[static_cast<std::size_t>(hop.from)].frame;
        if (!(before == hop.frame)) words.frame = hop.frame.text();
        words.dropped = hop.to.empty();
        all.push_back(std::move(words));
    }
    return all;
}

std::vector<std::string> hopLines(const Walk& walk) {
    std::vector<std::string> lines;
    for (const HopWords& words : hopWords(walk)) {
        std::string line = std::string(std::size_t{2} * words.branch, ' ') + words.where + ", " + words.what;
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

std::string verdictOf(const Walk& walk) {
    if (!walk.exits.empty()) return "leaves at " + joinedWords(walk.exits, exitWords);
    return joinedWords(walk.drops, dropWords);
}

}  // namespace vorn_onu
