// The tables behind the codes of a tagging row, and the steps that every inserter shares.
#include "BRCM/BCM968580/DATA/TagRule.h"

#include <iterator>

#include "BRCM/BCM968580/DATA/EtherSwitchBcm380.h"
#include "BRCM/BCM968580/DATA/TagCodes.h"
#include "state/Facts.h"
#include "state/Journal.h"

namespace {

// What a TPID/DEI code stands for.
struct TpidCode {
    enum Tpid { None, Customer, Record } tpid;  // Record: the TPID that the operation was given
    std::optional<std::uint32_t> dei;
};

constexpr TpidCode kNoTpid = {TpidCode::None, std::nullopt};

// clang-format off
constexpr TpidCode kTpidFilters[] = {
    kNoTpid, kNoTpid, kNoTpid, kNoTpid,
    /* 4 */ {TpidCode::Customer, std::nullopt},
    /* 5 */ {TpidCode::Record, std::nullopt},
    /* 6 */ {TpidCode::Record, 0},
    /* 7 */ {TpidCode::Record, 1},
};
constexpr TpidCode kTpidTreatments[] = {
    kNoTpid, kNoTpid, kNoTpid, kNoTpid,
    /* 4 */ {TpidCode::Customer, std::nullopt},
    /* 5 */ kNoTpid,
    /* 6 */ {TpidCode::Record, 0},
    /* 7 */ {TpidCode::Record, 1},
};
constexpr std::uint32_t kEtherTypes[] = {
    /* 1 IPv4 */            0x0800,
    /* 2 PPPoE discovery */ 0x8863,
    /* 3 ARP */             0x0806,
    /* 4 PPPoE session */   0x8864,
    /* 5 IPv6 */            0x86DD,
    /* 6 EAPOL */           0x888E,
};

// Pushes (above 0) or pops (below 0) of a VlanTagAction.
constexpr int kTagCountChanges[] = {
    /* 0 */           0,
    /* 1 push */      1,
    /* 2 pop */      -1,
    /* 3 none */      0,
    /* 4 push two */  2,
    /* 5 pop two */  -2,
    /* 6 translate */ 0,
};
// clang-format on

std::optional<TpidDei> look(const TpidCode& code, std::uint32_t recordTpid) {
    if (code.tpid == TpidCode::None) return std::nullopt;
    return TpidDei{code.tpid == TpidCode::Customer ? kTpidCustomer : recordTpid, code.dei};
}

int tagCountChange(std::uint32_t tagAction) {
    return tagAction < std::size(kTagCountChanges) ? kTagCountChanges[tagAction] : 0;
}

state::RuleTable tableOf(const TagRuleTable& table) {
    return {table.device, table.direction, table.tags};
}

std::uint8_t narrow(std::uint32_t number) {
    return static_cast<std::uint8_t>(number);
}

// The rules that the table has, asked of vlanctl once.
std::uint32_t rulesBefore(const TagRuleTable& table) {
    std::uint32_t count = 0;
    if (state::rulesInTable(tableOf(table), &count)) return count;
    unsigned int counted = 0;
    if (vlanCtl_getNbrOfRulesInTable(table.device, table.direction, table.tags, &counted) == 0) count = counted;
    state::noteRulesInTable(tableOf(table), count);
    return count;
}

// The next rules have been noted together.
bool rulesAreNoted = false;

void noteIfLoose(const TagRuleTable& table, std::uint32_t id, bool recorded) {
    if (!recorded && id != VLANCTL_DONT_CARE) state::ruleIsLoose(tableOf(table), id);
}

void pushOrPop(TagRule& rule, int change) {
    for (; change > 0; --change) rule.push();
    for (; change < 0; ++change) rule.pop();
}

}  // namespace

std::optional<TpidDei> tpidFilterOf(std::uint32_t code, std::uint32_t inputTpid) {
    return code < std::size(kTpidFilters) ? look(kTpidFilters[code], inputTpid) : std::nullopt;
}

std::optional<TpidDei> tpidTreatmentOf(std::uint32_t code, std::uint32_t outputTpid) {
    return code < std::size(kTpidTreatments) ? look(kTpidTreatments[code], outputTpid) : std::nullopt;
}

std::optional<std::uint32_t> etherTypeOf(std::uint32_t code, std::uint32_t highestCode) {
    if (code == ETHERTYPE_FILTER_NONE || code > highestCode || code > std::size(kEtherTypes)) return std::nullopt;
    return kEtherTypes[code - 1];
}

