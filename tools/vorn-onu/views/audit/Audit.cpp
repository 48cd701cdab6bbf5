#include "views/audit/Audit.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string_view>
#include <tuple>

#include "DeviceTexts.h"
#include "running/state/WalkWords.h"
#include "views/audit/FrameClasses.h"

namespace vorn_onu::audit {

namespace {

using virtual_onu::Hop;
using virtual_onu::Walk;

// A copy of a frame outside of the device. No GEM port: a UNI port, or the runner, which keeps it to itself.
struct Copy {
    std::optional<unsigned> gemPort;
    std::vector<VlanTag> tags;
    std::string text() const {
        std::string words;
        for (const VlanTag& tag : tags) words += (words.empty() ? "" : ", ") + tag.text();
        if (words.empty()) words = "untagged";
        return gemPort ? "GEM port " + std::to_string(*gemPort) + ": " + words : words;
    }
};

std::string textOf(const std::vector<Copy>& copies) {
    std::string text;
    for (const Copy& copy : copies) text += (text.empty() ? "" : " and ") + copy.text();
    return text.empty() ? "dropped" : text;
}

bool sameGemPort(const Copy& left, const Copy& right) {
    return !left.gemPort || !right.gemPort || left.gemPort == right.gemPort;
}

std::string differenceOf(std::vector<Copy> standard, std::vector<Copy> device) {
    if (standard.empty() && device.empty()) return "";
    if (device.empty()) return "dropped";
    if (standard.empty()) return "passes";
    if (standard.size() != device.size()) return "copies";
    const auto byPlace = [](const Copy& left, const Copy& right) { return left.gemPort < right.gemPort; };
    std::sort(standard.begin(), standard.end(), byPlace);
    std::sort(device.begin(), device.end(), byPlace);
    for (std::size_t i = 0; i < standard.size(); ++i) {
        if (!sameGemPort(standard[i], device[i])) return "GEM port";
        if (!(standard[i].tags == device[i].tags)) return "tags";
    }
    return "";
}

// What the standard says, and which row or filter of it decides.
struct Answer {
    bool open = false;
    std::vector<Copy> copies;
    std::string subject;
    bool byRow = false;  // the row decides, not a filter
};

class Auditor {
public:
    Auditor(const AskedServices& asked, const Device& device, Untaken untaken)
        : asked_(asked), device_(device), untaken_(untaken) {}
    Result run();

private:
    std::string rowText(const TaggingRow& row) const {
        return (row.step == 0 ? "default row: " : "row of " + asked_.noun() + " " + std::to_string(row.step) + ": ") +
               row.text();
    }
    std::string filterText(const AniPort& port) const {
        if (!port.name.empty()) return port.name + ": " + port.filter.text();
        return "filter of " + asked_.noun() + " " + std::to_string(port.step) + ": " + port.filter.text();
    }
    std::vector<AniPort> filtersOf(const UniPort& port) const;
    Answer upAnswer(const UniPort& port, const Frame& frame) const;
    Answer downAnswer(const UniPort& port, unsigned gemPort, const Frame& frame) const;
    void goUp(const std::string& name, const UniPort& port, const Frame& frame);
    void comeDown(const std::string& name, const UniPort& port, unsigned gemPort, const Frame& frame);
    void compare(Group group, const Answer& answer, const std::vector<Copy>& actual, const Walk& walk);
    const AskedServices& asked_;
    const Device& device_;
    const Untaken untaken_;
    Result result_;
    std::map<std::tuple<bool, std::string, std::string, std::string, std::string, std::string>, std::size_t> places_;
};

std::vector<AniPort> Auditor::filtersOf(const UniPort& port) const {
    std::vector<AniPort> filters;
    for (const AniPort& ani : asked_.aniPorts())
        if (port.bridges.count(ani.bridge) != 0) filters.push_back(ani);
    return filters;
}

Answer Auditor::upAnswer(const UniPort& port, const Frame& frame) const {
    const Tagging tagging = port.table.upstream(frame);
    Answer answer;
    answer.byRow = tagging.fate == Tagging::Fate::Dropped;
    answer.subject = tagging.row ? rowText(*tagging.row) : "no row";
    if (answer.byRow) return answer;
    for (const AniPort& ani : filtersOf(port)) {
        if (tagging.row && tagging.row->bridge && *tagging.row->bridge != ani.bridge) continue;
        if (!ani.filter.passes(tagging.frame)) continue;
        if (const auto gemPort = ani.mapper.gemPortOf(tagging.frame))
            answer.copies.push_back({gemPort, tagging.frame.tags});
    }
    return answer;
}

Answer Auditor::downAnswer(const UniPort& port, unsigned gemPort, const Frame& frame) const {
    Answer answer;
    for (const AniPort& ani : filtersOf(port)) {
        if (ani.mapper.all().count(gemPort) == 0) continue;
        if (answer.copies.empty()) answer.subject = filterText(ani);
        if (!ani.filter.passes(frame)) continue;
        const Tagging tagging = port.table.downstream(frame, ani.bridge, untaken_);
        answer.open = answer.open || tagging.fate == Tagging::Fate::Open;
        answer.byRow = true;
        answer.subject =
            tagging.row ? rowText(*tagging.row) : "downstream mode " + std::to_string(port.table.downstreamMode);
        if (tagging.fate == Tagging::Fate::Passes) answer.copies.push_back({std::nullopt, tagging.frame.tags});
    }
    return answer;
}

// The rule of the device that made the difference: the port's where tags differ or a row decided, else the last one.
std::string ruleOf(const Walk& walk, const std::string& port, const std::string& difference, bool byRow) {
    if (difference == "dropped") return walk.drops.empty() ? "no copy is left" : dropWords(walk, walk.drops.back());
    const Hop* responsible = nullptr;
    for (const Hop& hop : walk.hops) {
        if (!hop.rule) continue;
        const bool ofPort = hop.device == port;
        const bool wanted = difference == "tags" || byRow ? ofPort : !ofPort;
        if (wanted || responsible == nullptr) responsible = &hop;
    }
    if (responsible == nullptr) return "no rule: the default lets it pass";
    return "rule " + std::to_string(*responsible->rule) + " of " + responsible->device + ": " + responsible->detail;
}

void Auditor::compare(Group group, const Answer& answer, const std::vector<Copy>& actual, const Walk& walk) {
    ++result_.frames;
    if (answer.open) {
        ++result_.open;
        return;
    }
    group.subject = answer.subject;
    group.kind = kindOf(group.example);
    group.difference = differenceOf(answer.copies, actual);
    group.differs = !group.difference.empty();
    if (group.differs) group.rule = ruleOf(walk, group.port, group.difference, answer.byRow);
    group.standard = textOf(answer.copies);
    group.device = textOf(actual);
    // Frames that both drop are one group, and so are those that both pass; a drop's words name the frame itself.
    const std::string fate = group.differs ? group.difference : actual.empty() ? "neither" : "both";
    const std::string rule = group.difference == "dropped" ? "" : group.rule;
    const auto key = std::make_tuple(group.upstream, group.port, group.subject, group.kind, fate, rule);
    const auto [place, isNew] = places_.emplace(key, result_.groups.size());
    if (isNew) result_.groups.push_back(group);
    Group& known = result_.groups[place->second];
    ++known.frames;
    known.types.insert(group.example.etherType);
}

void Auditor::goUp(const std::string& name, const UniPort& port, const Frame& frame) {
    const Walk walk = device_(name, frame);
    std::vector<Copy> actual;
    for (const auto& exit : walk.exits)
        if (exit.gemPort || exit.device == "wan0") actual.push_back({exit.gemPort, exit.frame.tags});
    Group group;
    group.port = name;
    group.from = name;
    group.example = frame;
    compare(std::move(group), upAnswer(port, frame), actual, walk);
}

void Auditor::comeDown(const std::string& name, const UniPort& port, unsigned gemPort, const Frame& frame) {
    Group group;
    group.upstream = false;
    group.port = name;
    group.from = "gem " + std::to_string(gemPort);
    group.example = frame;
    const Walk walk = device_(group.from, frame);
    std::vector<Copy> actual;
    for (const auto& exit : walk.exits)
        if (exit.device == name) actual.push_back({std::nullopt, exit.frame.tags});
    compare(std::move(group), downAnswer(port, gemPort, frame), actual, walk);
}

Result Auditor::run() {
    result_.filters = asked_.aniPorts().size();
    for (const NotCovered& one : asked_.notCovered()) result_.notCovered.push_back(one.text);
    for (const auto& [name, port] : asked_.uniPorts()) {
        const auto& rows = port.table.rows();
        result_.rows += static_cast<std::size_t>(
            std::count_if(rows.begin(), rows.end(), [](const TaggingRow& row) { return row.step != 0; }));
        const auto filters = filtersOf(port);
        if (filters.empty()) continue;
        std::set<unsigned> gemPorts;
        for (const AniPort& ani : filters)
            for (const unsigned gemPort : ani.mapper.all()) gemPorts.insert(gemPort);
        const auto frames = framesFor(port, filters);
        for (const Frame& frame : frames) goUp(name, port, frame);
        for (const unsigned gemPort : gemPorts)
            for (const Frame& frame : frames) comeDown(name, port, gemPort, frame);
    }
    std::stable_sort(result_.groups.begin(), result_.groups.end(), [](const Group& left, const Group& right) {
        return std::make_tuple(left.port, !left.differs, !left.upstream) <
               std::make_tuple(right.port, !right.differs, !right.upstream);
    });
    return std::move(result_);
}

// A word of a command line, in quotes where a shell would take it apart.
std::string shellWord(const std::string& word) {
    const auto isPlain = [](char c) {
        return virtual_onu::network::isPlainCharacter(c) || std::string_view("/+:=@,").find(c) != std::string::npos;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

std::string hex(unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04x", number);
    return text;
}

}  // namespace

std::size_t Result::differing() const {
    std::size_t number = 0;
    for (const Group& group : groups) number += group.differs ? group.frames : 0;
    return number;
}

Untaken untakenWith(const std::string& forwarding) {
    return forwarding == kByG988 ? Untaken::ByVidOrDropped : Untaken::LeftToTheOnu;
}

Result auditOf(const AskedServices& asked, const Device& device, Untaken untaken) {
    return Auditor(asked, device, untaken).run();
}

Result auditOf(const AskedServices& asked, const virtual_onu::FrozenDataPath& path, Untaken untaken) {
    const std::string gem = "gem ";
    const Device device = [&](const std::string& from, const Frame& frame) {
        if (from.compare(0, gem.size(), gem) != 0) return path.sendFromPort(from, frame);
        return path.sendFromPon(static_cast<unsigned>(std::stoul(from.substr(gem.size()))), frame);
    };
    return auditOf(asked, device, untaken);
}

std::string commandFor(const std::string& command, const std::string& file) {
    return "vorn-onu " + command + " " + shellWord(file);
}

std::string sendLine(const Group& group, const std::string& command) {
    std::string line = command + " --from " + shellWord(group.from);
    for (const VlanTag& tag : group.example.tags) {
        line += " --vlan " + std::to_string(tag.vid);
        if (tag.pbits != 0) line += " --pbits " + std::to_string(tag.pbits);
        if (tag.tpid != VlanTag{}.tpid) line += " --tpid " + hex(tag.tpid);
        if (tag.dei) line += " --dei";
    }
    if (group.example.etherType != Frame{}.etherType) line += " --ethertype " + hex(group.example.etherType);
    return line;
}

}  // namespace vorn_onu::audit
