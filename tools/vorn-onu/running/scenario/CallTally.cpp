#include "running/scenario/CallTally.h"

namespace vorn_onu {

void CallTally::add(const std::string& operation, bool failed) {
    const std::lock_guard<std::mutex> lock(mutex_);
    OperationCount& one = counts_[operation];
    one.name = operation;
    ++one.calls;
    one.failures += failed ? 1U : 0U;
}

std::vector<OperationCount> CallTally::counts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<OperationCount> all;
    for (const auto& [name, count] : counts_) all.push_back(count);
    return all;
}

// Never destroyed: inside of programs, threads go on while the process ends.
CallTally& callTally() {
    static CallTally& tally = *new CallTally;
    return tally;
}

}  // namespace vorn_onu
