// The agent behind frames: checks what comes in, makes what goes out, and lets urgent requests overtake.
#ifndef OMCI_AGENT_ENDPOINT_H
#define OMCI_AGENT_ENDPOINT_H

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "omci/agent/Agent.h"
#include "omci/message/Integrity.h"

namespace omci {

// What came of one frame.
struct Received {
    FrameError error = FrameError::kNone;
    bool badIntegrity = false;  // the code is wrong or missing; the frame was dropped
    Message request;            // without an error
    Handled handled;
    Bytes answer;  // the answer's frame; empty where there is none
};

struct EndpointCounters {
    std::uint64_t received = 0;      // frames
    std::uint64_t answered = 0;      // of them, repeated ones as well
    std::uint64_t repeated = 0;      // answered once more, or waiting already
    std::uint64_t badFrames = 0;     // that are no messages
    std::uint64_t badIntegrity = 0;  // with a wrong code, or none
    std::uint64_t notRequests = 0;
    std::uint64_t autonomous = 0;  // sent
};

class Endpoint {
public:
    // agent lives as long as this object.
    Endpoint(Agent& agent, const Integrity& integrity) : agent_(agent), integrity_(integrity) {}

    // Handles one frame at once. Call Agent::afterAnswer() when the answer has been sent.
    Received receive(ByteView frame);

    // For frames that come in faster than they are handled: high priority is handled first, and a request that waits
    // already is not taken twice.
    void enqueue(ByteView frame);
    std::optional<Received> handleNext();

    // Frames of what the ONU sends by itself.
    std::vector<Bytes> takeAutonomous();
    // A message of the ONU as a frame, with its integrity code.
    Bytes frameOf(const Message& message) const;

    const EndpointCounters& counters() const { return counters_; }

private:
    Received handle(const DecodedFrame& decoded, ByteView frame);

    Agent& agent_;
    Integrity integrity_;
    EndpointCounters counters_;
    std::deque<Bytes> urgent_, waiting_;
};

}  // namespace omci

#endif
