#include "omci/services/StandardRules.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "omci/services/HalCall.h"
#include "omci/services/Numbers.h"

namespace omci::services {

namespace {

constexpr std::size_t kMaxFilterEntries = 12;  // of a filter's list
constexpr std::uint8_t kUntaggedFrames = 8;    // in a p-bit map: where frames without p-bits go
constexpr std::uint8_t kLastPassingMode = 1;   // downstream modes 0 and 1 let pass what no row has changed
constexpr std::uint16_t kEtherTypes[] = {0, 1, 2, 3, 5, 6};  // the HAL's codes by the standard's

void setFilter(const TagFilter& filter, std::uint8_t& priority, std::uint16_t& vid, std::uint16_t& tpid) {
    priority = filter.priority;
    vid = filter.vid;
    tpid = filter.tpid;
}

void setTreatment(const TagTreatment& treatment, std::uint8_t& priority, std::uint16_t& vid, std::uint16_t& tpid) {
    priority = treatment.priority;
    vid = treatment.adds() ? treatment.vid : std::uint16_t{0};
    tpid = treatment.adds() ? treatment.tpid : std::uint8_t{0};
}

bool takesSameFilters(const UniDataProvisioning& one, const UniDataProvisioning& other) {
    const auto filters = [](const UniDataProvisioning& record) {
        return std::make_tuple(record.filterType, record.etherType, record.outerFilterPrio, record.outerFilterVlanId,
                               record.outerFilterTpidDe, record.innerFilterPrio, record.innerFilterVlanId,
                               record.innerFilterTpidDe);
    };
    return filters(one) == filters(other);
}

bool sameRecords(const UniRule& one, const UniRule& other) {
    return std::equal(one.records.begin(), one.records.end(), other.records.begin(), other.records.end(),
                      [](const auto& a, const auto& b) {
                          return HalCall{Operation::kFilterFlowAdd, a} == HalCall{Operation::kFilterFlowAdd, b};
                      });
}

template <typename IsIt>
bool anyOf(const std::vector<UniRulePtr>& rules, IsIt isIt) {
    return std::any_of(rules.begin(), rules.end(), [&](const UniRulePtr& rule) { return isIt(*rule); });
}

bool hasSameFilters(const UniRule& one, const UniRule& other) {
    return !one.records.empty() && !other.records.empty() &&
           takesSameFilters(one.records.front(), other.records.front());
}

}  // namespace

UniRule standardRule(const TaggingRow& row, const Tagging& tagging, UniPort port) {
    UniRule rule;
    rule.row = row;
    if (row.extendedCriteria != 0 || row.ethertype >= std::size(kEtherTypes)) {
        rule.problems.emplace_back("no rule: DHCP is not told from other frames");
        return rule;
    }
    for (const TagTreatment& treatment : {row.outerTag, row.innerTag})
        if (treatment.priority == TagTreatment::kFromDscp && !tagging.classSelector && !rule.drops())
            rule.problems.emplace_back("p-bits from DSCP are DSCP / 8, whatever the DSCP map says");
    UniDataProvisioning record{};
    record.addFlag = record.hasTagRules = 1;
    record.bridgeId = port.bridgeId;
    record.uniPort = port.port;
    record.inputTpid = tagging.inputTpid;
    record.outputTpid = tagging.outputTpid;
    record.downstreamMode = tagging.downstreamMode;
    record.filterType = static_cast<std::uint16_t>(row.kind());
    record.etherType = kEtherTypes[row.ethertype];
    record.removeType = row.tagsToRemove;
    setFilter(row.outer, record.outerFilterPrio, record.outerFilterVlanId, record.outerFilterTpidDe);
    setFilter(row.inner, record.innerFilterPrio, record.innerFilterVlanId, record.innerFilterTpidDe);
    setTreatment(row.outerTag, record.outerTreatmentPrio, record.outerTreatmentVlanId, record.outerTreatmentTpidDe);
    setTreatment(row.innerTag, record.innerTreatmentPrio, record.innerTreatmentVlanId, record.innerTreatmentTpidDe);
    rule.records.push_back(record);
    return rule;
}

void addDeletedDefaults(EntityKey entity, const Tagging& tagging, UniPort port, std::vector<UniRulePtr>& rules) {
    for (const Bytes& bytes : defaultTaggingRows()) {
        TaggingRow row = decodeTaggingRow(bytes);
        row.tagsToRemove = TaggingRow::kDiscard;
        UniRule rule = standardRule(row, tagging, port);
        if (anyOf(rules, [&](const UniRule& other) { return hasSameFilters(rule, other); })) continue;
        rule.entity = entity;
        rules.push_back(std::make_shared<const UniRule>(std::move(rule)));
    }
}

bool passesBothWays(const std::vector<UniRulePtr>& rules) {
    return !anyOf(rules, [](const UniRule& rule) {
        return rule.records.empty() || !passesUnchanged(rule.row) ||
               rule.records.front().downstreamMode > kLastPassingMode;
    });
}

UniChange standardChange(const std::vector<UniRulePtr>& standing, const std::vector<UniRulePtr>& wanted) {
    UniChange change;
    for (const UniRulePtr& rule : standing)
        if (!anyOf(wanted, [&](const UniRule& other) { return hasSameFilters(*rule, other); }))
            change.remove.push_back(rule);
    for (const UniRulePtr& rule : wanted)
        if (!anyOf(standing, [&](const UniRule& other) { return sameRecords(*rule, other); }))
            change.add.push_back(rule);
    change.after = wanted;
    return change;
}

AniRules standardAniRules(std::uint16_t bridgeId, const GemService& gem, const VlanFilter& filter,
                          bool downstreamOnly) {
    AniRules rules;
    BridgeServiceProvisioning record{};
    record.bridgeId = bridgeId;
    record.gemPortId = gem.gemPortId;
    record.trafficModel = kOneFilterModel;
    record.inputTpid = record.outputTpid = 0x8100;
    record.forwardOperation = filter.operation;
    const std::size_t entries = std::min(filter.tcis.size(), kMaxFilterEntries);
    if (entries < filter.tcis.size()) rules.problems.emplace_back("the filter's list ends with its 12th entry");
    const std::string list = tciText({filter.tcis.begin(), filter.tcis.begin() + static_cast<std::ptrdiff_t>(entries)});
    list.copy(record.vlanTciFilterList, sizeof record.vlanTciFilterList - 1);
    record.numberOfEntries = static_cast<std::uint8_t>(entries);
    record.isMulticast = record.multicastService = downstreamOnly ? 1 : 0;
    const auto here = std::make_pair(gem.gemPortId, gem.queue);
    const auto nowhere = std::make_pair(kNoGemPort, std::uint16_t{0});
    for (std::uint8_t priority = 0; priority < kPriorities && !downstreamOnly; ++priority)
        record.pbitMap[priority] = (gem.priorities & 1U << priority) != 0 ? here : nowhere;
    const bool takesPbits0 = (gem.priorities & 1U) != 0;  // and with them untagged frames, unless it is said otherwise
    if (!downstreamOnly && gem.untagged != takesPbits0) record.pbitMap[kUntaggedFrames] = gem.untagged ? here : nowhere;
    rules.records.push_back(record);
    return rules;
}

}  // namespace omci::services
