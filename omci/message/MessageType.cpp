#include "omci/message/MessageType.h"

#include "omci/message/Lookup.h"

namespace omci {

namespace {

constexpr const char* kReserved = "reserved";

}  // namespace

const char* nameOf(MessageType type) {
    static constexpr Names<MessageType> kNames[] = {
        {MessageType::kCreate, "create"},
        {MessageType::kDelete, "delete"},
        {MessageType::kSet, "set"},
        {MessageType::kGet, "get"},
        {MessageType::kGetAllAlarms, "get all alarms"},
        {MessageType::kGetAllAlarmsNext, "get all alarms next"},
        {MessageType::kMibUpload, "MIB upload"},
        {MessageType::kMibUploadNext, "MIB upload next"},
        {MessageType::kMibReset, "MIB reset"},
        {MessageType::kAlarm, "alarm"},
        {MessageType::kAttributeValueChange, "attribute value change"},
        {MessageType::kTest, "test"},
        {MessageType::kStartSoftwareDownload, "start software download"},
        {MessageType::kDownloadSection, "download section"},
        {MessageType::kEndSoftwareDownload, "end software download"},
        {MessageType::kActivateImage, "activate image"},
        {MessageType::kCommitImage, "commit image"},
        {MessageType::kSynchronizeTime, "synchronize time"},
        {MessageType::kReboot, "reboot"},
        {MessageType::kGetNext, "get next"},
        {MessageType::kTestResult, "test result"},
        {MessageType::kGetCurrentData, "get current data"},
        {MessageType::kSetTable, "set table"},
    };
    return lookUp(kNames, type, kReserved);
}

bool isKnown(MessageType type) {
    return nameOf(type) != kReserved;
}

bool isAutonomous(MessageType type) {
    return type == MessageType::kAlarm || type == MessageType::kAttributeValueChange ||
           type == MessageType::kTestResult;
}

const char* nameOf(Result result) {
    static constexpr Names<Result> kNames[] = {
        {Result::kSuccess, "success"},
        {Result::kProcessingError, "command processing error"},
        {Result::kNotSupported, "command not supported"},
        {Result::kParameterError, "parameter error"},
        {Result::kUnknownEntity, "unknown managed entity"},
        {Result::kUnknownInstance, "unknown instance"},
        {Result::kDeviceBusy, "device busy"},
        {Result::kInstanceExists, "instance exists"},
        {Result::kAttributesFailed, "attributes failed or unknown"},
    };
    return lookUp(kNames, result, kReserved);
}

}  // namespace omci
