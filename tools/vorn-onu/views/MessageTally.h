// What came of all messages together: counts, and the refused ones by name.
#ifndef VORN_ONU_MESSAGE_TALLY_H
#define VORN_ONU_MESSAGE_TALLY_H

#include <cstddef>
#include <string>
#include <vector>

#include "living/Playing.h"

namespace vorn_onu {

// No other result than the capture's, no refusal but the capture's own, no failed call of the HAL.
bool isAsExpected(const Played& played);

struct MessageTally {
    static constexpr std::size_t kMaxNamed = 20;

    std::size_t requests = 0;                // messages of the OLT
    std::size_t captured = 0, same = 0;      // answers that the capture has; of them those that are the same here
    std::size_t otherResults = 0;            // answers with another result than the capture's
    std::size_t refused = 0;                 // without the next
    std::size_t refusedAsCaptured = 0;       // with the same result as in the capture
    std::size_t wrongCodes = 0;              // messages and answers of the capture
    std::size_t calls = 0, failedCalls = 0;  // of the HAL
    std::size_t problems = 0;                // what the HAL cannot do
    std::vector<std::string> firstRefused;   // kMaxNamed at most: "5 set T-CONT 0x8000: unknown instance"

    void add(const Played& played);
    bool good() const { return otherResults == 0 && refused == 0 && failedCalls == 0; }
};

}  // namespace vorn_onu

#endif
