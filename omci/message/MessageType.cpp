#include "omci/message/MessageType.h"

namespace omci {

namespace {

constexpr const char* kReserved = "reserved";

}  // namespace

const char* nameOf(MessageType type) {
    switch (type) {
        case MessageType::kCreate:
            return "create";
        case MessageType::kDelete:
            return "delete";
        case MessageType::kSet:
            return "set";
        case MessageType::kGet:
            return "get";
        case MessageType::kGetAllAlarms:
            return "get all alarms";
        case MessageType::kGetAllAlarmsNext:
            return "get all alarms next";
        case MessageType::kMibUpload:
            return "MIB upload";
        case MessageType::kMibUploadNext:
            return "MIB upload next";
        case MessageType::kMibReset:
            return "MIB reset";
        case MessageType::kAlarm:
            return "alarm";
        case MessageType::kAttributeValueChange:
            return "attribute value change";
        case MessageType::kTest:
            return "test";
        case MessageType::kStartSoftwareDownload:
            return "start software download";
        case MessageType::kDownloadSection:
            return "download section";
        case MessageType::kEndSoftwareDownload:
            return "end software download";
        case MessageType::kActivateImage:
            return "activate image";
        case MessageType::kCommitImage:
            return "commit image";
        case MessageType::kSynchronizeTime:
            return "synchronize time";
        case MessageType::kReboot:
            return "reboot";
        case MessageType::kGetNext:
            return "get next";
        case MessageType::kTestResult:
            return "test result";
        case MessageType::kGetCurrentData:
            return "get current data";
        case MessageType::kSetTable:
            return "set table";
    }
    return kReserved;
}

bool isKnown(MessageType type) {
    return nameOf(type) != kReserved;
}

bool isAutonomous(MessageType type) {
    return type == MessageType::kAlarm || type == MessageType::kAttributeValueChange ||
           type == MessageType::kTestResult;
}

const char* nameOf(Result result) {
    switch (result) {
        case Result::kSuccess:
            return "success";
        case Result::kProcessingError:
            return "command processing error";
        case Result::kNotSupported:
            return "command not supported";
        case Result::kParameterError:
            return "parameter error";
        case Result::kUnknownEntity:
            return "unknown managed entity";
        case Result::kUnknownInstance:
            return "unknown instance";
        case Result::kDeviceBusy:
            return "device busy";
        case Result::kInstanceExists:
            return "instance exists";
        case Result::kAttributesFailed:
            return "attributes failed or unknown";
    }
    return kReserved;
}

}  // namespace omci
