#include <algorithm>

#include "omci/message/Contents.h"

namespace omci {

namespace {

// Writes the fields of one content behind each other.
class Writer {
public:
    explicit Writer(const Message& message)
        : extended_(message.set == MessageSet::kExtended),
          maxContent_(extended_ ? kMaxExtendedContent : kBaselineContent) {}

    Bytes finish() {
        bytes_.resize(extended_ ? std::min(bytes_.size(), maxContent_) : kBaselineContent, 0);
        return std::move(bytes_);
    }

    void operator()(const NoContent&) {}
    void operator()(const CreateValues& create) { put(create.values); }
    void operator()(const AttributeValues& values) {
        put16(values.mask);
        put(values.values);
    }
    void operator()(const AttributesAsked& asked) { put16(asked.mask); }
    void operator()(const TablePartAsked& asked) {
        put16(asked.mask);
        put16(asked.part);
    }
    void operator()(const Flags& flags) { put8(flags.flags); }
    void operator()(const CommandNumber& command) { put16(command.number); }
    void operator()(const TestContent& test) { put(test.bytes); }
    void operator()(const DownloadStart& start) {
        put8(windowField(start.windowSize));
        put32(start.imageSize);
        putImages(start.images);
    }
    void operator()(const ImageSection& section) {
        put8(section.number);
        put(section.data);
    }
    void operator()(const DownloadEnd& end) {
        put32(end.crc);
        put32(end.imageSize);
        putImages(end.images);
    }
    void operator()(const TimeSet& set) {
        if (!set.time) return;
        put16(set.time->year);
        for (const std::uint8_t field :
             {set.time->month, set.time->day, set.time->hour, set.time->minute, set.time->second}) {
            put8(field);
        }
    }
    void operator()(const AlarmState& state) {
        put({state.bits.data(), state.bits.size()});
        if (!extended_) bytes_.resize(kBaselineContent - 1, 0);
        put8(state.sequence);
    }

    void operator()(const ResultAnswer& answer) { putResult(answer.result); }
    void operator()(const CreateAnswer& answer) {
        putResult(answer.result);
        put16(answer.failed);
    }
    void operator()(const SetAnswer& answer) {
        putResult(answer.result);
        if (answer.result != Result::kAttributesFailed) return;
        put16(answer.unsupported);
        put16(answer.failed);
    }
    void operator()(const GetAnswer& answer) {
        putResult(answer.result);
        put16(answer.mask);
        if (extended_) {
            put16(answer.unsupported);
            put16(answer.failed);
            put(answer.values);
            return;
        }
        put(ByteView(answer.values).part(0, kBaselineGetValues));
        if (answer.result != Result::kAttributesFailed) return;
        bytes_.resize(3 + kBaselineGetValues, 0);
        put16(answer.unsupported);
        put16(answer.failed);
    }
    void operator()(const TablePartAnswer& answer) {
        putResult(answer.result);
        put16(answer.mask);
        put(answer.part);
    }
    void operator()(const UploadEntries& entries) {
        for (const UploadEntry& entry : entries.entries) {
            if (extended_) put16(static_cast<std::uint16_t>(entry.values.size()));
            putKey(entry.entity);
            put16(entry.mask);
            put(entry.values);
            if (!extended_) break;
        }
        // Behind the end an answer holds an entry of zeros.
        if (entries.entries.empty()) bytes_.resize(8, 0);
    }
    void operator()(const AlarmEntries& entries) {
        for (const AlarmEntry& entry : entries.entries) {
            putKey(entry.entity);
            put({entry.bits.data(), entry.bits.size()});
            if (!extended_) break;
        }
        if (entries.entries.empty()) bytes_.resize(4 + kAlarmBytes, 0);
    }
    void operator()(const DownloadStartAnswer& answer) {
        putResult(answer.result);
        put8(windowField(answer.windowSize));
        putImages(answer.images);
    }
    void operator()(const SectionAnswer& answer) {
        putResult(answer.result);
        put8(answer.number);
    }
    void operator()(const DownloadEndAnswer& answer) {
        putResult(answer.result);
        putImages(answer.images);
    }
    void operator()(const TimeAnswer& answer) {
        putResult(answer.result);
        put8(answer.taken ? 1 : 0);
    }

private:
    void put8(std::uint8_t value) { bytes_.push_back(value); }
    void put16(std::uint16_t value) { appendNumber(bytes_, value, 2); }
    void put32(std::uint32_t value) { appendNumber(bytes_, value, 4); }
    void put(ByteView bytes) {
        const ByteView part = bytes.part(0, maxContent_ > bytes_.size() ? maxContent_ - bytes_.size() : 0);
        bytes_.insert(bytes_.end(), part.begin(), part.end());
    }
    void putResult(Result result) { put8(static_cast<std::uint8_t>(result)); }
    void putKey(EntityKey key) {
        put16(key.classId);
        put16(key.instance);
    }
    static std::uint8_t windowField(std::uint16_t windowSize) {
        return static_cast<std::uint8_t>(std::clamp<std::uint16_t>(windowSize, 1, 256) - 1);
    }
    // As many images as the number before them can say and the set can hold.
    template <class Image>
    std::size_t countOf(const std::vector<Image>& images, std::size_t size) const {
        return std::min({images.size(), std::size_t{255}, (maxContent_ - bytes_.size() - 1) / size});
    }
    void putImages(const std::vector<InstanceId>& images) {
        const std::size_t count = countOf(images, 2);
        put8(static_cast<std::uint8_t>(count));
        for (std::size_t at = 0; at < count; ++at) put16(images[at]);
    }
    void putImages(const std::vector<ImageResult>& images) {
        const std::size_t count = countOf(images, 3);
        put8(static_cast<std::uint8_t>(count));
        for (std::size_t at = 0; at < count; ++at) {
            put16(images[at].image);
            putResult(images[at].result);
        }
    }

    bool extended_;
    std::size_t maxContent_;
    Bytes bytes_;
};

}  // namespace

void encodeContent(Message& message, const Content& content) {
    Writer writer(message);
    std::visit(writer, content);
    message.content = writer.finish();
}

}  // namespace omci
