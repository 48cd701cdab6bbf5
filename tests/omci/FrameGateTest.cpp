// Which datagrams of a line are executed: whole ones with the code that the line has.
#include "omci/message/FrameGate.h"
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

Bytes bridgeCreate() {
    Message message;
    message.transaction = 7;
    message.type = MessageType::kCreate;
    message.answerWanted = true;
    message.entity = {class_id::kBridge, 1};
    encodeContent(message, CreateValues{Bytes(17, 1)});
    return encodeFrame(message);
}

Bytes with(const Integrity& integrity, Bytes frame = bridgeCreate()) {
    integrity.protect(frame, Direction::kDownstream);
    return frame;
}
Bytes zeroed(Bytes frame) {
    frame.resize(44);
    frame.resize(48, 0);
    return frame;
}
Bytes cut(Bytes frame, std::size_t size) {
    frame.resize(size);
    return frame;
}
Bytes damaged(Bytes frame) {
    frame[20] ^= 1;
    return frame;
}

Gate take(FrameGate& gate, const Bytes& frame) {
    return gate.take(decodeFrame(frame), frame);
}

const Integrity kCmac = Integrity::aesCmac(AesKey{1, 2, 3});

}  // namespace

TEST(FrameGate, TheFirstMessageSaysWhatTheOthersHave) {
    FrameGate gate;
    EXPECT_EQ(take(gate, damaged(with(Integrity::crc()))), Gate::kWrongCode) << "says nothing";
    EXPECT_EQ(take(gate, with(Integrity::crc())), Gate::kTaken);
    EXPECT_EQ(take(gate, zeroed(bridgeCreate())), Gate::kWrongCode);
    EXPECT_EQ(take(gate, damaged(with(Integrity::crc()))), Gate::kWrongCode);
    for (std::size_t size = 39; size < 48; ++size)
        EXPECT_EQ(take(gate, cut(with(Integrity::crc()), size)), Gate::kOtherForm) << size;
    EXPECT_EQ(take(gate, cut(bridgeCreate(), 30)), Gate::kBadFrame);
    EXPECT_EQ(gate.counters().taken, 1U);
    EXPECT_EQ(gate.counters().wrongCodes, 3U);
    EXPECT_EQ(gate.counters().otherForms, 9U);
    EXPECT_EQ(gate.counters().badFrames, 1U);
}

TEST(FrameGate, WithoutCodesTheSizeStaysWhatItWas) {
    const std::pair<Bytes, std::size_t> forms[] = {
        {bridgeCreate(), 44}, {zeroed(bridgeCreate()), 48}, {cut(bridgeCreate(), 40), 40}};
    for (const auto& [first, size] : forms) {
        FrameGate gate;
        EXPECT_EQ(take(gate, first), Gate::kTaken) << size;
        for (std::size_t other = 39; other <= 48; ++other) {
            const Bytes frame = cut(zeroed(bridgeCreate()), other);
            EXPECT_EQ(take(gate, frame), other == size ? Gate::kTaken : Gate::kOtherForm) << size << " " << other;
        }
        EXPECT_EQ(gate.frameOf(decodeFrame(bridgeCreate()).message).size(), size);
    }
}

TEST(FrameGate, AKindThatWasAskedForIsTheOnlyOne) {
    if (!hasAes()) GTEST_SKIP() << "this build has no AES";
    const std::pair<Integrity, Integrity> kinds[] = {{Integrity::crc(), kCmac}, {kCmac, Integrity::crc()}};
    for (const auto& [wanted, other] : kinds) {
        FrameGate gate(wanted);
        EXPECT_EQ(take(gate, with(other)), Gate::kWrongCode);
        EXPECT_EQ(take(gate, bridgeCreate()), Gate::kOtherForm);
        EXPECT_EQ(take(gate, zeroed(bridgeCreate())), Gate::kWrongCode);
        EXPECT_EQ(take(gate, with(wanted)), Gate::kTaken);
        const Bytes answer = gate.frameOf(decodeFrame(bridgeCreate()).message);
        EXPECT_EQ(number32(answer, 44), wanted.codeOf(ByteView(answer).part(0, 44), Direction::kUpstream));
    }
    FrameGate none{Integrity()};
    EXPECT_EQ(take(none, damaged(with(kCmac))), Gate::kTaken);
    EXPECT_EQ(take(none, bridgeCreate()), Gate::kOtherForm);
}

// The published example of the extended set: its bytes are of another source than this library.
TEST(FrameGate, ExtendedMessagesAreWholeToTheByte) {
    const Bytes get = hex("1234 49 0B 0107 0000 0002 0040");
    FrameGate gate;
    EXPECT_EQ(take(gate, hex("1234 49 0B 0107 0000 0002 0040 BD33567B")), Gate::kTaken);
    EXPECT_EQ(take(gate, hex("1234 49 0B 0107 0000 0002 0040 BD33567C")), Gate::kWrongCode);
    EXPECT_EQ(take(gate, get), Gate::kOtherForm);
    EXPECT_EQ(take(gate, hex("1234 49 0B 0107 0000 0002 0040 BD3356")), Gate::kOtherForm);
    EXPECT_EQ(take(gate, hex("1234 49 0B 0107 0000 0002 0040 BD33567B 00")), Gate::kOtherForm);
    FrameGate withoutCodes;
    EXPECT_EQ(take(withoutCodes, hex("1234 49 0B 0107 0000 0002 0040 00")), Gate::kOtherForm);
    EXPECT_EQ(take(withoutCodes, get), Gate::kTaken);
    EXPECT_EQ(take(withoutCodes, hex("1234 49 0B 0107 0000 0002 0040 BD33567B")), Gate::kOtherForm);
}

}  // namespace omci
