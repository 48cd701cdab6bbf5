#include "omci/agent/Endpoint.h"

#include <algorithm>
#include <utility>

namespace omci {

Received Endpoint::receive(ByteView frame) {
    ++counters_.received;
    return handle(decodeFrame(frame), frame);
}

Received Endpoint::handle(const DecodedFrame& decoded, ByteView frame) {
    Received received;
    received.error = decoded.error;
    if (decoded.error != FrameError::kNone) {
        ++counters_.badFrames;
        return received;
    }
    received.request = decoded.message;
    if (integrity_.used()) {
        // Without the trailer (in captures) a frame has no code, and is not whole.
        const auto code = integrity_.codeOf(frame.part(0, decoded.protectedSize), Direction::kDownstream);
        if (!decoded.integrityCode || decoded.integrityCode != code) {
            ++counters_.badIntegrity;
            received.badIntegrity = true;
            return received;
        }
    }
    received.handled = agent_.handle(received.request);
    if (received.handled.repeated) ++counters_.repeated;
    if (received.handled.answer) {
        ++counters_.answered;
        received.answer = frameOf(*received.handled.answer);
    } else if (received.handled.dropped != Dropped::kNoAnswerAsked) {
        ++counters_.notRequests;
    }
    return received;
}

void Endpoint::enqueue(ByteView frame) {
    const bool urgent = !frame.empty() && (frame[0] & 0x80U) != 0;
    std::deque<Bytes>& queue = urgent ? urgent_ : waiting_;
    if (std::any_of(queue.begin(), queue.end(), [frame](const Bytes& other) { return frame == other; })) {
        ++counters_.received;
        ++counters_.repeated;
        return;
    }
    queue.push_back(frame.copy());
}

std::optional<Received> Endpoint::handleNext() {
    std::deque<Bytes>& queue = urgent_.empty() ? waiting_ : urgent_;
    if (queue.empty()) return std::nullopt;
    const Bytes frame = std::move(queue.front());
    queue.pop_front();
    return receive(frame);
}

std::vector<Bytes> Endpoint::takeAutonomous() {
    std::vector<Bytes> frames;
    for (const Message& message : agent_.takeAutonomous()) frames.push_back(frameOf(message));
    counters_.autonomous += frames.size();
    return frames;
}

Bytes Endpoint::frameOf(const Message& message) const {
    Bytes frame = encodeFrame(message);
    integrity_.protect(frame, Direction::kUpstream);
    return frame;
}

}  // namespace omci