TagRule& TagRule::filterTpid(const std::optional<TpidDei>& code, std::uint32_t tag) {
    if (!code) return *this;
    tag == 0 ? filterEtherType(code->tpid) : filterTagEtherType(code->tpid, tag - 1);
    return code->dei ? filterCfi(*code->dei, tag) : *this;
}

TagRule& TagRule::setTpid(const std::optional<TpidDei>& code, std::uint32_t tag) {
    if (!code) return *this;
    tag == 0 ? setEtherType(code->tpid) : setTagEtherType(code->tpid, tag - 1);
    return code->dei ? setCfi(*code->dei, tag) : *this;
}

TagRule& TagRule::writeTag(std::uint32_t pbits, std::uint32_t vid, std::uint32_t tag, bool translates,
                           DscpMapping dscp) {
    using namespace tag_codes;
    if (isPbits(pbits)) setPbits(pbits, tag);
    if (pbits == kPrioFromInner && translates) copyPbits(kInnerTag, tag);
    if (pbits == kPrioFromOuter && translates) copyPbits(kOuterTag, tag);
    if (pbits == kPrioFromDscp && (translates || dscp == DscpMapping::Always)) dscpToPbits(tag);
    if (isVid(vid)) setVid(vid, tag);
    if (vid == kVidFromInner && translates) copyVid(kInnerTag, tag);
    if (vid == kVidFromOuter && translates) copyVid(kOuterTag, tag);
    return *this;
}

TagRule& TagRule::changeTagCount(std::uint32_t tagAction) {
    pushOrPop(*this, tagCountChange(tagAction));
    return *this;
}

TagRule& TagRule::revertTagCount(std::uint32_t tagAction) {
    pushOrPop(*this, -tagCountChange(tagAction));
    return *this;
}

// ---- noted ahead ----

RuleTablesNoted::RuleTablesNoted(const char* device, std::uint32_t direction, std::uint32_t first, std::uint32_t last) {
    state::Journal* const journal = state::journal();
    if (journal == nullptr) return;
    state::ByteWriter step;
    step.addRaw(stepOf(state::Step::InsertRules, device, narrow(direction), narrow(first)));
    for (std::uint32_t tags = first; tags <= last; ++tags) step.add(rulesBefore({device, direction, tags}));
    journal->intend(step.bytes());
    rulesAreNoted = true;
}

RuleTablesNoted::~RuleTablesNoted() {
    rulesAreNoted = false;
}

void insertComposedRule(const TagRuleTable& table, std::uint32_t* id) {
    const auto insert = [&] {
        return vlanCtl_insertTagRule(table.device, table.direction, table.tags, table.position, table.reference, id);
    };
    state::Journal* const journal = state::journal();
    if (journal == nullptr) {
        insert();
        return;
    }
    const state::Operation operation;
    const std::uint32_t before = rulesBefore(table);
    if (!rulesAreNoted)
        journal->intend(
            stepOf(state::Step::InsertRules, table.device, narrow(table.direction), narrow(table.tags), before));
    const bool inserted = insert() == 0;
    journal->result(inserted ? *id : VLANCTL_DONT_CARE);
    if (inserted) state::noteRulesInTable(tableOf(table), before + 1);
}

// ---- rules ----

std::uint32_t TagRule::insert(const TagRuleTable& table) {
    std::uint32_t id = VLANCTL_DONT_CARE;
    insertComposedRule(table, &id);
    noteIfLoose(table, id, false);
    return id;
}

bool TagRule::install(EtherSwitchBcm380& engine, const TagRuleTable& table, std::uint32_t phyId) {
    const state::Operation operation;
    std::uint32_t id = VLANCTL_DONT_CARE;
    insertComposedRule(table, &id);
    const bool recorded = engine.insertVlanRuleMapEntry(table.device, static_cast<std::uint16_t>(phyId),
                                                        static_cast<std::uint16_t>(table.direction), table.tags, id);
    noteIfLoose(table, id, recorded);
    return recorded;
}

bool TagRule::install(EtherSwitchBcm380& engine, const TagRuleTable& table, std::uint32_t phyId,
                      const VlanExtVlanTagOper_t& row) {
    const state::Operation operation;
    std::uint32_t id = VLANCTL_DONT_CARE;
    insertComposedRule(table, &id);
    const bool recorded = engine.insertVlanRuleMapEntry(table.device, static_cast<std::uint16_t>(phyId),
                                                        static_cast<std::uint16_t>(table.direction), table.tags,
                                                        &row.outer_filter, &row.inner_filter, id, row.etherType);
    noteIfLoose(table, id, recorded);
    return recorded;
}
