#include "omci/agent/SelfTest.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "hal/VornHal.h"

namespace omci {

namespace {

constexpr std::uint8_t kSelfTest = 7;
constexpr std::uint8_t kPassed = 1;

// Kinds of measurements in the optical line supervision, and their units.
enum Measurement : std::uint8_t {
    kNotMeasured = 0,
    kFeedVoltage = 1,    // 20 mV
    kReceivedPower = 3,  // 0.002 dB above 1 uW
    kLaunchPower = 5,    // the same
    kLaserBias = 9,      // 2 uA
    kTemperature = 12,   // 1/256 degree Celsius
};
constexpr int kMicrowatt = 15000;  // a level relative to 1 uW is so much more than one relative to 1 mW

// The level stays as it was when the module refuses the reading.
constexpr int kNoLevel = std::numeric_limits<int>::min();

std::optional<int> levelOf(int result, int level) {
    return result == 0 && level != kNoLevel ? std::optional<int>(level) : std::nullopt;
}

void addMeasurement(Bytes& report, Measurement kind, std::optional<double> value, double unit, double least,
                    double most) {
    if (!value || !std::isfinite(*value)) {
        appendNumber(report, kNotMeasured, 1);
        appendNumber(report, 0, 2);
        return;
    }
    const double counted = std::clamp(std::round(*value / unit), least, most);
    appendNumber(report, kind, 1);
    appendNumber(report, static_cast<std::uint16_t>(static_cast<std::int32_t>(counted)), 2);
}

std::optional<double> aboveMicrowatt(std::optional<int> level) {
    return level ? std::optional<double>(*level + kMicrowatt) : std::nullopt;
}

Bytes opticalLine(VornHal& hal, Device& device) {
    constexpr double kMaxCount = 65535;
    const ModuleReading module = device.module();
    Bytes report;
    addMeasurement(report, kFeedVoltage, module.volts, 0.020, 0, kMaxCount);
    addMeasurement(report, kReceivedPower, aboveMicrowatt(receivedLevel(hal)), 1, 0, kMaxCount);
    addMeasurement(report, kLaunchPower, aboveMicrowatt(transmittedLevel(hal)), 1, 0, kMaxCount);
    addMeasurement(report, kLaserBias, module.biasMilliamperes, 0.002, 0, kMaxCount);
    addMeasurement(report, kTemperature, module.celsius, 1.0 / 256, -32768, 32767);
    appendNumber(report, kNullPointer, 2);
    return report;
}

// Not certain: what is behind the result; a pointer at nothing is taken.
Bytes passed() {
    Bytes report{0, kPassed};
    appendNumber(report, kNullPointer, 2);
    return report;
}

}  // namespace

std::optional<int> receivedLevel(VornHal& hal) {
    int level = kNoLevel;
    const int result = hal.vorn_omci_hal_rx_laser_power_get(&level);
    return levelOf(result, level);
}

std::optional<int> transmittedLevel(VornHal& hal) {
    int level = kNoLevel;
    const int result = hal.vorn_omci_hal_tx_laser_power_get(&level);
    return levelOf(result, level);
}

SelfTestOutcome runSelfTest(ClassId classId, ByteView request, VornHal& hal, Device& device) {
    const bool known = classId == class_id::kAniG || classId == class_id::kOnuG || classId == class_id::kCircuitPack;
    // Not certain: the layouts of an IP host's ping and trace route.
    if (!known) return {Result::kNotSupported, {}};
    if (request.empty() || (request[0] & 0x0FU) != kSelfTest) return {Result::kParameterError, {}};
    return {Result::kSuccess, classId == class_id::kAniG ? opticalLine(hal, device) : passed()};
}

}  // namespace omci
