#include "libc/CharDevices.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include "Core.h"
#include "Facilities.h"
#include "Section.h"
#include "VirtualOnu.h"
#include "platform/kit_numbers.h"

namespace virtual_onu::chardev {
namespace {

using descriptors::Kind;

constexpr std::uint16_t kFactoryReceiveLevel = 1000;   // units of 0.1 microwatt: -10 dBm
constexpr std::uint16_t kFactoryTransmitLevel = 8000;  // units of 0.2 microwatt: 2 dBm
constexpr std::size_t kFactoryImageSize = 256;         // one page of the module's memory

// The driver's record of each request, in bytes: never more is read from or written to the caller's.
const std::map<unsigned long, std::size_t>& stackRecordSizes() {
    // Never destroyed: threads of the HAL outlive main().
    static const auto& sizes = *new const std::map<unsigned long, std::size_t>{
        {NGPON_STACK_IOC_GET_TX_CHANNEL, 4},
        {NGPON_STACK_IOC_GET_RX_CHANNEL, 4},
        {NGPON_STACK_IOC_GET_TWDM_SYSTEM_PROFILE, 24},
        {NGPON_STACK_IOC_SET_TWDM_SYSTEM_PROFILE, 24},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL, 8},
        {NGPON_STACK_IOC_GET_TWDM_LODS_PM_DATA, 64},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_XGEM_HD, 72},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM1, 28},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM2, 60},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_PLOAM_PM3, 48},
        {NGPON_STACK_IOC_GET_TWDM_TUNING_PM_HD1, 56},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD2, 56},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_TUNING_PM_HD3, 36},
        {NGPON_STACK_IOC_GET_TWDM_CHANNEL_OMCI_PM_HD, 16},
    };
    return sizes;
}

struct State {
    std::uint16_t receiveLevel = kFactoryReceiveLevel;
    std::uint16_t transmitLevel = kFactoryTransmitLevel;
    std::uint64_t bitErrors = 0;
    std::vector<std::uint8_t> i2cImage = std::vector<std::uint8_t>(kFactoryImageSize);
    std::map<unsigned, StackAnswer> answers;
    std::map<unsigned, std::vector<std::uint8_t>> requests;
};

State& state() {
    static State& theState = *new State;
    return theState;
}

// ---- as sections of a board file ----

constexpr std::size_t kMaxRecord = 65536;
constexpr std::uint64_t kTerabit = 1'000'000'000'000;

struct OpticsRecord {
    std::uint16_t receiveLevel = 0, transmitLevel = 0;
    std::vector<std::uint8_t> image;
    std::uint64_t bitErrors = 0;
};

template <typename Record>
void describe(Record& record, OpticsRecord& optics) {
    record.number("rawReceiveLevel", optics.receiveLevel);
    record.number("rawTransmitLevel", optics.transmitLevel);
    record.bytes("i2cImage", optics.image, kMaxRecord);
    if (record.has("bitErrorsPerTerabit"))
        record.number("bitErrorsPerTerabit", optics.bitErrors, std::uint64_t{0}, kTerabit);
}

struct Optics : persistence::Single<OpticsRecord> {
    static OpticsRecord get() {
        return {state().receiveLevel, state().transmitLevel, state().i2cImage, state().bitErrors};
    }
    static void put(OpticsRecord optics) {
        state().receiveLevel = optics.receiveLevel;
        state().transmitLevel = optics.transmitLevel;
        state().i2cImage = std::move(optics.image);
        state().bitErrors = optics.bitErrors;
    }
};

std::map<unsigned, std::vector<std::uint8_t>>& requests() {
    return state().requests;
}

struct Requests : persistence::InMap<unsigned, std::vector<std::uint8_t>, requests> {
    template <typename Record>
    static void fields(Record& record, std::vector<std::uint8_t>& request) {
        record.bytes("record", request, kMaxRecord);
    }
};

std::map<unsigned, StackAnswer>& answers() {
    return state().answers;
}

struct Answers : persistence::InMap<unsigned, StackAnswer, answers> {
    template <typename Record>
    static void fields(Record& record, StackAnswer& answer) {
        record.bytes("record", answer.record, kMaxRecord);
        record.number("error", answer.error);
    }
};

// Answers the request and adds what it wrote to the argument text of the trace.
int laserRequest(unsigned long request, void* argument, std::string& text) {
    if (request == LASER_IOC_GET_I2C_DUMP) {
        if (argument == nullptr) return EFAULT;
        std::copy(state().i2cImage.begin(), state().i2cImage.end(), static_cast<std::uint8_t*>(argument));
        text += ", " + argumentText(std::to_string(state().i2cImage.size()) + " bytes");
        return 0;
    }
    if (request != LASER_IOC_GET_RX_POWER && request != LASER_IOC_GET_TX_POWER) return ENOTTY;
    if (argument == nullptr) return EFAULT;
    const std::uint16_t level = request == LASER_IOC_GET_RX_POWER ? state().receiveLevel : state().transmitLevel;
    std::memcpy(argument, &level, sizeof level);
    text += ", " + argumentText(out(level));
    return 0;
}

