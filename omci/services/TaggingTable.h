// The rows of one extended VLAN tagging entity, each with the message that set it and its rule, once worked out.
#ifndef OMCI_SERVICES_TAGGING_TABLE_H
#define OMCI_SERVICES_TAGGING_TABLE_H

#include <array>
#include <memory>
#include <vector>

#include "omci/message/Bytes.h"
#include "omci/services/UniRules.h"

namespace omci::services {

class TaggingTable {
public:
    // Takes the rows as they are now; those that are new come from message.
    void update(const std::vector<Bytes>& rows, MessageRef message);

    // The rules of all rows, in list order.
    std::vector<std::shared_ptr<const UniRule>> rules(EntityKey entity, const Tagging& tagging, UniPort port);
    // Every row lets its frames pass as they are.
    bool passesAll() const;

private:
    struct Row {
        std::array<std::uint8_t, kTaggingRowSize> bytes;
        MessageRef message;
        std::shared_ptr<const UniRule> rule;  // null: not worked out yet
        bool current = false;                 // the rule is for the tagging and port that are asked for
    };

    std::vector<Row> rows_;
    Tagging tagging_;  // that the rules were worked out for
    UniPort port_;
};

}  // namespace omci::services

#endif
