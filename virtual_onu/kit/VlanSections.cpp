// Tag rules, default actions and flows as sections of a board file.
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

constexpr unsigned kMaxTagsOfATable = 4;
constexpr std::size_t kMaxTerms = 1000;

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
    record.number("tag", term.tag, 0U, kMaxTagsOfATable - 1);
    record.text("device", term.device);
}

namespace vlan {

namespace {

struct RuleRecord {
    TableKey table{};
    bool front = false;
    std::vector<RuleTerm> terms;
};
struct DefaultRecord {
    DefaultAction action;
};
struct FlowRecord {
    std::string from, to;
};
struct FlowsRecord {
    std::vector<FlowRecord> flows;
};
struct ModeRecord {
    int mode = 0;
};
struct KitRecord {
    std::uint32_t nextRuleId = 1;
    OutOfRangeFilters outOfRange = OutOfRangeFilters::NeverMatch;
};

}  // namespace

namespace {

template <typename Record>
void describe(Record& record, RuleRecord& rule) {
    record.text("device", rule.table.device, network::isDeviceName, "a device name");
    record.choice("direction", rule.table.direction, {"receive", "transmit"});
    record.number("tags", rule.table.tags, 0U, kMaxTagsOfATable);
    record.flag("front", rule.front);
    record.list("terms", rule.terms, kMaxTerms);
}

template <typename Record>
void describe(Record& record, DefaultRecord& saved) {
    record.choice("action", saved.action.action, {"pass", "drop"});
    record.text("device", saved.action.device);
}

template <typename Record>
void describe(Record& record, FlowRecord& flow) {
    record.text("from", flow.from);
    record.text("to", flow.to);
}

template <typename Record>
void describe(Record& record, FlowsRecord& saved) {
    record.list("flows", saved.flows);
}

template <typename Record>
void describe(Record& record, ModeRecord& saved) {
    record.number("mode", saved.mode);
}

template <typename Record>
void describe(Record& record, KitRecord& saved) {
    record.number("nextRuleId", saved.nextRuleId, 1U);
    record.choice("outOfRangeFilters", saved.outOfRange, {"never", "any", "masked"});
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

void putRule(std::uint32_t id, RuleRecord saved) {
    removeRule(id);
    installed().places[id] = {saved.table, saved.front};
    auto& rules = installed().tables[saved.table].rules;
    // Most often behind all others.
    auto before = rules.end();
    while (before != rules.begin() && standsBefore(id, std::prev(before)->id)) --before;
    rules.insert(before, {id, std::move(saved.terms)});
}

persistence::Section ruleSection() {
    persistence::RecordAccess<std::uint32_t, RuleRecord> byKey;
    byKey.keys = [] {
        std::vector<std::uint32_t> ids;
        for (const auto& entry : installed().places) ids.push_back(entry.first);
        return ids;
    };
    byKey.get = [](std::uint32_t id) -> std::optional<RuleRecord> {
        const auto place = installed().places.find(id);
        if (place == installed().places.end()) return std::nullopt;
        auto& rules = installed().tables[place->second.table].rules;
        // Most often the last one.
        const bool isLast = !rules.empty() && rules.back().id == id;
        const auto rule = isLast ? std::prev(rules.end()) : ruleIn(rules, id);
        return RuleRecord{place->second.table, place->second.front, rule->terms};
    };
    byKey.put = putRule;
    byKey.remove = removeRule;
    return persistence::section<std::uint32_t, RuleRecord>(persistence::kRules, byKey);
}

// ---- default actions ----

// "sid0 rx 1". Throws BadBoard.
TableKey tableOf(const std::string& text) {
    const std::size_t tags = text.rfind(' ');
    const std::size_t direction = tags == std::string::npos || tags == 0 ? tags : text.rfind(' ', tags - 1);
    if (direction == std::string::npos || direction == 0)
        throw persistence::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    TableKey key{text.substr(0, direction), kReceive,
                 static_cast<unsigned>(persistence::numberKey(text.substr(tags + 1), kMaxTagsOfATable))};
    const std::string way = text.substr(direction + 1, tags - direction - 1);
    if (way != "rx" && way != "tx") throw persistence::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    if (way == "tx") key.direction = kTransmit;
    return key;
}

persistence::Section defaultSection() {
    persistence::RecordAccess<std::string, DefaultRecord> byKey;
    byKey.keys = [] {
        std::vector<std::string> keys;
        for (const auto& [key, table] : installed().tables)
            if (table.defaultAction) keys.push_back(textOf(key));
        return keys;
    };
    byKey.get = [](const std::string& key) -> std::optional<DefaultRecord> {
        const auto table = installed().tables.find(tableOf(key));
        if (table == installed().tables.end() || !table->second.defaultAction) return std::nullopt;
        return DefaultRecord{*table->second.defaultAction};
    };
    byKey.put = [](const std::string& key, const DefaultRecord& saved) {
        installed().tables[tableOf(key)].defaultAction = saved.action;
    };
    byKey.remove = [](const std::string& key) {
        const auto table = installed().tables.find(tableOf(key));
        if (table == installed().tables.end()) return;
        table->second.defaultAction.reset();
        if (table->second.rules.empty()) installed().tables.erase(table);
    };
    persistence::Section made = persistence::section<std::string, DefaultRecord>(persistence::kDefaults, byKey);
    made.read = [read = made.read](const std::string& key, const persistence::Json& value) {
        tableOf(key);
        return read(key, value);
    };
    return made;
}

// ---- the rest ----

persistence::Section modeSection() {
    persistence::RecordAccess<std::string, ModeRecord> byKey;
    byKey.keys = [] {
        std::vector<std::string> names;
        for (const auto& entry : installed().realDeviceModes) names.push_back(entry.first);
        return names;
    };
    byKey.get = [](const std::string& name) -> std::optional<ModeRecord> {
        const auto found = installed().realDeviceModes.find(name);
        if (found == installed().realDeviceModes.end()) return std::nullopt;
        return ModeRecord{found->second};
    };
    byKey.put = [](const std::string& name, ModeRecord saved) { installed().realDeviceModes[name] = saved.mode; };
    byKey.remove = [](const std::string& name) { installed().realDeviceModes.erase(name); };
    return persistence::section<std::string, ModeRecord>(persistence::kDeviceModes, byKey);
}

FlowsRecord flowsNow() {
    FlowsRecord saved;
    for (const auto& [from, to] : installed().flows) saved.flows.push_back({from, to});
    return saved;
}

void putFlows(const FlowsRecord& saved) {
    installed().flows.clear();
    for (const FlowRecord& flow : saved.flows) installed().flows.emplace_back(flow.from, flow.to);
}

}  // namespace

persistence::Sections sections() {
    return {ruleSection(), defaultSection(), modeSection(),
            persistence::single<FlowsRecord>(persistence::kFlows, flowsNow, putFlows),
            persistence::single<KitRecord>(
                persistence::kVlanKit,
                [] {
                    return KitRecord{installed().nextRuleId, installed().outOfRange};
                },
                [](KitRecord saved) {
                    installed().nextRuleId = saved.nextRuleId;
                    installed().outOfRange = saved.outOfRange;
                })};
}

}  // namespace vlan

}  // namespace virtual_onu
