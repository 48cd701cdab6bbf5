#include "running/state/ServiceWords.h"

#include <algorithm>

#include "running/state/PonWords.h"

namespace vorn_onu {

namespace {

using Names = std::vector<std::string>;

bool has(const MergedRule& rule, const std::string& term) {
    return std::find(rule.terms.begin(), rule.terms.end(), term) != rule.terms.end();
}

// The value that the rule filters on, or "".
std::string filterOf(const MergedRule& rule, const std::string& field) {
    const std::string start = field + "=";
    for (const std::string& term : rule.terms)
        if (term.compare(0, start.size(), start) == 0) return term.substr(start.size());
    return "";
}

std::string framesOf(const MergedRule& rule) {
    const std::string outer = filterOf(rule, "vid0"), inner = filterOf(rule, "vid1"), pbits = filterOf(rule, "pbits0");
    const std::string marked = pbits.empty() ? "" : " p" + pbits;
    if (!outer.empty()) return "VID " + outer + (inner.empty() ? "" : "/" + inner) + marked;
    if (rule.tags == std::set<unsigned>{0}) return "untagged";
    if (rule.tags.count(0) != 0) return "any frame";
    return (inner.empty() ? "any tag" : "VID any/" + inner) + marked;
}

void addOnce(Names& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

// Where everything passes, what else is named passes anyway.
Names withoutTheNarrower(Names names) {
    return std::find(names.begin(), names.end(), "any frame") != names.end() ? Names{"any frame"} : names;
}

// "0,3,5…"
std::string queueNumbers(const std::set<unsigned>& queues) {
    constexpr std::size_t kMaxQueues = 3;
    std::string text;
    std::size_t shown = 0;
    for (const unsigned queue : queues) {
        if (++shown > kMaxQueues) return text + "…";
        text += (text.empty() ? "" : ",") + std::to_string(queue);
    }
    return text;
}

}  // namespace

Names vlansAt(const Service& service, const ServiceEnd& end) {
    Names names;
    for (const MergedRule& rule : service.rules) {
        if (!rule.receive || has(rule, "drop") || filterOf(rule, "rxdev") != end.device) continue;
        addOnce(names, framesOf(rule));
    }
    return withoutTheNarrower(names);
}

Names vlansOnGemPort(const Service& service, unsigned gemIndex) {
    const std::string index = std::to_string(gemIndex);
    Names up, down;
    for (const MergedRule& rule : service.rules) {
        if (has(rule, "drop")) continue;
        const bool isNarrowest = rule.device != "gpondef";  // there every frame of a GEM port passes
        if (!rule.receive && has(rule, "mark-gem:=" + index)) addOnce(up, framesOf(rule));
        if (rule.receive && isNarrowest && filterOf(rule, "gem") == index) addOnce(down, framesOf(rule));
    }
    return withoutTheNarrower(up.empty() ? down : up);
}

std::string vlanList(const Names& vlans, std::size_t width) {
    const auto joined = [&vlans](std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            // "VID 100, 200" for neighbours with the same word in front.
            const bool goesOn = i > 0 && vlans[i].rfind("VID ", 0) == 0 && vlans[i - 1].rfind("VID ", 0) == 0;
            text += (text.empty() ? "" : ", ") + (goesOn ? vlans[i].substr(4) : vlans[i]);
        }
        if (count < vlans.size()) text += " +" + std::to_string(vlans.size() - count);
        return text;
    };
    std::size_t count = vlans.size();
    while (count > 1 && joined(count).size() > width) --count;
    return joined(count);
}

TcontWords tcontWords(const DeviceState& state, const Service& service, const virtual_onu::GemPort& port) {
    if (port.downstreamOnly || port.allocId == kNoAllocId) return {"downstream only", ""};
    const std::string allocId = "alloc-id " + std::to_string(port.allocId);
    const auto tcont = std::find_if(state.tconts.begin(), state.tconts.end(),
                                    [&](const auto& one) { return one.allocId == port.allocId; });
    if (tcont == state.tconts.end()) return {"no T-CONT", allocId};
    const auto queues = service.queues.find(port.index);
    const std::string queue = queues == service.queues.end() ? "" : " · queue " + queueNumbers(queues->second);
    return {"T-CONT " + std::to_string(tcont->index) + queue, allocId};
}

}  // namespace vorn_onu