int stackRequest(unsigned long request, void* argument) {
    const auto size = stackRecordSizes().find(request);
    if (size == stackRecordSizes().end()) return ENOTTY;
    if (argument == nullptr) return EFAULT;
    const auto number = static_cast<unsigned>(request);
    const auto* bytes = static_cast<const std::uint8_t*>(argument);
    state().requests[number].assign(bytes, bytes + size->second);
    persistence::changed(persistence::kStackRequests, number);
    const auto answer = state().answers.find(number);
    if (answer == state().answers.end()) return 0;
    if (answer->second.error != 0) return answer->second.error;
    const auto& record = answer->second.record;
    std::copy_n(record.begin(), std::min(record.size(), size->second), static_cast<std::uint8_t*>(argument));
    return 0;
}

std::string requestName(unsigned long request) {
    switch (request) {
        case LASER_IOC_GET_RX_POWER:
            return "LASER_IOC_GET_RX_POWER";
        case LASER_IOC_GET_TX_POWER:
            return "LASER_IOC_GET_TX_POWER";
        case LASER_IOC_GET_I2C_DUMP:
            return "LASER_IOC_GET_I2C_DUMP";
        default:
            return std::to_string(request);
    }
}

}  // namespace

Kind kindOf(const std::string& path) {
    if (path == LASER_DEVICE) return Kind::Laser;
    return path == NGPON2_STACK_DEVICE ? Kind::Stack : Kind::NotOurs;
}

int ioctl(Kind kind, unsigned long request, void* argument) {
    const std::string name = requestName(request);
    std::string text = argumentText(kind == Kind::Laser ? LASER_DEVICE : NGPON2_STACK_DEVICE) + ", " + name;
    int error = 0;
    if (const auto fault = faultOf("ioctl", name)) {
        error = *fault;
    } else {
        const DeviceAccess lock(deviceMutex());
        error = kind == Kind::Laser ? laserRequest(request, argument, text) : stackRequest(request, argument);
    }
    record(CallKind::Ioctl, "ioctl", text, -error);
    return -error;
}

void reset() {
    const DeviceAccess lock(deviceMutex());
    state() = State{};
    deviceChanged();
}

persistence::Sections sections() {
    return {persistence::section<Optics>(persistence::kOptics),
            persistence::section<Requests>(persistence::kStackRequests),
            persistence::section<Answers>(persistence::kStackAnswers)};
}

nlohmann::json toJson() {
    const DeviceAccess lock(deviceMutex());
    nlohmann::json requests = nlohmann::json::object();
    for (const auto& [number, record] : state().requests) requests[std::to_string(number)] = record;
    return {{"rawReceiveLevel", state().receiveLevel},
            {"rawTransmitLevel", state().transmitLevel},
            {"bitErrorRatio", static_cast<double>(state().bitErrors) / kTerabit},
            {"i2cImageSize", state().i2cImage.size()},
            {"stackRequests", requests}};
}

}  // namespace virtual_onu::chardev

namespace virtual_onu {

unsigned optics::receiveLevel() {
    const DeviceAccess lock(deviceMutex());
    return chardev::state().receiveLevel;
}

unsigned optics::transmitLevel() {
    const DeviceAccess lock(deviceMutex());
    return chardev::state().transmitLevel;
}

void VirtualOnu::setOptics(std::uint16_t rawReceive, std::uint16_t rawTransmit) {
    const DeviceAccess lock(deviceMutex());
    chardev::state().receiveLevel = rawReceive;
    chardev::state().transmitLevel = rawTransmit;
    persistence::changed(persistence::kOptics);
    deviceChanged();
}

std::pair<std::uint16_t, std::uint16_t> VirtualOnu::optics() const {
    const DeviceAccess lock(deviceMutex());
    return {chardev::state().receiveLevel, chardev::state().transmitLevel};
}

void VirtualOnu::setBitErrors(std::uint64_t perTerabit) {
    const DeviceAccess lock(deviceMutex());
    chardev::state().bitErrors = std::min(perTerabit, chardev::kTerabit);
    persistence::changed(persistence::kOptics);
}

std::uint64_t VirtualOnu::bitErrors() const {
    const DeviceAccess lock(deviceMutex());
    return chardev::state().bitErrors;
}

void VirtualOnu::setI2cImage(const std::vector<std::uint8_t>& image) {
    const DeviceAccess lock(deviceMutex());
    chardev::state().i2cImage = image;
    persistence::changed(persistence::kOptics);
}

void VirtualOnu::setStackAnswer(unsigned request, StackAnswer answer) {
    const DeviceAccess lock(deviceMutex());
    chardev::state().answers[request] = std::move(answer);
    persistence::changed(persistence::kStackAnswers, request);
}

std::vector<std::uint8_t> VirtualOnu::stackRequest(unsigned request) const {
    const DeviceAccess lock(deviceMutex());
    const auto found = chardev::state().requests.find(request);
    return found == chardev::state().requests.end() ? std::vector<std::uint8_t>{} : found->second;
}

}  // namespace virtual_onu
