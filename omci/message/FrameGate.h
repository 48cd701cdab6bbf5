// Which datagrams of a line are messages: those of the form and with the kind of integrity code that the line has.
#ifndef OMCI_MESSAGE_FRAME_GATE_H
#define OMCI_MESSAGE_FRAME_GATE_H

#include <cstdint>

#include "omci/message/Integrity.h"
#include "omci/message/Message.h"

namespace omci {

enum class Gate : std::uint8_t {
    kTaken,
    kBadFrame,   // is no message (DecodedFrame::error)
    kOtherForm,  // is longer or shorter than the line's messages are: cut on its way, or without the code
    kWrongCode,
};
const char* nameOf(Gate gate);

struct GateCounters {
    std::uint64_t taken = 0, badFrames = 0, otherForms = 0, wrongCodes = 0;
    std::uint64_t dropped() const { return badFrames + otherForms + wrongCodes; }
};

class FrameGate {
public:
    // Kind and form are those of the first request that is whole and known: with a CRC-32 that is right, with a code of
    // zeros that a driver would fill in, or without code.
    FrameGate() = default;
    // Codes of this kind alone; Integrity(): codes are not looked at, and the first message says whether there is room
    // for them.
    explicit FrameGate(const Integrity& integrity) : integrity_(integrity), isKindKnown_(true) {}

    // frame and what decodeFrame() gave for it.
    Gate take(const DecodedFrame& decoded, ByteView frame);
    // A message of the ONU in the form of the line, with its code; where codes are not used their room has zeros.
    Bytes frameOf(const Message& message) const;

    const GateCounters& counters() const { return counters_; }

private:
    enum class Form : std::uint8_t { kUnknown, kWithoutTrailer, kWithoutCode, kWithCode };
    static Form formOf(const DecodedFrame& decoded, ByteView frame);
    Gate judge(const DecodedFrame& decoded, ByteView frame);
    bool hasRightCode(const Integrity& integrity, const DecodedFrame& decoded, ByteView frame) const;

    Integrity integrity_;
    bool isKindKnown_ = false;
    Form form_ = Form::kUnknown;
    GateCounters counters_;
};

}  // namespace omci

#endif
