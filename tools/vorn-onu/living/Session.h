// Does on a board in this process what requests ask for: looks at it, and takes a scenario's steps.
#ifndef VORN_ONU_SESSION_H
#define VORN_ONU_SESSION_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "running/scenario/Scenario.h"

namespace vorn_onu::living {

// Not safe for several threads at once.
class Session {
public:
    // hal: null where a program owns it; calls of its operations are refused then. records: by name, for call steps.
    Session(virtual_onu::VirtualOnu& onu, VornHal* hal, Held<Json> records = {});
    // Faults of the answers to an OLT are armed there, and shown.
    void connect(MessageFaults& faults) { context_.messageFaults = &faults; }
    // {"do": "show"}, {"do": "step", "step": {...}}, ... The text of the reply, a refusal too.
    std::string answer(const Json& request);

private:
    nlohmann::json done(const Json& request);
    nlohmann::json show(const Json& request);
    std::vector<virtual_onu::TraceEntry> failedCalls();
    nlohmann::json step(const Json& request);
    nlohmann::json send(const Json& request);
    nlohmann::json trace(const Json& request) const;
    nlohmann::json counters() const;
    nlohmann::json armedFaults() const;
    nlohmann::json news(const Json& request) const;

    virtual_onu::VirtualOnu& onu_;
    RunContext context_;
    ParseContext parsing_;
    std::size_t steps_ = 0;
    std::deque<virtual_onu::TraceEntry> failed_;  // the latest calls into the device kit that failed
    std::uint64_t failedUpTo_ = 0;                // as far as the trace has been looked at
};

// Whether the step calls an operation of the HAL.
bool isCall(const Json& step);

}  // namespace vorn_onu::living

#endif
