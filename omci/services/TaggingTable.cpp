#include "omci/services/TaggingTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "omci/services/HalCall.h"

namespace omci::services {

namespace {

bool same(const Tagging& one, const Tagging& other) {
    return one.inputTpid == other.inputTpid && one.outputTpid == other.outputTpid &&
           one.downstreamMode == other.downstreamMode && one.classSelector == other.classSelector &&
           one.standard == other.standard;
}

bool sameRule(const UniRule& one, const UniRule& other) {
    const auto same = [](const UniDataProvisioning& a, const UniDataProvisioning& b) {
        return HalCall{Operation::kFilterFlowAdd, a} == HalCall{Operation::kFilterFlowAdd, b};
    };
    return one.entity == other.entity && one.downstream == other.downstream && one.problems == other.problems &&
           std::equal(one.records.begin(), one.records.end(), other.records.begin(), other.records.end(), same);
}

}  // namespace

void TaggingTable::update(const std::vector<Bytes>& rows, MessageRef message) {
    std::vector<Row> updated;
    updated.reserve(rows.size());
    // The rows that stayed are in the same order as before, usually.
    auto next = rows_.begin();
    for (const Bytes& bytes : rows) {
        Row row{{}, message, nullptr, false};
        std::copy_n(bytes.begin(), std::min(bytes.size(), row.bytes.size()), row.bytes.begin());
        const auto isIt = [&](const Row& old) { return old.bytes == row.bytes; };
        auto found = std::find_if(next, rows_.end(), isIt);
        const bool ahead = found != rows_.end();
        if (!ahead) found = std::find_if(rows_.begin(), next, isIt);
        if (ahead || found != next) {
            row = *found;
            if (ahead) next = std::next(found);
        }
        updated.push_back(std::move(row));
    }
    rows_ = std::move(updated);
}

std::vector<std::shared_ptr<const UniRule>> TaggingTable::rules(EntityKey entity, const Tagging& tagging,
                                                                UniPort port) {
    if (!same(tagging, tagging_) || !(port == port_)) {
        for (Row& row : rows_) row.current = false;
        tagging_ = tagging;
        port_ = port;
    }
    std::vector<std::shared_ptr<const UniRule>> rules;
    rules.reserve(rows_.size());
    for (Row& row : rows_) {
        if (!std::exchange(row.current, true)) {
            auto rule = uniRule(decodeTaggingRow({row.bytes.data(), row.bytes.size()}), tagging, port);
            rule.source = row.bytes;
            rule.entity = entity;
            rule.message = row.message;
            // What the HAL is asked for stays the same often: then it is the same rule.
            if (row.rule == nullptr || !sameRule(*row.rule, rule))
                row.rule = std::make_shared<const UniRule>(std::move(rule));
        }
        rules.push_back(row.rule);
    }
    const auto before = [](const auto& one, const auto& other) { return isBefore(*one, *other); };
    if (!std::is_sorted(rules.begin(), rules.end(), before)) std::stable_sort(rules.begin(), rules.end(), before);
    return rules;
}

bool TaggingTable::passesAll() const {
    return std::all_of(rows_.begin(), rows_.end(), [](const Row& row) {
        return passesUnchanged(decodeTaggingRow({row.bytes.data(), row.bytes.size()}));
    });
}

}  // namespace omci::services
