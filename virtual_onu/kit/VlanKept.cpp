// Tag rules, default actions and flows as sections of a board that is kept.
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "kernel/Network.h"
#include "kit/VlanTables.h"

namespace virtual_onu {

namespace {

constexpr unsigned kMostTagsOfATable = 4;
constexpr std::size_t kMostTerms = 1000;

// In the order of RuleTerm::Kind.
const std::vector<const char*>& kindNames() {
    static const auto& names = *new const std::vector<const char*>{
        "rxdev",      "txdev",    "pbits",    "cfi",          "vid",           "tagtype", "type",        "ipproto",
        "gem",        "push",     "pop",      "set-pbits",    "set-cfi",       "set-vid", "set-tagtype", "set-type",
        "copy-pbits", "copy-cfi", "copy-vid", "copy-tagtype", "dscp-to-pbits", "drop",    "mark-gem",    "mark-queue"};
    return names;
}

}  // namespace

template <typename Record>
void describe(Record& record, RuleTerm& term) {
    record.choice("kind", term.kind, kindNames());
    record.number("value", term.value);
    record.number("tag", term.tag, 0U, kMostTagsOfATable - 1);
    record.text("device", term.device);
}

namespace vlan {

namespace {

struct KeptRule {
    TableKey table{};
    bool front = false;
    std::vector<RuleTerm> terms;
};
struct KeptDefault {
    DefaultAction action;
};
struct KeptFlow {
    std::string from, to;
};
struct KeptFlows {
    std::vector<KeptFlow> flows;
};
struct KeptMode {
    int mode = 0;
};
struct KeptKit {
    std::uint32_t nextRuleId = 1;
    OutOfRangeFilters outOfRange = OutOfRangeFilters::NeverMatch;
};

}  // namespace

namespace {

template <typename Record>
void describe(Record& record, KeptRule& rule) {
    record.text("device", rule.table.device, network::isDeviceName, "a device name");
    record.choice("direction", rule.table.direction, {"receive", "transmit"});
    record.number("tags", rule.table.tags, 0U, kMostTagsOfATable);
    record.flag("front", rule.front);
    record.list("terms", rule.terms, kMostTerms);
}

template <typename Record>
void describe(Record& record, KeptDefault& kept) {
    record.choice("action", kept.action.action, {"pass", "drop"});
    record.text("device", kept.action.device);
}

template <typename Record>
void describe(Record& record, KeptFlow& flow) {
    record.text("from", flow.from);
    record.text("to", flow.to);
}

template <typename Record>
void describe(Record& record, KeptFlows& kept) {
    record.list("flows", kept.flows);
}

template <typename Record>
void describe(Record& record, KeptMode& kept) {
    record.number("mode", kept.mode);
}

template <typename Record>
void describe(Record& record, KeptKit& kept) {
    record.number("nextRuleId", kept.nextRuleId, 1U);
    record.choice("outOfRangeFilters", kept.outOfRange, {"never", "any", "masked"});
}

// ---- rules ----

std::vector<TagRule>::iterator ruleIn(std::vector<TagRule>& rules, std::uint32_t id) {
    return std::find_if(rules.begin(), rules.end(), [&](const TagRule& rule) { return rule.id == id; });
}

void removeRule(std::uint32_t id) {
    const auto place = installed().places.find(id);
    if (place == installed().places.end()) return;
    const auto table = installed().tables.find(place->second.table);
    if (table != installed().tables.end()) {
        auto& rules = table->second.rules;
        const auto rule = ruleIn(rules, id);
        if (rule != rules.end()) rules.erase(rule);
        if (rules.empty() && !table->second.defaultAction) installed().tables.erase(table);
    }
    installed().places.erase(place);
}

// Those in front by descending id, then the others by ascending id.
bool standsBefore(std::uint32_t first, std::uint32_t second) {
    const bool firstInFront = installed().places.at(first).front, secondInFront = installed().places.at(second).front;
    if (firstInFront != secondInFront) return firstInFront;
    return firstInFront ? first > second : first < second;
}

void putRule(std::uint32_t id, KeptRule kept) {
    removeRule(id);
    installed().places[id] = {kept.table, kept.front};
    auto& rules = installed().tables[kept.table].rules;
    // Most often behind all others.
    auto before = rules.end();
    while (before != rules.begin() && standsBefore(id, std::prev(before)->id)) --before;
    rules.insert(before, {id, std::move(kept.terms)});
}

kept::Section ruleSection() {
    kept::Shelf<std::uint32_t, KeptRule> shelf;
    shelf.keys = [] {
        std::vector<std::uint32_t> ids;
        for (const auto& entry : installed().places) ids.push_back(entry.first);
        return ids;
    };
    shelf.get = [](std::uint32_t id) -> std::optional<KeptRule> {
        const auto place = installed().places.find(id);
        if (place == installed().places.end()) return std::nullopt;
        auto& rules = installed().tables[place->second.table].rules;
        // Most often the last one.
        const bool isLast = !rules.empty() && rules.back().id == id;
        const auto rule = isLast ? std::prev(rules.end()) : ruleIn(rules, id);
        return KeptRule{place->second.table, place->second.front, rule->terms};
    };
    shelf.put = putRule;
    shelf.remove = removeRule;
    return kept::section<std::uint32_t, KeptRule>(kept::kRules, shelf);
}

// ---- default actions ----

// "sid0 rx 1". Throws BadBoard.
TableKey tableOf(const std::string& text) {
    const std::size_t tags = text.rfind(' ');
    const std::size_t direction = tags == std::string::npos || tags == 0 ? tags : text.rfind(' ', tags - 1);
    if (direction == std::string::npos || direction == 0)
        throw kept::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    TableKey key{text.substr(0, direction), kReceive,
                 static_cast<unsigned>(kept::numberKey(text.substr(tags + 1), kMostTagsOfATable))};
    const std::string way = text.substr(direction + 1, tags - direction - 1);
    if (way != "rx" && way != "tx") throw kept::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    if (way == "tx") key.direction = kTransmit;
    return key;
}

kept::Section defaultSection() {
    kept::Shelf<std::string, KeptDefault> shelf;
    shelf.keys = [] {
        std::vector<std::string> keys;
        for (const auto& [key, table] : installed().tables)
            if (table.defaultAction) keys.push_back(textOf(key));
        return keys;
    };
    shelf.get = [](const std::string& key) -> std::optional<KeptDefault> {
        const auto table = installed().tables.find(tableOf(key));
        if (table == installed().tables.end() || !table->second.defaultAction) return std::nullopt;
        return KeptDefault{*table->second.defaultAction};
    };
    shelf.put = [](const std::string& key, const KeptDefault& kept) {
        installed().tables[tableOf(key)].defaultAction = kept.action;
    };
    shelf.remove = [](const std::string& key) {
        const auto table = installed().tables.find(tableOf(key));
        if (table == installed().tables.end()) return;
        table->second.defaultAction.reset();
        if (table->second.rules.empty()) installed().tables.erase(table);
    };
    kept::Section made = kept::section<std::string, KeptDefault>(kept::kDefaults, shelf);
    made.read = [read = made.read](const std::string& key, const kept::Json& value) {
        tableOf(key);
        return read(key, value);
    };
    return made;
}

// ---- the rest ----

kept::Section modeSection() {
    kept::Shelf<std::string, KeptMode> shelf;
    shelf.keys = [] {
        std::vector<std::string> names;
        for (const auto& entry : installed().realDeviceModes) names.push_back(entry.first);
        return names;
    };
    shelf.get = [](const std::string& name) -> std::optional<KeptMode> {
        const auto found = installed().realDeviceModes.find(name);
        if (found == installed().realDeviceModes.end()) return std::nullopt;
        return KeptMode{found->second};
    };
    shelf.put = [](const std::string& name, KeptMode kept) { installed().realDeviceModes[name] = kept.mode; };
    shelf.remove = [](const std::string& name) { installed().realDeviceModes.erase(name); };
    return kept::section<std::string, KeptMode>(kept::kDeviceModes, shelf);
}

KeptFlows flowsNow() {
    KeptFlows kept;
    for (const auto& [from, to] : installed().flows) kept.flows.push_back({from, to});
    return kept;
}

void putFlows(const KeptFlows& kept) {
    installed().flows.clear();
    for (const KeptFlow& flow : kept.flows) installed().flows.emplace_back(flow.from, flow.to);
}

}  // namespace

kept::Sections sections() {
    return {ruleSection(), defaultSection(), modeSection(), kept::single<KeptFlows>(kept::kFlows, flowsNow, putFlows),
            kept::single<KeptKit>(
                kept::kVlanKit,
                [] {
                    return KeptKit{installed().nextRuleId, installed().outOfRange};
                },
                [](KeptKit kept) {
                    installed().nextRuleId = kept.nextRuleId;
                    installed().outOfRange = kept.outOfRange;
                })};
}

}  // namespace vlan

}  // namespace virtual_onu
