#include "kit/Rules.h"

#include "kit/Asked.h"

namespace kit {

namespace {

std::uint8_t narrow(std::uint32_t number) {
    return static_cast<std::uint8_t>(number);
}

std::string tableKey(const RuleTable& table) {
    return keyOf(Entry::Tables, table.device, narrow(table.direction), narrow(table.tags));
}

// The number of rules in the table, as noted last; a device that the library has created began with none. False when
// nothing was noted.
bool notedRules(const state::Journal& journal, const RuleTable& table, std::uint32_t* count) {
    if (const std::string* const noted = journal.find(tableKey(table))) {
        *count = state::ByteReader(*noted).u32();
        return true;
    }
    *count = 0;
    const std::string* const device = journal.find(keyOf(Entry::Devices, table.device));
    return device != nullptr && state::ByteReader(*device).flag();
}

// The rules that the table has, asked of vlanctl once.
std::uint32_t rulesBefore(const state::Journal& journal, const RuleTable& table) {
    std::uint32_t count = 0;
    if (notedRules(journal, table, &count)) return count;
    unsigned int counted = 0;
    if (countRules(table, &counted) == 0) count = counted;
    noteRuleCount(table, count);
    return count;
}

}  // namespace

std::string ruleKey(const RuleTable& table, std::uint32_t id) {
    return keyOf(Entry::LooseRules, table.device, narrow(table.direction), narrow(table.tags), id);
}

// ---- composing ----

TagRule& TagRule::filterTpid(const std::optional<TpidDei>& code, std::uint32_t tag) {
    if (!code) return *this;
    if (tag == 0) {
        filterEtherType(code->tpid);
    } else {
        filterTagEtherType(code->tpid, tag - 1);
    }
    return code->dei ? filterCfi(*code->dei, tag) : *this;
}

TagRule& TagRule::setTpid(const std::optional<TpidDei>& code, std::uint32_t tag) {
    if (!code) return *this;
    if (tag == 0) {
        setEtherType(code->tpid);
    } else {
        setTagEtherType(code->tpid, tag - 1);
    }
    return code->dei ? setCfi(*code->dei, tag) : *this;
}

// ---- inserting ----

RuleInsertion::RuleInsertion(const RuleTable& first, std::uint32_t lastTags) : firstTags_(first.tags) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    state::ByteWriter step;
    step.addRaw(stepOf(Step::InsertRules, first.device, narrow(first.direction), narrow(first.tags)));
    for (std::uint32_t tags = first.tags; tags <= lastTags; ++tags) {
        const std::uint32_t count = rulesBefore(*journal, {first.device, first.direction, tags});
        rulesBefore_[tags - first.tags] = count;
        step.add(count);
    }
    journal->intend(step.bytes());
}

int RuleInsertion::insert(const RuleTable& table, const TagRule& rule, RulePosition position, std::uint32_t* id) {
    const int result = rule.insertInto(table, position, id);
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return result;
    journal->result(result == 0 ? *id : VLANCTL_DONT_CARE);
    if (result != 0) return result;
    noteRuleCount(table, rulesBefore_[table.tags - firstTags_] + 1);
    noteNeed(ruleKey(table, *id));
    return result;
}

int insertRule(const RuleTable& table, const TagRule& rule, RulePosition position, std::uint32_t* id) {
    return RuleInsertion(table, table.tags).insert(table, rule, position, id);
}

std::uint32_t insertLooseRule(const RuleTable& table, const TagRule& rule, RulePosition position) {
    std::uint32_t id = VLANCTL_DONT_CARE;
    insertRule(table, rule, position, &id);
    if (id != VLANCTL_DONT_CARE) noteLooseRule(table, id);
    return id;
}

void noteLooseRule(const RuleTable& table, std::uint32_t id) {
    if (state::Journal* const journal = state::journal()) journal->put(ruleKey(table, id), {});
}

// ---- removing, counting ----

int removeRule(const RuleTable& table, std::uint32_t id) {
    const int result = vlanCtl_removeTagRule(table.device.c_str(), table.direction, table.tags, id);
    if (result == 0) forgetRule(table, id);
    return result;
}

int removePlannedRule(const RuleTable& table, std::uint32_t id) {
    const BegunStep step(Step::RemoveRule, table.device, narrow(table.direction), narrow(table.tags), id);
    return removeRule(table, id);
}

bool removeUncountedRule(const RuleTable& table, std::uint32_t id) {
    return vlanCtl_removeTagRule(table.device.c_str(), table.direction, table.tags, id) == 0;
}

int countRules(const RuleTable& table, unsigned int* count) {
    return vlanCtl_getNbrOfRulesInTable(table.device.c_str(), table.direction, table.tags, count);
}

void setDefaultAction(const RuleTable& table, std::uint32_t action, const char* vlanIfc) {
    vlanCtl_setDefaultAction(table.device.c_str(), table.direction, table.tags, action, vlanIfc);
}

// ---- what the state file says of tables ----

void noteRuleCount(const RuleTable& table, std::uint32_t count) {
    if (state::Journal* const journal = state::journal())
        journal->put(tableKey(table), state::ByteWriter().add(count).take());
}

void noteNeedOfLooseRules(const RuleTable& table) {
    const state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    noteIncomplete();
    const std::string rules = keyOf(Entry::LooseRules, table.device, narrow(table.direction), narrow(table.tags));
    for (const auto& rule : journal->current(rules)) noteNeed(rule.first);
}

void forgetTable(const RuleTable& table) {
    if (state::Journal* const journal = state::journal()) journal->erase(tableKey(table));
}

void forgetRule(const RuleTable& table, std::uint32_t id) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    std::uint32_t count = 0;
    if (notedRules(*journal, table, &count) && count > 0) noteRuleCount(table, count - 1);
    if (journal->find(ruleKey(table, id)) != nullptr) journal->erase(ruleKey(table, id));
    noteLoss(ruleKey(table, id));
}

}  // namespace kit
