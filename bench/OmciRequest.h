// A request of an OLT, one transaction after the other.
#ifndef BENCH_OMCI_REQUEST_H
#define BENCH_OMCI_REQUEST_H

#include "omci/message/Contents.h"

namespace omci_bench {

inline std::uint16_t next(std::uint16_t& transaction) {
    return transaction = static_cast<std::uint16_t>(transaction == 0x7FFF ? 1 : transaction + 1);
}

inline omci::Message request(std::uint16_t& transaction, omci::MessageType type, omci::EntityKey entity,
                             const omci::Content& content) {
    omci::Message message;
    message.transaction = next(transaction);
    message.type = type;
    message.answerWanted = true;
    message.entity = entity;
    encodeContent(message, content);
    return message;
}

}  // namespace omci_bench

#endif
