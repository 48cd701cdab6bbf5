#include <algorithm>
#include <utility>

#include "omci/message/ContentReader.h"
#include "omci/message/Contents.h"
#include "omci/message/Lookup.h"

namespace omci {

namespace {

// One content being read: the fields and which set they came in.
struct Source {
    ContentReader reader;
    bool extended;
    bool badCount = false;

    Result result() { return static_cast<Result>(reader.number8()); }
    bool hasMasks(Result result) const { return result == Result::kAttributesFailed; }
};

Bytes copyOf(ByteView bytes) {
    return bytes.copy();
}

// The window's size travels as its number of sections less one.
std::uint16_t windowSize(Source& source) {
    return static_cast<std::uint16_t>(source.reader.number8() + 1);
}

std::vector<InstanceId> readImages(Source& source) {
    const std::size_t count = source.reader.number8();
    std::vector<InstanceId> images;
    if (count * 2 > source.reader.left()) {
        source.badCount = true;
        return images;
    }
    for (std::size_t at = 0; at < count; ++at) images.push_back(source.reader.number16());
    return images;
}

std::vector<ImageResult> readImageResults(Source& source) {
    const std::size_t count = source.reader.number8();
    std::vector<ImageResult> images;
    if (count * 3 > source.reader.left()) {
        source.badCount = true;
        return images;
    }
    for (std::size_t at = 0; at < count; ++at) {
        const InstanceId image = source.reader.number16();
        images.push_back({image, source.result()});
    }
    return images;
}

AlarmBits readAlarmBits(Source& source) {
    AlarmBits bits{};
    const ByteView bytes = source.reader.exactly(kAlarmBytes);
    std::copy(bytes.begin(), bytes.end(), bits.begin());
    return bits;
}

Content readAttributeValues(Source& source, std::size_t baselineValues) {
    AttributeValues values;
    values.mask = source.reader.number16();
    values.values = copyOf(source.extended ? source.reader.rest() : source.reader.upTo(baselineValues));
    return values;
}

Content readTime(Source& source) {
    TimeSet set;
    if (source.extended && source.reader.left() == 0) return set;
    DateTime time;
    time.year = source.reader.number16();
    time.month = source.reader.number8();
    time.day = source.reader.number8();
    time.hour = source.reader.number8();
    time.minute = source.reader.number8();
    time.second = source.reader.number8();
    set.time = time;
    return set;
}

Content readDownloadStart(Source& source) {
    DownloadStart start;
    start.windowSize = windowSize(source);
    start.imageSize = source.reader.number32();
    start.images = readImages(source);
    return start;
}

Content readDownloadEnd(Source& source) {
    DownloadEnd end;
    end.crc = source.reader.number32();
    end.imageSize = source.reader.number32();
    end.images = readImages(source);
    return end;
}

Content readTablePartAsked(Source& source) {
    const AttributeMask mask = source.reader.number16();
    return TablePartAsked{mask, source.reader.number16()};
}

Content readSection(Source& source) {
    ImageSection section;
    section.number = source.reader.number8();
    section.data = copyOf(source.reader.rest());
    return section;
}

Content readRequest(MessageType type, Source& source) {
    switch (type) {
        case MessageType::kCreate:
            return CreateValues{copyOf(source.reader.rest())};
        case MessageType::kSet:
        case MessageType::kSetTable:
            return readAttributeValues(source, kBaselineSetValues);
        case MessageType::kGet:
        case MessageType::kGetCurrentData:
            return AttributesAsked{source.reader.number16()};
        case MessageType::kGetNext:
            return readTablePartAsked(source);
        case MessageType::kGetAllAlarms:
        case MessageType::kActivateImage:
        case MessageType::kReboot:
            return Flags{source.reader.number8()};
        case MessageType::kGetAllAlarmsNext:
        case MessageType::kMibUploadNext:
            return CommandNumber{source.reader.number16()};
        case MessageType::kTest:
            return TestContent{copyOf(source.reader.rest())};
        case MessageType::kStartSoftwareDownload:
            return readDownloadStart(source);
        case MessageType::kDownloadSection:
            return readSection(source);
        case MessageType::kEndSoftwareDownload:
            return readDownloadEnd(source);
        case MessageType::kSynchronizeTime:
            return readTime(source);
        default:
            return NoContent{};
    }
}

Content readAutonomous(MessageType type, Source& source) {
    switch (type) {
        case MessageType::kAttributeValueChange:
            return readAttributeValues(source, kBaselineSetValues);
        case MessageType::kTestResult:
            return TestContent{copyOf(source.reader.rest())};
        default:
            break;
    }
    AlarmState state;
    state.bits = readAlarmBits(source);
    if (!source.extended) source.reader.exactly(kBaselineContent - kAlarmBytes - 1);
    state.sequence = source.reader.number8();
    return state;
}

Content readSetAnswer(Source& source) {
    SetAnswer answer;
    answer.result = source.result();
    if (!source.hasMasks(answer.result)) return answer;
    answer.unsupported = source.reader.number16();
    answer.failed = source.reader.number16();
    return answer;
}

Content readGetAnswer(Source& source) {
    GetAnswer answer;
    answer.result = source.result();
    const bool masks = source.hasMasks(answer.result);
    if (!source.extended) {
        answer.mask = source.reader.number16();
        // Without an error many ONUs use the room of the masks for values.
        answer.values = copyOf(source.reader.upTo(masks ? kBaselineGetValues : kBaselineTablePart));
        if (masks) {
            answer.unsupported = source.reader.number16();
            answer.failed = source.reader.number16();
        }
        return answer;
    }
    // Refused altogether, an answer may end with its result.
    if (source.reader.left() == 0) return answer;
    answer.mask = source.reader.number16();
    answer.unsupported = source.reader.number16();
    answer.failed = source.reader.number16();
    if (!masks) answer.unsupported = answer.failed = 0;
    answer.values = copyOf(source.reader.rest());
    return answer;
}

Content readTablePartAnswer(Source& source) {
    TablePartAnswer answer;
    answer.result = source.result();
    if (source.extended && source.reader.left() == 0) return answer;
    answer.mask = source.reader.number16();
    answer.part = copyOf(source.reader.rest());
    return answer;
}

Content readUploadEntries(Source& source) {
    UploadEntries entries;
    while (source.reader.left() > 0) {
        const std::size_t size = source.extended ? source.reader.number16() : kBaselineUploadValues;
        UploadEntry entry;
        entry.entity.classId = source.reader.number16();
        entry.entity.instance = source.reader.number16();
        entry.mask = source.reader.number16();
        entry.values = copyOf(source.reader.exactly(size));
        // Behind the end an answer is all zeros.
        if (entry.entity.classId != 0) entries.entries.push_back(std::move(entry));
    }
    return entries;
}

Content readAlarmEntries(Source& source) {
    AlarmEntries entries;
    while (source.reader.left() > 0) {
        AlarmEntry entry;
        entry.entity.classId = source.reader.number16();
        entry.entity.instance = source.reader.number16();
        entry.bits = readAlarmBits(source);
        if (entry.entity.classId != 0) entries.entries.push_back(entry);
    }
    return entries;
}

Content readCreateAnswer(Source& source) {
    CreateAnswer answer;
    answer.result = source.result();
    if (answer.result == Result::kParameterError && source.reader.left() > 0) answer.failed = source.reader.number16();
    return answer;
}

Content readDownloadStartAnswer(Source& source) {
    DownloadStartAnswer answer;
    answer.result = source.result();
    answer.windowSize = windowSize(source);
    if (source.reader.left() > 0) answer.images = readImageResults(source);
    return answer;
}

Content readAnswer(MessageType type, Source& source) {
    switch (type) {
        case MessageType::kCreate:
            return readCreateAnswer(source);
        case MessageType::kSet:
        case MessageType::kSetTable:
            return readSetAnswer(source);
        case MessageType::kGet:
        case MessageType::kGetCurrentData:
            return readGetAnswer(source);
        case MessageType::kGetNext:
            return readTablePartAnswer(source);
        case MessageType::kGetAllAlarms:
        case MessageType::kMibUpload:
            return CommandNumber{source.reader.number16()};
        case MessageType::kMibUploadNext:
            return readUploadEntries(source);
        case MessageType::kGetAllAlarmsNext:
            return readAlarmEntries(source);
        case MessageType::kStartSoftwareDownload:
            return readDownloadStartAnswer(source);
        case MessageType::kDownloadSection: {
            const Result result = source.result();
            return SectionAnswer{result, source.reader.number8()};
        }
        case MessageType::kEndSoftwareDownload: {
            DownloadEndAnswer answer;
            answer.result = source.result();
            if (source.reader.left() > 0) answer.images = readImageResults(source);
            return answer;
        }
        case MessageType::kSynchronizeTime: {
            const Result result = source.result();
            return TimeAnswer{result, source.reader.left() > 0 && source.reader.number8() == 1};
        }
        default:
            return ResultAnswer{source.result()};
    }
}

}  // namespace

const char* nameOf(ContentError error) {
    static constexpr Names<ContentError> kNames[] = {
        {ContentError::kNone, "no error"},
        {ContentError::kReservedType, "message type without a meaning in this set"},
        {ContentError::kTooShort, "content too short"},
        {ContentError::kBadCount, "list of images longer than the content"},
    };
    return lookUp(kNames, error, "unknown error");
}

DecodedContent decodeContent(const Message& message) {
    DecodedContent decoded;
    const bool extended = message.set == MessageSet::kExtended;
    if (!isKnown(message.type) || (message.type == MessageType::kSetTable && !extended)) {
        decoded.error = ContentError::kReservedType;
        return decoded;
    }
    Source source{ContentReader(message.content), extended};
    if (isAutonomous(message.type)) {
        decoded.content = readAutonomous(message.type, source);
    } else {
        decoded.content = message.isAnswer ? readAnswer(message.type, source) : readRequest(message.type, source);
    }
    if (source.badCount) decoded.error = ContentError::kBadCount;
    if (source.reader.tooShort()) decoded.error = ContentError::kTooShort;
    if (decoded.error != ContentError::kNone) decoded.content = NoContent{};
    return decoded;
}

namespace {

template <class Answer>
auto resultIn(const Answer& answer, int) -> decltype(std::optional<Result>(answer.result)) {
    return answer.result;
}
template <class Other>
std::optional<Result> resultIn(const Other&, long) {
    return std::nullopt;
}

}  // namespace

std::optional<Result> resultOf(const Content& content) {
    return std::visit([](const auto& one) { return resultIn(one, 0); }, content);
}

}  // namespace omci
