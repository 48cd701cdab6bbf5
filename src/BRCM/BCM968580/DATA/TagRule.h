// What the inserters of the engine share: the codes of a tagging row as filters and commands of a tag rule, and the
// insertion of a rule that the rule map records. kit/Rules.h shows how a rule is composed.
#ifndef BRCM_BCM968580_DATA_TAG_RULE_H
#define BRCM_BCM968580_DATA_TAG_RULE_H

#include <cstdint>
#include <optional>

#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "kit/Rules.h"

class EtherSwitchBcm380;

// Inserts the rule and records it under the table's device and phyId, with the filters of the tagging row that it was
// made from, if any. The result is that of the rule map.
bool installRule(EtherSwitchBcm380& engine, const kit::TagRule& rule, const kit::RuleTable& table, std::uint32_t phyId,
                 const VlanExtVlanTagOper_t* row = nullptr, kit::RulePosition position = {});
// The same rule in the table and those that follow it, up to lastTags, each once.
void installRuleInTables(EtherSwitchBcm380& engine, const kit::TagRule& rule, kit::RuleTable table,
                         std::uint32_t lastTags, std::uint32_t phyId, kit::RulePosition position);

constexpr std::uint32_t kTpidCustomer = 0x8100;

// Filter codes: 4 = 0x8100, 5 = the input TPID, 6 and 7 = the input TPID with DEI 0 and 1; others no filter.
std::optional<kit::TpidDei> tpidFilterOf(std::uint32_t code, std::uint32_t inputTpid);
// Treatment codes that hold for every inserter: 4 = 0x8100, 6 and 7 = the output TPID with DEI 0 and 1; others none
// here.
std::optional<kit::TpidDei> tpidTreatmentOf(std::uint32_t code, std::uint32_t outputTpid);
// The EtherType of a filter code up to maxCode (the two record forms know different numbers of codes).
std::optional<std::uint32_t> etherTypeOf(std::uint32_t code, std::uint32_t maxCode);

// p-bits and VID of one of the two tags that a treatment writes, by the codes of TagCodes.h. Values are copied from one
// tag to the other only where the row translates, since the tag to copy from may else be missing.
enum class DscpMapping { Always, OnlyWhenTranslating };
void writeTag(kit::TagRule& rule, std::uint32_t pbits, std::uint32_t vid, std::uint32_t tag, bool translates,
              DscpMapping dscp);
// The pushes or pops of a VlanTagAction, and those that take it back.
void changeTagCount(kit::TagRule& rule, std::uint32_t tagAction);
void revertTagCount(kit::TagRule& rule, std::uint32_t tagAction);

#endif
