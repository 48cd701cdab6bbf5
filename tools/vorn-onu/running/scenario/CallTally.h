// How often this process has called each operation of the HAL for a scenario, a client or an OLT.
#ifndef VORN_ONU_CALL_TALLY_H
#define VORN_ONU_CALL_TALLY_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vorn_onu {

struct OperationCount {
    std::string name;                       // without prefix: "gemflow_add"
    std::uint64_t calls = 0, failures = 0;  // failures: answered another number than 0
};

// May be used by any thread.
class CallTally {
public:
    void add(const std::string& operation, bool failed);
    std::vector<OperationCount> counts() const;  // by name

private:
    mutable std::mutex mutex_;
    std::map<std::string, OperationCount> counts_;
};

// The one of this process: there is one HAL.
CallTally& callTally();

}  // namespace vorn_onu

#endif
