#include "omci/message/FrameGate.h"

#include "omci/message/Lookup.h"

namespace omci {

namespace {

constexpr std::size_t kCodeSize = 4;
constexpr std::size_t kWithoutTrailerSize = kBaselineFrame - 8;

}  // namespace

const char* nameOf(Gate gate) {
    static constexpr Names<Gate> kNames[] = {
        {Gate::kTaken, "taken"},
        {Gate::kBadFrame, "no message"},
        {Gate::kOtherForm, "not whole: another size than the messages of this line have"},
        {Gate::kWrongCode, "wrong integrity code"},
    };
    return lookUp(kNames, gate, "unknown reason");
}

FrameGate::Form FrameGate::formOf(const DecodedFrame& decoded, ByteView frame) {
    if (decoded.message.set == MessageSet::kExtended) {
        if (frame.size() == decoded.protectedSize + kCodeSize) return Form::kWithCode;
        return frame.size() == decoded.protectedSize ? Form::kWithoutCode : Form::kUnknown;
    }
    switch (frame.size()) {
        case kBaselineFrame:
            return Form::kWithCode;
        case kBaselineFrame - kCodeSize:
            return Form::kWithoutCode;
        case kWithoutTrailerSize:
            return Form::kWithoutTrailer;
        default:
            return Form::kUnknown;
    }
}

bool FrameGate::hasRightCode(const Integrity& integrity, const DecodedFrame& decoded, ByteView frame) const {
    const auto code = integrity.codeOf(frame.part(0, decoded.protectedSize), Direction::kDownstream);
    return decoded.integrityCode && code && *decoded.integrityCode == *code;
}

Gate FrameGate::take(const DecodedFrame& decoded, ByteView frame) {
    const Gate gate = judge(decoded, frame);
    switch (gate) {
        case Gate::kTaken:
            ++counters_.taken;
            break;
        case Gate::kBadFrame:
            ++counters_.badFrames;
            break;
        case Gate::kOtherForm:
            ++counters_.otherForms;
            break;
        case Gate::kWrongCode:
            ++counters_.wrongCodes;
            break;
    }
    return gate;
}

Gate FrameGate::judge(const DecodedFrame& decoded, ByteView frame) {
    if (decoded.error != FrameError::kNone) return Gate::kBadFrame;
    const Form form = formOf(decoded, frame);
    if (form == Form::kUnknown) return Gate::kOtherForm;
    if (isKindKnown_ && integrity_.used()) {
        if (form != Form::kWithCode) return Gate::kOtherForm;
        if (!hasRightCode(integrity_, decoded, frame)) return Gate::kWrongCode;
        form_ = form;
        return Gate::kTaken;
    }
    if (form_ == Form::kUnknown) {
        if (isUpstream(decoded.message) || !isKnown(decoded.message.type)) return Gate::kBadFrame;
        const bool withCode = !isKindKnown_ && form == Form::kWithCode && *decoded.integrityCode != 0;
        if (withCode && !hasRightCode(Integrity::crc(), decoded, frame)) return Gate::kWrongCode;
        if (withCode) integrity_ = Integrity::crc();
        isKindKnown_ = true;
        form_ = form;
        return Gate::kTaken;
    }
    // Extended messages have no trailer in any form.
    const bool extended = decoded.message.set == MessageSet::kExtended;
    const bool fits = form == form_ || (extended && form == Form::kWithoutCode && form_ == Form::kWithoutTrailer);
    return fits ? Gate::kTaken : Gate::kOtherForm;
}

Bytes FrameGate::frameOf(const Message& message) const {
    Bytes frame = encodeFrame(message);
    if (integrity_.used())
        integrity_.protect(frame, Direction::kUpstream);
    else if (form_ == Form::kWithCode)
        frame.resize(frame.size() + kCodeSize, 0);
    else if (form_ == Form::kWithoutTrailer && message.set == MessageSet::kBaseline)
        frame.resize(kWithoutTrailerSize);
    return frame;
}

}  // namespace omci
