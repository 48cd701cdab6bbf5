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
struct FlowRecord {
    std::string from, to;
};
struct FlowsRecord {
    std::vector<FlowRecord> flows;
};
struct KitRecord {
    std::uint32_t nextRuleId = 1;
    OutOfRangeFilters outOfRange = OutOfRangeFilters::NeverMatch;
};

template <typename Record>
void describe(Record& record, RuleRecord& rule) {
    record.text("device", rule.table.device, network::isDeviceName, "a device name");
    record.choice("direction", rule.table.direction, {"receive", "transmit"});
    record.number("tags", rule.table.tags, 0U, kMaxTagsOfATable);
    record.flag("front", rule.front);
    record.list("terms", rule.terms, kMaxTerms);
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
void describe(Record& record, KitRecord& saved) {
    record.number("nextRuleId", saved.nextRuleId, 1U);
    record.choice("outOfRangeFilters", saved.outOfRange, {"never", "any", "masked"});
}

// ---- rules ----

std::vector<TagRule>::iterator ruleIn(std::vector<TagRule>& rules, std::uint32_t id) {
    return std::find_if(rules.begin(), rules.end(), [&](const TagRule& rule) { return rule.id == id; });
}

void removeRule(std::uint32_t id) {
    const auto location = installed().locations.find(id);
    if (location == installed().locations.end()) return;
    const auto table = installed().tables.find(location->second.table);
    if (table != installed().tables.end()) {
        auto& rules = table->second.rules;
        const auto rule = ruleIn(rules, id);
        if (rule != rules.end()) rules.erase(rule);
        if (rules.empty() && !table->second.defaultAction) installed().tables.erase(table);
    }
    installed().locations.erase(location);
}

// Those in front by descending id, then the others by ascending id.
bool standsBefore(std::uint32_t first, std::uint32_t second) {
    const bool firstInFront = installed().locations.at(first).front,
               secondInFront = installed().locations.at(second).front;
    if (firstInFront != secondInFront) return firstInFront;
    return firstInFront ? first > second : first < second;
}

void putRule(std::uint32_t id, RuleRecord saved) {
    removeRule(id);
    installed().locations[id] = {saved.table, saved.front};
    auto& rules = installed().tables[saved.table].rules;
    // Most often behind all others.
    auto before = rules.end();
    while (before != rules.begin() && standsBefore(id, std::prev(before)->id)) --before;
    rules.insert(before, {id, std::move(saved.terms)});
}

struct Rules : persistence::Keyed<std::uint32_t, RuleRecord> {
    static std::vector<std::string> keys() { return persistence::keysOf(installed().locations); }
    static std::optional<RuleRecord> get(std::uint32_t id) {
        const auto location = installed().locations.find(id);
        if (location == installed().locations.end()) return std::nullopt;
        auto& rules = installed().tables[location->second.table].rules;
        // Most often the last one.
        const bool isLast = !rules.empty() && rules.back().id == id;
        const auto rule = isLast ? std::prev(rules.end()) : ruleIn(rules, id);
        return RuleRecord{location->second.table, location->second.front, rule->terms};
    }
    static void put(std::uint32_t id, RuleRecord saved) { putRule(id, std::move(saved)); }
    static void remove(std::uint32_t id) { removeRule(id); }
};

// ---- default actions ----

// "sid0 rx 1". Throws BadBoard.
TableKey tableOf(const std::string& text) {
    const std::size_t tags = text.rfind(' ');
    const std::size_t direction = tags == std::string::npos || tags == 0 ? tags : text.rfind(' ', tags - 1);
    if (direction == std::string::npos || direction == 0)
        throw persistence::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    TableKey key{text.substr(0, direction), kReceive,
                 static_cast<unsigned>(persistence::numberKey(text.substr(tags + 1), kMaxTagsOfATable))};
    const std::string word = text.substr(direction + 1, tags - direction - 1);
    if (word != "rx" && word != "tx") throw persistence::BadBoard("the key must be a table, such as \"sid0 rx 1\"");
    if (word == "tx") key.direction = kTransmit;
    return key;
}

struct Defaults : persistence::Keyed<TableKey, DefaultAction> {
    template <typename Record>
    static void fields(Record& record, DefaultAction& saved) {
        record.choice("action", saved.action, {"pass", "drop"});
        record.text("device", saved.device);
    }
    static TableKey keyFrom(const std::string& text) { return tableOf(text); }
    static std::vector<std::string> keys() {
        std::vector<std::string> keys;
        for (const auto& [key, table] : installed().tables)
            if (table.defaultAction) keys.push_back(textOf(key));
        return keys;
    }
    static std::optional<DefaultAction> get(const TableKey& key) {
        const auto table = installed().tables.find(key);
        return table == installed().tables.end() ? std::nullopt : table->second.defaultAction;
    }
    static void put(const TableKey& key, DefaultAction saved) {
        installed().tables[key].defaultAction = std::move(saved);
    }
    static void remove(const TableKey& key) {
        const auto table = installed().tables.find(key);
        if (table == installed().tables.end()) return;
        table->second.defaultAction.reset();
        if (table->second.rules.empty()) installed().tables.erase(table);
    }
};

// ---- the rest ----

std::map<std::string, int>& realDeviceModes() {
    return installed().realDeviceModes;
}

struct Modes : persistence::InMap<std::string, int, realDeviceModes> {
    template <typename Record>
    static void fields(Record& record, int& mode) {
        record.number("mode", mode);
    }
};

struct Flows : persistence::Single<FlowsRecord> {
    static FlowsRecord get() {
        FlowsRecord saved;
        for (const auto& [from, to] : installed().flows) saved.flows.push_back({from, to});
        return saved;
    }
    static void put(const FlowsRecord& saved) {
        installed().flows.clear();
        for (const FlowRecord& flow : saved.flows) installed().flows.emplace_back(flow.from, flow.to);
    }
};

struct Kit : persistence::Single<KitRecord> {
    static KitRecord get() { return {installed().nextRuleId, installed().outOfRange}; }
    static void put(KitRecord saved) {
        installed().nextRuleId = saved.nextRuleId;
        installed().outOfRange = saved.outOfRange;
    }
};

}  // namespace

persistence::Sections sections() {
    return {persistence::section<Rules>(persistence::kRules), persistence::section<Defaults>(persistence::kDefaults),
            persistence::section<Modes>(persistence::kDeviceModes), persistence::section<Flows>(persistence::kFlows),
            persistence::section<Kit>(persistence::kVlanKit)};
}

}  // namespace vlan

}  // namespace virtual_onu
