// What a board offers that an OLT's messages come to: its MIB, the messages, and faults of its answers.
#ifndef VORN_ONU_OLT_SIDE_H
#define VORN_ONU_OLT_SIDE_H

#include <cstddef>
#include <cstdint>

#include <nlohmann/json_fwd.hpp>

#include "living/Metrics.h"
#include "running/scenario/MessageFaults.h"

namespace vorn_onu::living {

class OltSide : public MessageFaults {
public:
    // All with the HAL held (OwnBoard::hal()). Lists of objects as docs/living.md has them.
    virtual nlohmann::json mib() = 0;
    // Messages behind this number, at most so many, as far as they are kept.
    virtual nlohmann::json messages(std::uint64_t after, std::size_t most) = 0;
    virtual std::uint64_t messageCount() const = 0;
    virtual MetricText metrics() = 0;  // of messages and MIB
};

}  // namespace vorn_onu::living

#endif
