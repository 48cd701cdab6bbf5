// Optical levels of the PON transceiver.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "device/DeviceInfo.h"
#include "platform/kit_numbers.h"

namespace {

struct Level {
    unsigned long request;
    double milliwattsPerUnit;  // one unit is a thousand raw steps
    const char* failure;
};

constexpr Level kReceived{LASER_IOC_GET_RX_POWER, 0.1, " *************** Reading Rx Power failed ****************"};
constexpr Level kTransmitted{LASER_IOC_GET_TX_POWER, 0.2, " *************** Reading Tx Power failed ****************"};

constexpr float kNaturalLogOf10 = 2.3025851F;
constexpr double kUnitsPerDecibel = 500.0;  // 0.002 dB

// Kept as it is: single precision throughout, with this constant for ln 10. A better computation differs in the last
// unit.
int levelOf(std::uint16_t raw, double milliwattsPerUnit) {
    const float thousands = static_cast<float>(raw) / 1000.0F;
    const auto milliwatts = static_cast<float>(static_cast<double>(thousands) * milliwattsPerUnit);
    const float decibels = std::log(milliwatts) / kNaturalLogOf10 * 10.0F;
    const double units = static_cast<double>(decibels) * kUnitsPerDecibel;
    if (!std::isfinite(units)) return 0;
    return static_cast<std::int16_t>(static_cast<std::int32_t>(units));
}

int readLevel(const Level& level, int* out) {
    if (out == nullptr) return -1;
    const int fd = open(LASER_DEVICE, O_RDWR);
    if (fd < 0) return fd;
    std::uint32_t word = 0;  // the driver fills its first two bytes
    if (ioctl(fd, level.request, &word) < 0) {
        std::puts(level.failure);
    } else {
        std::uint16_t raw = 0;
        std::memcpy(&raw, &word, sizeof raw);
        *out = levelOf(raw, level.milliwattsPerUnit);
    }
    return close(fd);
}

}  // namespace

int vorn_omci_rx_laser_power_get(int* out) {
    return readLevel(kReceived, out);
}

int vorn_omci_tx_laser_power_get(int* out) {
    return readLevel(kTransmitted, out);
}
