// The last answer of each priority: a request that comes once more is answered with it and not executed again.
#ifndef OMCI_AGENT_TRANSACTIONS_H
#define OMCI_AGENT_TRANSACTIONS_H

#include <array>
#include <optional>

#include "omci/message/Message.h"

namespace omci {

class Transactions {
public:
    // The answer that the same request had; null for a new one.
    const Message* answered(const Message& request) const;
    void keep(const Message& request, const Message& answer);
    void clear() { last_ = {}; }

private:
    struct Exchange {
        Message request, answer;
    };
    std::array<std::optional<Exchange>, 2> last_;  // low, high priority
};

}  // namespace omci

#endif
