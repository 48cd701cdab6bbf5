// What a living ONU counts of an OLT's messages, as metrics.
#ifndef VORN_ONU_MESSAGE_COUNTS_H
#define VORN_ONU_MESSAGE_COUNTS_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "living/Metrics.h"
#include "living/Playing.h"
#include "omci/message/FrameGate.h"

namespace vorn_onu {

class MessageCounts {
public:
    // A request with what came of it, or a message that the ONU sent by itself.
    void add(const Played& played);
    // For all that were added; gate: of the same line, with what it let not through; ofOthers: datagrams that were not
    // the peer's.
    living::MetricText metrics(const omci::GateCounters& gate, std::uint64_t ofOthers, const omci::Mib& mib) const;

private:
    std::map<std::pair<std::string, std::string>, std::uint64_t> requests_;  // by type and result
    std::map<std::string, std::uint64_t> autonomous_;                        // by type
    living::Histogram durations_;
    std::uint64_t repeated_ = 0, faults_ = 0, problems_ = 0;
};

}  // namespace vorn_onu

#endif
