#include "BRCM/BCM968580/DATA/restart/DeviceNames.h"

#include <algorithm>
#include <cstring>

#include "BRCM/BCM968580/DATA/EngineNames.h"
#include "BRCM/BCM968580/DATA/EngineRecords.h"
#include "hal/KernelNames.h"

namespace restart {

namespace {

constexpr const char* kDigits = "0123456789";
constexpr std::size_t kMostDigits = 5;

// Takes a number's digits from the front; false when there are none.
bool takeNumber(std::string& text) {
    const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
    if (digits == 0 || digits > kMostDigits) return false;
    text.erase(0, digits);
    return true;
}

bool takePrefix(std::string& text, const char* prefix) {
    if (text.compare(0, std::strlen(prefix), prefix) != 0) return false;
    text.erase(0, std::strlen(prefix));
    return true;
}

enum class Second { None, May, Must };  // a second number behind a dot

bool isNumbered(std::string text, const char* prefix, Second second) {
    if (!takePrefix(text, prefix) || !takeNumber(text)) return false;
    if (text.empty()) return second != Second::Must;
    return second != Second::None && takePrefix(text, ".") && takeNumber(text) && text.empty();
}

}  // namespace

bool isPlainDeviceName(const std::string& name) {
    constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    return !name.empty() && name.size() < kDeviceNameSize && name.find_first_not_of(kPlain) == std::string::npos;
}

bool isMadeDevice(const std::string& name) {
    return isDeviceName(name.c_str()) &&
           (name == kVeipDevice || isNumbered(name, "br", Second::May) || isNumbered(name, "gpon", Second::May) ||
            isNumbered(name, "sid", Second::Must));
}

bool isBridge(const std::string& name) {
    return isDeviceName(name.c_str()) && isNumbered(name, "br", Second::None);
}

}  // namespace restart
