#include "omci/message/MessageText.h"

#include <cstdio>

#include "omci/message/ValueText.h"

namespace omci {

namespace {

std::string hex16(std::uint16_t number) {
    return hexNumber(number, 4);
}

// Puts each content's fields into the text.
class MessageTextBuilder {
public:
    MessageTextBuilder(const Message& message, MessageText& text) : message_(message), text_(text) {}

    void operator()(const NoContent&) {}
    void operator()(const CreateValues& create) {
        const ClassInfo* info = findClass(message_.entity.classId);
        if (info == nullptr) return add("values", hexText(create.values));
        addValues(info->setByCreate(), create.values, Tables::kRow);
    }
    void operator()(const AttributeValues& values) {
        addValues(values.mask, values.values, extended() ? Tables::kRows : Tables::kRow);
    }
    void operator()(const AttributesAsked& asked) { addNames("attributes", asked.mask); }
    void operator()(const TablePartAsked& asked) {
        addNames("table", asked.mask);
        add("part", asked.part);
    }
    void operator()(const Flags& flags) {
        if (message_.type == MessageType::kGetAllAlarms) {
            add("alarms", flags.flags == 0 ? "all" : "those not held back");
        } else {
            static constexpr const char* kWhen[] = {"at once", "without a voice call", "without an emergency call"};
            add("when", flags.flags < 3 ? std::string(kWhen[flags.flags]) : std::to_string(flags.flags));
        }
    }
    void operator()(const CommandNumber& command) { add(message_.isAnswer ? "parts" : "part", command.number); }
    void operator()(const TestContent& test) {
        if (!allAre(test.bytes, 0)) add(isAutonomous(message_.type) ? "test result" : "test", hexText(test.bytes));
    }
    void operator()(const DownloadStart& start) {
        add("window size", start.windowSize);
        add("image size", start.imageSize);
        addImages(start.images);
    }
    void operator()(const ImageSection& section) {
        add("section", section.number);
        add("bytes", section.data.size());
    }
    void operator()(const DownloadEnd& end) {
        add("CRC", hexNumber(end.crc, 8));
        add("image size", end.imageSize);
        addImages(end.images);
    }
    void operator()(const TimeSet& set) {
        if (!set.time) return;
        char text[48];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", set.time->year, set.time->month,
                      set.time->day, set.time->hour, set.time->minute, set.time->second);
        add("time", text);
    }
    void operator()(const AlarmState& state) {
        add("alarms", alarmNames(message_.entity.classId, state.bits));
        add("sequence", state.sequence);
    }

    void operator()(const ResultAnswer& answer) { setResult(answer.result, 0, 0); }
    void operator()(const CreateAnswer& answer) { setResult(answer.result, 0, answer.failed); }
    void operator()(const SetAnswer& answer) { setResult(answer.result, answer.unsupported, answer.failed); }
    void operator()(const GetAnswer& answer) {
        addValues(answer.mask, answer.values, Tables::kSizes);
        setResult(answer.result, answer.unsupported, answer.failed);
    }
    void operator()(const TablePartAnswer& answer) {
        setResult(answer.result, 0, 0);
        if (answer.result != Result::kSuccess) return;
        addNames("table", answer.mask);
        add("bytes", hexText(answer.part));
    }
    void operator()(const UploadEntries& entries) {
        for (const UploadEntry& entry : entries.entries) {
            std::string values;
            MessageText one;
            MessageTextBuilder(message_, one)
                .addValuesOf(entry.entity.classId, entry.mask, entry.values, Tables::kSizes);
            for (const NamedValue& value : one.values)
                values += (values.empty() ? "" : ", ") + value.name + " " + value.value;
            add(entityText(entry.entity), values);
        }
        if (entries.entries.empty()) add("entries", "none");
    }
    void operator()(const AlarmEntries& entries) {
        for (const AlarmEntry& entry : entries.entries) {
            add(entityText(entry.entity), alarmNames(entry.entity.classId, entry.bits));
        }
        if (entries.entries.empty()) add("entries", "none");
    }
    void operator()(const DownloadStartAnswer& answer) {
        setResult(answer.result, 0, 0);
        add("window size", answer.windowSize);
        addImages(answer.images);
    }
    void operator()(const SectionAnswer& answer) {
        setResult(answer.result, 0, 0);
        add("section", answer.number);
    }
    void operator()(const DownloadEndAnswer& answer) {
        setResult(answer.result, 0, 0);
        addImages(answer.images);
    }
    void operator()(const TimeAnswer& answer) {
        setResult(answer.result, 0, 0);
        add("date and time", answer.taken ? "taken over" : "not taken over");
    }

private:
    bool extended() const { return message_.set == MessageSet::kExtended; }

