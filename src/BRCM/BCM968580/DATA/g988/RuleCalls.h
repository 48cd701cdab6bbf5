// A rule as the calls of the kit that make it.
#ifndef BRCM_BCM968580_DATA_G988_RULE_CALLS_H
#define BRCM_BCM968580_DATA_G988_RULE_CALLS_H

#include <cstdint>

#include "BRCM/BCM968580/DATA/g988/Rule.h"
#include "kit/Rules.h"

namespace g988 {

enum class Position : std::uint8_t { Front, End };

kit::RuleTable kitTableOf(const TableKey& table);

// Composes the rule and inserts it; the caller holds a kit::VlanCtlSession. 0 and the rule's id in *id, or the code of
// the first call that failed, and then nothing has been inserted.
int insertRule(const TableKey& table, const Rule& rule, Position position, std::uint32_t* id);
// 0, or the kit's code.
int removeRule(const TableKey& table, std::uint32_t id);

}  // namespace g988

#endif
