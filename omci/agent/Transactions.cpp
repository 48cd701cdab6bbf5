#include "omci/agent/Transactions.h"

namespace omci {

namespace {

bool isSame(const Message& one, const Message& other) {
    return one.transaction == other.transaction && one.type == other.type && one.set == other.set &&
           one.entity == other.entity && one.content == other.content;
}

}  // namespace

const Message* Transactions::answered(const Message& request) const {
    const auto& last = last_[request.highPriority() ? 1 : 0];
    return last && isSame(last->request, request) ? &last->answer : nullptr;
}

void Transactions::keep(const Message& request, const Message& answer) {
    auto& last = last_[request.highPriority() ? 1 : 0];
    if (!last) last.emplace();
    // Assigned, not recreated: the room of the contents is used again.
    last->request = request;
    last->answer = answer;
}

}  // namespace omci