    void add(std::string name, std::string value) { text_.values.push_back({std::move(name), std::move(value)}); }
    void add(std::string name, std::size_t number) { add(std::move(name), std::to_string(number)); }
    void addNames(const char* name, AttributeMask mask) { add(name, attributeNames(message_.entity.classId, mask)); }
    void addImages(const std::vector<InstanceId>& images) {
        for (const InstanceId image : images) add("image", hex16(image));
    }
    void addImages(const std::vector<ImageResult>& images) {
        for (const ImageResult& image : images) add("image " + hex16(image.image), nameOf(image.result));
    }
    void addValues(AttributeMask mask, ByteView values, Tables tables) {
        addValuesOf(message_.entity.classId, mask, values, tables);
    }
    void addValuesOf(ClassId classId, AttributeMask mask, ByteView values, Tables tables) {
        const ClassInfo* info = findClass(classId);
        if (info == nullptr) {
            add("attributes", hex16(mask));
            return add("values", hexText(values));
        }
        const SplitValues split = splitValues(*info, mask, values, tables);
        for (const auto& [attribute, value] : split.values) {
            const bool size = attribute->isTable() && tables == Tables::kSizes;
            add(attribute->name,
                size ? std::to_string(numberOf(value)) + " bytes" : valueText(classId, *attribute, value));
        }
        if (split.unknown != 0) add("unknown attributes", attributeNames(classId, split.unknown));
        if (split.tooShort) add("cut", "the last values are missing");
    }
    void setResult(Result result, AttributeMask unsupported, AttributeMask failed) {
        const ClassId classId = message_.entity.classId;
        text_.result = nameOf(result);
        if (unsupported != 0) text_.result += ": " + attributeNames(classId, unsupported) + " not supported";
        if (failed != 0) text_.result += (unsupported != 0 ? "; " : ": ") + attributeNames(classId, failed) + " failed";
    }

    const Message& message_;
    MessageText& text_;
};

}  // namespace

MessageText textOf(const Message& message) {
    MessageText text;
    text.upstream = isUpstream(message);
    text.transaction = message.transaction == 0 ? "-" : hex16(message.transaction);
    text.type = nameOf(message.type);
    if (!isKnown(message.type)) text.type += " type " + std::to_string(static_cast<unsigned>(message.type));
    text.entity = entityText(message.entity);
    const DecodedContent decoded = decodeContent(message);
    if (decoded.error != ContentError::kNone) {
        text.error = nameOf(decoded.error);
    } else {
        std::visit(MessageTextBuilder(message, text), decoded.content);
    }
    return text;
}

std::string lineOf(const MessageText& text) {
    std::string line = text.upstream ? "ONU  " : "OLT  ";
    line += text.transaction + "  " + text.type + "  " + text.entity;
    for (std::size_t at = 0; at < text.values.size(); ++at) {
        line += (at == 0 ? "  " : ", ") + text.values[at].name + " " + text.values[at].value;
    }
    if (!text.result.empty()) line += "  " + text.result;
    if (!text.error.empty()) line += "  (" + text.error + ")";
    return line;
}

std::string alarmNames(ClassId classId, const AlarmBits& bits) {
    const ClassInfo* info = findClass(classId);
    std::string names;
    for (std::size_t alarm = 0; alarm < kAlarmBytes * 8; ++alarm) {
        if ((bits[alarm / 8] & 0x80U >> alarm % 8) == 0) continue;
        std::string name = "alarm " + std::to_string(alarm);
        if (info != nullptr) {
            for (const CodeWord& word : info->alarms()) {
                if (word.code == alarm) name = word.word;
            }
            for (const AttributeInfo& attribute : info->attributes()) {
                if (attribute.thresholdAlarm == static_cast<int>(alarm)) name = attribute.name;
            }
        }
        names += (names.empty() ? "" : ", ") + name;
    }
    return names.empty() ? "none" : names;
}

}  // namespace omci
