// The types of messages between OLT and ONU (ITU-T G.988, clause 11.2.2) and the results that answers carry.
#ifndef OMCI_MESSAGE_MESSAGE_TYPE_H
#define OMCI_MESSAGE_MESSAGE_TYPE_H

#include <cstdint>

namespace omci {

enum class MessageType : std::uint8_t {
    kCreate = 4,
    kDelete = 6,
    kSet = 8,
    kGet = 9,
    kGetAllAlarms = 11,
    kGetAllAlarmsNext = 12,
    kMibUpload = 13,
    kMibUploadNext = 14,
    kMibReset = 15,
    kAlarm = 16,
    kAttributeValueChange = 17,
    kTest = 18,
    kStartSoftwareDownload = 19,
    kDownloadSection = 20,
    kEndSoftwareDownload = 21,
    kActivateImage = 22,
    kCommitImage = 23,
    kSynchronizeTime = 24,
    kReboot = 25,
    kGetNext = 26,
    kTestResult = 27,
    kGetCurrentData = 28,
    kSetTable = 29,
};

// "create", "MIB upload next"; "reserved" for a number that has no meaning (any more).
const char* nameOf(MessageType type);
bool isKnown(MessageType type);
// Alarm, attribute value change, test result: the ONU sends it by itself.
bool isAutonomous(MessageType type);

// A set of message types, one bit a type.
using MessageTypes = std::uint32_t;
constexpr MessageTypes bit(MessageType type) {
    return MessageTypes{1} << static_cast<unsigned>(type);
}

enum class Result : std::uint8_t {
    kSuccess = 0,
    kProcessingError = 1,
    kNotSupported = 2,
    kParameterError = 3,
    kUnknownEntity = 4,
    kUnknownInstance = 5,
    kDeviceBusy = 6,
    kInstanceExists = 7,
    kAttributesFailed = 9,
};

// "success", "unknown managed entity"; "reserved" for a number that has no meaning.
const char* nameOf(Result result);

}  // namespace omci

#endif
