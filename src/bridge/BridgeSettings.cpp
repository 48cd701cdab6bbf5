// Settings of bridges and ports: one number a sysfs file.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "bridge/BridgeControl.h"
#include "bridge/BridgeName.h"
#include "hal/KernelNames.h"

namespace {

constexpr long kMaxTicks = 0x7FFFFFFF;
constexpr int kMaxPriority = 65535;

int writeNumber(const std::string& path, long number) {
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return kernel_bridge::deviceError(errno);
    const std::string text = std::to_string(number);
    const ssize_t written = write(fd, text.data(), text.size());
    const int error = written < 0 ? errno : written != static_cast<ssize_t>(text.size()) ? EIO : 0;
    close(fd);
    return error;
}

int setBridge(const char* name, const char* attribute, long number) {
    if (!isDeviceName(name)) return EINVAL;
    return writeNumber(kernel_bridge::bridgeAttribute(name, attribute), number);
}

int setBridgeTime(const char* name, const char* attribute, const timeval* time) {
    if (time == nullptr || time->tv_sec < 0 || time->tv_sec > kMaxTicks / kernel_bridge::kTicksPerSecond - 1)
        return EINVAL;
    if (time->tv_usec < 0 || time->tv_usec > 999999) return EINVAL;
    return setBridge(
        name, attribute,
        time->tv_sec * kernel_bridge::kTicksPerSecond + time->tv_usec / kernel_bridge::kMicrosecondsPerTick);
}

int setPort(const char* name, const char* port, const char* attribute, int number) {
    if (!isDeviceName(name) || !isDeviceName(port) || number < 0) return EINVAL;
    return writeNumber(kernel_bridge::portAttribute(name, port, attribute), number);
}

}  // namespace

int br_set_stp_state(const char* bridge, int on) {
    return setBridge(bridge, "stp_state", on != 0 ? 1 : 0);
}

int br_set_bridge_forward_delay(const char* bridge, struct timeval* delay) {
    return setBridgeTime(bridge, "forward_delay", delay);
}

int br_set_bridge_hello_time(const char* bridge, struct timeval* time) {
    return setBridgeTime(bridge, "hello_time", time);
}

int br_set_bridge_max_age(const char* bridge, struct timeval* age) {
    return setBridgeTime(bridge, "max_age", age);
}

int br_set_ageing_time(const char* bridge, struct timeval* time) {
    return setBridgeTime(bridge, "ageing_time", time);
}

int br_set_bridge_priority(const char* bridge, int priority) {
    if (priority < 0 || priority > kMaxPriority) return EINVAL;
    return setBridge(bridge, "priority", priority);
}

int br_set_port_priority(const char* bridge, const char* port, int priority) {
    return setPort(bridge, port, "priority", priority);
}

int br_set_path_cost(const char* bridge, const char* port, int cost) {
    return setPort(bridge, port, "path_cost", cost);
}

int br_set_port_isolated(const char* bridge, const char* port, int on) {
    return setPort(bridge, port, "isolated", on != 0 ? 1 : 0);
}
