// The rules that the kit has, by table and source.
#ifndef BRCM_BCM968580_DATA_G988_INSTALLED_H
#define BRCM_BCM968580_DATA_G988_INSTALLED_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "BRCM/BCM968580/DATA/g988/Rule.h"

namespace g988 {

struct InstalledRule {
    std::uint32_t id = 0;
    Rule rule;
    std::int32_t place = 0;  // rises along the table
};

class InstalledTable {
public:
    using BySource =
        std::map<std::uint16_t, std::vector<InstalledRule>>;  // each in the order of the table; none is empty

    bool isEmpty() const { return size_ == 0; }
    std::size_t size() const { return size_; }
    const BySource& bySource() const { return rules_; }
    const std::vector<InstalledRule>& of(std::uint16_t source) const;
    std::vector<InstalledRule> inOrder() const;
    std::set<std::uint32_t> ids() const;
    const InstalledRule* find(std::uint32_t id) const;  // null: none

    void insertFront(std::uint32_t id, const Rule& rule) { insert({id, rule, isEmpty() ? 0 : first_ - 1}); }
    void append(std::uint32_t id, const Rule& rule) { insert({id, rule, isEmpty() ? 0 : last_ + 1}); }
    void insert(InstalledRule rule);  // at its place
    void erase(std::uint16_t source, std::uint32_t id);

private:
    BySource rules_;
    std::size_t size_ = 0;
    std::int32_t first_ = 0, last_ = 0;  // places: no rule is before or behind them
};

using Installed = std::map<TableKey, InstalledTable>;

}  // namespace g988

#endif
