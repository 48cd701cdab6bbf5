// Frames, contents and integrity codes.
#include "omci/message/Integrity.h"
#include "omci/message/MessageText.h"
#include "omci/message/TaggingRow.h"
#include "tests/omci/OmciFixture.h"

namespace omci {

namespace {

const AesKey kKey{0x18, 0x4b, 0x8a, 0xd4, 0xd1, 0xac, 0x4a, 0xf4, 0xdd, 0x4b, 0x33, 0x9e, 0xcc, 0x0d, 0x33, 0x70};

Bytes baseline(const std::string& header, const std::string& content = "", const std::string& trailer = "00000028") {
    Bytes frame = hex(header + content);
    frame.resize(40, 0);
    for (const std::uint8_t byte : hex(trailer)) frame.push_back(byte);
    return frame;
}

TEST(Bytes, ANumberFillsAFieldThatIsLongerThanIt) {
    Bytes bytes = {7};
    appendNumber(bytes, 0x8000000000000102, 10);
    EXPECT_EQ(bytes, (Bytes{7, 0, 0, 0x80, 0, 0, 0, 0, 0, 1, 2}));
    // What has no room for the whole number is 0.
    EXPECT_EQ((std::tuple(number16(bytes, 9), number16(bytes, 10), number32(bytes, 7), number32(bytes, 8))),
              (std::tuple(0x0102, 0, 0x00000102U, 0U)));
}

}  // namespace

TEST(Integrity, CodesOfPublishedFrames) {
    const struct {
        Bytes frame;
        std::uint32_t crc, cmacDown, cmacUp;
    } kFrames[] = {
        {baseline("8000490A01000000", "0080"), 0xA116EEF2, 0x78DCA53D, 0x682F5C73},
        {hex("1234490B0107000000020040"), 0xBD33567B, 0x014FFBC6, 0},
        {baseline("00014F0A00020000"), 0x09127329, 0x5DE94968, 0},
    };
    for (const auto& frame : kFrames) {
        EXPECT_EQ(Integrity::crc().codeOf(frame.frame, Direction::kDownstream), frame.crc);
        if (!hasAes()) continue;
        const Integrity cmac = Integrity::aesCmac(kKey);
        EXPECT_EQ(cmac.codeOf(frame.frame, Direction::kDownstream), frame.cmacDown);
        if (frame.cmacUp == 0) continue;
        EXPECT_EQ(cmac.codeOf(frame.frame, Direction::kUpstream), frame.cmacUp);
    }
    const std::string text = "123456789";
    EXPECT_EQ(crc32({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}), 0xFC891918U);
}

TEST(Integrity, KeysOfASession) {
    if (!hasAes()) GTEST_SKIP() << "built without libcrypto";
    AesKey session{};
    const Bytes bytes = hex("795fcf6cb215224087430600dd170f07");
    std::copy(bytes.begin(), bytes.end(), session.begin());
    const auto keys = sessionKeys(session);
    ASSERT_TRUE(keys);
    EXPECT_EQ(keys->omciIntegrity, kKey);
    EXPECT_EQ(ByteView(keys->ploamIntegrity.data(), 16), ByteView(hex("e256ce76785c78717c7b3044ab28e2cd")));
    EXPECT_EQ(ByteView(keys->keyEncryption.data(), 16), ByteView(hex("6f9c99b8361768937e453b165f609710")));
    // Made with another implementation of the code. A shorter id counts with zeros behind it.
    const struct {
        const char* registrationId;
        const char* key;
    } kSessions[] = {
        {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20212223",
         "e4059bddf65554099f4b46def0389c0c"},
        {"30313233343536373839", "3b7a8f44f619efee3d654fad88e60b84"},
    };
    for (const auto& wanted : kSessions) {
        const auto key = sessionKey(hex(wanted.registrationId), hex("564f524e00012345"), hex("0102030405060708"));
        ASSERT_TRUE(key);
        EXPECT_EQ(ByteView(key->data(), key->size()), ByteView(hex(wanted.key)));
    }
}

// Captures cut frames in several places; whatever is there has to be read, and nothing behind it.
TEST(Frames, AreReadAtTheLengthsThatCapturesHave) {
    const struct {
        MessageSet set;
        std::size_t size;
        FrameError error;
        bool code;
    } kCases[] = {
        {MessageSet::kBaseline, 0, FrameError::kTooShort, false},
        {MessageSet::kBaseline, 9, FrameError::kTooShort, false},
        {MessageSet::kBaseline, 38, FrameError::kTooShort, false},
        {MessageSet::kBaseline, 39, FrameError::kNone, false},
        {MessageSet::kBaseline, 40, FrameError::kNone, false},
        {MessageSet::kBaseline, 44, FrameError::kNone, false},
        {MessageSet::kBaseline, 47, FrameError::kNone, false},
        {MessageSet::kBaseline, 48, FrameError::kNone, true},
        {MessageSet::kBaseline, 49, FrameError::kTooLong, false},
        {MessageSet::kExtended, 11, FrameError::kContentTooLong, false},
        {MessageSet::kExtended, 12, FrameError::kNone, false},
        {MessageSet::kExtended, 16, FrameError::kNone, true},
        {MessageSet::kExtended, 60, FrameError::kNone, true},
    };
    for (const auto& wanted : kCases) {
        Bytes frame =
            hex(wanted.set == MessageSet::kBaseline ? "8001490A0100000000800102" : "8001490B01000000 00020080");
        frame.resize(wanted.size, 0);
        const DecodedFrame decoded = decodeFrame(frame);
        EXPECT_EQ(decoded.error, wanted.error) << wanted.size;
        if (decoded.error != FrameError::kNone) continue;
        EXPECT_EQ(decoded.integrityCode.has_value(), wanted.code) << wanted.size;
        EXPECT_EQ(decoded.message.content.size(), wanted.set == MessageSet::kBaseline ? 32U : 2U);
    }
    EXPECT_EQ(decodeFrame(baseline("8001C90A01000000")).error, FrameError::kReservedBit);
    EXPECT_EQ(decodeFrame(baseline("8001490C01000000")).error, FrameError::kUnknownSet);
    Bytes tooMuch(2100, 0);
    tooMuch[3] = 0x0B;
    putNumber(tooMuch.data() + 8, kMaxExtendedContent + 1, 2);
    EXPECT_EQ(decodeFrame(tooMuch).error, FrameError::kContentTooLong);
}

// Every message, there and back in both sets: what was said is what is heard.
TEST(Contents, ComeBackAsTheyWere) {
    const AlarmBits bits{0x80, 0x01};
    const struct {
        MessageType type;
        bool answer;
        Content content;
        const char* line;
    } kMessages[] = {
        {MessageType::kSet, false, AttributeValues{0x8000, hex("0400")}, "Alloc-ID 1024"},
        {MessageType::kSet, true, SetAnswer{Result::kAttributesFailed, 0x4000, 0x2000},
         "attributes failed or unknown: Deprecated (mode indicator) not supported; Policy failed"},
        {MessageType::kGet, false, AttributesAsked{0xA000}, "attributes Alloc-ID, Policy"},
        {MessageType::kGet, true, GetAnswer{Result::kSuccess, 0xA000, hex("040001"), 0, 0},
         "Alloc-ID 1024, Policy strict priority  success"},
        {MessageType::kGet, true, GetAnswer{Result::kAttributesFailed, 0x8000, hex("0400"), 0x0001, 0x2000},
         "Alloc-ID 1024  attributes failed or unknown: attribute 16 not supported; Policy failed"},
        {MessageType::kCreate, true, CreateAnswer{Result::kParameterError, 0x8000}, "parameter error: Alloc-ID failed"},
        {MessageType::kGetNext, false, TablePartAsked{0x0400, 3}, "table attribute 6, part 3"},
        {MessageType::kGetAllAlarms, false, Flags{1}, "alarms those not held back"},
        {MessageType::kReboot, false, Flags{2}, "when without an emergency call"},
        {MessageType::kMibUpload, true, CommandNumber{300}, "parts 300"},
        {MessageType::kMibUploadNext, true, UploadEntries{{{{262, 0x8001}, 0x8000, hex("0400")}}},
         "T-CONT 0x8001 Alloc-ID 1024"},
        {MessageType::kGetAllAlarmsNext, true, AlarmEntries{{{{11, 0x0101}, bits}}},
         "PPTP Ethernet UNI 0x0101 LAN-LOS, alarm 15"},
        {MessageType::kStartSoftwareDownload, false, DownloadStart{256, 70000, {1}},
         "window size 256, image size 70000, image 0x0001"},
        {MessageType::kStartSoftwareDownload, true,
         DownloadStartAnswer{Result::kDeviceBusy, 16, {{1, Result::kDeviceBusy}}},
         "window size 16, image 0x0001 device busy  device busy"},
        {MessageType::kDownloadSection, true, SectionAnswer{Result::kSuccess, 255}, "section 255  success"},
        {MessageType::kEndSoftwareDownload, false, DownloadEnd{0x12345678, 70000, {1}},
         "CRC 0x12345678, image size 70000, image 0x0001"},
        {MessageType::kSynchronizeTime, false, TimeSet{DateTime{2026, 11, 25, 3, 4, 5}}, "time 2026-11-25 03:04:05"},
        {MessageType::kSynchronizeTime, true, TimeAnswer{Result::kSuccess, true}, "date and time taken over  success"},
        {MessageType::kAlarm, false, AlarmState{bits, 255}, "alarms alarm 0, alarm 15, sequence 255"},
        {MessageType::kAttributeValueChange, false, AttributeValues{0x8000, hex("0400")}, "Alloc-ID 1024"},
    };
    for (const MessageSet set : {MessageSet::kBaseline, MessageSet::kExtended}) {
        for (const auto& wanted : kMessages) {
            Message message;
            message.transaction = 0x8123;
            message.type = wanted.type;
            message.isAnswer = wanted.answer;
            message.answerWanted = !wanted.answer;
            message.set = set;
            message.entity = {class_id::kTCont, 0x8001};
            encodeContent(message, wanted.content);
            const DecodedFrame decoded = decodeFrame(encodeFrame(message));
            ASSERT_EQ(decoded.error, FrameError::kNone);
            EXPECT_EQ(decoded.message.transaction, 0x8123);
            EXPECT_EQ(decoded.message.isAnswer, wanted.answer);
            Message again = decoded.message;
            encodeContent(again, decodeContent(decoded.message).content);
            EXPECT_EQ(again.content, message.content) << wanted.line;
            const std::string line = lineOf(textOf(decoded.message));
            EXPECT_EQ(line.substr(line.find("0x8001  ") == std::string::npos ? 0 : line.find("0x8001  ") + 8),
                      wanted.line);
        }
    }
}

// Many ONUs fill the room of both masks with values where nothing failed.
TEST(Contents, AGetAnswerMayUseAllOfItsRoom) {
    const DecodedFrame frame =
        decodeFrame(baseline("0001290A01010000", "00 8000 4142434445464748494A4B4C4D4E4F50515253 54"));
    const Content content = decodeContent(frame.message).content;
    EXPECT_EQ(std::get<GetAnswer>(content).values.size(), kBaselineTablePart);
}

TEST(Contents, BytesThatAreNoContentAreNamed) {
    const struct {
        const char* frame;
        ContentError error;
    } kCases[] = {
        {"0001430A01000000", ContentError::kReservedType},             // a withdrawn type
        {"00015D0A01000000", ContentError::kReservedType},             // set table does not exist in the baseline set
        {"0001480B01000000 0001 80", ContentError::kTooShort},         // half a mask
        {"0001530A00070001 00 00000000 10", ContentError::kBadCount},  // sixteen images in a baseline message
        {"00012E0B00020000 0006 0010 0002 0000", ContentError::kTooShort},  // an entry of which the end is missing
    };
    for (const auto& wanted : kCases) {
        Bytes bytes = hex(wanted.frame);
        if (bytes[3] == 0x0A) bytes.resize(40, 0);
        const DecodedFrame frame = decodeFrame(bytes);
        ASSERT_EQ(frame.error, FrameError::kNone) << wanted.frame;
        EXPECT_EQ(decodeContent(frame.message).error, wanted.error) << wanted.frame;
    }
}

// Fields with codes that have no meaning, at the ends of those that have one.
TEST(TaggingRows, HaveCodesThatMeanSomething) {
    using Fields = std::vector<unsigned>;
    const struct {
        const char* field;
        void (*set)(TaggingRow&, unsigned);
        Fields good, bad;
    } kFields[] = {
        {"p-bits",
         [](TaggingRow& row, unsigned code) { row.inner.priority = code & 0xFU; },
         {0, 7, 8, 14, 15},
         {9, 13}},
        {"VID", [](TaggingRow& row, unsigned code) { row.outer.vid = code & 0x1FFFU; }, {0, 4094, 4096}, {4095, 4097}},
        {"TPID", [](TaggingRow& row, unsigned code) { row.inner.tpid = code & 7U; }, {0, 4, 7}, {1, 3}},
        {"criteria", [](TaggingRow& row, unsigned code) { row.extendedCriteria = code & 0xFFU; }, {0, 2}, {3}},
        {"type", [](TaggingRow& row, unsigned code) { row.ethertype = code & 0xFU; }, {0, 5}, {6, 15}},
        {"added p-bits",
         [](TaggingRow& row, unsigned code) { row.outerTag.priority = code & 0xFU; },
         {0, 10, 15},
         {11, 14}},
        {"added VID",
         [](TaggingRow& row, unsigned code) { row.innerTag.vid = code & 0x1FFFU; },
         {0, 4094, 4096, 4097},
         {4095, 4098}},
        {"added TPID", [](TaggingRow& row, unsigned code) { row.outerTag.tpid = code & 7U; }, {0, 4, 6, 7}, {5}},
    };
    for (const auto& one : kFields) {
        for (const Fields& codes : {one.good, one.bad}) {
            for (const unsigned code : codes) {
                TaggingRow row;
                row.outer = row.inner = {TagFilter::kAnyPriority, 100, TagFilter::k8100};
                row.outerTag = row.innerTag = {0, 100, TagTreatment::k8100};
                one.set(row, code);
                EXPECT_EQ(isValid(row), codes == one.good) << one.field << " " << code;
            }
        }
    }
}

}  // namespace omci
