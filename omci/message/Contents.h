// What the content of each message says, whichever set it came in (ITU-T G.988, annex A).
#ifndef OMCI_MESSAGE_CONTENTS_H
#define OMCI_MESSAGE_CONTENTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "omci/message/Message.h"

namespace omci {

// ---- Sizes of the baseline set, bytes ----

constexpr std::size_t kBaselineGetValues = 25;     // values in an answer to get; leaves room for both masks
constexpr std::size_t kBaselineSetValues = 30;     // values of a set, an attribute value change
constexpr std::size_t kBaselineUploadValues = 26;  // values in one answer to MIB upload next
constexpr std::size_t kBaselineTablePart = 29;     // of a table in one answer to get next
constexpr std::size_t kBaselineSection = 31;       // of a software image
constexpr std::size_t kExtendedTablePart = 1963;
constexpr std::size_t kExtendedGetValues = 1959;
constexpr std::size_t kAlarmBytes = 28;

// ---- Requests, and what the ONU sends by itself ----

// delete, MIB upload, MIB reset, commit image
struct NoContent {};

// create: the values of all set-by-create attributes in order. In the baseline set zeros may follow.
struct CreateValues {
    Bytes values;
};

// set, attribute value change: values of the mask's attributes in order; set table: rows of its only attribute. In the
// baseline set zeros may follow.
struct AttributeValues {
    AttributeMask mask = 0;
    Bytes values;
};

// get, get current data
struct AttributesAsked {
    AttributeMask mask = 0;
};

// get next
struct TablePartAsked {
    AttributeMask mask = 0;
    std::uint16_t part = 0;  // from 0
};

// get all alarms: 0 all, 1 only those that are not held back; activate image, reboot: 0 at once, 1 only without a voice
// call, 2 only without an emergency call
struct Flags {
    std::uint8_t flags = 0;
};

// get all alarms next, MIB upload next: number of the part, from 0; answers of get all alarms and MIB upload: how many
// parts there are
struct CommandNumber {
    std::uint16_t number = 0;
};

// test, test result: as the class says
struct TestContent {
    Bytes bytes;
};

// start software download
struct DownloadStart {
    std::uint16_t windowSize = 1;  // sections, 1..256
    std::uint32_t imageSize = 0;   // bytes
    std::vector<InstanceId> images;
};

// download section
struct ImageSection {
    std::uint8_t number = 0;  // within its window, from 0
    Bytes data;               // baseline: 31 bytes, the last one of an image padded
};

// end software download
struct DownloadEnd {
    std::uint32_t crc = 0;
    std::uint32_t imageSize = 0;
    std::vector<InstanceId> images;
};

// synchronize time
struct DateTime {
    std::uint16_t year = 0;
    std::uint8_t month = 0, day = 0, hour = 0, minute = 0, second = 0;
};
struct TimeSet {
    std::optional<DateTime> time;  // none: only the 15-minute interval begins
};

// alarm: the state of all alarms of the instance
using AlarmBits = std::array<std::uint8_t, kAlarmBytes>;
struct AlarmState {
    AlarmBits bits{};
    std::uint8_t sequence = 0;  // 1..255
};

// ---- Answers ----

// delete, MIB reset, test, activate image, commit image, reboot
struct ResultAnswer {
    Result result = Result::kSuccess;
};

// create
struct CreateAnswer {
    Result result = Result::kSuccess;
    AttributeMask failed = 0;  // with a parameter error: the values that were refused
};

// set, set table
struct SetAnswer {
    Result result = Result::kSuccess;
    AttributeMask unsupported = 0, failed = 0;  // with "attributes failed"
};

// get, get current data
struct GetAnswer {
    Result result = Result::kSuccess;
    AttributeMask mask = 0;  // of the values that follow
    Bytes values;
    AttributeMask unsupported = 0, failed = 0;  // with "attributes failed"
};

// get next
struct TablePartAnswer {
    Result result = Result::kSuccess;
    AttributeMask mask = 0;
    Bytes part;  // baseline: 29 bytes, the last part padded
};

// MIB upload next: one entry in the baseline set; none behind the end
struct UploadEntry {
    EntityKey entity;
    AttributeMask mask = 0;
    Bytes values;
};
struct UploadEntries {
    std::vector<UploadEntry> entries;
};

// get all alarms next: likewise
struct AlarmEntry {
    EntityKey entity;
    AlarmBits bits{};
};
struct AlarmEntries {
    std::vector<AlarmEntry> entries;
};

struct ImageResult {
    InstanceId image = 0;
    Result result = Result::kSuccess;
};
// start software download
struct DownloadStartAnswer {
    Result result = Result::kSuccess;
    std::uint16_t windowSize = 1;  // sections that the ONU takes, 1..256
    std::vector<ImageResult> images;
};
// download section
struct SectionAnswer {
    Result result = Result::kSuccess;
    std::uint8_t number = 0;
};
// end software download
struct DownloadEndAnswer {
    Result result = Result::kSuccess;
    std::vector<ImageResult> images;
};
// synchronize time; not certain: the meaning of the second byte
struct TimeAnswer {
    Result result = Result::kSuccess;
    bool taken = false;  // date and time were taken over
};

using Content = std::variant<NoContent, CreateValues, AttributeValues, AttributesAsked, TablePartAsked, Flags,
                             CommandNumber, TestContent, DownloadStart, ImageSection, DownloadEnd, TimeSet, AlarmState,
                             ResultAnswer, CreateAnswer, SetAnswer, GetAnswer, TablePartAnswer, UploadEntries,
                             AlarmEntries, DownloadStartAnswer, SectionAnswer, DownloadEndAnswer, TimeAnswer>;

enum class ContentError : std::uint8_t {
    kNone,
    kReservedType,  // a message type without a meaning, or one that the set does not have
    kTooShort,      // less than the message needs
    kBadCount,      // a list of images whose length the content does not hold
};
const char* nameOf(ContentError error);

struct DecodedContent {
    ContentError error = ContentError::kNone;
    Content content;
};

// Reads the content of a request, an answer or an autonomous message, as its type and direction say. Any bytes give a
// content or an error.
DecodedContent decodeContent(const Message& message);

// The result that an answer carries; nothing for contents without one (requests, uploads, alarms).
std::optional<Result> resultOf(const Content& content);

// Writes the content into message, as its set has it. What does not fit into the set is cut.
void encodeContent(Message& message, const Content& content);

}  // namespace omci

#endif
